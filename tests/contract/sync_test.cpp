#include <gtest/gtest.h>

#include <windows.h>

#include <thread>
#include <vector>

namespace
{

class CSection
{
public:
    CSection() { InitializeCriticalSection(&m_section); }
    ~CSection() { DeleteCriticalSection(&m_section); }
    void Enter() { EnterCriticalSection(&m_section); }
    bool TryEnter() { return TryEnterCriticalSection(&m_section) != FALSE; }
    void Leave() { LeaveCriticalSection(&m_section); }

    bool IsFreeForOthers()
    {
        bool bFree = false;
        std::thread([&] {
            bFree = TryEnter();
            if (bFree)
                Leave();
        }).join();
        return bFree;
    }

private:
    CRITICAL_SECTION m_section;
};

// Runs the body on several threads that all start it at the same moment.
template <class Body>
void RunTogether(int nThreads, Body body)
{
    std::atomic<int> nWaiting{nThreads};
    std::vector<std::thread> threads;
    for (int i = 0; i < nThreads; ++i)
        threads.emplace_back([&, i] {
            --nWaiting;
            while (nWaiting > 0)
                std::this_thread::yield();
            body(i);
        });
    for (auto& thread : threads)
        thread.join();
}

} // namespace

TEST(CriticalSection, IsFreeAfterAsManyLeavesAsEnters)
{
    CSection section;
    section.Enter();
    EXPECT_TRUE(section.TryEnter());
    section.Enter();
    section.Leave();
    section.Leave();
    EXPECT_FALSE(section.IsFreeForOthers());
    section.Leave();
    EXPECT_TRUE(section.IsFreeForOthers());
}

TEST(CriticalSection, LosesNoCountAmongManyThreads)
{
    constexpr int nThreads = 8;
    constexpr int nRounds = 20000;
    CSection section;
    int nCount = 0;
    RunTogether(nThreads, [&](int) {
        for (int i = 0; i < nRounds; ++i)
        {
            section.Enter();
            if (i % 3 == 0)
            {
                section.Enter();
                ++nCount;
                section.Leave();
            }
            else
                ++nCount;
            section.Leave();
        }
    });
    EXPECT_EQ(nThreads * nRounds, nCount);
}

// Holders that stay long enough for the others to go to sleep: a lost wake-up would hang this test.
TEST(CriticalSection, WakesEverySleeper)
{
    constexpr int nThreads = 6;
    constexpr int nRounds = 200;
    CSection section;
    int nCount = 0;
    RunTogether(nThreads, [&](int nThread) {
        for (int i = 0; i < nRounds; ++i)
        {
            section.Enter();
            if ((i + nThread) % 4 == 0)
                Sleep(1);
            ++nCount;
            section.Leave();
            if (i % 7 == 0)
                Sleep(0);
        }
    });
    EXPECT_EQ(nThreads * nRounds, nCount);
}

TEST(Interlocked, ReturnsTheNewOrTheOldValue)
{
    LONG volatile nValue = 5;
    EXPECT_EQ(6, InterlockedIncrement(&nValue));
    EXPECT_EQ(5, InterlockedDecrement(&nValue));
    EXPECT_EQ(5, InterlockedExchangeAdd(&nValue, -7));
    EXPECT_EQ(-2, InterlockedExchange(&nValue, 9));
    EXPECT_EQ(9, InterlockedCompareExchange(&nValue, 1, 8));
    EXPECT_EQ(9, InterlockedCompareExchange(&nValue, 1, 9));
    EXPECT_EQ(1, nValue);
    int nTarget = 0;
    PVOID volatile pValue = nullptr;
    EXPECT_EQ(nullptr, InterlockedCompareExchangePointer(&pValue, &nTarget, nullptr));
    EXPECT_EQ(&nTarget, InterlockedExchangePointer(&pValue, nullptr));
}

TEST(Interlocked, WrapsAround)
{
    LONG volatile nValue = 0x7FFFFFFF;
    EXPECT_EQ(static_cast<LONG>(0x80000000u), InterlockedIncrement(&nValue));
}
