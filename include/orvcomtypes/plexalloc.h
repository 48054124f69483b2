/// `OCT::CPlexAlloc`, a pool of blocks of one size.
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
///     CLogMessage* NewMessage()
///     {
///         return new (CMessagePool::AllocateItem()) CLogMessage;
///     }
///     void DeleteMessage(CLogMessage* pMessage)
///     {
///         pMessage->~CLogMessage();
///         CMessagePool::ReleaseItem(pMessage);
///     }
///
/// Ownership: items belong to the caller until they are released. At teardown chains with items in use are
///   reported and left allocated; releasing such an item later is allowed and changes nothing. Each module
///   has its own pool of a type, so an item goes back in the module that it came from. A module that is
///   unloaded before the process ends takes its pools down first, while its code is still there:
///
///     void ClosePlugin()   // the host calls it before FreeLibrary or dlclose
///     {
///         HMODULE hModule = nullptr;
///         GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
///                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
///                            reinterpret_cast<const WCHAR*>(&ClosePlugin), &hModule);
///         CallPlexedAllocUninit(hModule);
///     }
///
/// Thread safety: every operation runs under the pool's lock, except releasing in final release. A module's
///   own pool has its lock when the module's static variables have been made: a static constructor that uses
///   it before that reports "m_bInitialized" and must be alone with it.
/// Fork: a child finds the library's own pools (those of strings and log lines) whole and free. Of any other
///   it can only count on those that no other thread used at that moment.
/// Errors: source `plexalloc`, function names as in "OCT::CPlexAlloc<class CLogMessage,64,class
///   OCT::CCritSect>::FreeItem". "p == nullptr", then `CLQMemoryExcept`, when the heap is exhausted; the text
///   of the broken free list (then null) and "pChain != nullptr" from `GetFreeItem`; "pItem == nullptr" from
///   `FreeItem`; "!IsChainUsed(p)" from `FreeDataChain`, once for each chain in use.
#pragma once

#include "orvcomtypes/fixedtext.h"
#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/smartcls.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

namespace OCT
{

/// What `IsFinalRelease` tells (octalloc.h). A variable, as every release of an item looks at it.
extern ORV_API std::atomic<bool> g_bFinalRelease;

/// A function that takes down the pools of one kind.
using PlexUninit = void(ORVCALL*)();

/// Runs \p fnCreate under the lock of the teardown registry and, when it returns true, registers \p fnUninit
/// before that lock is released. Teardown holds that lock while it takes the locks of pools, so creation
/// takes it first too. For a pool of the library itself the loader is not asked where \p fnUninit lies.
ORV_API void ORVCALL CreatePlexed(bool (*fnCreate)(), PlexUninit fnUninit, bool bLibraryPool);

/// Which shelf of a thread's own store (core/threadstore.h) keeps items of this type; -1 unless their pool is
/// one of the library itself. Such a pool is created without asking the loader, as a thread that waits for
/// the library may hold the loader's lock.
template <class T>
inline constexpr int kPlexShelf = -1;
/// Whether the pool of the type belongs to the library.
template <class T>
inline constexpr bool kLibraryPool = kPlexShelf<T> >= 0;

/// For pools of the library. `HoldAtFork` makes a fork wait for the lock. `TakeBackStored` empties one shelf
/// of all threads' stores into \p fnReturn. Where a stored item may still be in use its type has a member
/// `bool LeaveStore()`: only if that returns true the item goes back.
void HoldAtFork(CCritSect& lock) noexcept;
void TakeBackStored(int nShelf, void (*fnReturn)(void* const* ppItems, unsigned nItems)) noexcept;

/// How reports name an item or lock type; specialise it with a member `kText` of type `CFixedText`.
template <class T>
struct CPlexTypeName;

template <>
struct CPlexTypeName<CCritSect>
{
    static constexpr CFixedText kText{"class OCT::CCritSect"};
};

struct CPlexWrapper;

/// One heap block: this header, then the items with their wrappers, in address order.
struct CPlexChain
{
    CPlexChain* pNext;
    CPlexChain* pPrev;
    CPlexWrapper* pFree;      ///< used in the head chain only: the free items of all chains
    std::uint32_t nFreeCount; ///< of this chain's own items
    std::uint32_t nMinFree;   ///< the lowest nFreeCount so far
    bool bOrphaned;           ///< left allocated by a teardown; belongs to no pool any more
};

/// Stands right in front of its item. The links are null while the item is handed out.
struct CPlexWrapper
{
    CPlexWrapper* NextWrp;
    CPlexWrapper* PrevWrp;
    CPlexChain* pChain;
};

/// How the items of a chain lie.
struct CPlexLayout
{
    std::size_t m_nAlignment; ///< of the items
    std::size_t m_nStride;    ///< from item to item
    std::uint32_t m_nCount;

    template <class T>
    static constexpr CPlexLayout Of(std::uint32_t nCount)
    {
        constexpr std::size_t nAlignment = (std::max)(alignof(T), alignof(CPlexWrapper));
        return {nAlignment, RoundUp(sizeof(CPlexWrapper) + sizeof(T), nAlignment), nCount};
    }
    static constexpr std::size_t RoundUp(std::size_t n, std::size_t nTo) { return (n + nTo - 1) / nTo * nTo; }
};

/// Whether there are orphaned chains at all.
extern ORV_API std::atomic<bool> g_bPlexOrphans;

// What a pool does seldom, once for all types.

/// Puts a new chain in front of \p pHead and makes its items, in address order, the free list, which is
/// empty; false when the heap is exhausted.
ORV_API bool ORVCALL AddPlexChain(CPlexChain*& pHead, const CPlexLayout& layout) noexcept;
/// Frees one of several chains, all of whose items are free.
ORV_API void ORVCALL GiveBackPlexChain(CPlexChain*& pHead, CPlexChain* pChain,
                                       const CPlexLayout& layout) noexcept;
/// Frees the chains that nobody uses; the others become orphans and are reported with the function's name.
ORV_API void ORVCALL TakeDownPlexChains(CPlexChain* pChains, const CPlexLayout& layout,
                                        const char* sFunction) noexcept;

/// A lock that is never destroyed: while a program ends, threads that still run go on using the pools.
template <class Lock>
union CLastingLock
{
    CLastingLock() noexcept : m_lock() {}
    ~CLastingLock() {}

    Lock m_lock;
};

template <class T, unsigned N, class Lock = CCritSect>
class ORV_LOCAL CPlexAlloc
{
public:
    /// Storage for one `T` from the pool of the process, which is created when there is none.
    static T* AllocateItem();
    /// Gives storage back; without a pool, or after the final teardown, it is dropped untouched.
    static void ReleaseItem(T* pItem);
    /// The same for several items at once: as many as the pool has without growing, at least one; null items
    /// never.
    static unsigned AllocateItems(T** ppItems, unsigned nWanted);
    static void ReleaseItems(T* const* ppItems, unsigned nItems);
    static bool HasPool() noexcept { return s_pPool.load(std::memory_order_acquire) != nullptr; }
    /// True for an item of a chain that a teardown left allocated.
    static bool IsOrphan(T* pItem)
    {
        return g_bPlexOrphans.load(std::memory_order_relaxed) && WrapperOf(pItem)->pChain->bOrphaned;
    }
    /// True once the pool of the process was taken down in final release: its chains may be gone, items in
    /// use or not.
    static bool IsOver() noexcept { return s_bOver.load(std::memory_order_relaxed); }
    /// Takes the pool of the process away and frees the chains that nobody uses.
    static void ORVCALL FreeDataChain();

    /// An empty pool guarded by \p pLock, which outlives it.
    explicit constexpr CPlexAlloc(Lock* pLock) noexcept : m_pHead(nullptr), m_pLock(pLock) {}
    CPlexAlloc(const CPlexAlloc&) = delete;
    CPlexAlloc& operator=(const CPlexAlloc&) = delete;

    /// Storage for one `T`, or null when the free list is broken.
    T* GetFreeItem();
    void FreeItem(T* pItem);

    /// How many chains the pool holds, for tests and diagnosis.
    unsigned CountChains() const;

private:
    static constexpr CPlexLayout kLayout = CPlexLayout::Of<T>(N);

    static constexpr auto kTypeName =
        JoinTexts("OCT::CPlexAlloc<", CPlexTypeName<T>::kText.m_sText, ",", kDecimalText<N>.m_sText, ",",
                  CPlexTypeName<Lock>::kText.m_sText, ">");
    static constexpr auto kGetFreeItem = JoinTexts(kTypeName.m_sText, "::GetFreeItem");
    static constexpr auto kFreeItem = JoinTexts(kTypeName.m_sText, "::FreeItem");
    static constexpr auto kFreeDataChain = JoinTexts(kTypeName.m_sText, "::FreeDataChain");

    static CPlexAlloc& OpenedPool();
    static bool OpenPool();
    static void ReturnStored(void* const* ppItems, unsigned nItems);
    [[noreturn]] static void ThrowExhausted();
    unsigned GetFreeItems(T** ppItems, unsigned nWanted);
    T* TakeItem();
    void PutItem(T* pItem);
    CPlexChain* DetachChains();

    static CPlexWrapper* WrapperOf(T* pItem) { return reinterpret_cast<CPlexWrapper*>(pItem) - 1; }

    static inline CLastingLock<Lock> s_lock;
    static CPlexAlloc s_pool;
    static inline std::atomic<CPlexAlloc*> s_pPool = nullptr; ///< s_pool while it is in use
    static inline std::atomic<bool> s_bOver = false;

    CPlexChain* m_pHead;
    Lock* m_pLock;
};

template <class T, unsigned N, class Lock>
constinit CPlexAlloc<T, N, Lock> CPlexAlloc<T, N, Lock>::s_pool{&s_lock.m_lock};

template <class T, unsigned N, class Lock>
CPlexAlloc<T, N, Lock>& CPlexAlloc<T, N, Lock>::OpenedPool()
{
    for (;;)
    {
        if (CPlexAlloc* pPool = s_pPool.load(std::memory_order_acquire)) [[likely]]
            return *pPool;
        CreatePlexed(OpenPool, FreeDataChain, kLibraryPool<T>);
    }
}

template <class T, unsigned N, class Lock>
T* CPlexAlloc<T, N, Lock>::AllocateItem()
{
    return OpenedPool().GetFreeItem();
}

template <class T, unsigned N, class Lock>
unsigned CPlexAlloc<T, N, Lock>::AllocateItems(T** ppItems, unsigned nWanted)
{
    return OpenedPool().GetFreeItems(ppItems, nWanted);
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::ReleaseItem(T* pItem)
{
    CPlexAlloc* pPool = s_pPool.load(std::memory_order_acquire);
    if (pPool != nullptr && !IsOver()) [[likely]]
        pPool->FreeItem(pItem);
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::ReleaseItems(T* const* ppItems, unsigned nItems)
{
    CPlexAlloc* pPool = s_pPool.load(std::memory_order_acquire);
    if (pPool == nullptr || IsOver()) [[unlikely]]
        return;
    CLockGuard<Lock> guard(pPool->m_pLock);
    std::for_each_n(ppItems, nItems, [pPool](T* pItem) { pPool->PutItem(pItem); });
}

template <class T, unsigned N, class Lock>
bool CPlexAlloc<T, N, Lock>::OpenPool()
{
    if constexpr (kLibraryPool<T>)
        HoldAtFork(s_lock.m_lock);
    CLockGuard<Lock> guard(&s_lock.m_lock);
    return s_pPool.exchange(&s_pool, std::memory_order_release) == nullptr;
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::FreeDataChain()
{
    CLockGuard<Lock> guard(&s_lock.m_lock);
    if constexpr (kLibraryPool<T>)
        TakeBackStored(kPlexShelf<T>, ReturnStored);
    if (g_bFinalRelease.load(std::memory_order_relaxed))
        s_bOver.store(true, std::memory_order_relaxed);
    if (CPlexAlloc* pPool = s_pPool.exchange(nullptr, std::memory_order_relaxed))
        TakeDownPlexChains(pPool->DetachChains(), kLayout, kFreeDataChain.m_sText);
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::ReturnStored(void* const* ppItems, unsigned nItems)
{
    for (unsigned i = 0; i < nItems && s_pPool.load(std::memory_order_relaxed) != nullptr; ++i)
    {
        T* const pItem = static_cast<T*>(ppItems[i]);
        bool bFree = true;
        if constexpr (requires { pItem->LeaveStore(); })
            bFree = pItem->LeaveStore();
        if (bFree)
            s_pool.PutItem(pItem);
    }
}

template <class T, unsigned N, class Lock>
CPlexChain* CPlexAlloc<T, N, Lock>::DetachChains()
{
    CLockGuard<Lock> guard(m_pLock);
    CPlexChain* pChains = m_pHead;
    m_pHead = nullptr;
    return pChains;
}

template <class T, unsigned N, class Lock>
T* CPlexAlloc<T, N, Lock>::GetFreeItem()
{
    T* pItem = nullptr;
    GetFreeItems(&pItem, 1);
    return pItem;
}

template <class T, unsigned N, class Lock>
unsigned CPlexAlloc<T, N, Lock>::GetFreeItems(T** ppItems, unsigned nWanted)
{
    CLockGuard<Lock> guard(m_pLock);
    if (m_pHead == nullptr || m_pHead->pFree == nullptr) [[unlikely]]
    {
        if (!AddPlexChain(m_pHead, kLayout))
        {
            // The exception is logged, and a thread that logs may wait for this lock.
            guard.Unlock();
            ThrowExhausted();
        }
    }
    unsigned nTaken = 0;
    do
    {
        T* const pItem = TakeItem();
        if (pItem == nullptr) [[unlikely]]
            break;
        ppItems[nTaken++] = pItem;
    }
    while (nTaken < nWanted && m_pHead->pFree != nullptr);
    return nTaken;
}

template <class T, unsigned N, class Lock>
T* CPlexAlloc<T, N, Lock>::TakeItem()
{
    if (m_pHead->pFree == nullptr || m_pHead->pFree->PrevWrp != nullptr) [[unlikely]]
    {
        ORV_REPORT(kGetFreeItem.m_sText,
                   "m_pHead != nullptr && m_pHead->pFree != nullptr && m_pHead->pFree->PrevWrp == nullptr");
        return nullptr;
    }
    CPlexWrapper* pWrapper = m_pHead->pFree;
    m_pHead->pFree = pWrapper->NextWrp;
    if (pWrapper->NextWrp != nullptr)
        pWrapper->NextWrp->PrevWrp = nullptr;
    pWrapper->NextWrp = nullptr;
    if (CPlexChain* pChain = pWrapper->pChain) [[likely]]
        pChain->nMinFree = (std::min)(pChain->nMinFree, --pChain->nFreeCount);
    else
        ORV_REPORT(kGetFreeItem.m_sText, "pChain != nullptr");
    return reinterpret_cast<T*>(pWrapper + 1);
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::FreeItem(T* pItem)
{
    if (pItem == nullptr) [[unlikely]]
        return ORV_REPORT(kFreeItem.m_sText, "pItem == nullptr");
    if (g_bFinalRelease.load(std::memory_order_relaxed)) [[unlikely]]
    {
        // The process is ending: the mark lets FreeDataChain give the chain back without complaint. No lock
        // is taken and no list touched, on purpose.
        WrapperOf(pItem)->pChain->nFreeCount = N;
        return;
    }
    CLockGuard<Lock> guard(m_pLock);
    PutItem(pItem);
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::PutItem(T* pItem)
{
    CPlexWrapper* const pWrapper = WrapperOf(pItem);
    CPlexChain* const pChain = pWrapper->pChain;
    if (pChain->bOrphaned) [[unlikely]]
        return;
    pWrapper->NextWrp = m_pHead->pFree;
    if (m_pHead->pFree != nullptr)
        m_pHead->pFree->PrevWrp = pWrapper;
    m_pHead->pFree = pWrapper;
    if (pChain->nFreeCount == N) [[unlikely]]
        return; // marked in final release
    if (++pChain->nFreeCount == N && m_pHead->pNext != nullptr && pChain->nMinFree <= N / 2 &&
        !g_bFinalRelease.load(std::memory_order_relaxed)) [[unlikely]]
        GiveBackPlexChain(m_pHead, pChain, kLayout);
}

template <class T, unsigned N, class Lock>
unsigned CPlexAlloc<T, N, Lock>::CountChains() const
{
    CLockGuard<Lock> guard(m_pLock);
    unsigned nCount = 0;
    for (const CPlexChain* pChain = m_pHead; pChain != nullptr; pChain = pChain->pNext)
        ++nCount;
    return nCount;
}

template <class T, unsigned N, class Lock>
void CPlexAlloc<T, N, Lock>::ThrowExhausted()
{
    ORV_REPORT(kGetFreeItem.m_sText, "p == nullptr");
    LQThrowMemory(LQ_SRC_LOCATION);
}

} // namespace OCT
