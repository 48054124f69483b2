#include "orvcomtypes/stringutils.h"
#include "orvcomtypes/syncutil.h"
#include "orvcomtypes/threadname.h"

#include "support/child_process.h"
#include "support/meeting.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace
{

// ---- Single-thread guard ----

TEST(CheckSingleThread, TellsOfASecondThreadInside)
{
    using Start = OCT::CCheckSingleThread::Start;
    CReportCapture capture;
    OCT::CCheckSingleThread check;
    const auto enter = [&] { const Start start(check); };
    enter();
    std::thread(enter).join();
    const Start start(check);
    {
        const Start nested(check);
        EXPECT_NO_REPORTS(capture);
        std::thread(enter).join();
        EXPECT_REPORTS(capture, {{"OCT::CCheckSingleThread::Start::Start", "dwOld == 0 || dwOld == dw", "",
                                  "syncutil"}});
    }
    std::thread(enter).join();
    EXPECT_NO_REPORTS(capture) << "the end of a nested guard ends both";
}

// ---- Names; the table is never emptied, so its tests have processes of their own ----

std::string NameOf(DWORD dwThreadId, unsigned cbName = 64)
{
    char sName[64];
    const bool bFound = GetThreadName(dwThreadId, sName, cbName);
    return (bFound ? "+" : "-") + std::string(sName);
}

ORV_CHILD(FillTheTable)
{
    CReportCapture capture;
    EXPECT_EQ("-0", NameOf(0)) << "no slot is searched yet";
    SetThreadName(11, "eleven");
    EXPECT_EQ("-11", NameOf(11)) << "the newest is not found";
    EXPECT_EQ("+", NameOf(0)) << "slot 0 is there, without a name";
    SetThreadName(12, "twelve");
    EXPECT_EQ("+eleven", NameOf(11));
    EXPECT_EQ("-12", NameOf(12));
    SetThreadName(11, "eleven again");
    SetThreadName(13, (std::string(62, 'x') + "\xC3\xA9").c_str());
    SetThreadName(0x7FFFFFFF, "self");
    SetThreadName(0x7FFFFFFE, "an id");
    for (DWORD dwId = 7; dwId <= 63; ++dwId)
        SetThreadName(1000 + dwId, ("name " + std::to_string(dwId)).c_str());
    EXPECT_EQ("-1063", NameOf(1063));
    EXPECT_NO_REPORTS(capture);
    for (DWORD dwId = 64; dwId <= 66; ++dwId)
        SetThreadName(1000 + dwId, "refused");
    EXPECT_REPORTS(capture, {{"SetThreadName", "lIdx >= MaxThreads", "", "threadname"},
                             {"SetThreadName", "lIdx >= MaxThreads"},
                             {"SetThreadName", "lIdx >= MaxThreads"}});
    EXPECT_EQ("+name 63", NameOf(1063));
    EXPECT_EQ("-1064", NameOf(1064));

    EXPECT_EQ("+eleven", NameOf(11)) << "the older name of two";
    char sBytes[8];
    const bool bUtf8 = UnicodeToANSI(ORVTEXT("\u00E9"), sBytes, sizeof sBytes, CP_ACP) == 2;
    EXPECT_EQ("+" + std::string(62, 'x') + (bUtf8 ? "" : "\xC3"), NameOf(13)) << "cut between characters";
    EXPECT_EQ("+x", NameOf(13, 2));
    EXPECT_EQ("+self", NameOf(GetCurrentThreadId()));
    EXPECT_EQ("+an id", NameOf(0x7FFFFFFE));
    EXPECT_EQ("-4294967294", NameOf(0xFFFFFFFE));
    EXPECT_EQ("-42", NameOf(4200, 3));
    return testing::Test::HasFailure();
}

ORV_CHILD(NameThreadsAtOnce)
{
    constexpr unsigned nThreads = 20;
    CMeeting named(nThreads);
    std::atomic<unsigned> nFound{0};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < nThreads; ++i)
        threads.emplace_back([&, sName = "thread " + std::to_string(i)] {
            SetThreadName(static_cast<DWORD>(-1), sName.c_str());
            NameOf(5);
            named.ArriveAndWait();
            nFound += NameOf(GetCurrentThreadId()) == "+" + sName;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(nThreads - 1, nFound) << "all but the one in the last slot";
    return testing::Test::HasFailure();
}

TEST(ThreadNames, AreKeptInATable)
{
    for (const char* sChild : {"FillTheTable", "NameThreadsAtOnce"})
    {
        const ChildResult result = CChildProcess(sChild).Wait();
        EXPECT_EQ(0, result.m_iExitCode) << result.m_sOutput;
    }
}

TEST(ThreadNames, NeedArguments)
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

class MessageLoopWait : public testing::Test
{
protected:
    ~MessageLoopWait() override
    {
        CloseHandle(m_hOff);
        CloseHandle(m_hOn);
    }

    const HANDLE m_hOff = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE m_hOn = CreateEventW(nullptr, TRUE, TRUE, nullptr);
};

TEST_F(MessageLoopWait, ReturnsTheSignalledHandle)
{
    const HANDLE handles[] = {m_hOff, m_hOn, m_hOn};
    EXPECT_EQ(1, WaitEventWithMessageLoop(handles, 3, INFINITE, FALSE));
    EXPECT_EQ(258, WaitEventWithMessageLoop(handles, 2, 0, TRUE)) << "waits for both";
    EXPECT_EQ(0, WaitOneEventWithMessageLoop(m_hOn, 0));
    EXPECT_EQ(258, WaitOneEventWithMessageLoop(m_hOff, 0));
    EXPECT_EQ(258, WaitEventWithMessageLoop(handles, 1, 1, FALSE));
    EXPECT_EQ(-1, WaitOneEventWithMessageLoop(nullptr, 0));
    EXPECT_EQ(-1, WaitEventWithMessageLoop(nullptr, 1, 0, FALSE));
    EXPECT_EQ(-1, WaitEventWithMessageLoop(handles, MAXIMUM_WAIT_OBJECTS, 0, FALSE));
}

TEST_F(MessageLoopWait, WakesForAnEvent)
{
    std::thread setter([&] { SetEvent(m_hOff); });
    EXPECT_EQ(0, WaitOneEventWithMessageLoop(m_hOff, INFINITE));
    setter.join();
}

TEST_F(MessageLoopWait, LeavesAQuitForTheOuterLoop)
{
    std::thread([&] { // whose message queue is empty
        const HANDLE handles[] = {m_hOff, m_hOff};
        PostQuitMessage(7);
        EXPECT_EQ(2, WaitEventWithMessageLoop(handles, 2, INFINITE, FALSE));
        EXPECT_EQ(1, WaitOneEventWithMessageLoop(m_hOff, INFINITE));
        EXPECT_EQ(0, WaitOneEventWithMessageLoop(m_hOn, INFINITE)) << "a signalled handle comes first";
        EXPECT_EQ(42, DoEvents(42));
        WPARAM wParam = 0;
        LPARAM lParam = 1;
        EXPECT_EQ(0, WaitForAsyncProc(1024, &wParam, &lParam));
        EXPECT_EQ(7u, wParam);
        EXPECT_EQ(0, lParam);
        EXPECT_EQ(0, WaitForAsyncProc(1024, nullptr, nullptr));
        MSG msg;
        EXPECT_TRUE(PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE));
        EXPECT_EQ(WM_QUIT, msg.message);
        EXPECT_EQ(7u, msg.wParam);
        EXPECT_EQ(-1, DoEvents(-1));
        EXPECT_EQ(258, WaitOneEventWithMessageLoop(m_hOff, 0));
    })
        .join();
}

TEST(ThPostMessage, NeedsAWindow)
{
    EXPECT_EQ(1, ThPostMessage(nullptr, 1024, 0, 0));
}

ORV_CHILD(SendToNobody)
{
    const HANDLE hReturned = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread([hReturned] {
        ThSendMessage(nullptr, 1024, 0);
        SetEvent(hReturned);
    }).detach();
    const bool bWaits = WaitForSingleObject(hReturned, 50) == WAIT_TIMEOUT;
    std::puts(bWaits ? "waits" : "returned");
    std::fflush(stdout);
    std::_Exit(0);
}

TEST(ThSendMessage, WaitsAlsoWithoutAReceiver)
{
    EXPECT_EQ("waits", CChildProcess("SendToNobody").ReadLine());
}

} // namespace
