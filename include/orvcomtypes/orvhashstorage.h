/// The table of `orvhashmap.h`: bucket heads, the nodes chained to them, and the sizes at which it is
/// rebuilt.
///
/// One heap block holds a header and the slots: one slot for every bucket, then a reserve of nodes. When the
/// reserve is used up, further nodes come in blocks. A bucket's first value lies in its slot; a further one
/// is linked directly after it. What holds no value is 0, so all values can be found without following links;
/// nodes that never held one are counted, not linked, and thus not touched before they are used.
///
/// Ownership: `Ptr` owns a table with its node blocks.
/// Thread safety: none.
/// Errors: without memory `CLQMemoryExcept` is thrown and the table is as before.
#pragma once

#include "orvcomtypes/memarraytreat.h"

#include <cstring>
#include <memory>
#include <new>

namespace OCT
{

/// The bucket count of a table for \p nCount values: the first of a list of primes that is at least
/// nCount / fLoadFactor, or the last one.
ORV_API unsigned HashBucketCount(unsigned nCount, float fLoadFactor) noexcept;

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

/// The table proper: this header, then the slots, in one block.
template <class TItem, class TKey, class TCompare>
class CHashMapStorage
{
public:
    struct CDestroy
    {
        void operator()(CHashMapStorage* pStorage) const noexcept
        {
            pStorage->FreeNodeBlocks();
            CStaticCRTAllocator::Free(pStorage);
        }
    };
    using Ptr = std::unique_ptr<CHashMapStorage, CDestroy>;

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
    TItem Insert(TItem item)
    {
        const TKey key = TCompare::GetKey(item);
        CNode& head = Head(key);
        const TItem found = FindIn(head, key, nullptr);
        if (found == TItem(0))
            Put(head, item);
        return found;
    }

    /// Inserts all items of another storage; none of them is here yet.
    void InsertAll(const CHashMapStorage& other)
    {
        other.ForEachInOrder([this](TItem item) { Put(Head(TCompare::GetKey(item)), item); });
    }

    TItem Remove(TKey key, void* pContext) noexcept
    {
        CNode& head = Head(key);
        CNode* pPrev = nullptr;
        CNode* pNode = &head;
        while (pNode != nullptr && !TCompare::IsEqual(pNode->data, key, pContext))
            pPrev = std::exchange(pNode, pNode->pNext);
        if (pNode == nullptr || pNode->data == TItem(0))
            return TItem(0);
        const TItem found = pNode->data;
        if (pPrev != nullptr)
            pPrev->pNext = pNode->pNext;
        else if ((pNode = head.pNext) != nullptr)
            head = *pNode;
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
        for (CNode *pHead = m_pSlots, *const pEnd = m_pSlots + m_nBuckets; pHead != pEnd; ++pHead)
            if (pHead->data != TItem(0))
                for (CNode* pNode = pHead; pNode != nullptr; pNode = pNode->pNext)
                    fn(pNode->data);
    }

    /// Calls fn(item) for every item, straight through memory.
    template <class Fn>
    void ForEach(Fn fn) const
    {
        const CNode* pEnd = m_pFresh; // what is older than the fresh nodes was all used
        for (const CNodeBlock* pBlock = m_pNodeBlocks; pBlock != nullptr; pBlock = pBlock->pNext)
        {
            ForEachIn(pBlock->Nodes(), pEnd, fn);
            pEnd = pBlock->pNext != nullptr ? pBlock->pNext->Nodes() + pBlock->pNext->nNodes
                                            : m_pSlots + m_nSlots;
        }
        ForEachIn(m_pSlots, pEnd, fn);
    }

private:
    struct CNode
    {
        TItem data; ///< 0: empty
        CNode* pNext;
    };
    struct CNodeBlock
    {
        CNodeBlock* pNext;
        std::size_t nNodes;

        const CNode* Nodes() const noexcept { return reinterpret_cast<const CNode*>(this + 1); }
    };
    static_assert(sizeof(CNodeBlock) % alignof(CNode) == 0);

    /// Fewer buckets than this are a small table.
    static constexpr unsigned SmallBuckets = 2000;

    CHashMapStorage(unsigned nApproxCount, float fLoadFactor, unsigned nBuckets) noexcept;

    CNode& Head(TKey key) const noexcept { return m_pSlots[m_bucketOf(TCompare::GetHash(key))]; }

    /// Whether a value lies in the slot or is the first of the chain cannot be predicted in a large table,
    /// and a wrong guess waits for memory. So the node to look at is chosen without a branch there; that most
    /// values end there can be predicted. A small table lies in the cache, and its guesses are mostly
    /// learned.
    TItem FindIn(const CNode& head, TKey key, void* pContext) const noexcept
    {
        const CNode* pNode = &head;
        if (m_nBuckets >= SmallBuckets)
        {
            const CNode* const aCandidates[] = {head.pNext != nullptr ? head.pNext : &head, &head};
            pNode = aCandidates[TCompare::IsEqual(head.data, key, pContext) ? 1 : 0];
        }
        do
        {
            if (TCompare::IsEqual(pNode->data, key, pContext))
                return pNode->data; // 0 from an empty slot, for the key 0
            pNode = pNode->pNext;
        }
        while (pNode != nullptr);
        return TItem(0);
    }

    /// Stores an item that is new in the bucket of \p head.
    void Put(CNode& head, TItem item)
    {
        if (head.data == TItem(0))
            head.data = item;
        else
            head.pNext = new (TakeNode()) CNode{item, head.pNext};
        ++m_nSize;
    }

    CNode* TakeNode()
    {
        if (m_pFreeNodes != nullptr)
            return std::exchange(m_pFreeNodes, m_pFreeNodes->pNext);
        if (m_pFresh == m_pFreshEnd) [[unlikely]]
            AddNodeBlock();
        return m_pFresh++;
    }

    void FreeNode(CNode* pNode) noexcept
    {
        *pNode = {TItem(0), m_pFreeNodes};
        m_pFreeNodes = pNode;
    }

    void SetFresh(CNode* pFirst, std::size_t nNodes) noexcept
    {
        m_pFresh = pFirst;
        m_pFreshEnd = pFirst + nNodes;
    }

    void AddNodeBlock();
    void FreeNodeBlocks() noexcept;

    template <class Fn>
    static void ForEachIn(const CNode* pNode, const CNode* pEnd, Fn& fn)
    {
        for (; pNode != pEnd; ++pNode)
            if (pNode->data != TItem(0))
                fn(pNode->data);
    }

    /// Buckets, then spare nodes.
    static unsigned SlotCount(unsigned nBuckets) noexcept
    {
        return nBuckets < SmallBuckets ? nBuckets + nBuckets / 2 : nBuckets + nBuckets / 5;
    }

    float m_fLoadFactor;
    float m_fShrinkRatio = 0.25F;
    float m_fGrowRatio = 1.5F;
    unsigned m_nGrowThreshold;
    unsigned m_nShrinkThreshold;
    unsigned m_nApproxCount;
    unsigned m_nSize = 0;
    unsigned m_nBuckets;
    CNode* m_pSlots;
    unsigned m_nReserved = 0;
    unsigned m_nSlots;
    unsigned m_nUnused = 0xFFFFFFFF;
    CNodeBlock* m_pNodeBlocks = nullptr;
    CNode* m_pFreeNodes = nullptr; ///< that held a value before
    CNode* m_pFresh;               ///< the nodes that never did, in the newest block or else the reserve
    CNode* m_pFreshEnd;
    CFastRemainder m_bucketOf;
};

template <class TItem, class TKey, class TCompare>
typename CHashMapStorage<TItem, TKey, TCompare>::Ptr CHashMapStorage<TItem, TKey, TCompare>::Create(
    unsigned nApproxCount, float fLoadFactor)
{
    const unsigned nBuckets = HashBucketCount(nApproxCount, fLoadFactor);
    const std::uint64_t nBytes = sizeof(CHashMapStorage) + std::uint64_t{SlotCount(nBuckets)} * sizeof(CNode);
    void* const pBlock = CStaticCRTAllocator::AllocZeroed(nBytes);
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
      m_pSlots(reinterpret_cast<CNode*>(this + 1)),
      m_nSlots(SlotCount(nBuckets)),
      m_bucketOf(nBuckets)
{
    const auto nShrink = static_cast<unsigned>(double{m_fShrinkRatio} * nBuckets);
    m_nGrowThreshold =
        nBuckets >= 13316089 ? 0xFFFFFFFF : static_cast<unsigned>(double{m_fGrowRatio} * nBuckets);
    m_nShrinkThreshold = nShrink < 100 ? 0 : nShrink;
    SetFresh(m_pSlots + m_nBuckets, m_nSlots - m_nBuckets);
}

template <class TItem, class TKey, class TCompare>
void CHashMapStorage<TItem, TKey, TCompare>::RemoveAll() noexcept
{
    FreeNodeBlocks();
    std::memset(static_cast<void*>(m_pSlots), 0, m_nBuckets * sizeof(CNode));
    m_pFreeNodes = nullptr;
    SetFresh(m_pSlots + m_nBuckets, m_nSlots - m_nBuckets);
    m_nSize = 0;
}

template <class TItem, class TKey, class TCompare>
TItem CHashMapStorage<TItem, TKey, TCompare>::GetNextItem(TItem prev) const noexcept
{
    const CNode* pHead = m_pSlots;
    if (prev != TItem(0))
    {
        pHead = &Head(TCompare::GetKey(prev));
        const CNode* pNode = pHead;
        while (pNode != nullptr && pNode->data != prev)
            pNode = pNode->pNext;
        if (pNode == nullptr) [[unlikely]]
        {
            ORV_REPORT_FROM("orvhashmap", "CHashMapStorage::GetNextItem", "pNode->data != TItem(0)", prev);
            return TItem(0);
        }
        if (pNode->pNext != nullptr)
            return pNode->pNext->data;
        ++pHead;
    }
    for (const CNode* const pEnd = m_pSlots + m_nBuckets; pHead != pEnd; ++pHead)
        if (pHead->data != TItem(0))
            return pHead->data;
    return TItem(0);
}

template <class TItem, class TKey, class TCompare>
void CHashMapStorage<TItem, TKey, TCompare>::AddNodeBlock()
{
    const std::size_t nNodes = std::clamp(m_nSize / 5, 256U, 24000U);
    void* const pBlock = CStaticCRTAllocator::Realloc(nullptr, sizeof(CNodeBlock) + nNodes * sizeof(CNode));
    if (pBlock == nullptr)
        LQThrowMemory(LQSrcLocation{ORVTEXT("orvhashmap"), __LINE__});
    m_pNodeBlocks = new (pBlock) CNodeBlock{m_pNodeBlocks, nNodes};
    SetFresh(reinterpret_cast<CNode*>(m_pNodeBlocks + 1), nNodes);
}

template <class TItem, class TKey, class TCompare>
void CHashMapStorage<TItem, TKey, TCompare>::FreeNodeBlocks() noexcept
{
    while (m_pNodeBlocks != nullptr)
        CStaticCRTAllocator::Free(std::exchange(m_pNodeBlocks, m_pNodeBlocks->pNext));
}

} // namespace OCT
