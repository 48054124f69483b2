#include "orvcomtypes/orvstr.h"

#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstralloc.h"
#include "orvcomtypes/stringutils.h"
#include "strings/strbuffer.h"
#include "strings/textlen.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace
{

constexpr unsigned kAnsiCodePage = 0;

int AnsiToWide(const char* pFrom, const char* pTo, WCHAR* pDest, unsigned cchDest)
{
    return ANSIToUnicodeEx(pFrom, pTo, pDest, cchDest, kAnsiCodePage);
}

int Utf8ToWide(const char* pFrom, const char* pTo, WCHAR* pDest, unsigned cchDest)
{
    return UTF8ToUnicodeEx(pFrom, pTo, pDest, cchDest);
}

int CompareText(const WCHAR* a, const WCHAR* b, DWORD dwFlags)
{
    if (a == b)
        return 0;
    const WCHAR* const sEmpty = g_DefEmptyString.StrBuffer;
    switch (CompareStringW(LOCALE_SYSTEM_DEFAULT, dwFlags | SORT_STRINGSORT, a != nullptr ? a : sEmpty, -1,
                           b != nullptr ? b : sEmpty, -1))
    {
    case CSTR_LESS_THAN: return -1;
    case CSTR_GREATER_THAN: return 1;
    default: return 0;
    }
}

/// A buffer that holds a copy of \p s and has its first reference, or the empty text, or null without memory.
WCHAR* NewCopy(const WCHAR* s)
{
    const std::size_t nLen = OCT::TextLength(s);
    if (nLen == 0)
        return g_DefEmptyString.StrBuffer;
    WCHAR* const p = OCT::NewStr(nLen);
    if (p == nullptr)
        return nullptr;
    OCT::CopyUnits(p, s, nLen);
    OCT::EndStr(p, nLen);
    return p;
}

} // namespace

unsigned OrvStringCchCopy(WCHAR* sTrg, unsigned nCch, const WCHAR* sSrc)
{
    if (sTrg == nullptr)
    {
        ORV_REPORT("OrvStringCchCopy", "sTrg == nullptr");
        return 0;
    }
    if (nCch == 0)
        return 0;
    const std::size_t nLen = sSrc != nullptr ? OCT::TextLength(sSrc, nCch - 1) : 0;
    std::char_traits<WCHAR>::move(sTrg, sSrc, nLen);
    sTrg[nLen] = 0;
    return static_cast<unsigned>(nLen);
}

// ---- Construction and assignment ----

COrvStr::COrvStr(const WCHAR* s, bool bCopy) : m_pStr(g_DefEmptyString.StrBuffer), m_bOwn(true)
{
    if (s == nullptr)
        return;
    if (bCopy)
        m_pStr = NewCopy(s);
    else if (OCT::TextLength(s, 1) != 0)
        SetText(const_cast<WCHAR*>(s), false);
}

COrvStr& COrvStr::operator=(const COrvStr& str)
{
    if (this == &str)
        return *this;
    if (str.m_bOwn)
        Share(str.m_pStr);
    else
        Copy(str.m_pStr);
    return *this;
}

COrvStr& COrvStr::operator=(COrvStr&& str)
{
    if (this == &str || !str.m_bOwn)
        return *this = std::as_const(str);
    if (m_bOwn)
        OCT::ReleaseStrRef(m_pStr);
    SetText(str.m_pStr, true);
    str.Forget();
    return *this;
}

COrvStr& COrvStr::operator=(const WCHAR* s)
{
    Copy(s);
    return *this;
}

void COrvStr::Empty()
{
    if (m_bOwn)
        OCT::ReleaseStrRef(m_pStr);
    Forget();
}

bool COrvStr::Attach(const WCHAR* s)
{
    Empty();
    if (s != nullptr)
        SetText(const_cast<WCHAR*>(s), false);
    return s == nullptr;
}

void COrvStr::Attach(const COrvStr& str)
{
    if (str.m_bOwn)
        Share(str.m_pStr);
    else if (this != &str)
        Attach(str.m_pStr);
}

// ---- Buffers ----

/// Makes the text a private buffer with room for \p nLen units (0: for what
/// there is room for now), with the old text in it if \p bKeep. False when
/// there is nothing to write to: the value is the shared empty text, or null
/// for want of memory.
bool COrvStr::CreateOwnBuffer(std::uint64_t nLen, bool bKeep)
{
    if (m_bOwn && m_pStr != nullptr && OCT::IsSoleStrOwner(m_pStr, sizeof(WCHAR) * (nLen + 1)))
        return true;
    // As much room as there is: asked for like any length, a heap buffer would double with every copy.
    const bool bAsLarge = nLen == 0 && m_bOwn && m_pStr != nullptr;
    if (bAsLarge)
        nLen = OCT::StrHeader(m_pStr).nAllocLen / sizeof(WCHAR) - 1;
    else if (nLen == 0 && !m_bOwn && bKeep)
        nLen = OCT::TextLength(m_pStr);
    if (nLen == 0)
    {
        Empty();
        return false;
    }
    WCHAR* const pNew =
        bAsLarge ? OCT::FirstStrRef(ORVS_AllocateAsLarge(OCT::StrHeader(m_pStr))) : OCT::NewStr(nLen);
    if (pNew != nullptr && bKeep && m_pStr != nullptr)
    {
        const std::uint64_t nRoom = OCT::StrHeader(pNew).nAllocLen / sizeof(WCHAR) - 1;
        const std::uint64_t nKept = (std::min)(std::uint64_t{GetLength()}, nRoom);
        OCT::CopyUnits(pNew, m_pStr, static_cast<std::size_t>(nKept));
        OCT::EndStr(pNew, nKept);
    }
    if (m_bOwn)
        OCT::ReleaseStrRef(m_pStr);
    SetText(pNew, true);
    return pNew != nullptr;
}

bool COrvStr::IsInside(const void* p) const noexcept
{
    if (!m_bOwn || !OCT::IsCountedStr(m_pStr))
        return false;
    const auto nOffset = reinterpret_cast<std::uintptr_t>(p) - reinterpret_cast<std::uintptr_t>(m_pStr);
    return nOffset < OCT::StrHeader(m_pStr).nAllocLen;
}

/// The first text of a value that has none yet: a copy of \p s.
void COrvStr::CopyForeign(const WCHAR* s)
{
    m_pStr = NewCopy(s);
}

void COrvStr::TakeText(const WCHAR* s, unsigned nLen, bool bKeep)
{
    const COrvStr source(IsInside(s) ? *this : COrvStr()); // keeps the text alive
    const std::size_t nCount = OCT::SourceLength(s, nLen);
    const std::uint64_t nOld = bKeep ? GetLength() : 0;
    if (!CreateOwnBuffer(nOld + (nLen != 0 ? nLen : nCount), bKeep))
        return;
    OCT::CopyUnits(m_pStr + nOld, s, nCount);
    OCT::EndStr(m_pStr, nOld + nCount);
}

/// Appends within a private buffer that has room; the text may be the value's own.
inline bool COrvStr::AppendInPlace(const WCHAR* s, unsigned nLen)
{
    WCHAR* const pStr = m_pStr;
    if (!m_bOwn || pStr == nullptr)
        return false;
    const std::uint64_t nOld = OCT::StrHeader(pStr).nStrLen;
    const std::size_t nMost = nLen != 0 ? nLen : OCT::TextLength(s);
    if (!OCT::IsSoleStrOwner(pStr, sizeof(WCHAR) * (nOld + nMost + 1)))
        return false;
    std::size_t nCount = nMost;
    if (nLen != 0)
        nCount = OCT::CopyText(pStr + nOld, s, nMost);
    else
        OCT::CopyUnits(pStr + nOld, s, nMost);
    OCT::EndStr(pStr, nOld + nCount);
    return true;
}

void COrvStr::TakeConverted(const char* s, unsigned nLen, bool bKeep, Converter pfnConvert)
{
    const COrvStr source(IsInside(s) ? *this : COrvStr()); // keeps the text alive
    const std::size_t nCount = OCT::SourceLength(s, nLen);
    const std::uint64_t nOld = bKeep ? GetLength() : 0;
    if (!CreateOwnBuffer(nOld + (nLen != 0 ? nLen : nCount), bKeep))
        return;
    const auto cchRoom = static_cast<unsigned>(nCount + 1); // the buffer has no more than 2^31 units
    const int nWritten = nCount != 0 ? pfnConvert(s, s + nCount, m_pStr + nOld, cchRoom) : 0;
    OCT::EndStr(m_pStr, nOld + static_cast<unsigned>(nWritten));
}

void COrvStr::SetText(WCHAR* pStr, bool bOwn)
{
    m_pStr = pStr;
    m_bOwn = bOwn;
}

/// Shares a counted buffer, which may be the value's own.
void COrvStr::Share(WCHAR* pStr)
{
    OCT::AddStrRef(pStr);
    if (m_bOwn)
        OCT::ReleaseStrRef(m_pStr);
    SetText(pStr, true);
}

// ---- Copying in ----

unsigned COrvStr::MeasureLength() const
{
    return m_bOwn ? ORVS_GetStrLen(m_pStr) : static_cast<unsigned>(OCT::SourceLength(m_pStr, 0));
}

void COrvStr::Copy(const WCHAR* s, unsigned nLen)
{
    TakeText(s, nLen, false);
}

void COrvStr::Copy(const char* s, unsigned nLen)
{
    TakeConverted(s, nLen, false, AnsiToWide);
}

void COrvStr::SetUTF8(const char* s, unsigned nLen)
{
    TakeConverted(s, nLen, false, Utf8ToWide);
}

void COrvStr::Append(const WCHAR* s, unsigned nLen)
{
    if (s != nullptr && !AppendInPlace(s, nLen) && OCT::TextLength(s, 1) != 0)
        TakeText(s, nLen, true);
}

void COrvStr::Append(const char* s, unsigned nLen)
{
    if (s != nullptr && *s != 0)
        TakeConverted(s, nLen, true, AnsiToWide);
}

void COrvStr::AppendUTF8(const char* s, unsigned nLen)
{
    if (s != nullptr && *s != 0)
        TakeConverted(s, nLen, true, Utf8ToWide);
}

COrvStr& COrvStr::operator<<(const WCHAR* s)
{
    Append(s);
    return *this;
}

COrvStr& COrvStr::operator+=(const WCHAR* s)
{
    Append(s);
    return *this;
}

// ---- Copying out ----

const WCHAR* COrvStr::CopyTo(WCHAR* sDest, unsigned nCch) const
{
    constexpr unsigned nTooLong = 0x80000000u;
    if (sDest == nullptr)
        ORV_REPORT("COrvStr::CopyTo", "sDest != nullptr");
    else if (nCch >= nTooLong)
        sDest[0] = 0;
    else
        OrvStringCchCopy(sDest, nCch, m_pStr);
    return sDest;
}

char* COrvStr::GetANSI(char* dest, unsigned cbDest) const
{
    if (dest == nullptr || cbDest < 1)
    {
        ORV_REPORT("COrvStr::GetANSI", "dest == nullptr || cbDest < 1");
        return dest;
    }
    dest[0] = 0;
    if (cbDest > 1 && !IsEmpty())
        UnicodeToANSI(m_pStr, dest, cbDest, kAnsiCodePage);
    dest[cbDest - 1] = 0;
    return dest;
}

// ---- Comparison ----

bool COrvStr::operator<(const WCHAR* s) const
{
    return CompareText(m_pStr, s, 0) < 0;
}

bool COrvStr::operator>(const WCHAR* s) const
{
    return CompareText(m_pStr, s, 0) > 0;
}

bool COrvStr::operator==(const WCHAR* s) const
{
    return CompareText(m_pStr, s, 0) == 0;
}

bool COrvStr::operator!=(const WCHAR* s) const
{
    return CompareText(m_pStr, s, 0) != 0;
}

int COrvStrCmp::Compare(const COrvStr& a, const COrvStr& b, void*)
{
    return CompareText(a, b, 0);
}

int COrvStrCmpNoCase::Compare(const COrvStr& a, const COrvStr& b, void*)
{
    return CompareText(a, b, NORM_IGNORECASE);
}

int ORVCALL CompareOrvString(const WCHAR* a, const WCHAR* b, bool bNoCase)
{
    return CompareText(a, b, bNoCase ? NORM_IGNORECASE : 0);
}
