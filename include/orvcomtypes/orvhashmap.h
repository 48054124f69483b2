/// A set of items, each of which has its key in itself: non-zero integers, or pointers to objects. Chained,
/// with prime bucket counts.
///
/// The map owns a pointer to its table, the storage; rehashing builds a new storage and swaps it in. Bucket
/// heads lie in the storage's slot array, followed by a reserve of chain nodes, so a small table is one
/// allocation and a probe of an unchained value is one memory access. Thresholds are far apart (0.25 and 1.5
/// values per bucket): the table grows by itself, and becomes smaller only on request.
///
/// Ownership: the map owns its storage; values are copied. Nothing is shared: the end of the library does not
///   touch a map.
/// Thread safety: none; callers serialise access. Look-ups change nothing, so they may overlap each other.
/// Errors: reports (source `orvhashmap`) stand at the members. What makes or grows a table throws
///   `CLQMemoryExcept` without memory, and the values stay. Other members need none.
/// Units: counts are values.
///
///     OCT::CPrtvHashMap<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>> ids(1000);
///     ids.SetItem(7);
///     ids.ForEach([](unsigned id) { Use(id); });
#pragma once

#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvhashstorage.h"

namespace OCT
{

/// Compares items that are their own keys: the policy of a set of integers. The context is the caller's; it
/// is not used here.
template <class T>
struct CPrtvHashCompare
{
    /// What the map asks of its policy: the item is its key, and the key its hash.
    static unsigned GetHash(T key) noexcept { return static_cast<unsigned>(key); }
    static T GetKey(T item) noexcept { return item; }
    static bool IsEqual(T item, T key, void*) noexcept { return item == key; }
};

/// The set; see the top of this file.
///
/// TItem is an integer or a pointer; TItem(0) is the empty marker. TKey is passed by value.
/// TCompare has three static functions, which must not throw and are never given the empty marker:
///     unsigned GetHash(TKey)                      equal keys have equal hashes
///     TKey GetKey(TItem)                          stays equal as long as the item is stored
///     bool IsEqual(TItem, TKey, void* pContext)   whether the item has the key
/// pContext is what the `…ByKey` functions were given, else null. Pointers are not owned, and what they point
/// to must live as long as they are stored.
template <class TItem, class TKey, class TCompare>
class CPrtvHashMap
{
protected:
    using Storage = CHashMapStorage<TItem, TKey, TCompare>;

public:
    /// With 0 the table is made when the first value comes.
    explicit CPrtvHashMap(unsigned nApproxCount = 0)
    {
        if (nApproxCount != 0)
            InitHashTable(nApproxCount);
    }
    CPrtvHashMap(const CPrtvHashMap&) = delete;
    CPrtvHashMap& operator=(const CPrtvHashMap&) = delete;

    /// The number of values.
    unsigned GetCount() const noexcept { return m_pStorage ? m_pStorage->GetSize() : 0; }
    bool IsEmpty() const noexcept { return GetCount() == 0; }

    /// Adds a value. Returns 0 when it was added, or the equal value that is there already. Reports "newItem
    /// == TItem(0)" and refuses the empty marker with 0. When memory is missing only for a larger table, the
    /// value is in the map although this throws.
    TItem SetItem(TItem newItem)
    {
        if (newItem == TItem(0)) [[unlikely]]
        {
            ORV_REPORT("CPrtvHashMap::SetItem", "newItem == TItem(0)");
            return TItem(0);
        }
        if (!m_pStorage) [[unlikely]]
            InitHashTable(0);
        const TItem found = Storage::Insert(m_pStorage, newItem);
        if (found == TItem(0))
            RehashWhenDue();
        return found;
    }

    /// The stored value that has the same key, or 0.
    TItem GetItem(TItem item) const noexcept
    {
        return Storage::TakesEmpty() || item != TItem(0) ? GetItemByKey(TCompare::GetKey(item), nullptr)
                                                         : TItem(0);
    }
    TItem GetItemByKey(TKey key, void* pContext) const noexcept
    {
        return m_pStorage ? m_pStorage->Find(key, pContext) : TItem(0);
    }
    bool IsExists(TItem item) const noexcept { return GetItem(item) != TItem(0); }

    /// Removes the stored value that has the same key and returns it, or 0 when there is none. Behind
    /// `EnableRehash` a removal, too, may make the larger table that is due; when memory is missing for it,
    /// the value is out of the map although this throws.
    TItem RemoveItem(TItem item)
    {
        return Storage::TakesEmpty() || item != TItem(0) ? RemoveItemByKey(TCompare::GetKey(item), nullptr)
                                                         : TItem(0);
    }
    TItem RemoveItemByKey(TKey key, void* pContext)
    {
        const TItem found = m_pStorage ? m_pStorage->Remove(key, pContext) : TItem(0);
        if (found != TItem(0))
            RehashWhenDue();
        return found;
    }
    void RemoveAll() { RemoveAllCallback(nullptr, nullptr); }
    /// Calls \p pCallback, which may be null, for every value first. It must not change the map; what it
    /// throws passes through, and nothing is removed. Reports "data != TItem(0)" for a value that it has set
    /// to 0, and goes on.
    void RemoveAllCallback(void (*pCallback)(TItem&, void*), void* pContext);

    /// The value after \p prev, the first one after 0; 0 at the end: bucket by bucket, within a bucket the
    /// first value, then the newest to the oldest. Each call looks \p prev up; ForEach is many times faster.
    /// Values must not come or go meanwhile. Reports "pNode->data != TItem(0)" when \p prev is not stored,
    /// and gives 0.
    TItem GetNextItem(TItem prev) const noexcept
    {
        return m_pStorage ? m_pStorage->GetNextItem(prev) : TItem(0);
    }
    /// Calls fn(value) for every value, in the order of GetNextItem.
    template <class Fn>
    void ForEachInOrder(Fn fn) const
    {
        if (m_pStorage)
            m_pStorage->ForEachInOrder([&fn](TItem item) { fn(item); });
    }
    /// Calls fn(value) for every value in no particular order, which is much faster.
    template <class Fn>
    void ForEach(Fn fn) const
    {
        if (m_pStorage)
            m_pStorage->ForEach(fn);
    }

    /// The count that the table was made for, 0 without table.
    unsigned GetApproximateCount() const noexcept
    {
        return m_pStorage ? m_pStorage->GetApproximateCount() : 0;
    }
    /// Makes the table fit for \p n values; nothing when \p n is 0 or below the count.
    void SetApproximateCount(unsigned n)
    {
        if (n != 0 && n >= GetCount())
            Rehash(n, false);
    }
    /// Makes the table anew for \p n values (0: the count it was made for), or for all it holds when they are
    /// more; without \p bForce only when that count is outside the thresholds of the table. Reports "m_nSize
    /// == pNew->m_nSize" when values were lost on the way.
    void Rehash(unsigned n, bool bForce);

    /// Until as many calls of `EnableRehash`, the table is not made anew when values come or go: for many at
    /// once.
    void DisableRehash() noexcept { ++m_RehashLockCnt; }
    /// Reports "m_RehashLockCnt > 0" without a call before; the count then goes below 0, deliberately.
    void EnableRehash() noexcept
    {
        if (m_RehashLockCnt == 0) [[unlikely]]
            ORV_REPORT("CPrtvHashMap::EnableRehash", "m_RehashLockCnt > 0");
        --m_RehashLockCnt;
    }

protected:
    /// Reports "m_pStorage == nullptr" when there is a table; its values go.
    void InitHashTable(unsigned nCount)
    {
        if (m_pStorage) [[unlikely]]
            ORV_REPORT("CPrtvHashMap::InitHashTable", "m_pStorage == nullptr");
        m_pStorage = Storage::Create(nCount, 0.75F);
    }
    void RehashInner(unsigned n) { Rehash(n, false); }

private:
    void RehashWhenDue()
    {
        if (m_pStorage->IsOverfull() && m_RehashLockCnt == 0) [[unlikely]]
            RehashInner(0);
    }

    typename Storage::Ptr m_pStorage;
    unsigned m_RehashLockCnt = 0;
};

template <class TItem, class TKey, class TCompare>
void CPrtvHashMap<TItem, TKey, TCompare>::RemoveAllCallback(void (*pCallback)(TItem&, void*), void* pContext)
{
    if (!m_pStorage)
        return;
    if (pCallback != nullptr)
        m_pStorage->ForEachInOrder([=](TItem& data) {
            if (data == TItem(0)) [[unlikely]]
                ORV_REPORT("CPrtvHashMap::RemoveAllCallback", "data != TItem(0)");
            else
                pCallback(data, pContext);
        });
    m_pStorage->RemoveAll();
}

template <class TItem, class TKey, class TCompare>
void CPrtvHashMap<TItem, TKey, TCompare>::Rehash(unsigned n, bool bForce)
{
    if (!m_pStorage)
        return InitHashTable(n);
    const bool bAutomatic = n == 0;
    n = (std::max)(bAutomatic ? m_pStorage->GetApproximateCount() : n, GetCount());
    if (!bForce && m_pStorage->IsWithinThresholds(n))
        return;
    const float fLoadFactor = m_pStorage->GetLoadFactor();
    if (!bForce && bAutomatic && HashBucketCount(n, fLoadFactor) == m_pStorage->GetBucketCount())
        return; // the last bucket count: the table cannot grow any more
    auto pNew = Storage::Create(n, fLoadFactor);
    Storage::InsertAll(pNew, *m_pStorage);
    if (m_pStorage->GetSize() != pNew->GetSize()) [[unlikely]]
        ORV_REPORT("CPrtvHashMap::RehashInner", "m_nSize == pNew->m_nSize");
    m_pStorage = std::move(pNew);
}

} // namespace OCT

ORV_EXTERN_TEMPLATE(OCT::CHashMapStorage<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>>);
ORV_EXTERN_TEMPLATE(OCT::CPrtvHashMap<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>>);
