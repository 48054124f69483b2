/// A pool of blocks of one size.
///
/// Storage comes from the C heap in chains of `N` items and goes back a whole chain at a time: when all its
/// items are free, other chains remain, and it was once at least half used. A chain that never got that full
/// stays, so a lightly used pool does not allocate and free one over and over. There is one free list for the
/// whole pool, and what was freed last is handed out first. A wrapper of three links stands in front of each
/// item, so the chain of an item is found without a search.
///
/// The pool hands out raw storage, aligned for `T`; it neither constructs nor destroys.
///
/// Users call the static members, which create the pool on first use and register its teardown:
///
///     template <>
///     struct OCT::CPlexTypeName<CLogMessage>
///     {
///         static constexpr OCT::CFixedText kText{"class CLogMessage"};   // how reports name the type
///     };
///     using CMessagePool = OCT::CPlexAlloc<CLogMessage, 64>;
///
///     auto* pMessage = new (CMessagePool::AllocateItem()) CLogMessage;
///     …
///     pMessage->~CLogMessage();
///     CMessagePool::ReleaseItem(pMessage);
///
/// Ownership: items belong to the caller until they are released. At teardown chains with items in use are
/// reported
///   and left allocated; releasing such an item later is allowed and changes nothing.
/// Thread safety: every operation runs under the pool's lock, except releasing in final release.
/// Errors: source `plexalloc`, function names as in "OCT::CPlexAlloc<class CLogMessage,64,class
///   OCT::CCritSect>::FreeItem". "p == nullptr", then `CLQMemoryExcept`, when the heap is exhausted; the text
///   of the broken free list (then null) and "pChain != nullptr" from `GetFreeItem`; "pItem == nullptr" from
///   `FreeItem`;
///   "!IsChainUsed(p)" from `FreeDataChain`, once for each chain in use.
#pragma once

#include "orvcomtypes/fixedtext.h"
#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/smartcls.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

/// True once the process is ending; see octalloc.h.
ORV_EXTERN_C ORV_FUNC bool ORVCALL IsFinalRelease() noexcept;

namespace OCT
{

/// A function that takes down the pools of one kind.
using PlexUninit = void(ORVCALL*)();

/// Runs \p fnCreate under the lock of the teardown registry and, when it returns true, registers \p fnUninit
/// before that lock is released. Teardown holds that lock while it takes the locks of pools, so creation
/// takes it first too.
ORV_API void ORVCALL CreatePlexed(bool (*fnCreate)(), PlexUninit fnUninit);

/// How reports name an item or lock type; specialise it with a member `kText` of type `CFixedText`.
template <class T>
struct CPlexTypeName;

template <>
struct CPlexTypeName<CCritSect>
{
    static constexpr CFixedText kText{"class OCT::CCritSect"};
};

template <class T, unsigned N, class Lock = CCritSect>
class CPlexAlloc
{
public:
    /// Storage for one `T` from the pool of the process, which is created when there is none.
    static T* AllocateItem();
    /// Gives storage back; without a pool it is dropped.
    static void ReleaseItem(T* pItem);
    /// Takes the pool of the process away and frees the chains that nobody uses.
    static void ORVCALL FreeDataChain();

    /// An empty pool guarded by \p pLock, which outlives it.
    explicit CPlexAlloc(Lock* pLock) noexcept : m_pHead(nullptr), m_pLock(pLock) {}
    CPlexAlloc(const CPlexAlloc&) = delete;
    CPlexAlloc& operator=(const CPlexAlloc&) = delete;

    /// Storage for one `T`, or null when the free list is broken.
    T* GetFreeItem();
    void FreeItem(T* pItem);

    /// How many chains the pool holds, for tests and diagnosis.
    unsigned CountChains() const;

private:
    struct CWrapper;

    struct CChain
    {
        CChain* pNext;
        CChain* pPrev;
        CWrapper* pFree;          ///< used in the head chain only: the free items of all chains
        std::uint32_t nFreeCount; ///< of this chain's own items
        std::uint32_t nMinFree;   ///< the lowest nFreeCount so far
        bool bOrphaned;           ///< left allocated by a teardown; belongs to no pool any more
    };

    /// Stands right in front of its item.
    struct CWrapper
    {
        CWrapper* NextWrp;
        CWrapper* PrevWrp;
        CChain* pChain;
    };

    static constexpr std::size_t kAlignment = std::max(alignof(T), alignof(CWrapper));
    static constexpr std::size_t RoundUp(std::size_t n)
    {
        return (n + kAlignment - 1) / kAlignment * kAlignment;
    }
    static constexpr std::size_t kStride = RoundUp(sizeof(CWrapper) + sizeof(T));
    /// The heap aligns for pointers at least; the first item moves up to its own border.
    static constexpr std::size_t kChainBytes = sizeof(CChain) + sizeof(CWrapper) + kAlignment + N * kStride;

    static constexpr auto kTypeName =
        JoinTexts("OCT::CPlexAlloc<", CPlexTypeName<T>::kText.m_sText, ",", DecimalText<N>.m_sText, ",",
                  CPlexTypeName<Lock>::kText.m_sText, ">");
    static constexpr auto kGetFreeItem = JoinTexts(kTypeName.m_sText, "::GetFreeItem");
    static constexpr auto kFreeItem = JoinTexts(kTypeName.m_sText, "::FreeItem");
    static constexpr auto kFreeDataChain = JoinTexts(kTypeName.m_sText, "::FreeDataChain");

    static CWrapper* WrapperOf(T* pItem) { return reinterpret_cast<CWrapper*>(pItem) - 1; }
    static CWrapper* FirstWrapper(CChain* pChain);
    static CWrapper* NextInChain(CWrapper* pWrapper);
    static bool CreatePool();
    [[noreturn]] static void ThrowExhausted();

    void AddChain();
    void GiveBack(CChain* pChain);
    void UnlinkWrapper(CWrapper* pWrapper);
    void UnlinkChain(CChain* pChain);
    CChain* DetachChains();

    static inline Lock s_lock;
    static inline std::atomic<CPlexAlloc*> s_pPool = nullptr;

    CChain* m_pHead;
    Lock* m_pLock;
};

template <class T, unsigned N, class Lock>
T* CPlexAlloc<T, N, Lock>::AllocateItem()
{
    for (;;)
    {
        if (CPlexAlloc* pPool = s_pPool.load(std::memory_order_acquire)) [[likely]]
            return pPool->GetFreeItem();
        CreatePlexed(CreatePool, FreeDataChain);
    }
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::ReleaseItem(T* pItem)
{
    if (CPlexAlloc* pPool = s_pPool.load(std::memory_order_acquire)) [[likely]]
        pPool->FreeItem(pItem);
}

template <class T, unsigned N, class Lock>
bool CPlexAlloc<T, N, Lock>::CreatePool()
{
    CLockGuard<Lock> guard(&s_lock);
    if (s_pPool.load(std::memory_order_relaxed) != nullptr)
        return false;
    auto* pPool = new (std::nothrow) CPlexAlloc(&s_lock);
    if (pPool == nullptr)
        ThrowExhausted();
    s_pPool.store(pPool, std::memory_order_release);
    return true;
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::FreeDataChain()
{
    CLockGuard<Lock> guard(&s_lock);
    CPlexAlloc* pPool = s_pPool.load(std::memory_order_relaxed);
    if (pPool == nullptr)
        return;
    for (CChain* pChain = pPool->DetachChains(); pChain != nullptr;)
    {
        CChain* pNext = pChain->pNext;
        if (pChain->nFreeCount < N)
        {
            // Memory that may still be referenced is never freed.
            ORV_REPORT(kFreeDataChain.m_sText, "!IsChainUsed(p)");
            pChain->pNext = pChain->pPrev = nullptr;
            pChain->bOrphaned = true;
        }
        else
            std::free(pChain);
        pChain = pNext;
    }
    s_pPool.store(nullptr, std::memory_order_relaxed);
    delete pPool;
}

template <class T, unsigned N, class Lock>
typename CPlexAlloc<T, N, Lock>::CChain* CPlexAlloc<T, N, Lock>::DetachChains()
{
    CLockGuard<Lock> guard(m_pLock);
    CChain* pChains = m_pHead;
    m_pHead = nullptr;
    return pChains;
}

template <class T, unsigned N, class Lock>
T* CPlexAlloc<T, N, Lock>::GetFreeItem()
{
    CLockGuard<Lock> guard(m_pLock);
    if (m_pHead == nullptr || m_pHead->pFree == nullptr) [[unlikely]]
        AddChain();
    if (m_pHead->pFree == nullptr || m_pHead->pFree->PrevWrp != nullptr) [[unlikely]]
    {
        ORV_REPORT(kGetFreeItem.m_sText,
                   "m_pHead != nullptr && m_pHead->pFree != nullptr && m_pHead->pFree->PrevWrp == nullptr");
        return nullptr;
    }
    CWrapper* pWrapper = m_pHead->pFree;
    m_pHead->pFree = pWrapper->NextWrp;
    if (pWrapper->NextWrp != nullptr)
        pWrapper->NextWrp->PrevWrp = nullptr;
    pWrapper->NextWrp = nullptr;
    if (CChain* pChain = pWrapper->pChain) [[likely]]
        pChain->nMinFree = std::min(pChain->nMinFree, --pChain->nFreeCount);
    else
        ORV_REPORT(kGetFreeItem.m_sText, "pChain != nullptr");
    return reinterpret_cast<T*>(pWrapper + 1);
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::FreeItem(T* pItem)
{
    if (pItem == nullptr) [[unlikely]]
        return ORV_REPORT(kFreeItem.m_sText, "pItem == nullptr");
    CWrapper* pWrapper = WrapperOf(pItem);
    CChain* pChain = pWrapper->pChain;
    if (IsFinalRelease()) [[unlikely]]
    {
        // The process is ending: the mark lets FreeDataChain give the chain back without complaint. No lock
        // is taken and no list touched, on purpose.
        pChain->nFreeCount = N;
        return;
    }
    CLockGuard<Lock> guard(m_pLock);
    if (pChain->bOrphaned) [[unlikely]]
        return;
    pWrapper->NextWrp = m_pHead->pFree;
    if (m_pHead->pFree != nullptr)
        m_pHead->pFree->PrevWrp = pWrapper;
    m_pHead->pFree = pWrapper;
    if (++pChain->nFreeCount == N && m_pHead->pNext != nullptr && pChain->nMinFree <= N / 2) [[unlikely]]
        GiveBack(pChain);
}

template <class T, unsigned N, class Lock>
unsigned CPlexAlloc<T, N, Lock>::CountChains() const
{
    CLockGuard<Lock> guard(m_pLock);
    unsigned nCount = 0;
    for (const CChain* pChain = m_pHead; pChain != nullptr; pChain = pChain->pNext)
        ++nCount;
    return nCount;
}

template <class T, unsigned N, class Lock>
typename CPlexAlloc<T, N, Lock>::CWrapper* CPlexAlloc<T, N, Lock>::FirstWrapper(CChain* pChain)
{
    const auto nItem = RoundUp(reinterpret_cast<std::uintptr_t>(pChain + 1) + sizeof(CWrapper));
    return reinterpret_cast<CWrapper*>(nItem) - 1;
}

template <class T, unsigned N, class Lock>
typename CPlexAlloc<T, N, Lock>::CWrapper* CPlexAlloc<T, N, Lock>::NextInChain(CWrapper* pWrapper)
{
    return reinterpret_cast<CWrapper*>(reinterpret_cast<std::byte*>(pWrapper) + kStride);
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::ThrowExhausted()
{
    ORV_REPORT(kGetFreeItem.m_sText, "p == nullptr");
    LQThrowMemory(LQ_SRC_LOCATION);
}

/// Puts a new chain in front and makes its items, in address order, the free list, which is empty.
template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::AddChain()
{
    void* pBlock = std::malloc(kChainBytes);
    if (pBlock == nullptr)
        ThrowExhausted();
    auto* pChain = new (pBlock) CChain{m_pHead, nullptr, nullptr, N, N, false};
    if (m_pHead != nullptr)
        m_pHead->pPrev = pChain;
    m_pHead = pChain;

    CWrapper* pWrapper = FirstWrapper(pChain);
    pChain->pFree = pWrapper;
    CWrapper* pPrevious = nullptr;
    for (unsigned i = 0; i < N; ++i)
    {
        CWrapper* pNext = NextInChain(pWrapper);
        new (pWrapper) CWrapper{i + 1 < N ? pNext : nullptr, pPrevious, pChain};
        pPrevious = pWrapper;
        pWrapper = pNext;
    }
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::GiveBack(CChain* pChain)
{
    CWrapper* pWrapper = FirstWrapper(pChain);
    for (unsigned i = 0; i < N; ++i, pWrapper = NextInChain(pWrapper))
        UnlinkWrapper(pWrapper);
    UnlinkChain(pChain);
    std::free(pChain);
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::UnlinkWrapper(CWrapper* pWrapper)
{
    if (pWrapper->PrevWrp != nullptr)
        pWrapper->PrevWrp->NextWrp = pWrapper->NextWrp;
    else
        m_pHead->pFree = pWrapper->NextWrp;
    if (pWrapper->NextWrp != nullptr)
        pWrapper->NextWrp->PrevWrp = pWrapper->PrevWrp;
}

/// Takes one of several chains out of the list; a head hands the free list to the next chain.
template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::UnlinkChain(CChain* pChain)
{
    if (pChain == m_pHead)
    {
        pChain->pNext->pFree = pChain->pFree;
        m_pHead = pChain->pNext;
    }
    else
        pChain->pPrev->pNext = pChain->pNext;
    if (pChain->pNext != nullptr)
        pChain->pNext->pPrev = pChain->pPrev;
}

} // namespace OCT
