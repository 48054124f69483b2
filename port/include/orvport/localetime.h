// Date and time texts of a locale.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

#define LOCALE_NAME_USER_DEFAULT nullptr

#define LOCALE_SLONGDATE 0x00000020u
#define LOCALE_SSHORTDATE 0x0000001Fu
#define LOCALE_S1159 0x00000028u
#define LOCALE_S2359 0x00000029u
#define LOCALE_SMONTHNAME1 0x00000038u // to LOCALE_SMONTHNAME12, one more each
#define LOCALE_RETURN_GENITIVE_NAMES 0x10000000u

#define DATE_SHORTDATE 0x00000001u
#define DATE_LONGDATE 0x00000002u
#define TIME_NOSECONDS 0x00000002u

int GetLocaleInfoEx(LPCWSTR lpLocaleName, LCTYPE LCType, LPWSTR lpLCData, int cchData) noexcept;

// Only the locale's own forms: other formats and calendars are not there.
int GetDateFormatEx(LPCWSTR lpLocaleName, DWORD dwFlags, const SYSTEMTIME* lpDate, std::nullptr_t lpFormat,
                    LPWSTR lpDateStr, int cchDate, std::nullptr_t lpCalendar) noexcept;
int GetTimeFormatEx(LPCWSTR lpLocaleName, DWORD dwFlags, const SYSTEMTIME* lpTime, std::nullptr_t lpFormat,
                    LPWSTR lpTimeStr, int cchTime) noexcept;
