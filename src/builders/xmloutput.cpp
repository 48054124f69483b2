#include "builders/xmloutput.h"

#include "builders/xmlchars.h"
#include "core/numtext.h"
#include "orvcomtypes/orvexport.h"
#include "strings/asciirun.h"
#include "strings/textlen.h"
#include "strings/utf8.h"

#include <windows.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace OCT
{
namespace
{

constexpr WCHAR kReplacement = static_cast<WCHAR>(kReplacementChar);

__m128i Units(unsigned c)
{
    return _mm_set1_epi16(static_cast<short>(c));
}

/// Ones in each of 8 units that cannot be written as it is: of text that may stand in a document, so that
/// below a blank there are only tab, line feed and carriage return.
template <EXMLPlace ePlace>
__m128i MarksOf8(__m128i v)
{
    if constexpr (ePlace == EXMLPlace::CData)
        return _mm_or_si128(_mm_cmpeq_epi16(v, Units('>')), _mm_cmpeq_epi16(v, Units('\r')));
    // Of two marks that differ in one bit, both.
    const __m128i brackets = _mm_cmpeq_epi16(_mm_or_si128(v, Units('<' ^ '>')), Units('>'));
    if constexpr (ePlace == EXMLPlace::Text)
        return _mm_or_si128(brackets,
                            _mm_or_si128(_mm_cmpeq_epi16(v, Units('&')), _mm_cmpeq_epi16(v, Units('\r'))));
    const __m128i quotes = _mm_cmpeq_epi16(_mm_or_si128(v, Units('"' ^ '&')), Units('&'));
    const __m128i spaces = _mm_cmpeq_epi16(_mm_subs_epu16(v, Units(0x1F)), _mm_setzero_si128());
    return _mm_or_si128(brackets, _mm_or_si128(quotes, spaces));
}

/// How a unit is written; empty where it is as it is.
template <EXMLPlace ePlace>
TextView EscapeOf(WCHAR c)
{
    constexpr bool bAttribute = ePlace == EXMLPlace::Attribute;
    if constexpr (ePlace == EXMLPlace::CData)
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

/// What `MarksOf8` tells of one unit.
template <EXMLPlace ePlace>
bool IsMark(WCHAR c)
{
    return !EscapeOf<ePlace>(c).empty() || (ePlace == EXMLPlace::CData && c == '>');
}

/// Copies the units before the first mark, at most \p n; a block is written before it is known to count.
template <EXMLPlace ePlace>
std::size_t CopyPlain(WCHAR* p, const WCHAR* s, std::size_t n)
{
    std::size_t i = 0;
    for (; n - i >= 8; i += 8)
    {
        const __m128i v = Load16(s + i);
        Store16(p + i, v);
        if (const int nMarks = _mm_movemask_epi8(MarksOf8<ePlace>(v)))
            return i + static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(nMarks))) / 2;
    }
    for (; i < n && (s[i] > '>' || !IsMark<ePlace>(s[i])); ++i)
        p[i] = s[i];
    return i;
}

/// The units before the first surrogate.
std::size_t LengthWithoutPairs(TextView s)
{
    const auto isSurrogate = [](WCHAR c) { return (c & 0xF800) == 0xD800; };
    const auto surrogatesOf8 = [](const WCHAR* p) {
        return _mm_cmpeq_epi16(_mm_and_si128(Load16(p), Units(0xF800)), Units(0xD800));
    };
    const WCHAR* p = s.data();
    const WCHAR* const pEnd = p + s.size();
    while (pEnd - p >= 16 && _mm_movemask_epi8(_mm_or_si128(surrogatesOf8(p), surrogatesOf8(p + 8))) == 0)
        p += 16;
    return static_cast<std::size_t>(std::find_if(p, pEnd, isSurrogate) - s.data());
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

/// Makes UTF-8 of whole characters; returns the bytes. Surrogates stand in pairs by now.
std::size_t CXMLOutput::Encode(TextView s) noexcept
{
    char* p = m_aBytes;
    const char* const pEnd = m_aBytes + kMaxBytes * kUnits;
    for (;;)
    {
        // The library's conversion takes units one by one, which a pair is not.
        const std::size_t n = LengthWithoutPairs(s);
        p += WideToUtf8(s.data(), n, p, static_cast<std::size_t>(pEnd - p));
        if (n == s.size())
            return static_cast<std::size_t>(p - m_aBytes);
        EncodePairAsUtf8(s[n], s[n + 1], p);
        p += 4;
        s.remove_prefix(n + 2);
    }
}

// ---- Text ----

void CXMLOutput::PutInPieces(TextView s) noexcept
{
    while (!s.empty())
    {
        WCHAR* const p = Room(1);
        const std::size_t n = std::min(s.size(), kUnits - m_nUnits);
        std::memcpy(p, s.data(), n * sizeof(WCHAR));
        m_nUnits += n;
        s.remove_prefix(n);
    }
}

template <EXMLPlace ePlace>
void CXMLOutput::PutEscapedAt(TextView s) noexcept
{
    for (std::size_t i = 0; i < s.size();)
    {
        WCHAR* const p = Room(1);
        const std::size_t nMost = std::min(s.size() - i, kUnits - m_nUnits);
        const std::size_t n = CopyPlain<ePlace>(p, s.data() + i, nMost);
        m_nUnits += n;
        i += n;
        if (n == nMost)
            continue;
        if (ePlace == EXMLPlace::CData && s[i] == '>' && s.substr(0, i).ends_with(Literal(ORVTEXT("]]"))))
            Put(ORVTEXT("]]><![CDATA["));
        if (const TextView sEscape = EscapeOf<ePlace>(s[i]); !sEscape.empty())
            Put(sEscape);
        else
            Put(s[i]);
        ++i;
    }
}

void CXMLOutput::PutEscaped(TextView s, EXMLPlace ePlace) noexcept
{
    switch (ePlace)
    {
    case EXMLPlace::Text: return PutEscapedAt<EXMLPlace::Text>(s);
    case EXMLPlace::Attribute: return PutEscapedAt<EXMLPlace::Attribute>(s);
    case EXMLPlace::CData: return PutEscapedAt<EXMLPlace::CData>(s);
    }
}

void CXMLOutput::PutReplaced(TextView s, EXMLPlace ePlace) noexcept
{
    while (!s.empty())
    {
        std::size_t n = 0;
        while (n < s.size() && (IsXMLUnit(s[n]) || IsPair(s.substr(n))))
            n += IsXMLUnit(s[n]) ? 1 : 2;
        PutEscaped(s.substr(0, n), ePlace);
        if (n < s.size())
            Put(kReplacement), ++n;
        s.remove_prefix(n);
    }
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
        const std::size_t nGroup = std::min(nBytes, std::size_t{3});
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
        const std::size_t n = std::min(nBytes, (kUnits - m_nUnits) / 2);
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
        WCHAR* pUnits = Room(kMaxIntText + 1);
        if (i != 0)
            *pUnits++ = ORVTEXT(' ');
        m_nUnits = static_cast<std::size_t>(PutDecimal(pUnits, p[i]) - m_aUnits);
    }
}

} // namespace OCT
