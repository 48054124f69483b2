#include "builders/xmloutput.h"

#include "core/numtext.h"
#include "strings/asciirun.h"
#include "strings/utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace OCT
{
namespace
{

constexpr WCHAR kReplacement = static_cast<WCHAR>(c_cReplacement);

/// How a unit is written at a place; empty where it stands for itself.
TextView EscapeOf(WCHAR c, EXMLPlace ePlace)
{
    const bool bAttribute = ePlace == EXMLPlace::Attribute;
    if (ePlace == EXMLPlace::CData)
        return c == '\r' ? Literal(ORVTEXT("]]>&#13;<![CDATA[")) : TextView();
    switch (c)
    {
    case '&': return Literal(ORVTEXT("&amp;"));
    case '<': return Literal(ORVTEXT("&lt;"));
    case '>': return Literal(ORVTEXT("&gt;")); // which "]]" must not precede
    case '\r': return Literal(ORVTEXT("&#13;"));
    case '"': return bAttribute ? Literal(ORVTEXT("&quot;")) : TextView();
    case '\n': return bAttribute ? Literal(ORVTEXT("&#10;")) : TextView();
    case '\t': return bAttribute ? Literal(ORVTEXT("&#9;")) : TextView();
    default: return {};
    }
}

/// The units before the first surrogate.
std::size_t LengthWithoutPairs(TextView s)
{
    const auto isSurrogate = [](WCHAR c) { return (c & 0xF800) == 0xD800; };
    const __m128i mask = _mm_set1_epi16(static_cast<short>(0xF800));
    const __m128i surrogate = _mm_set1_epi16(static_cast<short>(0xD800));
    std::size_t i = 0;
    while (s.size() - i >= 8 &&
           _mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(Load16(s.data() + i), mask), surrogate)) == 0)
        i += 8;
    return static_cast<std::size_t>(std::find_if(s.begin() + i, s.end(), isSurrogate) - s.begin());
}

} // namespace

// ---- The buffer ----

void CXMLOutput::Flush() noexcept
{
    // Half a pair waits for the other half.
    const bool bHalf = m_nUnits != 0 && (m_aUnits[m_nUnits - 1] & 0xFC00) == 0xD800;
    const TextView s(m_aUnits, m_nUnits - bHalf);
    if (!s.empty() && m_dwError == ERROR_SUCCESS)
        m_dwError = m_bUTF16 ? m_stream.Write(s.data(), s.size() * sizeof(WCHAR))
                             : m_stream.Write(m_aBytes, Encode(s));
    if (bHalf)
        m_aUnits[0] = m_aUnits[m_nUnits - 1];
    m_nUnits = bHalf;
}

/// Makes UTF-8 of whole characters; returns the bytes.
std::size_t CXMLOutput::Encode(TextView s) noexcept
{
    char* p = m_aBytes;
    const char* const pEnd = m_aBytes + kMaxBytes * kUnits;
    while (!s.empty())
    {
        // The library's conversion takes units one by one, which a pair is not.
        const std::size_t n = LengthWithoutPairs(s);
        p += WideToUtf8(s.data(), n, p, static_cast<std::size_t>(pEnd - p));
        s.remove_prefix(n);
        for (; IsPair(s); s.remove_prefix(2), p += 4)
            EncodePairAsUtf8(s[0], s[1], p);
    }
    return static_cast<std::size_t>(p - m_aBytes);
}

// ---- Text ----

void CXMLOutput::PutInPieces(TextView s) noexcept
{
    while (!s.empty())
    {
        WCHAR* const p = Room(1);
        const std::size_t n = (std::min)(s.size(), kUnits - m_nUnits);
        std::memcpy(p, s.data(), n * sizeof(WCHAR));
        m_nUnits += n;
        s.remove_prefix(n);
    }
}

void CXMLOutput::PutEscaped(TextView s, EXMLPlace ePlace) noexcept
{
    for (std::size_t i = 0;;)
    {
        const std::size_t nPlain = PlainXMLLength(s.substr(i));
        Put(s.substr(i, nPlain));
        i += nPlain;
        if (i == s.size())
            return;
        i += PutSpecial(s.substr(i), s.substr(0, i), ePlace);
    }
}

/// Puts the first character of \p s, which stands behind \p sBefore; returns its units.
std::size_t CXMLOutput::PutSpecial(TextView s, TextView sBefore, EXMLPlace ePlace) noexcept
{
    if (IsPair(s))
    {
        Put(s.substr(0, 2));
        return 2;
    }
    const WCHAR c = s[0];
    if (c == '>' && ePlace == EXMLPlace::CData && sBefore.ends_with(Literal(ORVTEXT("]]"))))
        Put(ORVTEXT("]]><![CDATA["));
    if (const TextView sEscape = EscapeOf(c, ePlace); !sEscape.empty())
        Put(sEscape);
    else
        Put(IsXMLUnit(c) ? c : kReplacement);
    return 1;
}

void CXMLOutput::PutParted(TextView s, WCHAR cFirst, WCHAR cSecond) noexcept
{
    for (WCHAR cBefore = 0; !s.empty(); cBefore = s[0], s.remove_prefix(1))
    {
        if (cBefore == cFirst && s[0] == cSecond)
            Put(ORVTEXT(' '));
        if (IsPair(s))
        {
            Put(s.substr(0, 2));
            s.remove_prefix(1);
        }
        else
            Put(IsXMLUnit(s[0]) ? s[0] : kReplacement);
    }
}

// ---- Bytes and lists ----

void CXMLOutput::PutBase64(const unsigned char* p, std::size_t nBytes) noexcept
{
    static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    while (nBytes != 0)
    {
        const std::size_t nGroup = (std::min)(nBytes, std::size_t{3});
        std::uint32_t n = std::uint32_t{p[0]} << 16;
        n |= nGroup > 1 ? std::uint32_t{p[1]} << 8 : 0;
        n |= nGroup > 2 ? std::uint32_t{p[2]} : 0;
        WCHAR* const pUnits = Room(4);
        for (std::size_t i = 0; i < 4; ++i)
            pUnits[i] = static_cast<WCHAR>(i <= nGroup ? kDigits[n >> (18 - 6 * i) & 0x3F] : '=');
        m_nUnits += 4;
        p += nGroup;
        nBytes -= nGroup;
    }
}

void CXMLOutput::PutHex(const unsigned char* p, std::size_t nBytes) noexcept
{
    while (nBytes != 0)
    {
        WCHAR* const pUnits = Room(2);
        const std::size_t n = (std::min)(nBytes, (kUnits - m_nUnits) / 2);
        PutHexBytes(pUnits, p, n);
        m_nUnits += 2 * n;
        p += n;
        nBytes -= n;
    }
}

void CXMLOutput::PutList(const unsigned* p, std::size_t nCount) noexcept
{
    for (std::size_t i = 0; i < nCount; ++i)
    {
        WCHAR* pUnits = Room(MaxIntText + 1);
        if (i != 0)
            *pUnits++ = ORVTEXT(' ');
        m_nUnits = static_cast<std::size_t>(PutDecimal(pUnits, p[i]) - m_aUnits);
    }
}

} // namespace OCT
