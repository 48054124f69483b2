/// What XML 1.0 says of characters and names.
#pragma once

#include "strings/textlen.h"

#include <windows.h>

#include <cstddef>

namespace OCT
{

/// A literal, its length known at compile time.
template <std::size_t Size>
constexpr TextView Literal(const WCHAR (&s)[Size])
{
    return TextView(s, Size - 1);
}

/// Both halves of a character beyond U+FFFF at the beginning of a text.
constexpr bool IsPair(TextView s)
{
    return s.size() >= 2 && (s[0] & 0xFC00) == 0xD800 && (s[1] & 0xFC00) == 0xDC00;
}

/// Whether a unit that is no half of a pair may stand in a document.
constexpr bool IsXMLUnit(WCHAR c)
{
    if (c < 0x20)
        return c == '\t' || c == '\n' || c == '\r';
    return c < 0xD800 || (c > 0xDFFF && c < 0xFFFE);
}

/// Whether all characters of \p s may stand in a document.
bool IsXMLText(TextView s) noexcept;

/// A name without a colon, of a target or a prefix.
bool IsXMLName(TextView s) noexcept;

/// A name as it is written, and its parts. Views into the one that was split.
struct CXMLName
{
    TextView m_sAll;
    TextView m_sPrefix; ///< empty when there is none
    TextView m_sLocal;

    /// False when \p s, which may be null, is no name with or without a prefix.
    bool Split(const WCHAR* s) noexcept;
};

} // namespace OCT
