/// Character classes, alike on every target: the runtime's own depend on its version and on the process
/// locale.
///
/// The functions take narrow and wide units. A narrow unit is looked at as it is, so a byte at or above 0x80
/// belongs to no class.
#pragma once

#include <windows.h>

namespace OCT
{

/// White space: tab to carriage return, the blank, and Unicode's space separators and line separators.
constexpr bool IsSpace(WCHAR c)
{
    if (c < 0x80)
        return c == 0x20 || (c >= 0x09 && c <= 0x0D);
    return c == 0x00A0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 ||
           c == 0x202F || c == 0x205F || c == 0x3000;
}

constexpr bool IsSpace(char c)
{
    return c == 0x20 || (c >= 0x09 && c <= 0x0D);
}

template <class Char>
constexpr bool IsDigit(Char c)
{
    return c >= '0' && c <= '9';
}

/// The value of a hexadecimal digit of either case, or -1.
template <class Char>
constexpr int HexDigitValue(Char c)
{
    if (c >= '0' && c <= '9')
        return static_cast<int>(c - '0');
    if (c >= 'A' && c <= 'F')
        return static_cast<int>(c - 'A') + 10;
    if (c >= 'a' && c <= 'f')
        return static_cast<int>(c - 'a') + 10;
    return -1;
}

template <class Char>
constexpr bool IsHexDigit(Char c)
{
    return HexDigitValue(c) >= 0;
}

/// ASCII letters only, as the runtime's case functions do in its initial locale.
template <class Char>
constexpr Char ToUpperAscii(Char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<Char>(c - 0x20) : c;
}

template <class Char>
constexpr Char ToLowerAscii(Char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<Char>(c + 0x20) : c;
}

/// Whether two texts differ at most in the case of ASCII letters, as `_wcsicmp` compares in its initial
/// locale.
template <class Char>
constexpr bool IsSameText(const Char* sLeft, const Char* sRight)
{
    while (*sLeft != 0 && ToUpperAscii(*sLeft) == ToUpperAscii(*sRight))
        ++sLeft, ++sRight;
    return *sLeft == *sRight;
}

} // namespace OCT
