#include "strings/utf8.h"

#include "strings/asciirun.h"

#include <bit>
#include <cstring>

namespace OCT
{
namespace
{

static_assert(std::endian::native == std::endian::little, "sequences are read as little-endian numbers");

bool IsTrail(unsigned b)
{
    return (b & 0xC0) == 0x80;
}

// Whether the byte may follow the lead byte: no overlong forms, no surrogates, nothing past U+10FFFF.
bool IsSecond(unsigned bLead, unsigned b)
{
    switch (bLead)
    {
    case 0xE0: return b >= 0xA0 && b <= 0xBF;
    case 0xED: return b >= 0x80 && b <= 0x9F;
    case 0xF0: return b >= 0x90 && b <= 0xBF;
    case 0xF4: return b >= 0x80 && b <= 0x8F;
    default: return IsTrail(b);
    }
}

// What a step consumed and wrote.
struct CStep
{
    unsigned m_nSrc;
    unsigned m_nDest;
};

inline CStep PutPair(WCHAR* pDest, char32_t c, unsigned nUsed)
{
    pDest[0] = static_cast<WCHAR>(0xD7C0 + (c >> 10));
    pDest[1] = static_cast<WCHAR>(0xDC00 | (c & 0x3FF));
    return {nUsed, 2};
}

inline CStep PutUnit(WCHAR* pDest, char32_t c, unsigned nUsed)
{
    *pDest = static_cast<WCHAR>(c);
    return {nUsed, 1};
}

// Decodes one sequence of which at least four bytes are there, into room for two units.
inline CStep DecodeStep(const char* p, WCHAR* pDest)
{
    std::uint32_t n;
    std::memcpy(&n, p, sizeof n);
    if ((n & 0xC0E0) == 0x80C0 && (n & 0x1E))
        return PutUnit(pDest, (n & 0x1F) << 6 | (n >> 8 & 0x3F), 2);
    if ((n & 0xC0C0F0) == 0x8080E0)
    {
        const std::uint32_t c = (n & 0xF) << 12 | (n >> 2 & 0xFC0) | (n >> 16 & 0x3F);
        if (c >= 0x800 && c - 0xD800 >= 0x800)
            return PutUnit(pDest, c, 3);
    }
    else if ((n & 0xC0C0C0F8) == 0x808080F0)
    {
        const std::uint32_t c = (n & 0x7) << 18 | (n << 4 & 0x3F000) | (n >> 10 & 0xFC0) | (n >> 24 & 0x3F);
        if (c - 0x10000 < 0x100000)
            return PutPair(pDest, c, 4);
    }
    unsigned nUsed;
    const char32_t c = DecodeUtf8(reinterpret_cast<const unsigned char*>(p), 4, nUsed);
    return PutUnit(pDest, c, nUsed);
}

__m128i Set32(std::uint32_t n)
{
    return _mm_set1_epi32(static_cast<int>(n));
}

__m128i Set16(unsigned n)
{
    return _mm_set1_epi16(static_cast<short>(n));
}

// Whether no bit is set.
bool IsZero(__m128i v)
{
    return _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())) == 0xFFFF;
}

__m128i Select(__m128i isFirst, __m128i first, __m128i second)
{
    return _mm_or_si128(_mm_and_si128(isFirst, first), _mm_andnot_si128(isFirst, second));
}

__m128i Load4(const char* p)
{
    int n;
    std::memcpy(&n, p, sizeof n);
    return _mm_cvtsi32_si128(n);
}

// Decodes four sequences of three bytes if there are such, reading 13 bytes.
bool DecodeFourOfThree(const char* p, WCHAR* pDest)
{
    const __m128i v = _mm_unpacklo_epi64(_mm_unpacklo_epi32(Load4(p), Load4(p + 3)),
                                         _mm_unpacklo_epi32(Load4(p + 6), Load4(p + 9)));
    const __m128i c = _mm_or_si128(_mm_or_si128(_mm_slli_epi32(_mm_and_si128(v, Set32(0xF)), 12),
                                                _mm_and_si128(_mm_srli_epi32(v, 2), Set32(0xFC0))),
                                   _mm_and_si128(_mm_srli_epi32(v, 16), Set32(0x3F)));
    const __m128i malformed = _mm_xor_si128(_mm_and_si128(v, Set32(0xC0C0F0)), Set32(0x8080E0));
    const __m128i high = _mm_and_si128(c, Set32(0xF800));
    const __m128i forbidden =
        _mm_or_si128(_mm_cmpeq_epi32(high, _mm_setzero_si128()), _mm_cmpeq_epi32(high, Set32(0xD800)));
    if (!IsZero(_mm_or_si128(malformed, forbidden)))
        return false;
    // Signed, so that packing does not saturate.
    const __m128i units = _mm_srai_epi32(_mm_slli_epi32(c, 16), 16);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pDest), _mm_packs_epi32(units, units));
    return true;
}

// Decodes four sequences of four bytes if there are such.
bool DecodeFourOfFour(const char* p, WCHAR* pDest)
{
    const __m128i v = Load16(p);
    const __m128i c = _mm_or_si128(_mm_or_si128(_mm_slli_epi32(_mm_and_si128(v, Set32(0x7)), 18),
                                                _mm_and_si128(_mm_slli_epi32(v, 4), Set32(0x3F000))),
                                   _mm_or_si128(_mm_and_si128(_mm_srli_epi32(v, 10), Set32(0xFC0)),
                                                _mm_and_si128(_mm_srli_epi32(v, 24), Set32(0x3F))));
    const __m128i malformed = _mm_xor_si128(_mm_and_si128(v, Set32(0xC0C0C0F8)), Set32(0x808080F0));
    const __m128i forbidden =
        _mm_or_si128(_mm_cmplt_epi32(c, Set32(0x10000)), _mm_cmpgt_epi32(c, Set32(0x10FFFF)));
    if (!IsZero(_mm_or_si128(malformed, forbidden)))
        return false;
    const __m128i lead = _mm_add_epi32(_mm_srli_epi32(c, 10), Set32(0xD7C0));
    const __m128i trail = _mm_or_si128(_mm_and_si128(c, Set32(0x3FF)), Set32(0xDC00));
    Store16(pDest, _mm_or_si128(lead, _mm_slli_epi32(trail, 16)));
    return true;
}

// Decodes while 48 bytes and room for 32 units are there, and moves the source behind what is done. A block
// is written before it is known to count: no unit takes more than three bytes, so the result fills it.
std::size_t DecodeBlocks(const char*& p, std::size_t& n, WCHAR* pDest, std::size_t nRoom)
{
    std::size_t iDest = 0;
    const auto Advance = [&](std::size_t nSrc, std::size_t nDest) {
        p += nSrc;
        n -= nSrc;
        iDest += nDest;
    };
    while (n >= 48 && nRoom - iDest >= 32)
    {
        const unsigned nForeign = ForeignBytes16(p);
        Widen16(p, pDest + iDest);
        if (nForeign == 0)
        {
            Advance(16, 16);
            continue;
        }
        const auto nAscii = static_cast<unsigned>(std::countr_zero(nForeign));
        const auto nEnd = static_cast<unsigned>(std::bit_width(nForeign));
        Advance(nAscii, nAscii);
        const char* const pEnd = p + (nEnd - nAscii);
        while (p < pEnd)
        {
            const unsigned nLead = static_cast<unsigned char>(*p) & 0xF0;
            if (*p >= 0)
            {
                pDest[iDest] = static_cast<WCHAR>(*p);
                Advance(1, 1);
            }
            else if (nLead == 0xE0 && DecodeFourOfThree(p, pDest + iDest))
                Advance(12, 4);
            else if (nLead == 0xF0 && DecodeFourOfFour(p, pDest + iDest))
                Advance(16, 8);
            else
            {
                const CStep step = DecodeStep(p, pDest + iDest);
                Advance(step.m_nSrc, step.m_nDest);
            }
        }
    }
    return iDest;
}

// Encodes a unit beyond ASCII, writing up to four bytes; returns its length.
inline unsigned EncodeStep(WCHAR cUnit, char* pDest)
{
    std::uint32_t c = cUnit;
    if (c < 0x800)
    {
        const auto n = static_cast<std::uint16_t>(0x80C0 | c >> 6 | (c & 0x3F) << 8);
        std::memcpy(pDest, &n, sizeof n);
        return 2;
    }
    c = (c & 0xF800) == 0xD800 ? static_cast<std::uint32_t>(c_cReplacement) : c;
    const std::uint32_t n = 0x8080E0 | c >> 12 | (c << 2 & 0x3F00) | (c & 0x3F) << 16;
    std::memcpy(pDest, &n, sizeof n);
    return 3;
}

// Encodes eight units if all take three bytes, writing 25 bytes of which 24 count.
bool EncodeEightOfThree(const WCHAR* p, char* pDest)
{
    __m128i v = Load16(p);
    const __m128i high = _mm_and_si128(v, Set16(0xF800));
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())))
        return false;
    const __m128i isSurrogate = _mm_cmpeq_epi16(high, Set16(0xD800));
    v = Select(isSurrogate, Set16(static_cast<unsigned>(c_cReplacement)), v);
    const __m128i firstTwo = _mm_or_si128(_mm_or_si128(_mm_srli_epi16(v, 12), Set16(0x80E0)),
                                          _mm_and_si128(_mm_slli_epi16(v, 2), Set16(0x3F00)));
    const __m128i last = _mm_or_si128(_mm_and_si128(v, Set16(0x3F)), Set16(0x80));
    std::uint32_t aSequences[8];
    Store16(aSequences, _mm_unpacklo_epi16(firstTwo, last));
    Store16(aSequences + 4, _mm_unpackhi_epi16(firstTwo, last));
    for (unsigned i = 0; i < 8; ++i)
        std::memcpy(pDest + 3 * i, aSequences + i, 4);
    return true;
}

// Encodes while 33 units and room for 96 bytes are there, and moves the source behind what is done. Blocks
// and the fourth byte of a step are written before they are known to count: every unit that follows fills a
// byte at least.
std::size_t EncodeBlocks(const WCHAR*& p, std::size_t& n, char* pDest, std::size_t nRoom)
{
    std::size_t iDest = 0;
    const auto Advance = [&](std::size_t nSrc, std::size_t nDest) {
        p += nSrc;
        n -= nSrc;
        iDest += nDest;
    };
    while (n >= 33 && nRoom - iDest >= 96)
    {
        const __m128i packed = Pack16(p);
        const unsigned nForeign = ForeignOf16(packed);
        Store16(pDest + iDest, packed);
        if (nForeign == 0)
        {
            Advance(16, 16);
            continue;
        }
        const auto nAscii = static_cast<unsigned>(std::countr_zero(nForeign));
        const auto nEnd = static_cast<unsigned>(std::bit_width(nForeign));
        Advance(nAscii, nAscii);
        const WCHAR* const pEnd = p + (nEnd - nAscii);
        while (p < pEnd)
        {
            if (*p < 0x80)
            {
                pDest[iDest] = static_cast<char>(*p);
                Advance(1, 1);
            }
            else if (*p >= 0x800 && EncodeEightOfThree(p, pDest + iDest))
                Advance(8, 24);
            else
                Advance(1, EncodeStep(*p, pDest + iDest));
        }
    }
    return iDest;
}

} // namespace

char32_t DecodeUtf8(const unsigned char* p, std::size_t n, unsigned& nUsed)
{
    const unsigned bLead = p[0];
    nUsed = 1;
    if (bLead < 0x80)
        return bLead;
    if (bLead < 0xC2 || bLead > 0xF4)
        return c_cReplacement;
    const unsigned nLength = Utf8LengthByLead(p[0]);
    char32_t c = bLead & (0x7Fu >> nLength);
    for (; nUsed < nLength; ++nUsed)
    {
        if (nUsed == n || !(nUsed == 1 ? IsSecond(bLead, p[1]) : IsTrail(p[nUsed])))
            return c_cReplacement;
        c = c << 6 | (p[nUsed] & 0x3F);
    }
    return c;
}

std::size_t Utf8ToWide(const char* pSrc, std::size_t nSrc, WCHAR* pDest, std::size_t nRoom)
{
    std::size_t iDest = DecodeBlocks(pSrc, nSrc, pDest, nRoom);
    while (nSrc && iDest < nRoom)
    {
        CStep step{1, 1};
        const unsigned nLead = static_cast<unsigned char>(*pSrc) & 0xF0;
        if (*pSrc >= 0)
            pDest[iDest] = static_cast<WCHAR>(*pSrc);
        else if (nLead == 0xE0 && nSrc >= 13 && nRoom - iDest >= 4 && DecodeFourOfThree(pSrc, pDest + iDest))
            step = {12, 4};
        else if (nLead == 0xF0 && nSrc >= 16 && nRoom - iDest >= 8 && DecodeFourOfFour(pSrc, pDest + iDest))
            step = {16, 8};
        else if (nSrc >= 4 && nRoom - iDest >= 2)
            step = DecodeStep(pSrc, pDest + iDest);
        else
        {
            const char32_t c = DecodeUtf8(reinterpret_cast<const unsigned char*>(pSrc), nSrc, step.m_nSrc);
            if (c > 0xFFFF && nRoom - iDest < 2)
                break;
            step =
                c > 0xFFFF ? PutPair(pDest + iDest, c, step.m_nSrc) : PutUnit(pDest + iDest, c, step.m_nSrc);
        }
        pSrc += step.m_nSrc;
        nSrc -= step.m_nSrc;
        iDest += step.m_nDest;
    }
    return iDest;
}

std::size_t WideToUtf8(const WCHAR* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom)
{
    std::size_t iDest = EncodeBlocks(pSrc, nSrc, pDest, nRoom);
    for (; nSrc && iDest < nRoom; ++pSrc, --nSrc)
        if (*pSrc < 0x80)
            pDest[iDest++] = static_cast<char>(*pSrc);
        else if (*pSrc >= 0x800 && nSrc >= 9 && nRoom - iDest >= 25 &&
                 EncodeEightOfThree(pSrc, pDest + iDest))
        {
            pSrc += 7;
            nSrc -= 7;
            iDest += 24;
        }
        else if (nSrc >= 2 && nRoom - iDest >= 4)
            iDest += EncodeStep(*pSrc, pDest + iDest);
        else if (Utf8LengthOfUnit(*pSrc) <= nRoom - iDest)
        {
            EncodeUnitAsUtf8(*pSrc, pDest + iDest);
            iDest += Utf8LengthOfUnit(*pSrc);
        }
    return iDest;
}

} // namespace OCT
