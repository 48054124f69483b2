/// The quotes of a literal, counted and doubled 16 units at a time.
#pragma once

#include "strings/asciirun.h"
#include "strings/strbuffer.h"

namespace OCT
{

inline constexpr WCHAR Quote = ORVTEXT('\'');

/// Ones in each of 8 units that is a quote.
inline __m128i QuotesOf8(__m128i units)
{
    return _mm_cmpeq_epi16(units, _mm_set1_epi16(Quote));
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
        nQuotes += s[i] == Quote;
    return nQuotes;
}

/// Copies \p n units, each quote twice, one by one. The unit behind what it writes may be overwritten.
inline WCHAR* PutDoubledFew(WCHAR* p, const WCHAR* s, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i)
    {
        p[0] = s[i];
        p[1] = Quote;
        p += s[i] == Quote ? 2 : 1;
    }
    return p;
}

/// Copies \p n units, each quote twice. The unit behind what it writes may be overwritten.
inline WCHAR* PutDoubled(WCHAR* p, const WCHAR* s, std::size_t n)
{
    const auto PutBlock = [&](__m128i units) {
        if (_mm_movemask_epi8(QuotesOf8(units)) != 0) [[unlikely]]
            return PutDoubledFew(p, s, 8);
        Store16(p, units);
        return p + 8;
    };
    for (; n >= 8; n -= 8, s += 8)
        p = PutBlock(Load16(s));
    return PutDoubledFew(p, s, n);
}

} // namespace OCT
