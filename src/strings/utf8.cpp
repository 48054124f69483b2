#include "strings/utf8.h"

#include "strings/asciirun.h"
#include "strings/utf8threes.h"

#include <windows.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace OCT
{
namespace
{

static_assert(std::endian::native == std::endian::little, "sequences are read as little-endian numbers");

int Byte(char c)
{
    return static_cast<unsigned char>(c);
}

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
    std::size_t m_nSrc;
    std::size_t m_nDest;
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

// Decodes a sequence of two bytes if there is one.
inline bool DecodeTwo(const char* p, WCHAR* pDest)
{
    std::uint16_t n;
    std::memcpy(&n, p, sizeof n);
    if ((n & 0xC0E0) != 0x80C0 || !(n & 0x1E))
        return false;
    *pDest = static_cast<WCHAR>((n & 0x1F) << 6 | (n >> 8 & 0x3F));
    return true;
}

// Decodes a sequence of three bytes, the first one lowest, if it is one.
inline bool DecodeThree(std::uint32_t n, WCHAR* pDest)
{
    const std::uint32_t c = (n & 0xF) << 12 | (n >> 2 & 0xFC0) | (n >> 16 & 0x3F);
    if ((n & 0xC0C0F0) != 0x8080E0 || c < 0x800 || c - 0xD800 < 0x800)
        return false;
    *pDest = static_cast<WCHAR>(c);
    return true;
}

// Decodes one sequence of which at least four bytes are there, into room for two units.
inline CStep DecodeStep(const char* p, WCHAR* pDest)
{
    if (DecodeTwo(p, pDest))
        return {2, 1};
    std::uint32_t n;
    std::memcpy(&n, p, sizeof n);
    if (DecodeThree(n, pDest))
        return {3, 1};
    if ((n & 0xC0C0C0F8) == 0x808080F0)
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

// Whether no bit is set.
bool IsZero(__m128i v)
{
    return _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())) == 0xFFFF;
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

// Decodes one or several sequences if they fit; else nothing is used.
inline CStep DecodeFitting(const char* p, std::size_t n, WCHAR* pDest, std::size_t nRoom)
{
    const unsigned nLead = static_cast<unsigned char>(*p) & 0xF0;
    if (nLead == 0xE0 && n >= 24)
        if (const std::size_t nUnits = g_pThreeByteRuns->m_pfnDecode(p, n, pDest, nRoom))
            return {3 * nUnits, nUnits};
    if (nLead == 0xF0 && n >= 16 && nRoom >= 8 && DecodeFourOfFour(p, pDest))
        return {16, 8};
    if (n >= 4 && nRoom >= 2)
        return DecodeStep(p, pDest);
    if (n == 3 &&
        DecodeThree(static_cast<std::uint32_t>(Byte(p[0]) | Byte(p[1]) << 8 | Byte(p[2]) << 16), pDest))
        return {3, 1};
    unsigned nUsed;
    const char32_t c = DecodeUtf8(reinterpret_cast<const unsigned char*>(p), n, nUsed);
    if (c <= 0xFFFF)
        return PutUnit(pDest, c, nUsed);
    return nRoom >= 2 ? PutPair(pDest, c, nUsed) : CStep{0, 0};
}

// Decodes ASCII and sequences of two bytes up to another sequence, while 65 bytes and room for 32 units are
// there, and moves the source behind what is done. 16 units are written before it is known that they count:
// no unit takes more than three bytes, so the result fills them.
inline std::size_t DecodeBlocks(const char*& p, std::size_t& n, WCHAR* pDest, std::size_t nRoom)
{
    std::size_t iDest = 0;
    const auto Advance = [&](std::size_t nSrc, std::size_t nDest) {
        p += nSrc;
        n -= nSrc;
        iDest += nDest;
    };
    while (n >= 65 && nRoom - iDest >= 32)
    {
        auto nForeign = static_cast<unsigned>(_mm_movemask_epi8(Load16(p)));
        Copy16(p, pDest + iDest);
        std::size_t nTwos = 0;
        while (nForeign)
        {
            const auto i = static_cast<unsigned>(std::countr_zero(nForeign));
            WCHAR* const pAt = pDest + iDest + i - nTwos;
            if (!DecodeTwo(p + i, pAt))
            {
                Advance(i, i - nTwos);
                return iDest;
            }
            Copy16(p + i + 2, pAt + 1);
            ++nTwos;
            nForeign &= nForeign - 1;
            nForeign &= nForeign - 1;
            // A branch, so that the next block need not wait for the sum.
            if (i == 15)
                Advance(1, 1);
        }
        Advance(16, 16 - nTwos);
    }
    return iDest;
}

// A short source with zeros behind it, and room behind the result: blocks can be decoded from the first byte
// on.
struct CShortText
{
    static constexpr std::size_t kBytes = 64;
    static constexpr std::size_t kReach = 34; // read and written beyond a byte

    CShortText(const char* p, std::size_t n)
    {
        std::memset(m_aSrc + n, 0, kReach);
        std::memcpy(m_aSrc, p, n);
    }

    char m_aSrc[kBytes + kReach];
    WCHAR m_aDest[kBytes + kReach];
};

// Decodes \p n bytes of a short text, blocks of ASCII and two bytes as DecodeBlocks does; returns the units.
std::size_t DecodeShort(CShortText& text, std::size_t n)
{
    const char* p = text.m_aSrc;
    const char* const pEnd = p + n;
    WCHAR* pDest = text.m_aDest;
    while (p < pEnd)
    {
        if (static_cast<unsigned char>(*p) >= 0xE0)
        {
            // The zeros behind the source continue no sequence.
            const CStep step = DecodeFitting(p, CShortText::kReach, pDest, CShortText::kReach);
            p += step.m_nSrc;
            pDest += step.m_nDest;
            continue;
        }
        auto nForeign = static_cast<unsigned>(_mm_movemask_epi8(Load16(p)));
        Copy16(p, pDest);
        std::size_t nTwos = 0;
        std::size_t nBytes = std::min<std::size_t>(16, static_cast<std::size_t>(pEnd - p));
        std::size_t nUnits = nBytes;
        for (; nForeign; nForeign &= nForeign - 1)
        {
            const auto i = static_cast<unsigned>(std::countr_zero(nForeign));
            WCHAR* const pAt = pDest + i - nTwos;
            if (!DecodeTwo(p + i, pAt))
            {
                const CStep step = DecodeStep(p + i, pAt);
                nBytes = i + step.m_nSrc;
                nUnits = i + step.m_nDest;
                break;
            }
            Copy16(p + i + 2, pAt + 1);
            ++nTwos;
            nForeign &= nForeign - 1;
            if (i == 15)
                ++nBytes, ++nUnits;
        }
        p += nBytes;
        pDest += nUnits - nTwos;
    }
    return static_cast<std::size_t>(pDest - text.m_aDest);
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
    c = (c & 0xF800) == 0xD800 ? static_cast<std::uint32_t>(kReplacementChar) : c;
    const std::uint32_t n = 0x8080E0 | c >> 12 | (c << 2 & 0x3F00) | (c & 0x3F) << 16;
    std::memcpy(pDest, &n, sizeof n);
    return 3;
}

// Encodes ASCII and units of two bytes up to a longer one, while 33 units and room for 96 bytes are there.
// Blocks of ASCII are written at once, and behind each foreign unit again what follows it, before they are
// known to count: every unit that follows fills a byte at least.
CStep EncodeBlocks(const WCHAR* const pSrc, std::size_t nSrc, char* const pStart, std::size_t nRoom)
{
    const WCHAR* p = pSrc;
    const WCHAR* const pEnd = pSrc + nSrc;
    char* pDest = pStart;
    // Callers may name more room than there is address space; no more than this matters.
    const char* const pRoomEnd = pStart + std::min(nRoom, 3 * nSrc + 96);
    const auto Done = [&](unsigned nInBlock) {
        return CStep{static_cast<std::size_t>(p - pSrc) + nInBlock,
                     static_cast<std::size_t>(pDest - pStart) + nInBlock};
    };
    for (; pEnd - p >= 33 && pRoomEnd - pDest >= 96; p += 16, pDest += 16)
    {
        Copy16(p, pDest);
        for (unsigned nForeign = Foreign16(p); nForeign; nForeign &= nForeign - 1)
        {
            const auto i = static_cast<unsigned>(std::countr_zero(nForeign));
            if (p[i] >= 0x800)
                return Done(i);
            EncodeStep(p[i], pDest + i);
            ++pDest;
            Copy16(p + i + 1, pDest + i + 1);
        }
    }
    return Done(0);
}

// Encodes units of three bytes: by blocks, else up to a shorter one. What does not fit is dropped.
CStep EncodeThrees(const WCHAR* p, std::size_t n, char* pDest, std::size_t nRoom)
{
    if (n >= 8)
        if (const std::size_t nUnits = g_pThreeByteRuns->m_pfnEncode(p, n, pDest, nRoom))
            return {nUnits, 3 * nUnits};
    CStep done{1, nRoom >= 3 ? EncodeStep(*p, pDest) : 0};
    for (; done.m_nSrc < n && p[done.m_nSrc] >= 0x800 && nRoom - done.m_nDest >= 3; ++done.m_nSrc)
        done.m_nDest += EncodeStep(p[done.m_nSrc], pDest + done.m_nDest);
    return done;
}

} // namespace

char32_t DecodeUtf8(const unsigned char* p, std::size_t n, unsigned& nUsed)
{
    const unsigned bLead = p[0];
    nUsed = 1;
    if (bLead < 0x80)
        return bLead;
    if (bLead < 0xC2 || bLead > 0xF4)
        return kReplacementChar;
    const unsigned nLength = Utf8LengthByLead(p[0]);
    char32_t c = bLead & (0x7Fu >> nLength);
    for (; nUsed < nLength; ++nUsed)
    {
        if (nUsed == n || !(nUsed == 1 ? IsSecond(bLead, p[1]) : IsTrail(p[nUsed])))
            return kReplacementChar;
        c = c << 6 | (p[nUsed] & 0x3F);
    }
    return c;
}

std::size_t Utf8ToWide(const char* pSrc, std::size_t nSrc, WCHAR* pDest, std::size_t nRoom)
{
    std::size_t iDest = 0;
    // Of no bytes none is looked at: one less is no short text.
    if (nSrc - 1 < CShortText::kBytes && nSrc <= nRoom && static_cast<unsigned char>(*pSrc) < 0xE0)
    {
        CShortText text(pSrc, nSrc);
        const std::size_t nUnits = DecodeShort(text, nSrc);
        std::memcpy(pDest, text.m_aDest, nUnits * sizeof(WCHAR));
        return nUnits;
    }
    while (nSrc && iDest < nRoom)
    {
        if (static_cast<unsigned char>(*pSrc) < 0xE0)
            iDest += DecodeBlocks(pSrc, nSrc, pDest + iDest, nRoom - iDest);
        if (*pSrc >= 0)
        {
            const std::size_t nAscii = CopyAscii(pSrc, std::min(nSrc, nRoom - iDest), pDest + iDest);
            pSrc += nAscii;
            nSrc -= nAscii;
            iDest += nAscii;
            continue;
        }
        const CStep step = DecodeFitting(pSrc, nSrc, pDest + iDest, nRoom - iDest);
        if (!step.m_nSrc)
            break;
        pSrc += step.m_nSrc;
        nSrc -= step.m_nSrc;
        iDest += step.m_nDest;
    }
    return iDest;
}

std::size_t WideToUtf8(const WCHAR* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom)
{
    std::size_t iDest = 0;
    const auto Advance = [&](CStep step) {
        pSrc += step.m_nSrc;
        nSrc -= step.m_nSrc;
        iDest += step.m_nDest;
    };
    const auto AdvanceByBlocks = [&] {
        if (nSrc >= 33)
            Advance(EncodeBlocks(pSrc, nSrc, pDest + iDest, nRoom - iDest));
    };
    AdvanceByBlocks();
    while (nSrc && iDest < nRoom)
        if (*pSrc < 0x80)
        {
            pDest[iDest] = static_cast<char>(*pSrc);
            Advance({1, 1});
        }
        else if (*pSrc < 0x800)
            Advance({1, nRoom - iDest >= 2 ? EncodeStep(*pSrc, pDest + iDest) : 0});
        else
        {
            Advance(EncodeThrees(pSrc, nSrc, pDest + iDest, nRoom - iDest));
            AdvanceByBlocks();
        }
    return iDest;
}

} // namespace OCT
