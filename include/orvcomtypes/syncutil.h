/// Guard against use by two threads, and waits of threads that own windows.
///
/// `OCT::CCheckSingleThread` stands beside data that only one thread may touch at a time without being
/// locked. Code that touches it opens a `Start`; two threads inside at once are reported, nothing is stopped.
///
///     OCT::CCheckSingleThread m_check;
///     void Touch() { OCT::CCheckSingleThread::Start start(m_check); }
///
/// The waits keep a window responsive: they dispatch the calling thread's messages until what they wait for
/// happens. They run on the thread that owns the windows. A WM_QUIT that they meet is posted again, so an
/// outer loop sees it too. Without window messages they are plain waits, and the only message is the thread's
/// own WM_QUIT.
///
/// Errors: two threads inside a guard report "dwOld == 0 || dwOld == dw" from
///   "OCT::CCheckSingleThread::Start::Start" (source `syncutil`).
/// Units: time-outs in milliseconds, INFINITE for none. They begin anew after each batch of messages, so a
///   steady flow of messages lengthens the wait.
#pragma once

#include "orvcomtypes/octassert.h"

namespace OCT
{

class ORV_API CCheckSingleThread
{
public:
    CCheckSingleThread() noexcept = default;
    CCheckSingleThread(const CCheckSingleThread&) = delete;
    CCheckSingleThread& operator=(const CCheckSingleThread&) = delete;

    /// The calling thread is inside from here to the end of the scope. The end of a guard nested in another
    /// one of the same thread ends both.
    class ORV_API Start
    {
    public:
        /// The thread is inside from here on.
        explicit Start(CCheckSingleThread& owner) noexcept;
        Start(const Start&) = delete;
        Start& operator=(const Start&) = delete;
        ~Start();

    private:
        CCheckSingleThread& m_owner;
    };

private:
    LONG volatile m_lThreadId = 0;
};

} // namespace OCT

/// Posts \p msg with a new event as wParam and waits, without time-out, until the receiver signals that
/// event; also when there is no such window. 0, or 0x80070006 when the event cannot be made.
ORV_EXTERN_C ORV_FUNC HRESULT ORVCALL ThSendMessage(HWND wnd, UINT msg, LPARAM lParam) noexcept;

/// 0 when the message was posted, 1 when there is no such window or it could not be posted.
ORV_EXTERN_C ORV_FUNC int ORVCALL ThPostMessage(HWND wnd, UINT msg, WPARAM wParam, LPARAM lParam) noexcept;

/// Dispatches messages until \p msg (1) or WM_QUIT (0) comes; that one is not dispatched, and its parameters
/// go where the pointers, which may be null, say.
ORV_EXTERN_C ORV_FUNC int ORVCALL WaitForAsyncProc(UINT msg, WPARAM* wParam, LPARAM* lParam);

/// The index of the signalled handle, \p count after a WM_QUIT, 258 when the time is over, -1 on failure.
ORV_EXTERN_C ORV_FUNC int ORVCALL WaitEventWithMessageLoop(const HANDLE* handles, DWORD count, DWORD timeout,
                                                           BOOL waitAll);

/// The same for one handle.
ORV_EXTERN_C ORV_FUNC int ORVCALL WaitOneEventWithMessageLoop(HANDLE h, DWORD timeout);

/// Dispatches all messages that are waiting and returns \p value.
ORV_EXTERN_C ORV_FUNC int ORVCALL DoEvents(int value);
