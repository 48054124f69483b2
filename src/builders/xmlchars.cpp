#include "builders/xmlchars.h"

#include "orvcomtypes/orvexport.h"
#include "strings/asciirun.h"
#include "strings/textlen.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
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

/// Whether a unit is neither a control character nor a surrogate or beyond.
constexpr bool IsSound(WCHAR c)
{
    return c - 0x20u < 0xD7E0;
}

/// Two bits for each of 8 units that is not.
unsigned UnsoundOf8(const WCHAR* p)
{
    const __m128i vBeyond = _mm_subs_epu16(_mm_sub_epi16(Load16(p), Units(0x20)), Units(0xD7DF));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(vBeyond, _mm_setzero_si128()))) ^ 0xFFFF;
}

/// The units at the beginning of \p s that are sound.
std::size_t SoundLength(TextView s)
{
    std::size_t i = 0;
    for (; s.size() - i >= 8; i += 8)
        if (const unsigned nUnsound = UnsoundOf8(s.data() + i))
            return i + static_cast<std::size_t>(std::countr_zero(nUnsound)) / 2;
    while (i < s.size() && IsSound(s[i]))
        ++i;
    return i;
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
    for (std::size_t c = 'a'; c <= 'z'; ++c)
        classes[c] = classes[c - 'a' + 'A'] = kStart;
    for (std::size_t c = '0'; c <= '9'; ++c)
        classes[c] = kMore;
    classes['_'] = kStart;
    classes['-'] = classes['.'] = kMore;
    return classes;
}();

/// The units at the beginning of \p s that are a name without a colon.
std::size_t NameLength(TextView s)
{
    std::size_t i = 0;
    while (i < s.size())
    {
        std::uint32_t c = s[i];
        if (c < 0x80)
        {
            if (kAsciiNames[c] < (i == 0 ? kStart : kMore))
                break;
            ++i;
            continue;
        }
        const bool bPair = IsPair(s.substr(i));
        if (bPair)
            c = 0x10000 + ((c & 0x3FF) << 10 | (s[i + 1] & 0x3FFu));
        if (!IsIn(kNameStart, c) && (i == 0 || !IsIn(kNameMore, c)))
            break;
        i += bPair ? 2 : 1;
    }
    return i;
}

} // namespace

bool IsXMLText(TextView s) noexcept
{
    for (;;)
    {
        s.remove_prefix(SoundLength(s));
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
    return !s.empty() && NameLength(s) == s.size();
}

bool CXMLName::Split(const WCHAR* s) noexcept
{
    m_sAll = m_sLocal = TextView(s, SourceLength(s, 0));
    m_sPrefix = {};
    const std::size_t n = NameLength(m_sAll);
    if (n == 0 || n == m_sAll.size())
        return n != 0;
    m_sPrefix = m_sAll.substr(0, n);
    m_sLocal = m_sAll.substr(n + 1);
    return m_sAll[n] == ORVTEXT(':') && IsXMLName(m_sLocal);
}

} // namespace OCT
