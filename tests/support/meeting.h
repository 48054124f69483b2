// A point at which threads wait for each other.
#pragma once

#include <windows.h>

#include <atomic>

/// Each of a number of threads waits until all have come. By the platform's event, not by std::latch and its
/// like: where the C++ library has no futex it looks at the value before it takes its lock, so a wake-up in
/// between is lost and the waiter sleeps for ever.
class CMeeting
{
public:
    explicit CMeeting(unsigned nThreads) : m_nMissing(nThreads) {}
    CMeeting(CMeeting&&) = delete;
    ~CMeeting() { CloseHandle(m_hAllCame); }

    void ArriveAndWait()
    {
        if (--m_nMissing == 0)
            SetEvent(m_hAllCame);
        WaitForSingleObject(m_hAllCame, INFINITE);
    }

private:
    std::atomic<unsigned> m_nMissing;
    const HANDLE m_hAllCame = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};
