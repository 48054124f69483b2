// UTF-16 of the Win32 interface to the system's UTF-8 and back. Lone surrogates and malformed bytes become
// U+FFFD.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

std::string PortToUtf8(std::u16string_view sText);
std::u16string PortToUtf16(std::string_view sText);

/// A path as the system's calls take it: both separators become "/".
std::string PortPath(LPCWSTR sPath);

/// Hands text out under the rule of GetEnvironmentVariableW, GetTempPathW and their like: the length when it
/// fits with its terminator, else the room needed including it (and nothing written).
DWORD PortCopyOut(std::u16string_view sText, LPWSTR pBuffer, DWORD nSize) noexcept;
