// Code pages, collation, character classes and case.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

#define CP_ACP 0
#define CP_THREAD_ACP 3
#define CP_UTF8 65001

#define MB_PRECOMPOSED 0x00000001
#define MB_ERR_INVALID_CHARS 0x00000008
#define WC_ERR_INVALID_CHARS 0x00000080
#define WC_COMPOSITECHECK 0x00000200
#define WC_NO_BEST_FIT_CHARS 0x00000400

int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr, int cbMultiByte,
                        LPWSTR lpWideCharStr, int cchWideChar) noexcept;
int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr, int cchWideChar,
                        LPSTR lpMultiByteStr, int cbMultiByte, LPCSTR lpDefaultChar,
                        LPBOOL lpUsedDefaultChar) noexcept;
UINT GetACP() noexcept;

typedef struct _cpinfo
{
    UINT MaxCharSize;
    BYTE DefaultChar[2];
    BYTE LeadByte[12];
} CPINFO, *LPCPINFO;

BOOL GetCPInfo(UINT CodePage, LPCPINFO lpCPInfo) noexcept;
BOOL IsDBCSLeadByteEx(UINT CodePage, BYTE TestChar) noexcept;

#define LOCALE_USER_DEFAULT 0x0400
#define LOCALE_SYSTEM_DEFAULT 0x0800

#define NORM_IGNORECASE 0x00000001
#define SORT_STRINGSORT 0x00001000

#define CSTR_LESS_THAN 1
#define CSTR_EQUAL 2
#define CSTR_GREATER_THAN 3

int CompareStringW(LCID Locale, DWORD dwCmpFlags, LPCWSTR lpString1, int cchCount1, LPCWSTR lpString2,
                   int cchCount2) noexcept;

DWORD CharUpperBuffW(LPWSTR lpsz, DWORD cchLength) noexcept;

/// A number of ASCII digits in the manner of the user's locale, with its two digits of the fraction. Only
/// that manner: other formats are not there.
int GetNumberFormatW(LCID Locale, DWORD dwFlags, LPCWSTR lpValue, std::nullptr_t lpFormat, LPWSTR lpNumberStr,
                     int cchNumber) noexcept;

/// LOCALE_USER_DEFAULT: locales have names here, not numbers.
LCID GetUserDefaultLCID() noexcept;

#define LOCALE_NAME_MAX_LENGTH 85
#define MUI_LANGUAGE_NAME 0x00000008u

/// The names of the languages that the user prefers, each terminated, and an empty one; \p dwFlags is
/// MUI_LANGUAGE_NAME.
BOOL GetUserPreferredUILanguages(DWORD dwFlags, ULONG* pulNumLanguages, LPWSTR pwszLanguagesBuffer,
                                 ULONG* pcchLanguagesBuffer) noexcept;
