#include "orvcomtypes/syncutil.h"
#include "orvcomtypes/threadname.h"

#include "support/child_process.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <future>
#include <latch>
#include <string>
#include <thread>

namespace
{

class CTestEvent
{
public:
    explicit CTestEvent(bool bSignalled = false) : m_hEvent(CreateEventW(nullptr, TRUE, bSignalled, nullptr))
    {
    }
    CTestEvent(const CTestEvent&) = delete;
    CTestEvent& operator=(const CTestEvent&) = delete;
    ~CTestEvent() { CloseHandle(m_hEvent); }
    operator HANDLE() const { return m_hEvent; }

private:
    HANDLE m_hEvent;
};

/// Runs the body on a thread of its own, so that its message queue is empty.
template <class Fn>
void OnNewThread(Fn body)
{
    std::thread(body).join();
}

// ---- Single-thread guard ----

using Start = OCT::CCheckSingleThread::Start;

TEST(CheckSingleThread, TellsOfASecondThreadInside)
{
    CReportCapture capture;
    OCT::CCheckSingleThread check;
    {
        const Start start(check);
        const Start nested(check);
    }
    OnNewThread([&] { const Start start(check); });
    EXPECT_NO_REPORTS(capture);

    const Start start(check);
    OnNewThread([&] { const Start second(check); });
    EXPECT_REPORTS(capture,
                   {{"OCT::CCheckSingleThread::Start::Start", "dwOld == 0 || dwOld == dw", "", "syncutil"}});
}

TEST(CheckSingleThread, TheEndOfANestedGuardEndsBoth)
{
    CReportCapture capture;
    OCT::CCheckSingleThread check;
    const Start start(check);
    {
        const Start nested(check);
    }
    OnNewThread([&] { const Start second(check); });
    EXPECT_NO_REPORTS(capture);
}

// ---- Names; the table is never emptied, so each test has a process of its own ----

std::string NameOf(DWORD dwThreadId, unsigned cbName = 64)
{
    char sName[64];
    const bool bFound = GetThreadName(dwThreadId, sName, cbName);
    return (bFound ? "+" : "-") + std::string(sName);
}

ORV_CHILD(TheNewestNameIsNotFound)
{
    EXPECT_EQ("-0", NameOf(0)) << "no slot is searched yet";
    SetThreadName(11, "eleven");
    EXPECT_EQ("-11", NameOf(11));
    EXPECT_EQ("+", NameOf(0)) << "slot 0 is there, without a name";
    SetThreadName(12, "twelve");
    EXPECT_EQ("+eleven", NameOf(11));
    EXPECT_EQ("-12", NameOf(12));
    SetThreadName(11, "eleven again");
    SetThreadName(13, "thirteen");
    EXPECT_EQ("+eleven", NameOf(11)) << "the older name of two";
    EXPECT_EQ("-4294967294", NameOf(0xFFFFFFFE));
    return testing::Test::HasFailure();
}

ORV_CHILD(NamesAreCutToTheirRoom)
{
    SetThreadName(7, std::string(100, 'x').c_str());
    SetThreadName(static_cast<DWORD>(-1), "self");
    SetThreadName(0x7FFFFFFE, "an id");
    SetThreadName(8, "last");
    EXPECT_EQ("+" + std::string(63, 'x'), NameOf(7));
    EXPECT_EQ("+xxx", NameOf(7, 4));
    EXPECT_EQ("+self", NameOf(GetCurrentThreadId()));
    EXPECT_EQ("+an id", NameOf(0x7FFFFFFE));
    EXPECT_EQ("-12", NameOf(12345, 3));
    return testing::Test::HasFailure();
}

ORV_CHILD(TheTableTakes63Names)
{
    CReportCapture capture;
    for (DWORD dwId = 1; dwId <= 63; ++dwId)
        SetThreadName(1000 + dwId, ("name " + std::to_string(dwId)).c_str());
    EXPECT_EQ("-1063", NameOf(1063));
    EXPECT_NO_REPORTS(capture);
    for (DWORD dwId = 64; dwId <= 70; ++dwId)
        SetThreadName(1000 + dwId, "refused");
    EXPECT_EQ(7u, capture.Take().size());
    EXPECT_EQ("+name 1", NameOf(1001));
    EXPECT_EQ("+name 63", NameOf(1063));
    EXPECT_EQ("-1064", NameOf(1064));
    return testing::Test::HasFailure();
}

ORV_CHILD(ThreadsNameThemselvesAtOnce)
{
    constexpr int nThreads = 20;
    std::latch named(nThreads + 1);
    std::vector<std::thread> threads;
    std::vector<std::string> found(nThreads);
    for (int i = 0; i < nThreads; ++i)
        threads.emplace_back([&, i] {
            SetThreadName(static_cast<DWORD>(-1), ("thread " + std::to_string(i)).c_str());
            NameOf(5);
            named.arrive_and_wait();
            found[static_cast<std::size_t>(i)] = NameOf(GetCurrentThreadId());
        });
    SetThreadName(5, "one more");
    named.arrive_and_wait();
    for (std::thread& thread : threads)
        thread.join();
    int nFound = 0;
    for (int i = 0; i < nThreads; ++i)
        nFound += found[static_cast<std::size_t>(i)] == "+thread " + std::to_string(i);
    EXPECT_GE(nFound, nThreads - 1) << "all but the one in the last slot";
    return testing::Test::HasFailure();
}

class ThreadName : public testing::TestWithParam<const char*>
{
};

TEST_P(ThreadName, Keeps)
{
    const ChildResult result = CChildProcess(GetParam()).Wait();
    EXPECT_EQ(0, result.m_iExitCode) << result.m_sOutput;
}

std::string TestName(const testing::TestParamInfo<const char*>& test)
{
    return test.param;
}

INSTANTIATE_TEST_SUITE_P(, ThreadName,
                         testing::Values("TheNewestNameIsNotFound", "NamesAreCutToTheirRoom",
                                         "TheTableTakes63Names", "ThreadsNameThemselvesAtOnce"),
                         TestName);

TEST(ThreadNameArguments, AreReported)
{
    CReportCapture capture;
    char sName[64];
    SetThreadName(1, nullptr);
    SetThreadName(1, "");
    EXPECT_FALSE(GetThreadName(0xFFFFFFFF, sName, sizeof sName));
    EXPECT_FALSE(GetThreadName(1, nullptr, sizeof sName));
    EXPECT_FALSE(GetThreadName(1, sName, 1));
    const char* sSet = "pszThreadName == nullptr || pszThreadName[0] == '\\0'";
    const char* sGet = "dwThreadID == 0xFFFFFFFF || pszDest == nullptr || cbDest < 2";
    EXPECT_REPORTS(capture, {{"SetThreadName", sSet, "", "threadname"},
                             {"SetThreadName", sSet},
                             {"GetThreadName", sGet, "", "threadname"},
                             {"GetThreadName", sGet},
                             {"GetThreadName", sGet}});
}

// ---- Waits ----

/// Takes the WM_QUIT that a wait left for an outer loop; its exit code, or -1 when there is none.
int TakeQuit()
{
    MSG msg;
    return PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE) && msg.message == WM_QUIT
               ? static_cast<int>(msg.wParam)
               : -1;
}

TEST(MessageLoopWait, ReturnsTheSignalledHandle)
{
    const CTestEvent off;
    const CTestEvent on(true);
    const HANDLE handles[] = {off, on, on};
    EXPECT_EQ(1, WaitEventWithMessageLoop(handles, 3, INFINITE, FALSE));
    EXPECT_EQ(0, WaitOneEventWithMessageLoop(on, 0));
    EXPECT_EQ(258, WaitOneEventWithMessageLoop(off, 0));
    EXPECT_EQ(258, WaitEventWithMessageLoop(handles, 1, 1, FALSE));
    EXPECT_EQ(-1, WaitOneEventWithMessageLoop(nullptr, 0));
    EXPECT_EQ(-1, WaitEventWithMessageLoop(handles, MAXIMUM_WAIT_OBJECTS, 0, FALSE));
}

TEST(MessageLoopWait, WakesForAnEvent)
{
    const CTestEvent event;
    std::thread setter([&] { SetEvent(event); });
    EXPECT_EQ(0, WaitOneEventWithMessageLoop(event, INFINITE));
    setter.join();
}

TEST(MessageLoopWait, LeavesAQuitForTheOuterLoop)
{
    OnNewThread([] {
        const CTestEvent off;
        const HANDLE handles[] = {off, off};
        PostQuitMessage(7);
        EXPECT_EQ(2, WaitEventWithMessageLoop(handles, 2, INFINITE, FALSE));
        EXPECT_EQ(1, WaitOneEventWithMessageLoop(off, INFINITE));
        EXPECT_EQ(42, DoEvents(42));
        WPARAM wParam = 0;
        LPARAM lParam = 1;
        EXPECT_EQ(0, WaitForAsyncProc(1024, &wParam, &lParam));
        EXPECT_EQ(7u, wParam);
        EXPECT_EQ(0, lParam);
        EXPECT_EQ(0, WaitForAsyncProc(1024, nullptr, nullptr));
        EXPECT_EQ(7, TakeQuit());
        EXPECT_EQ(-1, DoEvents(-1));
        EXPECT_EQ(258, WaitOneEventWithMessageLoop(off, 0));
    });
}

TEST(MessageLoopWait, PrefersASignalledHandleToAQuit)
{
    OnNewThread([] {
        const CTestEvent on(true);
        PostQuitMessage(7);
        EXPECT_EQ(0, WaitOneEventWithMessageLoop(on, INFINITE));
        EXPECT_EQ(7, TakeQuit());
    });
}

TEST(ThPostMessage, NeedsAWindow)
{
    EXPECT_EQ(1, ThPostMessage(nullptr, 1024, 0, 0));
}

ORV_CHILD(SendToNobody)
{
    auto result = std::async(std::launch::async, [] { return ThSendMessage(nullptr, 1024, 0); });
    const bool bWaits = result.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
    std::puts(bWaits ? "waits" : "returned");
    std::fflush(stdout);
    std::_Exit(0);
}

TEST(ThSendMessage, WaitsAlsoWithoutAReceiver)
{
    EXPECT_EQ("waits", CChildProcess("SendToNobody").ReadLine());
}

} // namespace
