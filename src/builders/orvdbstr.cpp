#include "orvcomtypes/orvdbstr.h"

#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/orvstralloc.h"
#include "strings/strbuffer.h"
#include "strings/textlen.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace
{

/// A new buffer with its first reference.
WCHAR* NewBuffer(std::uint64_t nCch)
{
    WCHAR* const p = OCT::NewStr(std::max<std::uint64_t>(nCch, 1));
    if (p == nullptr)
        LQThrowMemory(LQ_SRC_LOCATION);
    OCT::EndStr(p, 0);
    return p;
}

WCHAR* NewText(const WCHAR* s)
{
    const std::size_t nLen = OCT::SourceLength(s, 0);
    if (nLen == 0)
        return ORVS_GetDefaultEmptyString();
    WCHAR* const p = NewBuffer(nLen);
    OCT::CopyUnits(p, s, nLen);
    OCT::EndStr(p, nLen);
    return p;
}

} // namespace

COrvDBStr::COrvDBStr(const WCHAR* s) : m_pStr(NewText(s)), m_bNull(s == nullptr) {}

COrvDBStr::COrvDBStr(const COrvStr& str) : m_pStr(str.m_pStr), m_bNull(false)
{
    if (str.m_bOwn && m_pStr != nullptr)
        OCT::AddStrRef(m_pStr);
    else
        m_pStr = NewText(m_pStr);
}

WCHAR* COrvDBStr::GetBuffer(unsigned nCch)
{
    const std::uint64_t nBytes = sizeof(WCHAR) * (std::uint64_t{nCch} + 1);
    if (!OCT::IsCountedStr(m_pStr) || !OCT::IsSoleStrOwner(m_pStr, nBytes))
        OCT::ReleaseStrRef(std::exchange(m_pStr, NewBuffer(nCch)));
    OCT::EndStr(m_pStr, 0);
    m_bNull = false;
    return m_pStr;
}

bool COrvDBStr::SetLength(std::int64_t cbValue)
{
    if (cbValue == kNullValue)
    {
        SetNull();
        return true;
    }
    const bool bPrivate = OCT::IsCountedStr(m_pStr) && OCT::IsSoleStrOwner(m_pStr, 0);
    if (!bPrivate)
    {
        ORV_REPORT("COrvDBStr::SetLength", "bPrivate");
        return false;
    }
    const std::int64_t nRoom = GetBufferBytes() / std::int64_t{sizeof(WCHAR)} - 1;
    const std::int64_t nValue = cbValue / std::int64_t{sizeof(WCHAR)};
    const std::int64_t nMax = cbValue < 0 ? nRoom : std::min(nValue, nRoom);
    const auto nLen = static_cast<std::size_t>(std::find(m_pStr, m_pStr + nMax, WCHAR{}) -
                                               m_pStr); // not beyond the buffer, as TextLength may look
    OCT::EndStr(m_pStr, nLen);
    return cbValue < 0 ? cbValue == kTerminated : nValue <= nRoom;
}

// ---- The members of COrvStr that share the buffer; they stand here because the rooms below know none ----

COrvStr::COrvStr(const COrvDBStr& str)
{
    OCT::AddStrRef(str.m_pStr);
    SetText(str.m_pStr, true);
}

COrvStr& COrvStr::operator=(const COrvDBStr& str)
{
    Share(str.m_pStr);
    return *this;
}

void COrvStr::Attach(const COrvDBStr& str)
{
    Share(str.m_pStr);
}
