// Pages whose characters are no one or two bytes of a table: UTF-7 and GB 18030. Like UTF-8 they map
// everything and take no flags that choose among mappings, and no default character.
#pragma once

#include "text/sink.h"

#include <windows.h>

inline constexpr UINT kPageUtf7 = 65000;
inline constexpr UINT kPageGb18030 = 54936;

inline bool IsOtherPage(UINT nCodePage) noexcept
{
    return nCodePage == kPageUtf7 || nCodePage == kPageGb18030;
}

/// As MultiByteToWideChar and WideCharToMultiByte.
int DecodeOtherPage(UINT nCodePage, DWORD dwFlags, const char* pSrc, int nSrc, CSink<WCHAR> sink) noexcept;
int EncodeOtherPage(UINT nCodePage, DWORD dwFlags, const WCHAR* pSrc, int nSrc, CSink<char> sink) noexcept;
