/// The quotes of a literal, counted and doubled 16 units at a time.
#pragma once

#include "orvcomtypes/orvexport.h"
#include "strings/asciirun.h"

#include <windows.h>

#include <bit>
#include <cstddef>
#include <cstdint>

namespace OCT
{

inline constexpr WCHAR kQuote = ORVTEXT('\'');

/// Ones in each of 8 units that is a quote.
inline __m128i QuotesOf8(__m128i units)
{
    return _mm_cmpeq_epi16(units, _mm_set1_epi16(kQuote));
}

inline std::size_t CountQuotes(const WCHAR* s, std::size_t n)
{
    __m128i nSums = _mm_setzero_si128();
    std::size_t i = 0;
    for (; n - i >= 16; i += 16)
    {
        const __m128i quotes = _mm_packs_epi16(QuotesOf8(Load16(s + i)), QuotesOf8(Load16(s + i + 8)));
        const __m128i nOnes = _mm_and_si128(quotes, _mm_set1_epi8(1));
        nSums = _mm_add_epi64(nSums, _mm_sad_epu8(nOnes, _mm_setzero_si128()));
    }
    std::uint64_t nHalves[2];
    Store16(nHalves, nSums);
    auto nQuotes = static_cast<std::size_t>(nHalves[0] + nHalves[1]);
    for (; i < n; ++i)
        nQuotes += s[i] == kQuote;
    return nQuotes;
}

/// Copies \p n units, each quote twice. The unit behind what it writes may be overwritten.
inline WCHAR* PutDoubled(WCHAR* p, const WCHAR* s, std::size_t n)
{
    while (n >= 8)
    {
        const __m128i units = Load16(s);
        const auto nQuotes = static_cast<unsigned>(_mm_movemask_epi8(QuotesOf8(units)));
        Store16(p, units);
        // Up to the first quote; what was written behind it is written again.
        const unsigned nRun = nQuotes == 0 ? 8 : static_cast<unsigned>(std::countr_zero(nQuotes)) / 2 + 1;
        p += nRun;
        s += nRun;
        n -= nRun;
        if (nQuotes != 0)
            *p++ = kQuote;
    }
    for (; n > 0; --n, ++s)
    {
        p[0] = *s;
        p[1] = kQuote;
        p += *s == kQuote ? 2 : 1;
    }
    return p;
}

} // namespace OCT
