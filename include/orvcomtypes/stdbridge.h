/// The library's values in the standard library's terms: texts as strings and views, as keys of containers,
/// `std::format` and {fmt}, and sets as ranges.
///
/// A header of its own, not part of orvcomtypes.h, since what it includes is large. Times of `std::chrono`
/// stand in orvtimechrono.h. Arrays need nothing from here: their `begin` and `end` make them contiguous
/// ranges.
///
/// Two texts are "equal" in two ways, and a container must keep to one of them. `==` and `<` of `COrvStr` and
/// the collating function objects ask what a reader sees; `CEqualUnits`, `CLessUnits` and `std::hash` compare
/// code units. A hash cannot follow a collation, so a hash container names `CEqualUnits` beside the hash;
/// `std::equal_to<COrvStr>`, which would mix the two silently, cannot be made while this header is included.
///
/// Formatting takes the options of a text (width, fill, precision): a `COrvStr` is itself, a time its ISO
/// form in UTC, a span `-1:05:09` in hours, minutes and seconds, an ID array `3,7,10`; a time or span that is
/// not valid is empty. In a format of `char` text is UTF-8, in one of `WCHAR` as it is. {fmt} must be
/// included before this header.
///
/// Ownership: views and the ranges of `Items` look at their source, which must live and stay unchanged.
/// Thread safety: as the values.
/// Errors: without memory, and for text of 2^32 units or more, a `COrvStr` or array cannot be made and
///   `CLQMemoryExcept` is thrown; strings of the standard library throw `std::bad_alloc` or
///   `std::length_error`, so formatting and text conversions to it may. Views, hashes and comparisons do not
///   throw. A collation that fails counts as equal.
/// Units: code units. A `COrvStr` ends at the first zero unit of the text that it is made from. What is not
///   valid UTF-8 or UTF-16 becomes U+FFFD in a conversion between the two, one for each maximal damaged part.
///
///     std::unordered_map<COrvStr, int, std::hash<COrvStr>, OCT::CEqualUnits> counts;
///     ++counts[OCT::FromStdText(std::string("r\u00E9sum\u00E9"))];
///     std::set<COrvStr, OCT::CLessCollationNoCase> names = {ORVTEXT("Anna"), ORVTEXT("anna")}; // one name
///     const std::string sName = OCT::ToStdText(*names.begin());                                // in UTF-8
///     CSimpleByteSet days(0x00030201);
///     const auto nLate = std::ranges::count_if(OCT::Items(days), [](ULONG n) { return n > 2; }); // 1
#pragma once

#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/midintarray.h"
#include "orvcomtypes/orvhashmap.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/orvtime.h"
#include "orvcomtypes/simplebyteset.h"

#include <windows.h>

#include <concepts>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>
#include <ranges>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <version>
#ifdef __cpp_lib_format
#include <format>
#endif

namespace OCT
{

// ---- Strings and views ----

/// The units of text: UTF-8 in `char` and `char8_t`, UTF-16 in `char16_t` and `WCHAR`.
template <class Unit>
concept TextUnit = std::same_as<Unit, char> || std::same_as<Unit, char8_t> || std::same_as<Unit, char16_t> ||
    std::same_as<Unit, WCHAR>;

/// A string, a view or another contiguous range of such units.
template <class Text>
concept StdText = std::ranges::contiguous_range<const Text> && std::ranges::sized_range<const Text> &&
    TextUnit<std::ranges::range_value_t<const Text>>;

/// The text itself, without a copy; valid until \p s changes.
inline std::basic_string_view<WCHAR> ToStdView(const COrvStr& s) noexcept
{
    return s.IsEmpty() ? std::basic_string_view<WCHAR>() : std::basic_string_view<WCHAR>(s, s.GetLength());
}

namespace Detail
{

/// Takes the first character off \p text, which is not empty; U+FFFD for half a surrogate pair.
inline char32_t TakeCharacter(std::basic_string_view<WCHAR>& text) noexcept
{
    const char32_t c = text[0];
    text.remove_prefix(1);
    if ((c & 0xFFFFF800) != 0xD800)
        return c;
    if (c >= 0xDC00 || text.empty() || (text[0] & 0xFC00) != 0xDC00)
        return 0xFFFD;
    const char32_t cLow = text[0];
    text.remove_prefix(1);
    return 0x10000 + ((c - 0xD800) << 10) + (cLow - 0xDC00);
}

/// Writes \p c in UTF-8 and returns the place behind it.
template <class Unit>
Unit* PutUTF8(char32_t c, Unit* pDest) noexcept
{
    if (c < 0x80)
    {
        *pDest++ = static_cast<Unit>(c);
        return pDest;
    }
    const int nMore = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    *pDest++ = static_cast<Unit>((0xF00U >> (nMore + 1) & 0xFFU) | c >> 6 * nMore);
    for (int i = nMore - 1; i >= 0; --i)
        *pDest++ = static_cast<Unit>(0x80 | (c >> 6 * i & 0x3F));
    return pDest;
}

} // namespace Detail

/// A string of UTF-8 or, with a unit of 16 bits, of the same units. (UTF-8 has whole characters where
/// `UnicodeToUTF8` has two replacements for a surrogate pair.)
template <TextUnit Unit = char>
std::basic_string<Unit> ToStdText(const COrvStr& s)
{
    std::basic_string_view<WCHAR> text = ToStdView(s);
    if constexpr (sizeof(Unit) == sizeof(WCHAR))
        return {text.begin(), text.end()};
    else
    {
        std::basic_string<Unit> sResult(3 * text.size(), Unit()); // the most that the units can need
        Unit* pEnd = sResult.data();
        while (!text.empty())
            pEnd = Detail::PutUTF8(Detail::TakeCharacter(text), pEnd);
        sResult.resize(static_cast<std::size_t>(pEnd - sResult.data()));
        return sResult;
    }
}

/// Text of bytes is UTF-8 here; a constructor of `COrvStr` reads it in the ANSI code page.
template <StdText Text>
COrvStr FromStdText(const Text& text)
{
    using Unit = std::ranges::range_value_t<const Text>;
    const std::size_t nLen = std::ranges::size(text);
    COrvStr s;
    if (nLen == 0)
        return s; // no text, where a length of 0 would mean: up to the terminator
    if (nLen > 0xFFFFFFFF)
        LQThrowMemory(LQ_SRC_LOCATION);
    const Unit* const pText = std::ranges::data(text);
    if constexpr (std::same_as<Unit, WCHAR>)
        s.Copy(pText, static_cast<unsigned>(nLen));
    else if constexpr (sizeof(Unit) == 1)
        s.SetUTF8(reinterpret_cast<const char*>(pText), static_cast<unsigned>(nLen));
    else
        s.Copy(std::basic_string<WCHAR>(pText, pText + nLen).data(), static_cast<unsigned>(nLen));
    if (static_cast<const WCHAR*>(s) == nullptr)
        LQThrowMemory(LQ_SRC_LOCATION);
    return s;
}

// ---- Keys of containers ----

namespace Detail
{

/// What is compared of a key: a `COrvStr`, a terminated text, which may be null, a string or a view.
inline std::basic_string_view<WCHAR> Units(std::basic_string_view<WCHAR> text) noexcept
{
    return text;
}
inline std::basic_string_view<WCHAR> Units(const COrvStr& s) noexcept
{
    return ToStdView(s);
}
inline std::basic_string_view<WCHAR> Units(const WCHAR* s) noexcept
{
    return s != nullptr ? std::basic_string_view<WCHAR>(s) : std::basic_string_view<WCHAR>();
}

} // namespace Detail

/// Equal units. (The standard library compares 16-bit ones one by one.)
struct CEqualUnits
{
    /// A container looks a key up by a view or a literal, without making a `COrvStr`.
    using is_transparent = void;
    /// Each a `COrvStr`, a string, a view or terminated text; null is empty.
    template <class A, class B>
    bool operator()(const A& a, const B& b) const noexcept
    {
        const std::basic_string_view<WCHAR> aUnits = Detail::Units(a), bUnits = Detail::Units(b);
        return aUnits.size() == bUnits.size() &&
               (aUnits.empty() || aUnits.data() == bUnits.data() ||
                std::memcmp(aUnits.data(), bUnits.data(), aUnits.size() * sizeof(WCHAR)) == 0);
    }
};

/// The order of units: the fastest one, the same on every machine.
struct CLessUnits
{
    /// A container looks a key up by a view or a literal, without making a `COrvStr`.
    using is_transparent = void;
    /// Each a `COrvStr`, a string, a view or terminated text; null is empty.
    template <class A, class B>
    bool operator()(const A& a, const B& b) const noexcept
    {
        return Detail::Units(a) < Detail::Units(b);
    }
};

/// The order of the system's collation, between `COrvStr` and terminated texts: a container takes what looks
/// equal to a reader for one key.
template <bool NoCase>
struct CLessByCollation
{
    /// A container looks a key up by a view or a literal, without making a `COrvStr`.
    using is_transparent = void;
    /// Null is empty.
    bool operator()(const WCHAR* a, const WCHAR* b) const noexcept
    {
        return CompareOrvString(a, b, NoCase) < 0;
    }
};
/// The two orders by name: case-sensitive, and without regard to case.
using CLessCollation = CLessByCollation<false>;
using CLessCollationNoCase = CLessByCollation<true>;

// ---- Sets as ranges ----

namespace Detail
{

/// The item after \p item, the first one after 0; 0 at the end.
template <class TItem, class TKey, class TCompare>
TItem NextItem(const CPrtvHashMap<TItem, TKey, TCompare>& map, std::type_identity_t<TItem> item) noexcept
{
    return map.GetNextItem(item);
}
inline ULONG NextItem(const CSimpleByteSet& set, ULONG item) noexcept
{
    return set.GetNext(item);
}

} // namespace Detail

template <class Set>
concept ItemSet = requires(const Set& set)
{
    Detail::NextItem(set, 0);
};

/// The items of a hash map, in the order of `GetNextItem`, or of a byte set: a sized forward range of values.
/// A step looks the item up as `GetNextItem` does; the map's `ForEach` is faster.
template <ItemSet Set>
class CItems
{
public:
    /// Steps through the items; valid while the set does not change.
    class iterator
    {
    public:
        /// What the standard library asks of an iterator.
        using value_type = decltype(Detail::NextItem(std::declval<const Set&>(), 0));
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = value_type;
        using iterator_concept = std::forward_iterator_tag;
        using iterator_category = std::input_iterator_tag; // as long as values are not references

        iterator() noexcept = default;
        /// Stands at \p item, which must be in the set; 0 is the end.
        iterator(const Set& set, value_type item) noexcept : m_pSet(&set), m_item(item) {}

        /// The item, by value.
        value_type operator*() const noexcept { return m_item; }
        iterator& operator++() noexcept
        {
            m_item = Detail::NextItem(*m_pSet, m_item);
            return *this;
        }
        iterator operator++(int) noexcept
        {
            const iterator before = *this;
            ++*this;
            return before;
        }
        /// Iterators of one set only.
        bool operator==(const iterator& other) const noexcept { return m_item == other.m_item; }

    private:
        const Set* m_pSet = nullptr;
        value_type m_item = value_type(0); ///< 0: the end
    };

    /// What the standard library asks of a container.
    using const_iterator = iterator; // what is asked of a container
    using value_type = typename iterator::value_type;

    /// Refers to the set, which must outlive it.
    explicit CItems(const Set& set) noexcept : m_pSet(&set) {}

    /// A range over the items, as the standard library asks for it.
    iterator begin() const noexcept { return {*m_pSet, Detail::NextItem(*m_pSet, 0)}; }
    iterator end() const noexcept { return {*m_pSet, 0}; }
    std::size_t size() const noexcept { return m_pSet->GetCount(); }
    bool empty() const noexcept { return size() == 0; }

private:
    const Set* m_pSet;
};

template <ItemSet Set>
CItems<Set> Items(const Set& set) noexcept
{
    return CItems<Set>(set);
}
template <ItemSet Set>
void Items(const Set&&) = delete;

/// A copy: the set itself does not tell its IDs one by one.
inline CMIDINTArray Items(const CMIDINTSet& set)
{
    CMIDINTArray ids;
    set.CopyTo(ids);
    return ids;
}

// ---- Formatting ----

namespace Detail
{

inline std::string PlainText(const COrvTime& t)
{
    char s[32] = "";
    t.DebugFormat(COrvTime::dftISO, s, sizeof s);
    return s;
}
inline std::string PlainText(const COrvTimeDiff& span)
{
    char s[32] = "";
    if (int nHour = 0, nMinute = 0, nSecond = 0; span.GetHMS(nHour, nMinute, nSecond))
        std::snprintf(s, sizeof s, "%s%d:%02d:%02d", span.GetInSecond() < 0 ? "-" : "", nHour, nMinute,
                      nSecond);
    return s;
}
inline std::string PlainText(const CMIDINTArray& ids)
{
    std::string s;
    for (const unsigned id : ids)
        (s += s.empty() ? "" : ",") += std::to_string(id);
    return s;
}

/// What the formatters of both libraries do: the value as text, formatted by \p Base, theirs of a \p View.
template <class Base, class View>
struct CTextFormatter : Base
{
    template <class Value, class Context>
    auto format(const Value& value, Context& context) const
    {
        using Unit = typename View::value_type;
        std::basic_string<Unit> s;
        if constexpr (std::same_as<Value, COrvStr>)
            s = ToStdText<Unit>(value);
        else
        {
            const std::string sPlain = PlainText(value);
            s.assign(sPlain.begin(), sPlain.end());
        }
        return Base::format(View(s.data(), s.size()), context);
    }
};

/// Those that are no range: the libraries have a formatter for each range too, and would not know which.
template <class Value>
concept SingleValue =
    std::same_as<Value, COrvStr> || std::same_as<Value, COrvTime> || std::same_as<Value, COrvTimeDiff>;

} // namespace Detail

} // namespace OCT

/// Hashes code units, as `CEqualUnits` compares them.
template <>
struct std::hash<COrvStr>
{
    /// As in `CEqualUnits`.
    using is_transparent = void;
    /// The same for a `COrvStr`, a string, a view and terminated text.
    template <class Text>
    std::size_t operator()(const Text& text) const noexcept
    {
        return std::hash<std::basic_string_view<WCHAR>>()(OCT::Detail::Units(text));
    }
};

/// Cannot be made: name `CEqualUnits` beside the hash.
template <>
struct std::equal_to<COrvStr>
{
    equal_to() = delete; // see the top of this file
};

#ifdef __cpp_lib_format
namespace OCT::Detail
{

template <class Unit>
using CStdFormatter =
    CTextFormatter<std::formatter<std::basic_string_view<Unit>, Unit>, std::basic_string_view<Unit>>;

} // namespace OCT::Detail

template <OCT::Detail::SingleValue Value, OCT::TextUnit Unit>
struct std::formatter<Value, Unit> : OCT::Detail::CStdFormatter<Unit>
{
};
template <OCT::TextUnit Unit>
struct std::formatter<CMIDINTArray, Unit> : OCT::Detail::CStdFormatter<Unit>
{
};
#endif

#ifdef FMT_VERSION
namespace OCT::Detail
{

template <class Unit>
using CFmtFormatter =
    CTextFormatter<fmt::formatter<fmt::basic_string_view<Unit>, Unit>, fmt::basic_string_view<Unit>>;

} // namespace OCT::Detail

template <OCT::Detail::SingleValue Value, OCT::TextUnit Unit>
struct fmt::formatter<Value, Unit> : OCT::Detail::CFmtFormatter<Unit>
{
};
// Complete ones, which are unambiguous beside fmt/ranges.h.
template <>
struct fmt::formatter<CMIDINTArray, char> : OCT::Detail::CFmtFormatter<char>
{
};
template <>
struct fmt::formatter<CMIDINTArray, WCHAR> : OCT::Detail::CFmtFormatter<WCHAR>
{
};
#endif
