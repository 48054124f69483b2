/// The table of `orvhashmap.h`: bucket heads, the nodes chained to them, and the sizes at which it is
/// rebuilt.
///
/// One heap block holds a header and the slots: one slot for every bucket, then a reserve of nodes. When the
/// reserve is used up, the block grows by a fifth of the values, at least 256 nodes; it may move then. A
/// bucket's first value lies in its slot; a further one is linked directly after it. Links are distances, so
/// they survive the move and are half as large as 64-bit pointers: in a large table, what a look-up costs is
/// decided by how much of the table the caches hold. What holds no value is 0, so all values can be found
/// without following links; nodes that never held one are counted, not linked, and thus not touched before
/// they are used.
///
/// Ownership: `Ptr` owns a table.
/// Thread safety: none.
/// Errors: without memory, or beyond 2^31 slots, `CLQMemoryExcept` is thrown and the table is as before.
#pragma once

#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/memarraytreat.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace OCT
{

/// The bucket count of a table for \p nCount values: the first of a list of primes that is at least
/// nCount / fLoadFactor, or the last one.
ORV_API unsigned HashBucketCount(unsigned nCount, float fLoadFactor) noexcept;

/// Fewer buckets than this are a small table.
constexpr unsigned kSmallHashBuckets = 2000;

/// The remainder by a divisor above 1 that is not a power of two, by multiplication. With s = 32 + floor(log2
/// d), one of the multipliers that enclose 2^s / d is near enough for every 32-bit value, the lower one with
/// the value increased by one.
class CFastRemainder
{
public:
    explicit constexpr CFastRemainder(unsigned nDivisor) noexcept
        : m_nDivisor(nDivisor), m_nShift(31 + static_cast<unsigned>(std::bit_width(nDivisor)))
    {
        const std::uint64_t nPower = std::uint64_t{1} << m_nShift;
        m_nFactor = static_cast<unsigned>(nPower / nDivisor);
        m_nAdd = nPower % nDivisor <= nPower >> 32 ? 1 : 0;
        if (m_nAdd == 0)
            ++m_nFactor;
    }

    constexpr unsigned Divisor() const noexcept { return m_nDivisor; }
    constexpr unsigned operator()(unsigned n) const noexcept
    {
        const std::uint64_t nQuotient = (std::uint64_t{n} + m_nAdd) * m_nFactor >> m_nShift;
        return n - static_cast<unsigned>(nQuotient) * m_nDivisor;
    }

private:
    unsigned m_nDivisor;
    unsigned m_nShift;
    unsigned m_nFactor = 0;
    unsigned m_nAdd = 0;
};

template <class T>
struct CPrtvHashCompare;

/// The table proper: this header, then the slots, in one block.
template <class TItem, class TKey, class TCompare>
class CHashMapStorage
{
public:
    struct CDestroy
    {
        void operator()(CHashMapStorage* pStorage) const noexcept { CStaticCRTAllocator::Free(pStorage); }
    };
    using Ptr = std::unique_ptr<CHashMapStorage, CDestroy>;

    /// A policy is never given the empty marker, except for that of values that are their own keys: comparing
    /// them with 0 too saves branches, of which some cannot be predicted.
    static constexpr bool TakesEmpty() noexcept { return std::is_same_v<TCompare, CPrtvHashCompare<TItem>>; }

    static Ptr Create(unsigned nApproxCount, float fLoadFactor);

    unsigned GetSize() const noexcept { return m_nSize; }
    unsigned GetApproximateCount() const noexcept { return m_nApproxCount; }
    unsigned GetBucketCount() const noexcept { return m_nBuckets; }
    float GetLoadFactor() const noexcept { return m_fLoadFactor; }
    bool IsOverfull() const noexcept { return m_nSize > m_nGrowThreshold; }
    bool IsWithinThresholds(unsigned n) const noexcept
    {
        return m_nShrinkThreshold <= n && n <= m_nGrowThreshold;
    }

    TItem Find(TKey key, void* pContext) const noexcept { return FindIn(Head(key), key, pContext); }

    /// Returns 0 when the item is new, else the equal item that stays.
    static TItem Insert(Ptr& pStorage, TItem item)
    {
        const TKey key = TCompare::GetKey(item);
        CNode& head = pStorage->Head(key);
        const TItem found = pStorage->FindIn(head, key, nullptr);
        if (found == TItem(0))
            Put(pStorage, head, item);
        return found;
    }

    /// Inserts all items of another storage; none of them is here yet.
    static void InsertAll(Ptr& pStorage, const CHashMapStorage& other)
    {
        other.ForEachInOrder(
            [&](TItem item) { Put(pStorage, pStorage->Head(TCompare::GetKey(item)), item); });
    }

    TItem Remove(TKey key, void* pContext) noexcept
    {
        CNode& head = Head(key);
        CNode* pPrev = nullptr;
        CNode* pNode = &head;
        while (pNode != nullptr && !Holds(*pNode, key, pContext))
            pPrev = std::exchange(pNode, pNode->Next());
        if (pNode == nullptr || pNode->data == TItem(0))
            return TItem(0);
        const TItem found = pNode->data;
        if (pPrev != nullptr)
            pPrev->SetNext(pNode->Next());
        else if ((pNode = head.Next()) != nullptr)
        {
            head.data = pNode->data;
            head.SetNext(pNode->Next());
        }
        else
            head.data = TItem(0);
        if (pNode != nullptr)
            FreeNode(pNode);
        --m_nSize;
        return found;
    }
    void RemoveAll() noexcept;
    TItem GetNextItem(TItem prev) const noexcept;

    /// Calls fn(item) for every item, in the order of GetNextItem.
    template <class Fn>
    void ForEachInOrder(Fn fn) const
    {
        for (CNode *pHead = Slots(), *const pEnd = pHead + m_nBuckets; pHead != pEnd; ++pHead)
            if (pHead->data != TItem(0))
                for (CNode* pNode = pHead; pNode != nullptr; pNode = pNode->Next())
                    fn(pNode->data);
    }

    /// Calls fn(item) for every item, straight through memory.
    template <class Fn>
    void ForEach(Fn fn) const
    {
        for (const CNode *pNode = Slots(), *const pEnd = pNode + m_nFresh; pNode != pEnd; ++pNode)
            if (pNode->data != TItem(0))
                fn(pNode->data);
    }

private:
    struct CNode
    {
        TItem data; ///< 0: empty
        int nNext;  ///< how many nodes further on the next one lies; 0: none

        CNode* Next() noexcept { return nNext != 0 ? this + nNext : nullptr; }
        const CNode* Next() const noexcept { return nNext != 0 ? this + nNext : nullptr; }
        void SetNext(const CNode* pNode) noexcept
        {
            nNext = pNode != nullptr ? static_cast<int>(pNode - this) : 0;
        }
    };

    CHashMapStorage(unsigned nApproxCount, float fLoadFactor, unsigned nBuckets) noexcept;

    CNode* Slots() const noexcept { return reinterpret_cast<CNode*>(const_cast<CHashMapStorage*>(this) + 1); }
    CNode& Head(TKey key) const noexcept { return Slots()[m_bucketOf(TCompare::GetHash(key))]; }

    static bool Holds(const CNode& node, TKey key, void* pContext) noexcept
    {
        return (TakesEmpty() || node.data != TItem(0)) && TCompare::IsEqual(node.data, key, pContext);
    }

    /// Whether a value lies in the slot or is the first of the chain cannot be predicted in a large table,
    /// and a wrong guess waits for memory. So the node to look at is computed without a branch there; that
    /// most values end there can be predicted. A small table lies in the cache, and its guesses are mostly
    /// learned.
    TItem FindIn(const CNode& head, TKey key, void* pContext) const noexcept
    {
        const CNode* pNode = &head;
        if (m_nBuckets >= kSmallHashBuckets)
            pNode += head.nNext & -static_cast<int>(!Holds(head, key, pContext));
        do
        {
            if (Holds(*pNode, key, pContext))
                return pNode->data; // 0 from an empty slot, for the key 0
            pNode = pNode->Next();
        }
        while (pNode != nullptr);
        return TItem(0);
    }

    /// Stores an item that is new in the bucket of \p head.
    static void Put(Ptr& pStorage, CNode& head, TItem item)
    {
        if (head.data == TItem(0))
            head.data = item;
        else if (pStorage->m_nFreeNode == 0 && pStorage->m_nFresh == pStorage->m_nSlots) [[unlikely]]
        {
            AddNodes(pStorage);
            return Put(pStorage, pStorage->Head(TCompare::GetKey(item)), item);
        }
        else
        {
            CNode& node = pStorage->TakeNode();
            node.data = item;
            node.SetNext(head.Next());
            head.SetNext(&node);
        }
        ++pStorage->m_nSize;
    }

    CNode& TakeNode() noexcept
    {
        if (m_nFreeNode == 0)
            return Slots()[m_nFresh++];
        CNode& node = Slots()[m_nFreeNode];
        m_nFreeNode = static_cast<unsigned>(node.nNext);
        return node;
    }

    void FreeNode(CNode* pNode) noexcept
    {
        *pNode = {TItem(0), static_cast<int>(m_nFreeNode)};
        m_nFreeNode = static_cast<unsigned>(pNode - Slots());
    }

    static void AddNodes(Ptr& pStorage);

    /// Buckets, then spare nodes.
    static unsigned SlotCount(unsigned nBuckets) noexcept
    {
        return nBuckets < kSmallHashBuckets ? nBuckets + nBuckets / 2 : nBuckets + nBuckets / 5;
    }

    static std::uint64_t BlockBytes(unsigned nSlots) noexcept
    {
        return sizeof(CHashMapStorage) + std::uint64_t{nSlots} * sizeof(CNode);
    }

    alignas(CNode) float m_fLoadFactor; ///< aligned as the slots, which follow the header
    float m_fShrinkRatio = 0.25F;
    float m_fGrowRatio = 1.5F;
    unsigned m_nGrowThreshold;
    unsigned m_nShrinkThreshold;
    unsigned m_nApproxCount;
    unsigned m_nSize = 0;
    unsigned m_nBuckets;
    unsigned m_nReserved = 0;
    unsigned m_nSlots;
    unsigned m_nUnused = 0xFFFFFFFF;
    unsigned m_nFreeNode = 0; ///< the slot of a node that held a value before; its link is the next such slot
    unsigned m_nFresh;        ///< from this slot on, nodes that never did
    CFastRemainder m_bucketOf;
};

template <class TItem, class TKey, class TCompare>
typename CHashMapStorage<TItem, TKey, TCompare>::Ptr CHashMapStorage<TItem, TKey, TCompare>::Create(
    unsigned nApproxCount, float fLoadFactor)
{
    const unsigned nBuckets = HashBucketCount(nApproxCount, fLoadFactor);
    void* const pBlock = CStaticCRTAllocator::AllocZeroed(BlockBytes(SlotCount(nBuckets)));
    if (pBlock == nullptr)
        LQThrowMemory(LQSrcLocation{ORVTEXT("orvhashmap"), __LINE__});
    return Ptr(new (pBlock) CHashMapStorage(nApproxCount, fLoadFactor, nBuckets));
}

template <class TItem, class TKey, class TCompare>
CHashMapStorage<TItem, TKey, TCompare>::CHashMapStorage(unsigned nApproxCount, float fLoadFactor,
                                                        unsigned nBuckets) noexcept
    : m_fLoadFactor(fLoadFactor),
      m_nApproxCount(nApproxCount),
      m_nBuckets(nBuckets),
      m_nSlots(SlotCount(nBuckets)),
      m_nFresh(nBuckets),
      m_bucketOf(nBuckets)
{
    const auto nShrink = static_cast<unsigned>(double{m_fShrinkRatio} * nBuckets);
    m_nGrowThreshold =
        nBuckets >= 13316089 ? 0xFFFFFFFF : static_cast<unsigned>(double{m_fGrowRatio} * nBuckets);
    m_nShrinkThreshold = nShrink < 100 ? 0 : nShrink;
}

template <class TItem, class TKey, class TCompare>
void CHashMapStorage<TItem, TKey, TCompare>::RemoveAll() noexcept
{
    std::memset(static_cast<void*>(Slots()), 0, m_nBuckets * sizeof(CNode));
    m_nFreeNode = 0;
    m_nFresh = m_nBuckets;
    m_nSize = 0;
}

template <class TItem, class TKey, class TCompare>
TItem CHashMapStorage<TItem, TKey, TCompare>::GetNextItem(TItem prev) const noexcept
{
    const CNode* pHead = Slots();
    if (prev != TItem(0))
    {
        pHead = &Head(TCompare::GetKey(prev));
        const CNode* pNode = pHead;
        while (pNode != nullptr && pNode->data != prev)
            pNode = pNode->Next();
        if (pNode == nullptr) [[unlikely]]
        {
            ORV_REPORT_FROM("orvhashmap", "CHashMapStorage::GetNextItem", "pNode->data != TItem(0)", 0);
            return TItem(0);
        }
        if (const CNode* const pNext = pNode->Next())
            return pNext->data;
        ++pHead;
    }
    for (const CNode* const pEnd = Slots() + m_nBuckets; pHead != pEnd; ++pHead)
        if (pHead->data != TItem(0))
            return pHead->data;
    return TItem(0);
}

template <class TItem, class TKey, class TCompare>
void CHashMapStorage<TItem, TKey, TCompare>::AddNodes(Ptr& pStorage)
{
    static_assert(std::is_trivially_copyable_v<CHashMapStorage> && std::is_trivially_copyable_v<CNode>);
    const unsigned nSlots = pStorage->m_nSlots + (std::max)(pStorage->m_nSize / 5, 256U);
    void* const pBlock =
        nSlots <= 0x80000000 ? CStaticCRTAllocator::Realloc(pStorage.get(), BlockBytes(nSlots)) : nullptr;
    if (pBlock == nullptr)
        LQThrowMemory(LQSrcLocation{ORVTEXT("orvhashmap"), __LINE__});
    static_cast<void>(pStorage.release());
    pStorage.reset(static_cast<CHashMapStorage*>(pBlock));
    pStorage->m_nSlots = nSlots;
}

} // namespace OCT
