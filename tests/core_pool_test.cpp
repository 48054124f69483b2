#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/octalloc.h"
#include "support/child_process.h"
#include "support/heap.h"
#include "support/random.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <map>
#include <set>
#include <thread>
#include <vector>

namespace
{

template <std::size_t Size, std::size_t Alignment>
struct CItem
{
    alignas(Alignment) unsigned char m_data[Size];
};
using CSmall = CItem<10, 1>;
using CAligned = CItem<12, 16>;
/// So large that no heap has room for a chain of so many.
using CHuge = CItem<std::size_t{1} << 20, 1>;
constexpr unsigned kHugeCount = sizeof(void*) == 8 ? 1u << 30 : 2000;

} // namespace

template <std::size_t Size, std::size_t Alignment>
struct OCT::CPlexTypeName<CItem<Size, Alignment>>
{
    static constexpr CFixedText kText{"class CItem"};
};

namespace
{

/// A new pool that lives to the end of the process, as chains outlive a pool object.
template <class T, unsigned N>
OCT::CPlexAlloc<T, N>& Pool()
{
    static OCT::CCritSect s_lock;
    static auto& pools = *new std::deque<OCT::CPlexAlloc<T, N>>;
    return pools.emplace_back(&s_lock);
}

/// Predicts each item and the number of chains.
template <class T, unsigned N>
void CheckRandomOperations()
{
    struct Chain
    {
        unsigned m_nFree = N;
        unsigned m_nMinFree = N;
    };
    constexpr auto nStride = OCT::CPlexLayout::Of<T>(N).m_nStride;
    auto& pool = Pool<T, N>();
    std::map<unsigned char*, Chain> chains; // by their first items
    std::vector<unsigned char*> unused, used;
    const auto chainOf = [&chains](unsigned char* p) { return std::prev(chains.upper_bound(p)); };
    CTestRandom random;
    for (int i = 0; i < 20000; ++i)
    {
        // Tides, so that chains fill up and run empty.
        if (used.empty() || random.UpTo(99) < (i / 500 % 2 == 0 ? 60u : 40u))
        {
            unsigned char* const p = pool.GetFreeItem()->m_data;
            if (unused.empty())
                for (chains[p] = {}; unused.size() < N;)
                    unused.push_back(p + (N - 1 - unused.size()) * nStride);
            ASSERT_EQ(unused.back(), p) << "the latest freed, or a new chain in address order";
            ASSERT_EQ(0u, reinterpret_cast<std::uintptr_t>(p) % alignof(T));
            unused.pop_back();
            used.push_back(p);
            Chain& chain = chainOf(p)->second;
            chain.m_nMinFree = std::min(chain.m_nMinFree, --chain.m_nFree);
            std::memset(p, 0xEE, sizeof(T));
        }
        else
        {
            std::swap(used[random.UpTo(static_cast<unsigned>(used.size()) - 1)], used.back());
            unsigned char* const p = used.back();
            used.pop_back();
            unused.push_back(p);
            pool.FreeItem(reinterpret_cast<T*>(p));
            const auto it = chainOf(p);
            // Once half used, all free, and not the only one: it goes.
            if (++it->second.m_nFree == N && it->second.m_nMinFree <= N / 2 && chains.size() > 1)
            {
                std::erase_if(unused, [&](unsigned char* pFree) { return chainOf(pFree) == it; });
                chains.erase(it);
            }
        }
        ASSERT_EQ(chains.size(), pool.CountChains());
    }
}

TEST(PlexAlloc, HandsOutAndGivesBackAsPredicted)
{
    CheckRandomOperations<CSmall, 1>();
    CheckRandomOperations<CSmall, 4>();
    CheckRandomOperations<CAligned, 5>(); // half of an odd count is rounded down
    CheckRandomOperations<CSmall, 16>();
}

TEST(PlexAlloc, ReportsANullItem)
{
    CReportCapture capture;
    Pool<CSmall, 3>().FreeItem(nullptr);
    EXPECT_REPORTS(capture, {{"OCT::CPlexAlloc<class CItem,3,class OCT::CCritSect>::FreeItem",
                              "pItem == nullptr", "", "plexalloc"}});
}

/// Who is told about an exception may need the pool in another thread. This hangs while the lock is held.
void ORVCALL LookElsewhere(const void*, const char*)
{
    std::thread([] { EXPECT_EQ(0u, (Pool<CHuge, kHugeCount>().CountChains())); }).join();
}

TEST(PlexAlloc, ThrowsWithoutTheLockWhenTheHeapIsExhausted)
{
    CReportCapture capture;
    RegisterExceptionLogger(LookElsewhere);
    EXPECT_THROW((Pool<CHuge, kHugeCount>().GetFreeItem()), CLQMemoryExcept);
    RegisterExceptionLogger(nullptr);
    EXPECT_REPORTS(capture, {{"::GetFreeItem", "p == nullptr", "", "plexalloc"}});
}

TEST(PlexAlloc, ThreadsShareAPool)
{
    using CPool = OCT::CPlexAlloc<CAligned, 32>;
    std::vector<std::jthread> threads;
    for (unsigned char i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (int n = 0; n < 500; ++n)
            {
                CAligned* items[40];
                for (CAligned*& p : items)
                    (p = CPool::AllocateItem())->m_data[0] = i;
                for (CAligned* p : items)
                {
                    EXPECT_EQ(i, p->m_data[0]);
                    CPool::ReleaseItem(p);
                }
            }
        });
    threads.clear();
    CReportCapture capture;
    CPool::FreeDataChain();
    EXPECT_NO_REPORTS(capture);
}

TEST(PlexTeardown, ReportsAndKeepsChainsInUseAndForgetsThem)
{
    using CPool = OCT::CPlexAlloc<CSmall, 4>;
    // Never destroyed: what stays allocated on purpose must not look like a leak.
    static auto& kept = *new std::deque<std::vector<CSmall*>>;
    auto& items = kept.emplace_back(12);
    for (CSmall*& p : items)
        p = CPool::AllocateItem();
    for (std::size_t i = 0; i < 8; ++i)
        CPool::ReleaseItem(items[i]);
    CReportCapture capture;
    CPool::FreeDataChain();
    EXPECT_REPORTS(capture, {{"OCT::CPlexAlloc<class CItem,4,class OCT::CCritSect>::FreeDataChain",
                              "!IsChainUsed(p)", "", "plexalloc"}});
    items[8]->m_data[0] = 1; // still there

    CPool::ReleaseItem(items[8]); // no pool: dropped
    items.push_back(CPool::AllocateItem());
    for (std::size_t i = 9; i < 12; ++i)
        CPool::ReleaseItem(items[i]); // another pool: nothing of it changes
    while (items.size() < 16)
        items.push_back(CPool::AllocateItem());
    EXPECT_EQ(8u, std::set<CSmall*>(items.begin() + 8, items.end()).size())
        << "none of the old ones came back";
    CPool::FreeDataChain();
    EXPECT_REPORTS(capture, {{"::FreeDataChain", "!IsChainUsed(p)"}});
    CPool::FreeDataChain();
    EXPECT_NO_REPORTS(capture);
}

TEST(PlexTeardown, ChainsGoBackToTheHeap)
{
    using CPool = OCT::CPlexAlloc<CItem<4096, 1>, 4>;
    const auto nBefore = HeapInUse();
    if (!nBefore)
        GTEST_SKIP() << "the heap does not tell what is in use";
    for (int i = 0; i < 50; ++i)
    {
        std::array<CItem<4096, 1>*, 12> items; // two chains go at their last item, the third with the pool
        std::ranges::generate(items, CPool::AllocateItem);
        std::ranges::for_each(items, CPool::ReleaseItem);
        CPool::FreeDataChain();
    }
    EXPECT_LT(*HeapInUse(), *nBefore + 50 * sizeof(CItem<4096, 1>));
}

ORV_CHILD(FinalRelease)
{
    using CPool = OCT::CPlexAlloc<CSmall, 4>;
    CSmall* const pFreed = CPool::AllocateItem();
    CPool::AllocateItem();
    SetFinalRelease();
    CPool::ReleaseItem(pFreed);
    UninitOrvComTypes();
    SetFinalRelease();
    return IsFinalRelease() ? 0 : 1;
}

TEST(PlexTeardown, FinalReleaseMarksTheWholeChainFreeAndIsSetOnce)
{
    CReportCapture capture;
    EXPECT_EQ(0, CChildProcess("FinalRelease").Wait().m_iExitCode);
    EXPECT_REPORTS(capture, {{"SetFinalRelease", "g_bFinalRelease", "", "octalloc"}});
}

TEST(CritSect, ReportsWhatItCannotDo)
{
    CReportCapture capture;
    OCT::CCritSect lock;
    EXPECT_FALSE(lock.Init());
    alignas(OCT::CCritSect) unsigned char storage[sizeof(OCT::CCritSect)];
    auto* pLock = new (storage) OCT::CCritSect;
    pLock->~CCritSect();
    pLock->Lock();
    pLock->Unlock();
    EXPECT_REPORTS(capture, {{"OCT::CCritSect::Init", "! m_bInitialized", "", "smartcls"},
                             {"OCT::CCritSect::Lock", "m_bInitialized", "", "smartcls"},
                             {"OCT::CCritSect::Unlock", "m_bInitialized", "", "smartcls"}});
}

/// A lock that counts how often it is held.
struct CDepth
{
    void Lock() { ++m_nDepth; }
    void Unlock() { --m_nDepth; }
    int m_nDepth = 0;
};

TEST(LockGuard, ReleasesOnceAndOnExceptions)
{
    CDepth lock;
    const auto hold = [&lock] {
        OCT::CLockGuard<CDepth> outer(&lock);
        OCT::CLockGuard<CDepth> inner(&lock);
        EXPECT_EQ(2, lock.m_nDepth);
        inner.Unlock();
        inner.Unlock();
        EXPECT_EQ(1, lock.m_nDepth);
        throw 1;
    };
    EXPECT_THROW(hold(), int);
    EXPECT_EQ(0, lock.m_nDepth);
}

} // namespace
