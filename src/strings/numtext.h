/// Numbers as text, the same on every target and in every locale.
///
/// Each function writes at \p p, without a terminator, and returns the end. `Char` is the unit of the text.
#pragma once

#include <algorithm>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <type_traits>

namespace OCT
{

/// Room for any integer, and for any double of at most `MaxDoubleDigits` digits.
inline constexpr std::size_t MaxIntText = 20;
inline constexpr int MaxDoubleDigits = 40;
inline constexpr std::size_t MaxDoubleText = MaxDoubleDigits + 12;

/// Decimal digits, with "-" for a negative number.
template <class Char, std::integral Int>
Char* PutDecimal(Char* p, Int n)
{
    if constexpr (std::is_same_v<Char, char>)
        return std::to_chars(p, p + MaxIntText, n).ptr;
    char sText[MaxIntText];
    return std::copy(sText, PutDecimal(sText, n), p);
}

/// Exactly \p nWidth upper-case hexadecimal digits, leading zeros included and higher digits left out.
template <class Char, std::unsigned_integral Int>
Char* PutHex(Char* p, Int n, unsigned nWidth)
{
    constexpr char sDigits[] = "0123456789ABCDEF";
    for (unsigned i = nWidth; i > 0; --i)
    {
        p[i - 1] = static_cast<Char>(sDigits[n % 16]);
        n = static_cast<Int>(n / 16);
    }
    return p + nWidth;
}

/// At most \p nDigits significant digits (1 to `MaxDoubleDigits`), without trailing zeros; as a power of ten
/// when the exponent is below -4 or not below \p nDigits. The decimal separator is "." in every locale.
template <class Char>
Char* PutDouble(Char* p, double d, int nDigits)
{
    char sText[MaxDoubleText];
    const char* const pEnd = std::to_chars(sText, sText + MaxDoubleText, d, std::chars_format::general,
                                           std::clamp(nDigits, 1, MaxDoubleDigits))
                                 .ptr;
    return std::copy(static_cast<const char*>(sText), pEnd, p);
}

} // namespace OCT
