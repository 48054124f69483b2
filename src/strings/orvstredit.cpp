// Search, changing members and path helpers of COrvStr.
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/orvstralloc.h"

#include "core/charclass.h"
#include "strings/strbuffer.h"
#include "strings/textlen.h"
#include "strings/textsearch.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace
{

// Reports name the class's source, not this part of it.
constexpr const char* kSourceName = "orvstr";

constexpr bool IsSeparator(WCHAR c)
{
    return c == ORVTEXT('\\') || c == ORVTEXT('/');
}

const WCHAR* SkipSpace(const WCHAR* s)
{
    return std::find_if_not(s, s + OCT::TextLength(s), [](WCHAR c) { return OCT::IsSpace(c); });
}

std::size_t CountOf(OCT::TextView text, OCT::TextView find)
{
    std::size_t nCount = 0;
    for (std::size_t nAt = OCT::FindText(text, find); nAt != text.npos; nAt = OCT::FindText(text, find))
    {
        ++nCount;
        text.remove_prefix(nAt + find.size());
    }
    return nCount;
}

WCHAR* Put(WCHAR* p, OCT::TextView text)
{
    OCT::CopyUnits(p, text.data(), text.size());
    return p + text.size();
}

} // namespace

// ---- Search ----

int COrvStr::Find(WCHAR c, int iStart) const
{
    const OCT::TextView text(m_pStr, GetLength());
    if (iStart < 0 || static_cast<std::size_t>(iStart) >= text.size())
        return -1;
    const std::size_t nAt = OCT::FindUnit(text.substr(static_cast<std::size_t>(iStart)), c);
    return nAt != text.npos ? iStart + static_cast<int>(nAt) : -1;
}

int COrvStr::ReverseFind(WCHAR c) const
{
    return static_cast<int>(OCT::TextView(m_pStr, GetLength()).rfind(c));
}

int COrvStr::FindSubStr(const WCHAR* sToFind) const
{
    if (IsEmpty())
        return -1;
    if (sToFind == nullptr)
    {
        ORV_REPORT_FROM(kSourceName, "COrvStr::FindSubStr", "sToFind == nullptr", 0);
        return -1;
    }
    return static_cast<int>(
        OCT::FindText(OCT::TextView(m_pStr, GetLength()), OCT::TextView(sToFind, OCT::TextLength(sToFind))));
}

// ---- Changing ----

void COrvStr::Replace(WCHAR cFrom, WCHAR cTo)
{
    if (!IsEmpty() && cFrom != 0 && cFrom != cTo && CreateOwnBuffer(0, true))
        std::replace(m_pStr, m_pStr + GetLength(), cFrom, cTo);
}

void COrvStr::Replace(const WCHAR* sToFind, const WCHAR* sReplaceTo)
{
    if (IsEmpty())
        return;
    if (sToFind == nullptr || sReplaceTo == nullptr)
    {
        ORV_REPORT_FROM(kSourceName, "COrvStr::Replace", "sToFind == nullptr || sReplaceTo == nullptr", 0);
        return;
    }
    const OCT::TextView find(sToFind, OCT::TextLength(sToFind));
    const OCT::TextView with(sReplaceTo, OCT::TextLength(sReplaceTo));
    if (find.empty() || find == with)
        return;
    OCT::TextView rest(m_pStr, GetLength());
    const std::size_t nCount = CountOf(rest, find);
    if (nCount == 0)
        return;
    const std::uint64_t nLen = rest.size() - nCount * find.size() + std::uint64_t{nCount} * with.size();
    COrvStr result;
    if (nLen != 0 && result.CreateOwnBuffer(nLen, false))
    {
        WCHAR* p = result.m_pStr;
        for (std::size_t nAt = OCT::FindText(rest, find); nAt != rest.npos; nAt = OCT::FindText(rest, find))
        {
            p = Put(Put(p, rest.substr(0, nAt)), with);
            rest.remove_prefix(nAt + find.size());
        }
        Put(p, rest);
        OCT::EndStr(result.m_pStr, nLen);
    }
    *this = std::move(result); // null for want of memory
}

void COrvStr::Truncate(unsigned nLen)
{
    if (!IsEmpty() && nLen <= GetLength() && CreateOwnBuffer(0, true))
        OCT::EndStr(m_pStr, nLen);
}

COrvStr COrvStr::SubStr(unsigned iStart, unsigned nCount) const
{
    COrvStr result;
    const unsigned nLen = GetLength();
    if (iStart < nLen && nCount != 0)
        result.Copy(m_pStr + iStart, std::min(nCount, nLen - iStart));
    return result;
}

void COrvStr::Erase(unsigned iStart, unsigned nCount)
{
    const unsigned nLen = GetLength();
    if (iStart >= nLen || nCount == 0)
        return;
    nCount = std::min(nCount, nLen - iStart);
    // Deliberately works on the characters that are there, shared or attached
    // ones too.
    std::char_traits<WCHAR>::move(m_pStr + iStart, m_pStr + iStart + nCount, nLen - iStart - nCount + 1);
    if (m_bOwn)
        OCT::StrHeader(m_pStr).nStrLen = nLen - nCount;
}

void COrvStr::MakeUpper()
{
    if (CreateOwnBuffer(0, true))
        std::transform(m_pStr, m_pStr + GetLength(), m_pStr, OCT::ToUpperAscii<WCHAR>);
}

void COrvStr::MakeLower()
{
    if (CreateOwnBuffer(0, true))
        std::transform(m_pStr, m_pStr + GetLength(), m_pStr, OCT::ToLowerAscii<WCHAR>);
}

void COrvStr::CapitalizeFirstChar()
{
    if (!IsEmpty() && CreateOwnBuffer(0, true))
        CharUpperBuffW(m_pStr, 1);
}

void COrvStr::TrimLeft()
{
    if (!CreateOwnBuffer(0, true))
        return;
    const WCHAR* const pEnd = m_pStr + GetLength();
    const WCHAR* const pText =
        std::find_if_not<const WCHAR*>(m_pStr, pEnd, [](WCHAR c) { return OCT::IsSpace(c); });
    const auto nLeft = static_cast<std::size_t>(pEnd - pText);
    std::char_traits<WCHAR>::move(m_pStr, pText, nLeft);
    OCT::EndStr(m_pStr, nLeft);
    if (nLeft == 0)
        Empty();
}

void COrvStr::TrimRight()
{
    if (!CreateOwnBuffer(0, true))
        return;
    unsigned nLeft = GetLength();
    while (nLeft != 0 && OCT::IsSpace(m_pStr[nLeft - 1]))
        --nLeft;
    OCT::EndStr(m_pStr, nLeft);
    if (nLeft == 0)
        Empty();
}

void COrvStr::Trim()
{
    TrimRight();
    if (m_pStr != nullptr) // else there was no memory
        TrimLeft();
}

// ---- Paths ----

void COrvStr::AddBackslashToEnd()
{
    const unsigned nLen = GetLength();
    if (nLen == 0 || !IsSeparator(m_pStr[nLen - 1]))
        AppendChar(ORVTEXT('\\'));
}

void COrvStr::RemoveBackslashFromEnd()
{
    const unsigned nLen = GetLength();
    if (nLen != 0 && IsSeparator(m_pStr[nLen - 1]))
        Truncate(nLen - 1);
}

void COrvStr::RemoveExt(WCHAR cExtSep)
{
    if (const int iAt = ReverseFind(cExtSep); iAt >= 0)
        Truncate(static_cast<unsigned>(iAt));
}

void COrvStr::AddPath(const WCHAR* sPath, WCHAR cSep)
{
    if (sPath == nullptr || *SkipSpace(sPath) == 0)
        return;
    const std::optional<COrvStr> source(IsInside(sPath) ? std::optional<COrvStr>(*this) : std::nullopt);
    TrimLeft();
    if (m_pStr == nullptr) // no memory
        return;
    if (IsEmpty())
        return Copy(sPath);
    const WCHAR* sName = SkipSpace(sPath);
    const bool bEnds = IsSeparator(m_pStr[GetLength() - 1]);
    const bool bBegins = IsSeparator(*sName);
    if (bEnds && bBegins)
        ++sName;
    const bool bSeparates = !bEnds && !bBegins;
    if (!CreateOwnBuffer(std::uint64_t{GetLength()} + bSeparates + OCT::TextLength(sName), true)) // for both
        return;
    if (bSeparates)
        AppendChar(cSep);
    Append(sName);
}
