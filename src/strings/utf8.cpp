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

// The place of a conversion in its texts.
struct CCursor
{
    const char* m_pSrc;
    std::size_t m_nSrc;
    WCHAR* m_pDest;
    std::size_t m_nRoom;

    void Skip(std::size_t nSrc, std::size_t nDest)
    {
        m_pSrc += nSrc;
        m_nSrc -= nSrc;
        m_pDest += nDest;
        m_nRoom -= nDest;
    }
    void Put(char32_t c, unsigned nUsed)
    {
        if (c <= 0xFFFF)
        {
            *m_pDest = static_cast<WCHAR>(c);
            Skip(nUsed, 1);
            return;
        }
        m_pDest[0] = static_cast<WCHAR>(0xD7C0 + (c >> 10));
        m_pDest[1] = static_cast<WCHAR>(0xDC00 | (c & 0x3FF));
        Skip(nUsed, 2);
    }
};

// What must be left for a block of 16 units and the sequence behind it: no unit takes more than three bytes,
// so the whole block lies within the result.
bool HasBlock(const CCursor& cursor)
{
    return cursor.m_nSrc >= 48 && cursor.m_nRoom >= 18;
}

// Takes the sequence at a byte from 0x80 on; four bytes and room for two units are there.
inline void TakeSequence(CCursor& cursor)
{
    std::uint32_t n;
    std::memcpy(&n, cursor.m_pSrc, sizeof n);
    if ((n & 0xC0C0F0) == 0x8080E0)
    {
        const std::uint32_t c = (n & 0xF) << 12 | (n >> 2 & 0xFC0) | (n >> 16 & 0x3F);
        if (c >= 0x800 && c - 0xD800 >= 0x800)
            return cursor.Put(c, 3);
    }
    else if ((n & 0xC0E0) == 0x80C0 && (n & 0x1E))
        return cursor.Put((n & 0x1F) << 6 | (n >> 8 & 0x3F), 2);
    unsigned nUsed;
    const char32_t c = DecodeUtf8(reinterpret_cast<const unsigned char*>(cursor.m_pSrc), 4, nUsed);
    cursor.Put(c, nUsed);
}

// Writes whole blocks, of which only the beginning may count.
void TakeBlocks(CCursor& cursor)
{
    while (HasBlock(cursor))
    {
        const unsigned nAscii = Widen16(cursor.m_pSrc, cursor.m_pDest);
        cursor.Skip(nAscii, nAscii);
        if (nAscii == 16)
            continue;
        do
            TakeSequence(cursor);
        while (*cursor.m_pSrc < 0 && HasBlock(cursor));
    }
}

void TakeRest(CCursor& cursor)
{
    while (cursor.m_nSrc && cursor.m_nRoom)
    {
        const std::size_t nAscii = WidenAscii(
            cursor.m_pSrc, cursor.m_nSrc < cursor.m_nRoom ? cursor.m_nSrc : cursor.m_nRoom, cursor.m_pDest);
        cursor.Skip(nAscii, nAscii);
        while (cursor.m_nSrc && cursor.m_nRoom && *cursor.m_pSrc < 0)
        {
            unsigned nUsed;
            const char32_t c =
                DecodeUtf8(reinterpret_cast<const unsigned char*>(cursor.m_pSrc), cursor.m_nSrc, nUsed);
            if (c > 0xFFFF && cursor.m_nRoom < 2)
                return;
            cursor.Put(c, nUsed);
        }
    }
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
    CCursor cursor{pSrc, nSrc, pDest, nRoom};
    TakeBlocks(cursor);
    TakeRest(cursor);
    return static_cast<std::size_t>(cursor.m_pDest - pDest);
}

std::size_t WideToUtf8(const WCHAR* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom)
{
    const WCHAR* p = pSrc;
    std::size_t n = nSrc;
    std::size_t iDest = 0;
    // Eight units give at least eight bytes and at most 24.
    while (n >= 8 && nRoom - iDest >= 24)
    {
        unsigned nDone = Narrow8(p, pDest + iDest);
        iDest += nDone;
        for (; nDone < 8 && p[nDone] >= 0x80; ++nDone)
        {
            EncodeUnitAsUtf8(p[nDone], pDest + iDest);
            iDest += Utf8LengthOfUnit(p[nDone]);
        }
        p += nDone;
        n -= nDone;
    }
    for (; n && iDest < nRoom; ++p, --n)
        if (Utf8LengthOfUnit(*p) <= nRoom - iDest)
        {
            EncodeUnitAsUtf8(*p, pDest + iDest);
            iDest += Utf8LengthOfUnit(*p);
        }
    return iDest;
}

} // namespace OCT
