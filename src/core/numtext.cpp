#include "core/numtext.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include <windows.h>
#include <emmintrin.h>

namespace OCT
{

namespace
{

template <class Char, unsigned Base>
constexpr auto MakePairs()
{
    std::array<Char, 2 * Base * Base> pairs{};
    for (unsigned i = 0; i < Base * Base; ++i)
    {
        pairs[2 * i] = static_cast<Char>("0123456789ABCDEF"[i / Base]);
        pairs[2 * i + 1] = static_cast<Char>("0123456789ABCDEF"[i % Base]);
    }
    return pairs;
}

constexpr auto kPowersOfTen = [] {
    std::array<std::uint64_t, 20> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i)
        powers[i] = powers[i - 1] * 10;
    return powers;
}();

// ---- Hexadecimal ----

void Store(__m128i vDigits, char* p)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), vDigits);
}

void Store(__m128i vDigits, WCHAR* p)
{
    const __m128i vZero = _mm_setzero_si128();
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_unpacklo_epi8(vDigits, vZero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 8), _mm_unpackhi_epi8(vDigits, vZero));
}

/// 16 numbers below 16 as digits.
__m128i HexDigits(__m128i v)
{
    const __m128i vLetter = _mm_and_si128(_mm_cmpgt_epi8(v, _mm_set1_epi8(9)), _mm_set1_epi8('A' - '0' - 10));
    return _mm_add_epi8(_mm_add_epi8(v, _mm_set1_epi8('0')), vLetter);
}

// ---- Doubles ----

/// The product of two numbers, in halves.
struct CProduct
{
    std::uint64_t m_nHigh;
    std::uint64_t m_nLow;
};

CProduct Multiply(std::uint64_t a, std::uint64_t b)
{
    const std::uint64_t aLow = a & 0xFFFFFFFF;
    const std::uint64_t aHigh = a >> 32;
    const std::uint64_t bLow = b & 0xFFFFFFFF;
    const std::uint64_t bHigh = b >> 32;
    const std::uint64_t nLow = aLow * bLow;
    const std::uint64_t nCross = aHigh * bLow + (nLow >> 32);
    const std::uint64_t nMiddle = aLow * bHigh + (nCross & 0xFFFFFFFF);
    return {aHigh * bHigh + (nCross >> 32) + (nMiddle >> 32), nMiddle << 32 | (nLow & 0xFFFFFFFF)};
}

/// A magnitude as its whole part and the binary places behind the point, both exact: below 2^64, and not so
/// small that a bit lies behind the 64th place.
class CBinary
{
public:
    explicit CBinary(double d)
    {
        const auto nBits = std::bit_cast<std::uint64_t>(d) & 0x7FFFFFFFFFFFFFFF;
        const int nPlaces = 1075 - static_cast<int>(nBits >> 52);
        const std::uint64_t nMantissa = (nBits & 0xFFFFFFFFFFFFF) | 0x10000000000000;
        if (nPlaces > 0 && nPlaces < 64)
        {
            m_nWhole = nMantissa >> nPlaces;
            m_nFraction = nMantissa << (64 - nPlaces);
        }
        else if (nPlaces <= 0 && nPlaces >= -11)
            m_nWhole = nMantissa << -nPlaces;
        else if (nBits != 0)
            m_bExact = false;
    }

    bool IsExact() const { return m_bExact; }
    std::uint64_t Whole() const { return m_nWhole; }
    std::uint64_t Fraction() const { return m_nFraction; }

    /// Makes the fraction a whole number of \p nDecimals decimals (at most 19). The product is exact, and so
    /// is the rounding.
    void Round(int nDecimals)
    {
        const std::uint64_t nPower = kPowersOfTen[static_cast<std::size_t>(nDecimals)];
        const CProduct product = Multiply(m_nFraction, nPower);
        constexpr std::uint64_t nHalf = 0x8000000000000000;
        const bool bOdd = (nDecimals != 0 ? product.m_nHigh : m_nWhole) & 1;
        m_nFraction = product.m_nHigh + (product.m_nLow > nHalf || (product.m_nLow == nHalf && bOdd));
        if (m_nFraction == nPower)
        {
            ++m_nWhole;
            m_nFraction = 0;
        }
    }

private:
    std::uint64_t m_nWhole = 0;
    std::uint64_t m_nFraction = 0;
    bool m_bExact = true;
};

/// Decimal digits of a number above 0.
int CountDigits(std::uint64_t n)
{
    // 1233 / 4096 is a little more than the logarithm of 2.
    const int nGuess = static_cast<int>(std::bit_width(n)) * 1233 >> 12;
    return nGuess + (n >= kPowersOfTen[static_cast<std::size_t>(nGuess)]);
}

/// Decimals of which the first \p nDigits digits of a magnitude consist, negative ones for 0.
int DecimalsOf(const CBinary& number, double dMagnitude, int nDigits)
{
    if (number.Whole() != 0)
        return nDigits - CountDigits(number.Whole());
    return nDigits + (dMagnitude < 0.1) + (dMagnitude < 0.01) + (dMagnitude < 0.001);
}

/// Takes the zeros from the end of the decimals of a fraction that is not 0.
void DropZeros(std::uint64_t& nFraction, unsigned& nDecimals)
{
    const auto Drop = [&](std::uint64_t nPower, unsigned nZeros) {
        if (nFraction % nPower != 0)
            return false;
        nFraction /= nPower;
        nDecimals -= nZeros;
        return true;
    };
    while (Drop(100000000, 8))
        ;
    Drop(10000, 4);
    Drop(100, 2);
    Drop(10, 1);
}

template <class Char>
Char* PutSign(Char* p, double d)
{
    *p = static_cast<Char>('-'); // something comes over it if there is no sign
    return p + std::signbit(d);
}

template <class Char>
Char* PutFraction(Char* p, std::uint64_t nFraction, unsigned nDecimals)
{
    *p = static_cast<Char>('.');
    return PutDigits(p + 1, nFraction, nDecimals);
}

/// The runtime's text of any double.
template <std::size_t Size, class Char>
Char* PutGeneral(Char* p, double d, std::chars_format eForm, int nPrecision)
{
    char sText[Size];
    const char* const pEnd = std::to_chars(sText, sText + Size, d, eForm, nPrecision).ptr;
    return std::copy(static_cast<const char*>(sText), pEnd, p);
}

} // namespace

constexpr std::array<char, 200> kDecimalPairs = MakePairs<char, 10>();
constexpr std::array<WCHAR, 200> kWideDecimalPairs = MakePairs<WCHAR, 10>();
constexpr std::array<char, 512> kHexPairs = MakePairs<char, 16>();
constexpr std::array<WCHAR, 512> kWideHexPairs = MakePairs<WCHAR, 16>();

template <class Char>
Char* PutHexBytes(Char* p, const unsigned char* pBytes, std::size_t nBytes)
{
    const __m128i vNibble = _mm_set1_epi8(0xF);
    for (; nBytes >= 16; nBytes -= 16, pBytes += 16, p += 32)
    {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pBytes));
        const __m128i vHigh = HexDigits(_mm_and_si128(_mm_srli_epi16(v, 4), vNibble));
        const __m128i vLow = HexDigits(_mm_and_si128(v, vNibble));
        Store(_mm_unpacklo_epi8(vHigh, vLow), p);
        Store(_mm_unpackhi_epi8(vHigh, vLow), p + 16);
    }
    for (; nBytes != 0; --nBytes)
        p = PutHex(p, *pBytes++, 2);
    return p;
}

template <class Char>
Char* PutDouble(Char* p, double d, int nDigits)
{
    nDigits = std::clamp(nDigits, 1, kMaxDoubleDigits);
    CBinary number(d);
    const int nDecimals = DecimalsOf(number, std::fabs(d), nDigits);
    if (!number.IsExact() || nDigits > 17 || nDecimals < 0 || nDecimals > 19)
        return PutGeneral<kMaxDoubleText>(p, d, std::chars_format::general, nDigits);
    number.Round(nDecimals);
    if (number.Whole() >= kPowersOfTen[static_cast<std::size_t>(nDigits)])
        return PutGeneral<kMaxDoubleText>(p, d, std::chars_format::general, nDigits);
    p = PutUnsigned64(PutSign(p, d), number.Whole());
    std::uint64_t nFraction = number.Fraction();
    if (nFraction == 0)
        return p;
    auto nLeft = static_cast<unsigned>(nDecimals);
    DropZeros(nFraction, nLeft);
    return PutFraction(p, nFraction, nLeft);
}

template <class Char>
Char* PutFixed(Char* p, double d, int nDecimals)
{
    nDecimals = std::clamp(nDecimals, 0, kMaxFixedDecimals);
    CBinary number(d);
    if (!number.IsExact() || nDecimals > 19)
        return PutGeneral<kMaxFixedText>(p, d, std::chars_format::fixed, nDecimals);
    number.Round(nDecimals);
    p = PutUnsigned64(PutSign(p, d), number.Whole());
    return nDecimals == 0 ? p : PutFraction(p, number.Fraction(), static_cast<unsigned>(nDecimals));
}

template char* PutHexBytes(char* p, const unsigned char* pBytes, std::size_t nBytes);
template WCHAR* PutHexBytes(WCHAR* p, const unsigned char* pBytes, std::size_t nBytes);
template char* PutDouble(char* p, double d, int nDigits);
template WCHAR* PutDouble(WCHAR* p, double d, int nDigits);
template char* PutFixed(char* p, double d, int nDecimals);
template WCHAR* PutFixed(WCHAR* p, double d, int nDecimals);

} // namespace OCT
