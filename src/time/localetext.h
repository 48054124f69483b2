/// Dates and times as a locale writes them, in both directions.
#pragma once

#include <windows.h>

#include <string>

namespace OCT
{

/// The text of \p st in the forms that \p uiFlags (`COrvTime::LocalFormatFlags`) choose; null is the user's
/// locale. Empty when the platform fails.
std::basic_string<WCHAR> FormatForLocale(const WCHAR* sLocale, const SYSTEMTIME& st, unsigned uiFlags);

/// Reads such a text into the fields of the parts that \p uiFlags name and leaves the others; false when a
/// part is missing or something with a digit follows. Whether the fields are a time is not looked at.
bool ParseForLocale(const WCHAR* sLocale, const WCHAR* src, unsigned uiFlags, SYSTEMTIME& st);

} // namespace OCT
