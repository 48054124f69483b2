#include "builders/xmlchars.h"

#include "strings/asciirun.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <iterator>

namespace OCT
{
namespace
{

__m128i Units(unsigned c)
{
    return _mm_set1_epi16(static_cast<short>(c));
}

/// Two bits for each of 8 units that is below a blank, from the surrogates on, or one of `"`, `&`, `<`, `>`.
/// (Of the last four pairs differ in one bit.)
unsigned SpecialOf8(const WCHAR* p)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i v = Load16(p);
    const __m128i low = _mm_cmpeq_epi16(_mm_subs_epu16(v, Units(0x1F)), zero);
    const __m128i notHigh = _mm_cmpeq_epi16(_mm_subs_epu16(v, Units(0xD7FF)), zero);
    const __m128i marks = _mm_or_si128(_mm_cmpeq_epi16(_mm_or_si128(v, Units('"' ^ '&')), Units('&')),
                                       _mm_cmpeq_epi16(_mm_or_si128(v, Units('<' ^ '>')), Units('>')));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(low, marks)) |
                                 (_mm_movemask_epi8(notHigh) ^ 0xFFFF));
}

bool IsSpecial(WCHAR c)
{
    return c < 0x20 || c >= 0xD800 || c == '"' || c == '&' || c == '<' || c == '>';
}

// ---- Names ----

struct CRange
{
    std::uint32_t m_nFirst;
    std::uint32_t m_nLast;
};

// Beyond ASCII, in order.
constexpr CRange kNameStart[] = {{0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
                                 {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
                                 {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
constexpr CRange kNameMore[] = {{0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

template <std::size_t Size>
bool IsIn(const CRange (&ranges)[Size], std::uint32_t c)
{
    const auto* const p = std::find_if(std::begin(ranges), std::end(ranges),
                                       [c](const CRange& range) { return c <= range.m_nLast; });
    return p != std::end(ranges) && c >= p->m_nFirst;
}

enum : std::uint8_t
{
    kNone,
    kMore, ///< may stand in a name
    kStart ///< and may begin one
};

constexpr auto kAsciiNames = [] {
    std::array<std::uint8_t, 128> classes{};
    for (char c = 'a'; c <= 'z'; ++c)
        classes[static_cast<std::size_t>(c)] = classes[static_cast<std::size_t>(c - 'a' + 'A')] = kStart;
    for (char c = '0'; c <= '9'; ++c)
        classes[static_cast<std::size_t>(c)] = kMore;
    classes['_'] = kStart;
    classes['-'] = classes['.'] = kMore;
    return classes;
}();

} // namespace

std::size_t PlainXMLLength(TextView s) noexcept
{
    const WCHAR* const p = s.data();
    std::size_t i = 0;
    for (; s.size() - i >= 8; i += 8)
        if (const unsigned nSpecial = SpecialOf8(p + i))
            return i + static_cast<std::size_t>(std::countr_zero(nSpecial)) / 2;
    while (i < s.size() && !IsSpecial(p[i]))
        ++i;
    return i;
}

bool IsXMLText(TextView s) noexcept
{
    for (;;)
    {
        s.remove_prefix(PlainXMLLength(s));
        if (s.empty())
            return true;
        const std::size_t nUnits = IsPair(s) ? 2 : IsXMLUnit(s[0]) ? 1 : 0;
        if (nUnits == 0)
            return false;
        s.remove_prefix(nUnits);
    }
}

bool IsXMLName(TextView s) noexcept
{
    for (std::size_t i = 0; i < s.size(); ++i)
    {
        std::uint32_t c = s[i];
        const std::uint8_t nLeast = i == 0 ? kStart : kMore;
        if (c < 0x80)
        {
            if (kAsciiNames[c] < nLeast)
                return false;
            continue;
        }
        if (IsPair(s.substr(i)))
        {
            const std::uint32_t nLow = s[i + 1];
            c = 0x10000 + ((c & 0x3FF) << 10 | (nLow & 0x3FF));
        }
        if (!IsIn(kNameStart, c) && (i == 0 || !IsIn(kNameMore, c)))
            return false;
        i += c >= 0x10000;
    }
    return !s.empty();
}

bool CXMLName::Split(const WCHAR* s) noexcept
{
    if (s == nullptr)
        return false;
    m_sAll = m_sLocal = TextView(s, TextLength(s));
    m_sPrefix = {};
    const std::size_t iColon = m_sAll.find(ORVTEXT(':'));
    if (iColon == TextView::npos)
        return IsXMLName(m_sLocal);
    m_sPrefix = m_sAll.substr(0, iColon);
    m_sLocal = m_sAll.substr(iColon + 1);
    return IsXMLName(m_sPrefix) && IsXMLName(m_sLocal);
}

} // namespace OCT
