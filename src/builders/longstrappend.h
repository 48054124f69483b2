/// How the wide builders append: in place, behind their text.
///
/// A builder that has room writes there at once; nothing is built elsewhere first. Each `put` writes at the
/// place that it is given and returns the end of what it wrote; it does not throw.
#pragma once

#include "core/numtext.h"
#include "orvcomtypes/orvlongstrbase.h"
#include "strings/strbuffer.h"
#include "strings/textlen.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

inline void COrvLongStrBase::EndAt(const WCHAR* pEnd) noexcept
{
    OCT::EndStr(m_pStr, static_cast<std::uint64_t>(pEnd - m_pStr));
}

/// Appends what has \p nMore units.
template <unsigned nMinRoom, class Put>
inline void COrvLongStrBase::AppendExactly(std::uint64_t nMore, Put put)
{
    const std::uint64_t nLen = Length();
    if (HasRoom(nLen + nMore)) [[likely]]
        return EndAt(put(m_pStr + nLen));
    // What is appended may lie in the buffer that has no room, so that one is kept meanwhile.
    const COrvLongStrBase before = Grow(std::max<std::uint64_t>(nLen + nMore, nMinRoom));
    EndAt(put(m_pStr + nLen));
}

/// Appends what has up to \p nMost units. A builder without room for as many grows by what it really is.
template <unsigned nMinRoom, class Put>
inline void COrvLongStrBase::AppendAtMost(std::uint64_t nMost, Put put)
{
    const std::uint64_t nLen = Length();
    if (HasRoom(nLen + nMost)) [[likely]]
        return EndAt(put(m_pStr + nLen));
    COrvLongStrBase text;
    text.Grow(nMost);
    text.EndAt(put(text.m_pStr));
    AppendText<nMinRoom>(text.m_pStr, 0);
}

template <unsigned nMinRoom>
inline void COrvLongStrBase::AppendText(const WCHAR* s, unsigned nLen)
{
    const std::size_t n = OCT::SourceLength(s, nLen);
    if (n == 0)
        return;
    AppendExactly<nMinRoom>(n, [=](WCHAR* p) {
        OCT::CopyUnits(p, s, n);
        return p + n;
    });
}

template <unsigned nMinRoom>
inline void COrvLongStrBase::AppendUnit(WCHAR c)
{
    if (c == 0)
        return;
    AppendExactly<nMinRoom>(1, [=](WCHAR* p) {
        *p = c;
        return p + 1;
    });
}

template <unsigned nMinRoom, class Int>
inline void COrvLongStrBase::AppendDecimal(Int n)
{
    AppendAtMost<nMinRoom>(OCT::kMaxIntText, [=](WCHAR* p) { return OCT::PutDecimal(p, n); });
}

template <unsigned nMinRoom>
inline void COrvLongStrBase::AppendDouble(double d, int nDigits)
{
    AppendAtMost<nMinRoom>(OCT::kMaxDoubleText, [=](WCHAR* p) { return OCT::PutDouble(p, d, nDigits); });
}
