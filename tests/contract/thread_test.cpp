#include <gtest/gtest.h>

#include <windows.h>
#include <process.h>

#include "orvcomtypes/orvexport.h"

#include <atomic>

namespace
{

class CHandle
{
public:
    explicit CHandle(HANDLE h) : m_h(h) {}
    explicit CHandle(std::uintptr_t h) : m_h(reinterpret_cast<HANDLE>(h)) {}
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

unsigned ORVCALL WaitAndReturn(void* pEvent)
{
    WaitForSingleObject(*static_cast<HANDLE*>(pEvent), INFINITE);
    return 42;
}

unsigned ORVCALL StartAndWait(void* pEvents)
{
    const HANDLE* pEvent = static_cast<const HANDLE*>(pEvents);
    SetEvent(pEvent[0]);
    WaitForSingleObject(pEvent[1], INFINITE);
    return 42;
}

unsigned ORVCALL ReturnOwnId(void*)
{
    return GetCurrentThreadId();
}

struct CPingPong
{
    HANDLE m_hPing;
    HANDLE m_hPong;
    int m_nRounds;
};

unsigned ORVCALL Answer(void* p)
{
    const auto* pGame = static_cast<CPingPong*>(p);
    for (int i = 0; i < pGame->m_nRounds; ++i)
    {
        WaitForSingleObject(pGame->m_hPing, INFINITE);
        SetEvent(pGame->m_hPong);
    }
    return 0;
}

} // namespace

TEST(Event, AutoResetLetsOneWaitThrough)
{
    const CHandle hEvent(NewEvent(false, true));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hEvent, 0));
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(hEvent, 0));
    SetEvent(hEvent);
    SetEvent(hEvent);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hEvent, INFINITE));
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(hEvent, 1));
}

TEST(Event, ManualResetStaysSet)
{
    const CHandle hEvent(NewEvent(true));
    SetEvent(hEvent);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hEvent, 0));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hEvent, 0));
}

TEST(Event, WaitForSeveralTakesTheFirstOrAllAtOnce)
{
    const CHandle hFirst(NewEvent(false));
    const CHandle hSecond(NewEvent(false, true));
    const HANDLE handles[] = {hFirst, hSecond};
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForMultipleObjects(2, handles, TRUE, 0));
    EXPECT_EQ(WAIT_OBJECT_0 + 1, WaitForMultipleObjects(2, handles, FALSE, INFINITE));
    SetEvent(hFirst);
    SetEvent(hSecond);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForMultipleObjects(2, handles, TRUE, INFINITE));
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForMultipleObjects(2, handles, FALSE, 0));
}

TEST(Event, WakesAcrossThreadsWithoutLoss)
{
    const CHandle hPing(NewEvent(false));
    const CHandle hPong(NewEvent(false));
    CPingPong game{hPing, hPong, 2000};
    const CHandle hThread(_beginthreadex(nullptr, 0, Answer, &game, 0, nullptr));
    for (int i = 0; i < game.m_nRounds; ++i)
    {
        SetEvent(hPing);
        ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hPong, INFINITE));
    }
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hThread, INFINITE));
}

TEST(Event, NullHandleIsRefused)
{
    EXPECT_FALSE(SetEvent(nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_HANDLE), GetLastError());
    EXPECT_EQ(WAIT_FAILED, WaitForSingleObject(nullptr, 0));
}

TEST(Thread, IsSignalledWithItsExitCodeWhenItEnds)
{
    HANDLE hEvent = NewEvent(false);
    const CHandle hThread(_beginthreadex(nullptr, 65536, WaitAndReturn, &hEvent, 0, nullptr));
    DWORD dwExit = 0;
    EXPECT_TRUE(GetExitCodeThread(hThread, &dwExit));
    EXPECT_EQ(static_cast<DWORD>(STILL_ACTIVE), dwExit);
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(hThread, 1));
    SetEvent(hEvent);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hThread, INFINITE));
    EXPECT_TRUE(GetExitCodeThread(hThread, &dwExit));
    EXPECT_EQ(42u, dwExit);
    CloseHandle(hEvent);
}

TEST(Thread, TellsItsId)
{
    unsigned nId = 0;
    const CHandle hThread(_beginthreadex(nullptr, 0, ReturnOwnId, nullptr, 0, &nId));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hThread, INFINITE));
    DWORD dwExit = 0;
    EXPECT_TRUE(GetExitCodeThread(hThread, &dwExit));
    EXPECT_EQ(nId, dwExit);
    EXPECT_NE(GetCurrentThreadId(), nId);
    EXPECT_EQ(GetCurrentThreadId(), GetCurrentThreadId());
}

TEST(Thread, CountsAsEndedWhenTerminated)
{
    static HANDLE events[] = {NewEvent(true), NewEvent(true)};
    const CHandle hThread(_beginthreadex(nullptr, 0, StartAndWait, events, 0, nullptr));
    // Wine fails when a 32-bit thread is ended on its way to its function.
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(events[0], INFINITE));
    EXPECT_TRUE(TerminateThread(hThread, 7));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hThread, INFINITE));
    DWORD dwExit = 0;
    EXPECT_TRUE(GetExitCodeThread(hThread, &dwExit));
    EXPECT_EQ(7u, dwExit);
    // The events stay open: an abandoned thread may still wait for one.
    SetEvent(events[1]);
}
