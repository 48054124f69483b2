#include "orvcomtypes/midintarray.h"

#include "containers/idsort.h"
#include "core/charclass.h"
#include "core/numtext.h"
#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/memarraytreat.h"
#include "orvcomtypes/orvstr.h"
#include "strings/wholetext.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace
{

constexpr unsigned kMaxTokenLength = 19;
constexpr unsigned kStackScratch = 1024;
constexpr unsigned kMaxIdText = 11; // ten digits and a separator

/// Heap memory for the time of one operation.
template <class T>
class CScratch
{
public:
    explicit CScratch(std::uint64_t nCount)
        : m_p(static_cast<T*>(CStaticCRTAllocator::Realloc(nullptr, nCount * sizeof(T))))
    {
        if (m_p == nullptr)
            LQThrowMemory(LQ_SRC_LOCATION);
    }
    CScratch(const CScratch&) = delete;
    CScratch& operator=(const CScratch&) = delete;
    ~CScratch() { CStaticCRTAllocator::Free(m_p); }

    T* Get() const noexcept { return m_p; }

private:
    T* m_p;
};

/// As `atol` where `long` has 32 bits.
template <class Char>
unsigned TokenToId(const Char* p, const Char* pEnd)
{
    while (p != pEnd && OCT::IsSpace(*p))
        ++p;
    const bool bNegative = p != pEnd && *p == '-';
    if (p != pEnd && (*p == '-' || *p == '+'))
        ++p;
    std::int64_t nValue = 0;
    for (; p != pEnd && OCT::IsDigit(*p); ++p)
        nValue = std::min<std::int64_t>(nValue * 10 + (*p - '0'), UINT32_MAX);
    nValue = bNegative ? -nValue : nValue;
    return static_cast<unsigned>(std::clamp<std::int64_t>(nValue, INT32_MIN, INT32_MAX));
}

template <class Char>
void SplitIds(CMIDINTArray& ids, const Char* sText, Char sep)
{
    if (sText == nullptr)
        return;
    for (const Char* pEnd;; sText = pEnd + 1)
    {
        for (pEnd = sText; *pEnd != 0 && *pEnd != sep; ++pEnd)
        {
        }
        if (pEnd == sText)
            return;
        ids.Add(TokenToId(sText, std::min(pEnd, sText + kMaxTokenLength)));
        if (*pEnd == 0)
            return;
    }
}

} // namespace

CMIDINTArray::operator bool() const noexcept
{
    return std::any_of(begin(), end(), [](unsigned id) { return id != 0; });
}

bool CMIDINTArray::IsExists(unsigned id) const noexcept
{
    return std::find(begin(), end(), id) != end();
}

bool CMIDINTArray::IsEqual(const CMIDINTArray& other) const noexcept
{
    return std::equal(begin(), end(), other.begin(), other.end());
}

unsigned CMIDINTArray::AddIds(const CMIDINTArray& other)
{
    Add(other);
    return m_iSize;
}

void CMIDINTArray::AddIds(unsigned nCount, const unsigned* pIds)
{
    if (IsOwnElement(pIds))
    {
        const auto idx = static_cast<unsigned>(pIds - m_pElement);
        RemoveAt(idx + nCount, m_iSize - idx - nCount);
        RemoveAt(0, idx);
        return;
    }
    RemoveAll();
    if (pIds != nullptr)
        InsertAt(0, nCount, pIds);
}

bool CMIDINTArray::RemoveId(unsigned id)
{
    const unsigned* const pFound = std::find(begin(), end(), id);
    if (pFound == end())
        return false;
    RemoveAt(static_cast<unsigned>(pFound - begin()), 1);
    return true;
}

void CMIDINTArray::Split(const char* sText, char sep)
{
    SplitIds(*this, sText, sep);
}

void CMIDINTArray::Split(const WCHAR* sText, WCHAR sep)
{
    SplitIds(*this, sText, sep);
}

COrvStr CMIDINTArray::Join(WCHAR sep, const WCHAR* sAppend) const
{
    const std::size_t nAppend = sAppend == nullptr ? 0 : std::char_traits<WCHAR>::length(sAppend);
    const CScratch<WCHAR> text(std::uint64_t{m_iSize} * kMaxIdText + nAppend + 1);
    WCHAR* p = std::copy_n(sAppend, nAppend, text.Get());
    for (const unsigned id : *this)
    {
        if (p != text.Get())
            *p++ = sep;
        p = OCT::PutDecimal(p, id);
    }
    *p = 0;
    return OCT::Whole(COrvStr(text.Get()));
}

void CMIDINTArray::SortIds()
{
    if (m_iSize <= kStackScratch)
    {
        unsigned aScratch[kStackScratch];
        OCT::SortIdRange(m_pElement, m_iSize, aScratch);
        return;
    }
    const CScratch<unsigned> scratch(std::min(m_iSize, OCT::kMaxSortScratch));
    OCT::SortIdRange(m_pElement, m_iSize, scratch.Get());
}

void CMIDINTArray::Unique()
{
    SortIds();
    const auto nKept = static_cast<unsigned>(std::unique(begin(), end()) - begin());
    RemoveAt(nKept, m_iSize - nKept);
}

/// Keeps the map from rehashing while IDs are added, and makes it fit for them before.
class CMIDINTSet::CBulk
{
public:
    CBulk(CMIDINTSet& set, unsigned nCount) : m_set(set), m_map(set.Map(nCount))
    {
        const std::uint64_t nAll =
            std::min<std::uint64_t>(std::uint64_t{m_map.GetCount()} + nCount, UINT32_MAX);
        if (nAll > m_map.GetApproximateCount()) // it must not become smaller
            m_map.SetApproximateCount(static_cast<unsigned>(nAll));
        ++m_set.m_nRehashLock;
        m_map.DisableRehash();
    }
    CBulk(const CBulk&) = delete;
    CBulk& operator=(const CBulk&) = delete;
    ~CBulk()
    {
        m_map.EnableRehash();
        --m_set.m_nRehashLock;
    }

    void Add(unsigned id) { m_map.SetItem(id); }

private:
    CMIDINTSet& m_set;
    CMap& m_map;
};

CMIDINTSet::CMIDINTSet(unsigned nApproxCount)
{
    if (nApproxCount != 0)
        Map(nApproxCount);
}

CMIDINTSet::CMIDINTSet(const CMIDINTArray& ids) : CMIDINTSet(ids.GetSize())
{
    AddIds(ids);
}

CMIDINTSet::CMIDINTSet(CMIDINTSet&&) noexcept = default;
CMIDINTSet& CMIDINTSet::operator=(CMIDINTSet&&) noexcept = default;
CMIDINTSet::~CMIDINTSet() = default;

CMIDINTSet::CMap& CMIDINTSet::Map(unsigned nApproxCount)
{
    if (!m_pMap)
        m_pMap = std::make_unique<CMap>(nApproxCount);
    return *m_pMap;
}

unsigned CMIDINTSet::Add(unsigned id)
{
    return Map(0).SetItem(id);
}

void CMIDINTSet::AddIds(const CMIDINTArray& ids)
{
    AddIds(ids.GetSize(), ids.GetData());
}

void CMIDINTSet::AddIds(unsigned nCount, const unsigned* pIds)
{
    if (nCount == 0 || pIds == nullptr)
        return;
    CBulk bulk(*this, nCount);
    for (const unsigned* const pEnd = pIds + nCount; pIds != pEnd; ++pIds)
        if (*pIds != 0)
            bulk.Add(*pIds);
}

void CMIDINTSet::CopyTo(CMIDINTArray& dest) const
{
    dest.RemoveAll();
    if (m_pMap)
        m_pMap->ForEachInOrder([&dest](unsigned id) { dest.Add(id); });
}
