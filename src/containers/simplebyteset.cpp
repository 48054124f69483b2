#include "orvcomtypes/simplebyteset.h"

#include "core/charclass.h"
#include "core/numtext.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvstr.h"
#include "strings/wholetext.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace
{

constexpr ULONG kAllItems = 0xFFFFFFFF;

/// The bounds of an interval of items, both inclusive; empty when they are the wrong way round.
struct CInterval
{
    CInterval(ULONG nFrom, ULONG nTo) : m_nFirst(std::max(nFrom & 0xFF, ULONG{1})), m_nEnd((nTo & 0xFF) + 1)
    {
        m_nEnd = std::max(m_nFirst, m_nEnd);
    }

    ULONG m_nFirst;
    ULONG m_nEnd; ///< one past the last item
};

} // namespace

void CSimpleByteSet::SetItem(BYTE nItem, bool bSet) noexcept
{
    if (nItem == 0 || (m_aFlags[nItem] != 0) == bSet)
        return;
    m_aFlags[nItem] = bSet ? 1 : 0;
    m_nCount += bSet ? 1 : -1;
}

void CSimpleByteSet::AddItem(ULONG nPacked) noexcept
{
    if (nPacked == kAllItems)
        SetAllItem();
    else
        for (; nPacked != 0; nPacked >>= 8)
            SetItem(static_cast<BYTE>(nPacked), true);
}

void CSimpleByteSet::RemoveItem(ULONG nPacked) noexcept
{
    if (nPacked == kAllItems)
        Clear();
    else
        for (; nPacked != 0; nPacked >>= 8)
            SetItem(static_cast<BYTE>(nPacked), false);
}

void CSimpleByteSet::Clear() noexcept
{
    std::memset(m_aFlags, 0, sizeof(m_aFlags));
    m_nCount = 0;
}

void CSimpleByteSet::SetAllItem() noexcept
{
    std::memset(m_aFlags, 1, sizeof(m_aFlags));
    m_nCount = 255;
}

void CSimpleByteSet::AddFromString(const WCHAR* sText, WCHAR sep)
{
    if (sText == nullptr)
        return;
    for (ULONG nPacked = 0;; ++sText)
    {
        if (OCT::IsDigit(*sText))
            nPacked = nPacked * 10 + (*sText - '0');
        else if (*sText == sep || *sText == 0)
        {
            AddItem(std::exchange(nPacked, 0));
            if (*sText == 0)
                return;
        }
        else if (!OCT::IsSpace(*sText))
        {
            ORV_REPORT_FROM("midintarray", "CSimpleByteSet::AddFromString", "invalid character", *sText);
            return;
        }
    }
}

bool CSimpleByteSet::IsExists(ULONG nItem) const noexcept
{
    return nItem != 0 && m_aFlags[nItem & 0xFF] != 0;
}

bool CSimpleByteSet::IsEqual(const CSimpleByteSet& other) const noexcept
{
    return std::memcmp(m_aFlags, other.m_aFlags, sizeof(m_aFlags)) == 0;
}

bool CSimpleByteSet::IsAllItemsIntervalSet(ULONG nFrom, ULONG nTo) const noexcept
{
    const CInterval items(nFrom, nTo);
    return std::find(m_aFlags + items.m_nFirst, m_aFlags + items.m_nEnd, BYTE{0}) == m_aFlags + items.m_nEnd;
}

bool CSimpleByteSet::IsAnyItemIntervalSet(ULONG nFrom, ULONG nTo) const noexcept
{
    const CInterval items(nFrom, nTo);
    return std::find(m_aFlags + items.m_nFirst, m_aFlags + items.m_nEnd, BYTE{1}) != m_aFlags + items.m_nEnd;
}

COrvStr CSimpleByteSet::JoinInterval(ULONG nFrom, ULONG nTo, WCHAR sep) const
{
    const CInterval items(nFrom, nTo);
    WCHAR sText[255 * 4];
    WCHAR* p = sText;
    for (ULONG nItem = items.m_nFirst; nItem < items.m_nEnd; ++nItem)
    {
        if (m_aFlags[nItem] == 0)
            continue;
        if (p != sText)
            *p++ = sep;
        p = OCT::PutDecimal(p, nItem);
    }
    *p = 0;
    return OCT::Whole(COrvStr(sText));
}

ULONG CSimpleByteSet::GetNext(ULONG& nPos) const noexcept
{
    while (++nPos < std::size(m_aFlags))
        if (m_aFlags[nPos] != 0)
            return nPos;
    return 0;
}

bool CSimpleByteSet::Contains(ULONG nItem, ULONG nPacked) noexcept
{
    const auto nByte = static_cast<BYTE>(nItem);
    for (; nByte != 0 && nPacked != 0; nPacked >>= 8)
        if (static_cast<BYTE>(nPacked) == nByte)
            return true;
    return false;
}
