#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/octalloc.h"
#include "orvcomtypes/orvlog.h"
#include "support/child_process.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace
{

struct CPlain
{
    char m_data[10];
};

struct alignas(16) CAligned
{
    int m_data[3];
};

/// So large that no heap has room for a chain.
struct CHuge
{
    char m_data[std::size_t{1} << 20];
};
constexpr unsigned kHugeCount = sizeof(void*) == 8 ? 1u << 30 : 2000;

} // namespace

template <>
struct OCT::CPlexTypeName<CPlain>
{
    static constexpr CFixedText kText{"class CPlain"};
};

template <>
struct OCT::CPlexTypeName<CAligned>
{
    static constexpr CFixedText kText{"class CAligned"};
};

template <>
struct OCT::CPlexTypeName<CHuge>
{
    static constexpr CFixedText kText{"class CHuge"};
};

namespace
{

template <class T, unsigned N>
class CPoolOf
{
public:
    T* Take() { return m_pool.GetFreeItem(); }
    std::vector<T*> Take(unsigned nCount)
    {
        std::vector<T*> items(nCount);
        for (T*& p : items)
            p = Take();
        return items;
    }
    void Give(T* p) { m_pool.FreeItem(p); }
    void Give(const std::vector<T*>& items)
    {
        for (T* p : items)
            Give(p);
    }
    unsigned Chains() const { return m_pool.CountChains(); }

private:
    // Chains outlive a pool object; these tests end with the process.
    OCT::CCritSect m_lock;
    OCT::CPlexAlloc<T, N> m_pool{&m_lock};
};

CPoolOf<CHuge, kHugeCount>& HugePool()
{
    static CPoolOf<CHuge, kHugeCount> s_pool;
    return s_pool;
}

/// Who is told about an exception may need the pool in another thread.
void ORVCALL LookElsewhere(const void*, const char*)
{
    std::thread([] { HugePool().Chains(); }).join();
}

} // namespace

TEST(PlexAlloc, HandsOutAChainInAddressOrderAndTheLatestFreedFirst)
{
    static CPoolOf<CPlain, 8> s_pool;
    EXPECT_EQ(0u, s_pool.Chains());
    const auto items = s_pool.Take(8);
    EXPECT_TRUE(std::is_sorted(items.begin(), items.end()));
    EXPECT_EQ(1u, s_pool.Chains());

    s_pool.Give(items[2]);
    s_pool.Give(items[5]);
    EXPECT_EQ(items[5], s_pool.Take());
    EXPECT_EQ(items[2], s_pool.Take());
    s_pool.Take();
    EXPECT_EQ(2u, s_pool.Chains());
}

TEST(PlexAlloc, AlignsItemsForTheirType)
{
    static CPoolOf<CAligned, 5> s_pool;
    for (CAligned* p : s_pool.Take(11))
        EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(p) % 16);
}

TEST(PlexAlloc, KeepsTheOnlyChain)
{
    static CPoolOf<CPlain, 8> s_pool;
    s_pool.Give(s_pool.Take(8));
    EXPECT_EQ(1u, s_pool.Chains());
}

TEST(PlexAlloc, GivesBackAChainThatWasHalfUsed)
{
    static CPoolOf<CPlain, 128> s_pool;
    const auto first = s_pool.Take(128);
    // The second chain is the head: 63 of it stay below the half, 64 reach it.
    s_pool.Give(s_pool.Take(63));
    EXPECT_EQ(2u, s_pool.Chains());
    const auto second = s_pool.Take(64);
    s_pool.Give({second.begin(), second.end() - 1});
    EXPECT_EQ(2u, s_pool.Chains());
    s_pool.Give(second.back());
    EXPECT_EQ(1u, s_pool.Chains());

    // The list that the head handed over is whole: it serves a full chain before another is made.
    s_pool.Give(first);
    const auto again = s_pool.Take(128);
    EXPECT_EQ(1u, s_pool.Chains());
    EXPECT_EQ(std::set<CPlain*>(first.begin(), first.end()), std::set<CPlain*>(again.begin(), again.end()));
}

TEST(PlexAlloc, HalfOfAnOddChainIsRoundedDown)
{
    static CPoolOf<CPlain, 5> s_pool;
    s_pool.Take(5);
    s_pool.Give(s_pool.Take(2)); // 3 left, half is 2
    EXPECT_EQ(2u, s_pool.Chains());
    s_pool.Give(s_pool.Take(3));
    EXPECT_EQ(1u, s_pool.Chains());
}

TEST(PlexAlloc, GivesBackAMiddleChain)
{
    static CPoolOf<CPlain, 4> s_pool;
    const auto first = s_pool.Take(4);
    const auto middle = s_pool.Take(4);
    const auto last = s_pool.Take(4);
    s_pool.Give(first[0]);
    s_pool.Give(middle);
    EXPECT_EQ(2u, s_pool.Chains());
    EXPECT_EQ(first[0], s_pool.Take());
    s_pool.Give(first);
    EXPECT_EQ(1u, s_pool.Chains());
    s_pool.Give(last);
    s_pool.Take(5);
    EXPECT_EQ(2u, s_pool.Chains());
}

TEST(PlexAlloc, RandomOperationsKeepItemsApart)
{
    static CPoolOf<CPlain, 16> s_pool;
    const auto nSeed = std::random_device{}();
    SCOPED_TRACE(nSeed);
    std::mt19937 random(nSeed);
    std::vector<CPlain*> live;
    unsigned nMost = 0;
    for (int i = 0; i < 20000; ++i)
    {
        // Tides, so that chains fill up and run empty.
        if (live.empty() || random() % 100 < (i / 500 % 2 == 0 ? 60u : 40u))
        {
            live.push_back(s_pool.Take());
            std::memset(live.back()->m_data, static_cast<unsigned char>(live.size()), sizeof(CPlain));
        }
        else
        {
            const auto n = random() % live.size();
            std::swap(live[n], live.back());
            s_pool.Give(live.back());
            live.pop_back();
        }
        nMost = std::max(nMost, static_cast<unsigned>(live.size()));
        ASSERT_GE(s_pool.Chains() * 16, live.size());
        ASSERT_LE(s_pool.Chains(), nMost / 16 + 1 + nMost);
    }
    EXPECT_EQ(live.size(), std::set<CPlain*>(live.begin(), live.end()).size());
    s_pool.Give(live);
}

TEST(PlexAlloc, ReportsANullItem)
{
    static CPoolOf<CPlain, 3> s_pool;
    CReportCapture capture;
    s_pool.Give(static_cast<CPlain*>(nullptr));
    EXPECT_REPORTS(capture, {{"OCT::CPlexAlloc<class CPlain,3,class OCT::CCritSect>::FreeItem",
                              "pItem == nullptr", "", "plexalloc"}});
}

TEST(PlexAlloc, ThrowsWhenTheHeapIsExhaustedAndReleasesTheLock)
{
    CReportCapture capture;
    RegisterExceptionLogger(LookElsewhere);
    EXPECT_THROW(HugePool().Take(), CLQMemoryExcept);
    std::thread([] { EXPECT_THROW(HugePool().Take(), CLQMemoryExcept); }).join();
    RegisterExceptionLogger(nullptr);
    EXPECT_EQ(0u, HugePool().Chains());
    EXPECT_REPORTS(capture,
                   {{"::GetFreeItem", "p == nullptr", "", "plexalloc"}, {"::GetFreeItem", "p == nullptr"}});
}

TEST(PlexAlloc, ThreadsShareAPool)
{
    using CPool = OCT::CPlexAlloc<CAligned, 32>;
    constexpr int kThreads = 4;
    std::atomic<bool> bTorn = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([i, &bTorn] {
            std::vector<CAligned*> live;
            for (int n = 0; n < 20000; ++n)
            {
                if (live.size() < 40 && n % 3 != 0)
                {
                    live.push_back(CPool::AllocateItem());
                    live.back()->m_data[0] = i;
                }
                else if (!live.empty())
                {
                    bTorn = bTorn || live.back()->m_data[0] != i;
                    CPool::ReleaseItem(live.back());
                    live.pop_back();
                }
            }
            for (CAligned* p : live)
                CPool::ReleaseItem(p);
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_FALSE(bTorn);
    CReportCapture capture;
    CPool::FreeDataChain();
    EXPECT_NO_REPORTS(capture);
}

TEST(PlexTeardown, ReportsAndKeepsChainsInUseAndForgetsThem)
{
    using CPool = OCT::CPlexAlloc<CPlain, 4>;
    // Never destroyed: what stays allocated on purpose must not look like a leak.
    static auto& items = *new std::vector<CPlain*>(12);
    for (CPlain*& p : items)
        p = CPool::AllocateItem();
    for (std::size_t i = 0; i < 8; ++i)
        CPool::ReleaseItem(items[i]);
    CReportCapture capture;
    CPool::FreeDataChain();
    EXPECT_REPORTS(capture, {{"OCT::CPlexAlloc<class CPlain,4,class OCT::CCritSect>::FreeDataChain",
                              "!IsChainUsed(p)", "", "plexalloc"}});
    items[8]->m_data[0] = 1; // still there

    CPool::ReleaseItem(items[8]); // no pool: dropped
    CPlain* pNew = CPool::AllocateItem();
    for (std::size_t i = 9; i < 12; ++i)
        CPool::ReleaseItem(items[i]); // another pool: nothing of it changes
    items.push_back(pNew);
    for (int i = 0; i < 3; ++i)
        items.push_back(CPool::AllocateItem());
    EXPECT_EQ(8u, std::set<CPlain*>(items.begin() + 8, items.end()).size()); // none of the old ones came back
    CPool::FreeDataChain();
    EXPECT_REPORTS(capture, {{"::FreeDataChain", "!IsChainUsed(p)"}});
    CPool::FreeDataChain();
    EXPECT_NO_REPORTS(capture);
}

ORV_CHILD(FinalRelease)
{
    using CPool = OCT::CPlexAlloc<CPlain, 4>;
    CPlain* pFreed = CPool::AllocateItem();
    CPool::AllocateItem();
    SetFinalRelease();
    CPool::ReleaseItem(pFreed);
    UninitOrvComTypes();
    return IsFinalRelease() ? 0 : 1;
}

TEST(PlexTeardown, FinalReleaseMarksTheWholeChainFree)
{
    CReportCapture capture;
    EXPECT_EQ(0, CChildProcess("FinalRelease").Wait().m_iExitCode);
    EXPECT_NO_REPORTS(capture);
}

/// Argument: a log file.
ORV_CHILD(UseStringsAndLog)
{
    const std::filesystem::path log(args.at(0));
    InitFileProcessLogger(log.string<WCHAR>().c_str(), lqlErrors);
    for (int i = 0; i < 100; ++i)
        GetProcessLogger()->LogOpt(lqlErrors, "line %d", i);
    ReleaseProcessLogger();
    std::vector<COrvStr> texts;
    for (unsigned i = 0; i < 6000; ++i)
        texts.emplace_back(std::basic_string<WCHAR>(i % 500, ORVTEXT('x')).c_str());
    texts.clear();
    texts.shrink_to_fit();
    UninitOrvComTypes();
    return 0;
}

TEST(PlexTeardown, LeavesNothingOfWhatWasGivenBack)
{
    // What is left would be found by the leak check of the sanitizer build, at the end of the child.
    // A chain that something still uses is reported.
    CReportCapture capture;
    const CTempDir dir;
    const auto result = CChildProcess("UseStringsAndLog", {(dir / "a.log").string()}).Wait();
    EXPECT_EQ(0, result.m_iExitCode) << result.m_sOutput;
    EXPECT_NO_REPORTS(capture);
}

ORV_CHILD(SetFinalReleaseTwice)
{
    SetFinalRelease();
    SetFinalRelease();
    return IsFinalRelease() ? 0 : 1;
}

TEST(PlexTeardown, FinalReleaseIsSetOnce)
{
    CReportCapture capture;
    EXPECT_EQ(0, CChildProcess("SetFinalReleaseTwice").Wait().m_iExitCode);
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

TEST(CritSect, GuardReleasesOnceAndOnExceptions)
{
    OCT::CCritSect lock;
    try
    {
        OCT::CCritSectGuard outer(&lock);
        OCT::CCritSectGuard inner(&lock);
        inner.Unlock();
        inner.Unlock();
        throw 1;
    }
    catch (int)
    {
    }
    std::thread([&lock] { OCT::CCritSectGuard guard(&lock); }).join(); // hangs when it is still held
}
