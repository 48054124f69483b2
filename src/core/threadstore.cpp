#include "core/threadstore.h"

#include "core/ownlock.h"
#include "forklock.h"
#include "orvcomtypes/plexalloc.h"
#include "orvcomtypes/smartcls.h"
#include "threadslot.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <span>

namespace OCT
{
namespace
{

constexpr std::size_t kStores = 256;
// A thread is busy with its store for a few instructions. One that was ended by force in between stays so. As
// many looks at all stores together.
constexpr int kQuickLooks = 1000;
constexpr int kLooksAtBusy = kQuickLooks + 100;

constinit CThreadStore g_stores[kStores];
std::size_t g_nEverOwned = 0;                        ///< of the stores, the first ones; the rest is untouched
CLastingLock<COwnLock> g_storesLock;                 ///< the last of all locks: nothing is entered under it
std::atomic<DWORD> g_dwEndSlot = FLS_OUT_OF_INDEXES; ///< tells of a thread's end

std::span<CThreadStore> EverOwned() noexcept
{
    return {g_stores, g_nEverOwned};
}

/// Stores are there from the first static constructor that follows.
[[maybe_unused]] const bool g_bEnabled = (CThreadStore::Enable(), true);

} // namespace

constinit std::atomic<DWORD> CThreadStore::s_dwSlot = TLS_OUT_OF_INDEXES;
constinit std::atomic<bool> CThreadStore::s_bClosed = false;
constinit char CThreadStore::s_cEnded = 0;

/// At most half of what is there is left: frozen at any point, by a fork or a forced end, the shelf holds no
/// item twice.
void CThreadShelf::TakeOldest(void** ppItems, unsigned nItems) noexcept
{
    const unsigned nCount = m_nCount.load(std::memory_order_relaxed);
    m_nCount.store(nCount - nItems, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    for (unsigned i = 0; i < nCount; ++i)
    {
        void* const pItem = m_apItems[i].load(std::memory_order_relaxed);
        if (i < nItems)
            ppItems[i] = pItem;
        else
            m_apItems[i - nItems].store(pItem, std::memory_order_relaxed);
    }
}

unsigned CThreadShelf::TakeAll(void** ppItems) noexcept
{
    const unsigned nCount = m_nCount.load(std::memory_order_relaxed);
    for (unsigned i = 0; i < nCount; ++i)
        ppItems[i] = m_apItems[i].load(std::memory_order_relaxed);
    m_nCount.store(0, std::memory_order_relaxed);
    return nCount;
}

void CThreadStore::Enable() noexcept
{
    const DWORD dwSlot = TlsAlloc();
    g_dwEndSlot = FlsAlloc(OnThreadEnd);
    PortCallInChild(ForgetOthers);
    if (dwSlot != TLS_OUT_OF_INDEXES && g_dwEndSlot != FLS_OUT_OF_INDEXES)
        s_dwSlot.store(dwSlot, std::memory_order_relaxed);
}

/// In a forked child, which has one thread: what the others had is there for whoever comes, and nobody waits
/// for those that were busy.
void CThreadStore::ForgetOthers() noexcept
{
    const DWORD dwSlot = s_dwSlot.load(std::memory_order_relaxed);
    const void* const pMine = dwSlot != TLS_OUT_OF_INDEXES ? PortTlsValue(dwSlot) : nullptr;
    for (CThreadStore& store : EverOwned())
        if (&store != pMine)
        {
            store.m_bBusy.store(false, std::memory_order_relaxed);
            store.m_bOwned.store(false, std::memory_order_relaxed);
        }
}

/// A store that nobody owns, or null.
CThreadStore* CThreadStore::Acquire() noexcept
{
    const CCritSectGuard guard(&g_storesLock.m_lock);
    if (s_bClosed.load(std::memory_order_relaxed))
        return nullptr;
    for (CThreadStore& store : g_stores)
        if (!store.m_bOwned.load(std::memory_order_relaxed))
        {
            store.m_bOwned.store(true, std::memory_order_relaxed);
            g_nEverOwned = std::max(g_nEverOwned, static_cast<std::size_t>(&store - g_stores) + 1);
            return &store;
        }
    return nullptr;
}

void CThreadStore::Release() noexcept
{
    const CCritSectGuard guard(&g_storesLock.m_lock);
    m_bOwned.store(false, std::memory_order_relaxed);
}

/// The slots are set without the lock: the system may hold one of its own while it tells of a thread's end.
CThreadStore* CThreadStore::Open() noexcept
{
    CThreadStore* const pStore = Acquire();
    if (pStore == nullptr)
        return nullptr;
    const DWORD dwLastError = GetLastError();
    const bool bOpened = FlsSetValue(g_dwEndSlot, pStore) && TlsSetValue(s_dwSlot, pStore);
    SetLastError(dwLastError);
    if (bOpened)
        return pStore;
    pStore->Release();
    return nullptr;
}

/// A fiber that ends in another thread than its own says nothing about the store's owner. The slot may be
/// freed at any moment: the process exits.
void WINAPI CThreadStore::OnThreadEnd(void* pStore) noexcept
{
    const DWORD dwSlot = s_dwSlot.load(std::memory_order_relaxed);
    if (pStore == nullptr || dwSlot == TLS_OUT_OF_INDEXES || PortTlsValue(dwSlot) != pStore)
        return;
    TlsSetValue(dwSlot, &s_cEnded);
    auto& store = *static_cast<CThreadStore*>(pStore);
    store.GiveBackAll(true);
    store.Release();
}

/// The pools are not entered while the store is busy: who closes the stores holds one of them and waits.
void CThreadStore::GiveBackAll(bool bByOwner) noexcept
{
    for (CThreadShelf& shelf : m_shelves)
    {
        void* apItems[CThreadShelf::kItems];
        unsigned nItems = 0;
        const auto take = [&] { nItems = shelf.TakeAll(apItems); };
        if (bByOwner)
            IfOpen(take);
        else
            take();
        if (nItems != 0)
            shelf.Return()(apItems, nItems);
    }
}

/// Under the lock: when it returns no owner is inside, and none comes in.
void CThreadStore::CloseAll() noexcept
{
    s_bClosed.store(true, std::memory_order_seq_cst);
    FlushProcessWriteBuffers();
    int i = 0;
    for (const CThreadStore& store : EverOwned())
        for (; i < kLooksAtBusy && store.m_bBusy.load(std::memory_order_acquire); ++i)
            Sleep(i < kQuickLooks ? 0 : 1);
}

void CThreadStore::Disable() noexcept
{
    {
        const CCritSectGuard guard(&g_storesLock.m_lock);
        CloseAll();
    }
    for (CThreadStore& store : EverOwned())
        store.GiveBackAll(false);
    FlsFree(g_dwEndSlot);
    TlsFree(s_dwSlot.exchange(TLS_OUT_OF_INDEXES));
}

/// Called under the pool's lock, so that no owner gets new items meanwhile.
void TakeBackStored(int nShelf, ReturnItems fnReturn) noexcept
{
    const CCritSectGuard guard(&g_storesLock.m_lock);
    if (CThreadStore::s_bClosed.load(std::memory_order_relaxed))
        return;
    CThreadStore::CloseAll();
    for (CThreadStore& store : EverOwned())
    {
        void* apItems[CThreadShelf::kItems];
        fnReturn(apItems, store.m_shelves[nShelf].TakeAll(apItems));
    }
    CThreadStore::s_bClosed.store(false, std::memory_order_release);
}

} // namespace OCT
