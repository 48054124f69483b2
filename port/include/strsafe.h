// Counted text functions: the destination is always terminated, what does not fit is cut and said so.
#pragma once

#include <windows.h>

#include <cstdarg>

#pragma GCC visibility push(default)

#define STRSAFE_MAX_CCH 2147483647
#define STRSAFE_E_INSUFFICIENT_BUFFER (static_cast<HRESULT>(0x8007007Au))
#define STRSAFE_E_INVALID_PARAMETER (static_cast<HRESULT>(0x80070057u))

HRESULT StringCchPrintfA(LPSTR pszDest, std::size_t cchDest, LPCSTR pszFormat, ...) noexcept;
HRESULT StringCchPrintfW(LPWSTR pszDest, std::size_t cchDest, LPCWSTR pszFormat, ...) noexcept;
HRESULT StringCchVPrintfA(LPSTR pszDest, std::size_t cchDest, LPCSTR pszFormat, va_list argList) noexcept;
HRESULT StringCchVPrintfW(LPWSTR pszDest, std::size_t cchDest, LPCWSTR pszFormat, va_list argList) noexcept;
HRESULT StringCchCopyA(LPSTR pszDest, std::size_t cchDest, LPCSTR pszSrc) noexcept;
HRESULT StringCchCopyW(LPWSTR pszDest, std::size_t cchDest, LPCWSTR pszSrc) noexcept;
HRESULT StringCchCopyNA(LPSTR pszDest, std::size_t cchDest, LPCSTR pszSrc, std::size_t cchToCopy) noexcept;
HRESULT StringCchCopyNW(LPWSTR pszDest, std::size_t cchDest, LPCWSTR pszSrc, std::size_t cchToCopy) noexcept;
HRESULT StringCchCatA(LPSTR pszDest, std::size_t cchDest, LPCSTR pszSrc) noexcept;
HRESULT StringCchCatW(LPWSTR pszDest, std::size_t cchDest, LPCWSTR pszSrc) noexcept;

#pragma GCC visibility pop
