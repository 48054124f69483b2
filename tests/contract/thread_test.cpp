// Threads, and what keeps them apart.
#include <gtest/gtest.h>

#include <windows.h>
#include <process.h>

#include "orvcomtypes/orvexport.h"

#include <atomic>
#include <thread>
#include <vector>

namespace
{

constexpr DWORD kTimeout = WAIT_TIMEOUT;

class CHandle
{
public:
    explicit CHandle(HANDLE h) : m_h(h) {}
    CHandle(const CHandle&) = delete;
    CHandle& operator=(const CHandle&) = delete;
    ~CHandle() { CloseHandle(m_h); }
    operator HANDLE() const { return m_h; }

private:
    HANDLE m_h;
};

HANDLE NewEvent(bool bManualReset, bool bSignaled = false)
{
    return CreateEventW(nullptr, bManualReset, bSignaled, nullptr);
}

/// Where a thread stays between its start and its end. The events stay open: an abandoned thread may still
/// wait.
struct CGate
{
    HANDLE m_hStarted = NewEvent(false);
    HANDLE m_hOpen = NewEvent(true);
};

unsigned ORVCALL PassGate(void* pGate)
{
    const CGate& gate = *static_cast<CGate*>(pGate);
    SetEvent(gate.m_hStarted);
    WaitForSingleObject(gate.m_hOpen, INFINITE);
    return GetCurrentThreadId();
}

HANDLE StartThread(CGate& gate, unsigned& nId)
{
    const auto h = _beginthreadex(nullptr, 65536, PassGate, &gate, 0, &nId);
    // Wine fails when a 32-bit thread is ended on its way to its function.
    WaitForSingleObject(gate.m_hStarted, INFINITE);
    return reinterpret_cast<HANDLE>(h);
}

DWORD ExitCode(HANDLE hThread)
{
    DWORD dwExit = 0;
    EXPECT_TRUE(GetExitCodeThread(hThread, &dwExit));
    return dwExit;
}

} // namespace

TEST(Event, AutoResetLetsOneWaitThrough)
{
    const CHandle hEvent(NewEvent(false, true));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hEvent, 0));
    EXPECT_EQ(kTimeout, WaitForSingleObject(hEvent, 0));
    SetEvent(hEvent);
    SetEvent(hEvent);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hEvent, INFINITE));
    EXPECT_EQ(kTimeout, WaitForSingleObject(hEvent, 1));

    const CHandle hManual(NewEvent(true));
    SetEvent(hManual);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hManual, 0));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hManual, 0)) << "stays set";
}

TEST(Event, WaitForSeveralTakesTheFirstOrAllAtOnce)
{
    const CHandle hFirst(NewEvent(false));
    const CHandle hSecond(NewEvent(false, true));
    const HANDLE handles[] = {hFirst, hSecond};
    EXPECT_EQ(kTimeout, WaitForMultipleObjects(2, handles, TRUE, 0));
    EXPECT_EQ(WAIT_OBJECT_0 + 1, WaitForMultipleObjects(2, handles, FALSE, INFINITE));
    SetEvent(hFirst);
    SetEvent(hSecond);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForMultipleObjects(2, handles, TRUE, INFINITE));
    EXPECT_EQ(kTimeout, WaitForMultipleObjects(2, handles, FALSE, 0));
}

TEST(Event, WakesAcrossThreadsWithoutLoss)
{
    const CHandle hPing(NewEvent(false));
    const CHandle hPong(NewEvent(false));
    const auto Play = [](HANDLE hWait, HANDLE hSet) {
        for (int i = 0; i < 2000; ++i)
        {
            ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hWait, INFINITE));
            SetEvent(hSet);
        }
    };
    SetEvent(hPing);
    std::thread other(Play, static_cast<HANDLE>(hPong), static_cast<HANDLE>(hPing));
    Play(hPing, hPong);
    other.join();
}

TEST(Thread, IsSignalledWithItsExitCodeWhenItEnds)
{
    static CGate s_gate;
    unsigned nId = 0;
    const CHandle hThread(StartThread(s_gate, nId));
    EXPECT_EQ(DWORD{STILL_ACTIVE}, ExitCode(hThread));
    EXPECT_EQ(kTimeout, WaitForSingleObject(hThread, 1));
    SetEvent(s_gate.m_hOpen);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hThread, INFINITE));
    EXPECT_EQ(nId, ExitCode(hThread));
    EXPECT_NE(GetCurrentThreadId(), nId);
}

TEST(Thread, CountsAsEndedWhenTerminated)
{
    static CGate s_gate;
    unsigned nId = 0;
    const CHandle hThread(StartThread(s_gate, nId));
    EXPECT_TRUE(TerminateThread(hThread, 7));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hThread, INFINITE));
    EXPECT_EQ(7u, ExitCode(hThread));
    SetEvent(s_gate.m_hOpen);
}

TEST(Thread, HasALastErrorOfItsOwn)
{
    // Between the two calls this thread only spins: thread and framework functions set the last error
    // themselves.
    std::atomic<bool> bSet = false;
    std::atomic<bool> bOtherDone = false;
    DWORD dwOther = ERROR_ACCESS_DENIED;
    std::thread other([&] {
        while (!bSet)
            ;
        dwOther = GetLastError();
        SetLastError(ERROR_DISK_FULL);
        bOtherDone = true;
    });
    SetLastError(ERROR_ACCESS_DENIED);
    bSet = true;
    while (!bOtherDone)
        ;
    const DWORD dwOwn = GetLastError();
    other.join();
    EXPECT_NE(DWORD{ERROR_ACCESS_DENIED}, dwOther);
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, dwOwn);
}

// Some holders stay long enough for the others to go to sleep: a lost wake-up would hang this test. The count
// stands between the two leaves.
TEST(CriticalSection, LosesNoCountAndNoSleeperAmongManyThreads)
{
    constexpr int nThreads = 8;
    constexpr int nRounds = 10000;
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    int nCount = 0;
    std::vector<std::jthread> threads;
    for (int t = 0; t < nThreads; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < nRounds; ++i)
            {
                EnterCriticalSection(&section);
                EnterCriticalSection(&section);
                if ((i + t) % 100 == 0)
                    Sleep(1);
                LeaveCriticalSection(&section);
                ++nCount;
                LeaveCriticalSection(&section);
                if (i % 7 == 0)
                    Sleep(0);
            }
        });
    threads.clear();
    EXPECT_EQ(nThreads * nRounds, nCount);
    DeleteCriticalSection(&section);
}
