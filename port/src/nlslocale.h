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

/// Whether there is memory for what ICU makes of a locale. Where it is refused a block, ICU crashes or waits
/// for ever, so that it must not be asked then.
bool HasMemoryForLocale() noexcept;

/// The ANSI code page that Windows gives the language of the locale, or the one that ORVCOMTYPES_ACP names.
UINT AnsiCodePageOfEnvironment() noexcept;

/// The decimal separator of the user's locale; "." when there is no telling.
char16_t UserDecimalSeparator() noexcept;
