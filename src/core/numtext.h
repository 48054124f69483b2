/// Numbers as text, the same on every target and in every locale: the one place of the library that turns
/// numbers into digits.
///
/// Each function writes at \p p, without a terminator, and returns the end; nothing is written behind it.
/// `Char` is the unit of the text, `char` or `WCHAR`: digits go straight into the text, in either width.
#pragma once

#include <windows.h>

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace OCT
{

/// Room for any integer, and for any double of at most `kMaxDoubleDigits` digits.
inline constexpr std::size_t kMaxIntText = 20;
inline constexpr int kMaxDoubleDigits = 40;
inline constexpr std::size_t kMaxDoubleText = kMaxDoubleDigits + 12;
/// Room for any double with at most `kMaxFixedDecimals` decimals.
inline constexpr int kMaxFixedDecimals = 40;
inline constexpr std::size_t kMaxFixedText = kMaxFixedDecimals + 312;

// ---- Digits ----

// "00" to "99" and "00" to "FF", one after the other. They are no templates: names of such data would keep
// the library loaded.
extern const std::array<char, 200> kDecimalPairs;
extern const std::array<WCHAR, 200> kWideDecimalPairs;
extern const std::array<char, 512> kHexPairs;
extern const std::array<WCHAR, 512> kWideHexPairs;

template <class Char>
const Char* DecimalPair(std::uint32_t n)
{
    if constexpr (std::is_same_v<Char, char>)
        return kDecimalPairs.data() + 2 * n;
    else
        return kWideDecimalPairs.data() + 2 * n;
}

template <class Char>
const Char* HexPair(std::uint32_t n)
{
    if constexpr (std::is_same_v<Char, char>)
        return kHexPairs.data() + 2 * n;
    else
        return kWideHexPairs.data() + 2 * n;
}

template <class Char>
Char* PutPair(Char* p, std::uint32_t n)
{
    std::memcpy(p, DecimalPair<Char>(n), 2 * sizeof(Char));
    return p + 2;
}

// A number of several pairs of digits, split: the first pair stands above the 32nd bit and the others below,
// as a fraction of it, a little too large, by less than one in the last digit. So nothing gets lost when pair
// after pair is multiplied up. That takes one multiplication a pair where division takes two.

inline std::uint32_t FirstPair(std::uint64_t nSplit)
{
    return static_cast<std::uint32_t>(nSplit >> 32);
}

/// The pairs behind the first.
template <int Pairs, class Char>
Char* PutPairs(Char* p, std::uint64_t nSplit)
{
    if constexpr (Pairs == 0)
        return p;
    else
    {
        nSplit = (nSplit & 0xFFFFFFFF) * 100;
        return PutPairs<Pairs - 1>(PutPair(p, FirstPair(nSplit)), nSplit);
    }
}

inline std::uint64_t SplitFour(std::uint32_t n)
{
    return n * std::uint64_t{42949673}; // 2^32 / 10^2
}

inline std::uint64_t SplitSix(std::uint32_t n)
{
    return n * std::uint64_t{429497}; // 2^32 / 10^4
}

inline std::uint64_t SplitEight(std::uint32_t n)
{
    return (n * std::uint64_t{144115188076} >> 25) + 1; // 2^57 / 10^6
}

template <class Char>
Char* PutFour(Char* p, std::uint32_t n)
{
    const std::uint64_t nSplit = SplitFour(n);
    return PutPairs<1>(PutPair(p, FirstPair(nSplit)), nSplit);
}

template <class Char>
Char* PutEight(Char* p, std::uint32_t n)
{
    const std::uint64_t nSplit = SplitEight(n);
    return PutPairs<3>(PutPair(p, FirstPair(nSplit)), nSplit);
}

/// Exactly \p nWidth decimal digits (at most 20), leading zeros included and higher digits left out.
template <class Char>
Char* PutDigits(Char* p, std::uint64_t n, unsigned nWidth)
{
    Char* const pEnd = p + nWidth;
    for (; nWidth > 8; nWidth -= 8, n /= 100000000)
        PutEight(p + nWidth - 8, static_cast<std::uint32_t>(n % 100000000));
    auto nRest = static_cast<std::uint32_t>(n % 100000000);
    for (; nWidth >= 2; nWidth -= 2, nRest /= 100)
        PutPair(p + nWidth - 2, nRest % 100);
    if (nWidth != 0)
        *p = static_cast<Char>('0' + nRest % 10);
    return pEnd;
}

// ---- Integers ----

/// One or two digits before others: two units are written for either.
template <class Char>
Char* PutLeading(Char* p, std::uint32_t n)
{
    const bool bOne = n < 10;
    std::memcpy(p, DecimalPair<Char>(n) + bOne, 2 * sizeof(Char));
    return p + 2 - bOne;
}

template <int Pairs, class Char>
Char* PutLeadingPairs(Char* p, std::uint64_t nSplit)
{
    return PutPairs<Pairs>(PutLeading(p, FirstPair(nSplit)), nSplit);
}

template <class Char>
Char* PutUnsigned32(Char* p, std::uint32_t n)
{
    if (n < 100)
    {
        if (n >= 10)
            return PutPair(p, n);
        *p = static_cast<Char>('0' + n);
        return p + 1;
    }
    if (n < 10000)
        return PutLeadingPairs<1>(p, SplitFour(n));
    if (n < 1000000)
        return PutLeadingPairs<2>(p, SplitSix(n));
    if (n < 100000000)
        return PutLeadingPairs<3>(p, SplitEight(n));
    return PutEight(PutLeading(p, n / 100000000), n % 100000000);
}

template <class Char>
Char* PutUnsigned64(Char* p, std::uint64_t n)
{
    if (n <= 0xFFFFFFFF)
        return PutUnsigned32(p, static_cast<std::uint32_t>(n));
    const std::uint64_t nHigh = n / 100000000;
    p = nHigh <= 0xFFFFFFFF ? PutUnsigned32(p, static_cast<std::uint32_t>(nHigh))
                            : PutEight(PutUnsigned32(p, static_cast<std::uint32_t>(nHigh / 100000000)),
                                       static_cast<std::uint32_t>(nHigh % 100000000));
    return PutEight(p, static_cast<std::uint32_t>(n % 100000000));
}

/// Decimal digits, with "-" for a negative number.
template <class Char, std::integral Int>
Char* PutDecimal(Char* p, Int n)
{
    using Unsigned = std::conditional_t<sizeof(Int) <= 4, std::uint32_t, std::uint64_t>;
    auto nMagnitude = static_cast<Unsigned>(n);
    if constexpr (std::is_signed_v<Int>)
    {
        *p = static_cast<Char>('-'); // a digit comes over it if there is no sign
        p += n < 0;
        nMagnitude = n < 0 ? 0 - nMagnitude : nMagnitude;
    }
    if constexpr (sizeof(Int) <= 4)
        return PutUnsigned32(p, nMagnitude);
    else
        return PutUnsigned64(p, nMagnitude);
}

/// Exactly \p nWidth upper-case hexadecimal digits, leading zeros included and higher digits left out.
template <class Char, std::unsigned_integral Int>
Char* PutHex(Char* p, Int n, unsigned nWidth)
{
    Char* const pEnd = p + nWidth;
    std::uint64_t nRest = n;
    for (; nWidth >= 2; nWidth -= 2, nRest >>= 8)
        std::memcpy(p + nWidth - 2, HexPair<Char>(nRest & 0xFF), 2 * sizeof(Char));
    if (nWidth != 0)
        *p = HexPair<Char>(nRest & 0xF)[1];
    return pEnd;
}

/// Two upper-case hexadecimal digits a byte.
template <class Char>
Char* PutHexBytes(Char* p, const unsigned char* pBytes, std::size_t nBytes);

// ---- Doubles ----

/// At most \p nDigits significant digits (1 to `kMaxDoubleDigits`), without trailing zeros; as a power of ten
/// when the exponent is below -4 or not below \p nDigits. Rounds the double's exact value, ties to even.
/// The decimal separator is "." in every locale. "inf" and "nan" for what is no number.
template <class Char>
Char* PutDouble(Char* p, double d, int nDigits);

/// Exactly \p nDecimals decimals (0 to `kMaxFixedDecimals`), rounded likewise.
template <class Char>
Char* PutFixed(Char* p, double d, int nDecimals);

extern template char* PutHexBytes(char* p, const unsigned char* pBytes, std::size_t nBytes);
extern template WCHAR* PutHexBytes(WCHAR* p, const unsigned char* pBytes, std::size_t nBytes);
extern template char* PutDouble(char* p, double d, int nDigits);
extern template WCHAR* PutDouble(WCHAR* p, double d, int nDigits);
extern template char* PutFixed(char* p, double d, int nDecimals);
extern template WCHAR* PutFixed(WCHAR* p, double d, int nDecimals);

} // namespace OCT
