// Date and time texts of a locale.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

#define LOCALE_NAME_USER_DEFAULT nullptr

#define LOCALE_SSHORTDATE 0x0000001Fu
#define LOCALE_SLONGDATE 0x00000020u
#define LOCALE_S1159 0x00000028u
#define LOCALE_S2359 0x00000029u
#define LOCALE_SDAYNAME1 0x0000002Au // Monday, to LOCALE_SDAYNAME7; one more each, as in the next ones
#define LOCALE_SABBREVDAYNAME1 0x00000031u
#define LOCALE_SMONTHNAME1 0x00000038u // to LOCALE_SMONTHNAME12
#define LOCALE_SABBREVMONTHNAME1 0x00000044u
#define LOCALE_SNAME 0x0000005Cu
#define LOCALE_SSHORTTIME 0x00000079u
#define LOCALE_STIMEFORMAT 0x00001003u
#define LOCALE_IDEFAULTANSICODEPAGE 0x00001004u
#define LOCALE_RETURN_NUMBER 0x20000000u
#define LOCALE_RETURN_GENITIVE_NAMES 0x10000000u

#define DATE_SHORTDATE 0x00000001u
#define DATE_LONGDATE 0x00000002u
#define TIME_NOSECONDS 0x00000002u

int GetLocaleInfoEx(LPCWSTR lpLocaleName, LCTYPE LCType, LPWSTR lpLCData, int cchData) noexcept;

// A date in the locale's own forms or in a picture, a time in the locale's own; no other calendars.
int GetDateFormatEx(LPCWSTR lpLocaleName, DWORD dwFlags, const SYSTEMTIME* lpDate, LPCWSTR lpFormat,
                    LPWSTR lpDateStr, int cchDate, std::nullptr_t lpCalendar) noexcept;
int GetTimeFormatEx(LPCWSTR lpLocaleName, DWORD dwFlags, const SYSTEMTIME* lpTime, std::nullptr_t lpFormat,
                    LPWSTR lpTimeStr, int cchTime) noexcept;
