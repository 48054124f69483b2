// Threads, and what keeps them apart.
#include "support/wine.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <process.h>

#include "orvcomtypes/orvexport.h"
#include "threadslot.h"

#include <memory>
#include <thread>
#include <vector>

namespace
{

constexpr DWORD kTimeout = WAIT_TIMEOUT;

struct CCloseHandle
{
    void operator()(HANDLE h) const { CloseHandle(h); }
};
using CHandle = std::unique_ptr<void, CCloseHandle>;

HANDLE NewEvent(bool bManualReset, bool bSignaled = false)
{
    return CreateEventW(nullptr, bManualReset, bSignaled, nullptr);
}

/// The first event tells that the thread runs, the second lets it end.
unsigned ORVCALL WaitAndReturnId(void* pEvents)
{
    const HANDLE* const events = static_cast<HANDLE*>(pEvents);
    SetEvent(events[0]);
    WaitForSingleObject(events[1], INFINITE);
    return GetCurrentThreadId();
}

void ExpectEnd(HANDLE hThread, DWORD dwExitCode)
{
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hThread, INFINITE));
    DWORD dwActual = 0;
    EXPECT_TRUE(GetExitCodeThread(hThread, &dwActual));
    EXPECT_EQ(dwExitCode, dwActual);
}

} // namespace

TEST(Event, AutoResetLetsOneWaitThrough)
{
    const CHandle hEvent(NewEvent(false, true));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hEvent.get(), 0));
    EXPECT_EQ(kTimeout, WaitForSingleObject(hEvent.get(), 0));
    SetEvent(hEvent.get());
    SetEvent(hEvent.get());
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hEvent.get(), INFINITE));
    EXPECT_EQ(kTimeout, WaitForSingleObject(hEvent.get(), 1));

    const CHandle hManual(NewEvent(true));
    SetEvent(hManual.get());
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hManual.get(), 0));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hManual.get(), 0)) << "stays set";
}

TEST(Event, WaitForSeveralTakesTheFirstOrAllAtOnce)
{
    const CHandle hFirst(NewEvent(false));
    const CHandle hSecond(NewEvent(false, true));
    const HANDLE handles[] = {hFirst.get(), hSecond.get()};
    EXPECT_EQ(kTimeout, WaitForMultipleObjects(2, handles, TRUE, 0));
    EXPECT_EQ(WAIT_OBJECT_0 + 1, WaitForMultipleObjects(2, handles, FALSE, INFINITE));
    SetEvent(hFirst.get());
    SetEvent(hSecond.get());
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
    SetEvent(hPing.get());
    const std::jthread other(Play, hPong.get(), hPing.get());
    Play(hPing.get(), hPong.get());
}

#if defined(ORV_TEST_SANITIZED)
/// A thread that was terminated is joined when the library is unloaded; this program has no library.
extern "C" ORV_API const char* __tsan_default_options()
{
    return "report_thread_leaks=0";
}
#endif

TEST(Thread, IsSignalledWhenItEndsOrIsTerminated)
{
    // Never closed: an abandoned thread may still wait.
    static HANDLE events[] = {NewEvent(false), NewEvent(false)};
    unsigned nId = 0;
    const auto Start = [&] {
        const auto hThread = _beginthreadex(nullptr, 65536, WaitAndReturnId, events, 0, &nId);
        // Wine fails when a 32-bit thread is ended on its way to its function.
        WaitForSingleObject(events[0], INFINITE);
        return CHandle(reinterpret_cast<HANDLE>(hThread));
    };
    const CHandle hReturning = Start();
    EXPECT_NE(GetCurrentThreadId(), nId);
    DWORD dwExitCode = 0;
    EXPECT_TRUE(GetExitCodeThread(hReturning.get(), &dwExitCode));
    EXPECT_EQ(DWORD{STILL_ACTIVE}, dwExitCode);
    EXPECT_EQ(kTimeout, WaitForSingleObject(hReturning.get(), 1));
    SetEvent(events[1]);
    ExpectEnd(hReturning.get(), nId);

    const CHandle hTerminated = Start();
    EXPECT_TRUE(TerminateThread(hTerminated.get(), 7));
    ExpectEnd(hTerminated.get(), 7);
    SetEvent(events[1]);
}

TEST(Thread, HasALastErrorOfItsOwn)
{
    DWORD dwOther = 0;
    SetLastError(ERROR_DISK_FULL);
    std::thread([&] { dwOther = GetLastError(); }).join();
    EXPECT_NE(DWORD{ERROR_DISK_FULL}, dwOther);
}

TEST(Slots, AreNullAtFirstAndEachThreadsOwn)
{
    static const DWORD dwSlot = TlsAlloc(); // there are few, and some are never given out again
    ASSERT_NE(TLS_OUT_OF_INDEXES, dwSlot);
    int nMine = 0, nTheirs = 0;
    EXPECT_TRUE(TlsSetValue(dwSlot, &nMine));
    std::thread([&] {
        EXPECT_EQ(nullptr, TlsGetValue(dwSlot));
        EXPECT_TRUE(TlsSetValue(dwSlot, &nTheirs));
        EXPECT_EQ(&nTheirs, PortTlsValue(dwSlot));
    }).join();
    SetLastError(ERROR_DISK_FULL);
    EXPECT_EQ(&nMine, PortTlsValue(dwSlot));
    EXPECT_EQ(DWORD{ERROR_DISK_FULL}, GetLastError());
}

int g_nEnded = 0;

void WINAPI CountEnd(void* pValue)
{
    g_nEnded += *static_cast<int*>(pValue);
}

TEST(Slots, TellOfTheEndOfThreadsThatSetThem)
{
    g_nEnded = 0;
    const DWORD dwSlot = FlsAlloc(CountEnd);
    ASSERT_NE(FLS_OUT_OF_INDEXES, dwSlot);
    int nValue = 5;
    std::thread([&] { EXPECT_TRUE(FlsSetValue(dwSlot, &nValue)); }).join();
    EXPECT_EQ(5, g_nEnded);
    std::thread([&] {
        FlsSetValue(dwSlot, &nValue);
        FlsSetValue(dwSlot, nullptr);
    }).join();
    EXPECT_EQ(5, g_nEnded);
    EXPECT_TRUE(FlsFree(dwSlot));
    EXPECT_FALSE(FlsFree(FLS_OUT_OF_INDEXES) || TlsFree(TLS_OUT_OF_INDEXES));
}

TEST(MessageLoop, QuitsOnceAndKnowsNoOthersWindows)
{
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
    {
    }
    const CHandle hEvent(NewEvent(false));
    const HANDLE handles[] = {hEvent.get()};
    EXPECT_EQ(kTimeout, MsgWaitForMultipleObjects(1, handles, FALSE, 0, QS_ALLINPUT));
    PostQuitMessage(7);
    EXPECT_TRUE(WaitMessage());
    EXPECT_EQ(WAIT_OBJECT_0 + 1, MsgWaitForMultipleObjects(1, handles, FALSE, INFINITE, QS_ALLINPUT));
    EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_TRUE(message.message == WM_QUIT && message.wParam == 7);
    TranslateMessage(&message);
    DispatchMessageW(&message);
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    SetEvent(hEvent.get());
    EXPECT_EQ(WAIT_OBJECT_0, MsgWaitForMultipleObjects(1, handles, FALSE, INFINITE, QS_ALLINPUT));
    const auto hNoWindow = reinterpret_cast<HWND>(static_cast<UINT_PTR>(0x7FFF0));
    EXPECT_FALSE(IsWindow(hNoWindow));
    EXPECT_FALSE(PostMessageW(hNoWindow, WM_QUIT, 0, 0));
    EXPECT_EQ(DWORD{ERROR_INVALID_WINDOW_HANDLE}, GetLastError());
}

TEST(Interlocked, GivesTheFormerOrTheNewValue)
{
    LONG volatile n = 5;
    EXPECT_EQ(5, InterlockedExchange(&n, 7));
    EXPECT_EQ(7, InterlockedExchangeAdd(&n, -3));
    EXPECT_EQ(5, InterlockedIncrement(&n));
}

/// On a cache line of its own. Not std::atomic, whose calls, as tests are not optimised, leave a processor
/// the time to finish its writes.
struct alignas(128) CNumber
{
    int m_n = 0;
};

// One side writes without a fence and looks; the other writes, makes all processors finish, and looks. What
// the first did before it missed the other's write, the other sees.
TEST(ProcessWriteBuffers, AreFlushedOnEveryProcessor)
{
    ORV_SKIP_WINE("does not flush the write buffers of other processors");
    constexpr int nSteps = 2'000'000;
    std::vector<int> seen(nSteps + 1);
    CNumber step, flush;
    std::thread stepper([&step, &flush, pSeen = seen.data()] {
        for (int i = 1; i <= nSteps; ++i)
        {
            __atomic_store_n(&step.m_n, i, __ATOMIC_RELAXED);
            __atomic_signal_fence(__ATOMIC_SEQ_CST);
            pSeen[i] = __atomic_load_n(&flush.m_n, __ATOMIC_RELAXED);
        }
    });
    std::vector<int> steps; // that each flush saw
    while (__atomic_load_n(&step.m_n, __ATOMIC_RELAXED) < nSteps)
    {
        __atomic_store_n(&flush.m_n, static_cast<int>(steps.size()) + 1, __ATOMIC_RELAXED);
        FlushProcessWriteBuffers();
        steps.push_back(__atomic_load_n(&step.m_n, __ATOMIC_RELAXED));
    }
    stepper.join();
    std::size_t nMissed = 0;
    for (int i = 1; i <= nSteps; ++i)
    {
        const auto nNext = static_cast<std::size_t>(seen[static_cast<std::size_t>(i)]); // not seen by step i
        nMissed += nNext < steps.size() && steps[nNext] < i;
    }
    EXPECT_EQ(0u, nMissed) << "of " << steps.size() << " flushes";
}

TEST(CriticalSection, IsTriedWithoutWaiting)
{
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    EXPECT_TRUE(TryEnterCriticalSection(&section));
    EXPECT_TRUE(TryEnterCriticalSection(&section)); // the owner may
    std::thread([&] { EXPECT_FALSE(TryEnterCriticalSection(&section)); }).join();
    LeaveCriticalSection(&section);
    std::thread([&] { EXPECT_FALSE(TryEnterCriticalSection(&section)); }).join();
    LeaveCriticalSection(&section);
    std::thread([&] {
        EXPECT_TRUE(TryEnterCriticalSection(&section));
        LeaveCriticalSection(&section);
    }).join();
    DeleteCriticalSection(&section);
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
