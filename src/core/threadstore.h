/// A small store of pool items for each thread, above the pools of the library.
///
/// A pool is guarded by a lock, and threads that make and drop short texts would do little but hand that lock
/// to each other. So each thread keeps a few items of every kind at hand and goes to the pool for several at
/// once. To the pool stored items are items in use.
///
/// The owner takes and puts without any locked step. Teardown may look into the stores of all threads all the
/// same: an owner marks its store busy with a plain store and then looks whether stores are closed; who
/// closes them makes every processor finish its writes and then waits for those that are busy. While stores
/// are closed their owners go to the pools.
///
/// Stores lie in the module itself, since threads may go on using them while the process exits; threads
/// beyond their number use the pools.
#pragma once

#include "orvcomtypes/plexalloc.h"
#include "threadslot.h"

#include <windows.h>

#include <array>
#include <atomic>

namespace OCT
{

/// One kind of items each; see kPlexShelf.
inline constexpr int kShelves = 5;

/// Gives items back to their pool.
using ReturnItems = void (*)(void* const* ppItems, unsigned nItems);

/// The items of one kind, the last put first taken. Atomic, but never in competition: see above.
class CThreadShelf
{
public:
    static constexpr unsigned kItems = 16;

    void* Take() noexcept
    {
        const unsigned nCount = m_nCount.load(std::memory_order_relaxed);
        if (nCount == 0)
            return nullptr;
        m_nCount.store(nCount - 1, std::memory_order_relaxed);
        return m_apItems[nCount - 1].load(std::memory_order_relaxed);
    }

    bool Put(void* pItem, ReturnItems fnReturn) noexcept
    {
        const unsigned nCount = m_nCount.load(std::memory_order_relaxed);
        if (nCount == kItems)
            return false;
        if (nCount == 0)
            m_fnReturn.store(fnReturn, std::memory_order_relaxed);
        m_apItems[nCount].store(pItem, std::memory_order_relaxed);
        m_nCount.store(nCount + 1, std::memory_order_relaxed);
        return true;
    }

    /// Takes the \p nItems that were put first, at least half of them.
    void TakeOldest(void** ppItems, unsigned nItems) noexcept;
    /// Takes all; how they go back is m_fnReturn.
    unsigned TakeAll(void** ppItems) noexcept;
    ReturnItems Return() const noexcept { return m_fnReturn.load(std::memory_order_relaxed); }

private:
    std::atomic<unsigned> m_nCount = 0;
    std::atomic<ReturnItems> m_fnReturn = nullptr;
    std::array<std::atomic<void*>, kItems> m_apItems{};
};

class alignas(64) CThreadStore
{
public:
    /// The calling thread's store, or null when it has none.
    static CThreadStore* Mine() noexcept
    {
        const DWORD dwSlot = s_dwSlot.load(std::memory_order_relaxed);
        if (dwSlot == TLS_OUT_OF_INDEXES) [[unlikely]]
            return nullptr;
        if (void* const p = PortTlsValue(dwSlot)) [[likely]]
            return p != &s_cEnded ? static_cast<CThreadStore*>(p) : nullptr;
        return Open();
    }

    /// An item, or null.
    void* Take(int nShelf) noexcept
    {
        void* p = nullptr;
        IfOpen([&] { p = m_shelves[nShelf].Take(); });
        return p;
    }

    /// False when there is no room.
    bool Put(int nShelf, void* pItem, ReturnItems fnReturn) noexcept
    {
        bool bDone = false;
        IfOpen([&] { bDone = m_shelves[nShelf].Put(pItem, fnReturn); });
        return bDone;
    }

    /// Takes the older half of a full shelf into \p ppItems and returns its number, 0 when stores are closed.
    unsigned TakeHalf(int nShelf, void** ppItems) noexcept
    {
        unsigned nItems = 0;
        IfOpen([&] { m_shelves[nShelf].TakeOldest(ppItems, nItems = CThreadShelf::kItems / 2); });
        return nItems;
    }

    /// Makes stores possible: at load.
    static void Enable() noexcept;
    /// Closes the stores for good and gives everything back to the pools: at unload.
    static void Disable() noexcept;

private:
    friend void TakeBackStored(int nShelf, ReturnItems fnReturn) noexcept;

    template <class Fn>
    void IfOpen(Fn fn) noexcept
    {
        m_bBusy.store(true, std::memory_order_relaxed);
        // The compiler must keep this order; the processor is made to by who closes.
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if (!s_bClosed.load(std::memory_order_acquire)) [[likely]]
            fn();
        m_bBusy.store(false, std::memory_order_release);
    }

    static void ForgetOthers() noexcept;
    static CThreadStore* Acquire() noexcept;
    static CThreadStore* Open() noexcept;
    static void CloseAll() noexcept;
    static void WINAPI OnThreadEnd(void* pStore) noexcept;
    void GiveBackAll(bool bByOwner) noexcept;
    void Release() noexcept;

    static std::atomic<DWORD> s_dwSlot;
    static std::atomic<bool> s_bClosed;
    static char s_cEnded; ///< its address is the slot's value when the thread has given its store back

    std::atomic<bool> m_bBusy = false;
    std::atomic<bool> m_bOwned = false; ///< by a thread; changes under the lock of all stores
    CThreadShelf m_shelves[kShelves];
};

/// The pool of \p T by way of the stores.
template <class T, unsigned N>
class CStoredPool
{
public:
    using Pool = CPlexAlloc<T, N>;

    static T* AllocateItem()
    {
        CThreadStore* const pStore = CThreadStore::Mine();
        if (pStore == nullptr) [[unlikely]]
            return Pool::AllocateItem();
        if (void* const p = pStore->Take(kPlexShelf<T>)) [[likely]]
            return static_cast<T*>(p);
        return Refill(*pStore);
    }

    static void ReleaseItem(T* pItem)
    {
        // In final release the pool has to mark the item's chain.
        CThreadStore* const pStore = CThreadStore::Mine();
        if (pStore == nullptr || pItem == nullptr || !Pool::HasPool() ||
            g_bFinalRelease.load(std::memory_order_relaxed) || Pool::IsOrphan(pItem)) [[unlikely]]
            return Pool::ReleaseItem(pItem);
        if (!pStore->Put(kPlexShelf<T>, pItem, Return)) [[unlikely]]
            Spill(*pStore, pItem);
    }

private:
    static constexpr unsigned kBatch = CThreadShelf::kItems / 2;

    static T* Refill(CThreadStore& store)
    {
        T* apItems[kBatch];
        unsigned nItems = Pool::AllocateItems(apItems, kBatch);
        if (nItems == 0)
            return nullptr;
        // The first of the pool is the first to be handed out.
        while (--nItems != 0)
            if (!store.Put(kPlexShelf<T>, apItems[nItems], Return))
                Pool::ReleaseItem(apItems[nItems]);
        return apItems[0];
    }

    static void Spill(CThreadStore& store, T* pItem)
    {
        void* apItems[kBatch];
        Return(apItems, store.TakeHalf(kPlexShelf<T>, apItems));
        if (!store.Put(kPlexShelf<T>, pItem, Return))
            Pool::ReleaseItem(pItem);
    }

    static void Return(void* const* ppItems, unsigned nItems)
    {
        T* apItems[CThreadShelf::kItems];
        std::transform(ppItems, ppItems + nItems, apItems, [](void* p) { return static_cast<T*>(p); });
        Pool::ReleaseItems(apItems, nItems);
    }
};

} // namespace OCT
