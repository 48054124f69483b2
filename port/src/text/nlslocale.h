// The locale of the process as its environment names it.
#pragma once

#include <windows.h>

/// The locale as the environment names it: LC_ALL, else the given category's variable, else LANG, else "C".
const char* EnvironmentLocaleName(const char* sCategory) noexcept;

/// The ICU name of the locale: from LC_ALL, else the given category's variable, else LANG; "en_US" where
/// these are absent or say C or POSIX, whose own order would be that of code points. Read once per category
/// by its user.
const char* EnvironmentLocale(const char* sCategory, char* pName, int cbName) noexcept;

/// The ICU name of what the environment says.
const char* CanonicalLocale(const char* sLocale, char* pName, int cbName) noexcept;

/// The decimal separator of the user's locale; "." when there is no telling.
char16_t UserDecimalSeparator() noexcept;

/// The page of narrow text: what ORVCOMTYPES_ACP names, else UTF-8, unless the locale has a legacy character
/// set: then the page that Windows gives its language.
UINT AnsiCodePageOfEnvironment() noexcept;

/// The page that Windows gives the language of the locale, whatever the page of narrow text is here: what a
/// file from there is written in that is not UTF-8.
UINT WindowsCodePageOfEnvironment() noexcept;
