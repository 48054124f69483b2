/// Guard against use by two threads, and waits of threads that own windows.
///
/// `OCT::CCheckSingleThread` stands beside data that only one thread may touch at a time without being
/// locked. Code that touches it opens a `Start`; two threads inside at once are reported, nothing is stopped.
///
///     OCT::CCheckSingleThread m_check;
///     void Touch() { OCT::CCheckSingleThread::Start start(m_check); }
///
/// The waits keep a window responsive: they dispatch the calling thread's messages until what they wait for
/// happens. A WM_QUIT that they meet is posted again, so an outer loop sees it too. Where there are no window
/// messages they are plain waits, and the only message is the thread's own WM_QUIT.
///
/// Thread safety: guards are for any thread; the waits run on the thread that owns the windows.
/// Errors: a report (source `syncutil`) stands at the guard; the waits tell by their results.
/// Units: time-outs in milliseconds; 0 looks once, INFINITE waits without end. They begin anew after
///   each batch of messages, so a steady flow of messages lengthens the wait.
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

namespace OCT
{

class ORV_API CCheckSingleThread
{
public:
    CCheckSingleThread() noexcept = default;
    CCheckSingleThread(const CCheckSingleThread&) = delete;
    CCheckSingleThread& operator=(const CCheckSingleThread&) = delete;

    /// The calling thread is inside from here to the end of the scope. When another one is inside, reports
    /// "dwOld == 0 || dwOld == dw" from "OCT::CCheckSingleThread::Start::Start" and takes its place. The end
    /// of a guard nested in another one of the same thread ends both, deliberately.
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
/// event: without end also when there is no such window, deliberately. 0, or 0x80070006 when the event cannot
/// be made; nothing is posted then.
ORV_EXTERN_C ORV_FUNC HRESULT ORVCALL ThSendMessage(HWND wnd, UINT msg, LPARAM lParam) noexcept;

/// 0 when the message was posted, 1 when there is no such window or it could not be posted.
ORV_EXTERN_C ORV_FUNC int ORVCALL ThPostMessage(HWND wnd, UINT msg, WPARAM wParam, LPARAM lParam) noexcept;

/// Dispatches messages until \p msg or WM_QUIT comes: 1 for the first, 0 for the second. That one is not
/// dispatched; its parameters go where the pointers, which may be null, say.
ORV_EXTERN_C ORV_FUNC int ORVCALL WaitForAsyncProc(UINT msg, WPARAM* wParam, LPARAM* lParam);

/// The index of the signalled handle, \p count after a WM_QUIT, 258 when the time is over, -1 on failure: a
/// handle that is none, or more than 63. Handles come before messages. With \p waitAll all handles must be
/// signalled and, where there are window messages, one of those be there too, as the system has it.
ORV_EXTERN_C ORV_FUNC int ORVCALL WaitEventWithMessageLoop(const HANDLE* handles, DWORD count, DWORD timeout,
                                                           BOOL waitAll);

/// The same for one handle: 0 when it is signalled, 1 after a WM_QUIT.
ORV_EXTERN_C ORV_FUNC int ORVCALL WaitOneEventWithMessageLoop(HANDLE h, DWORD timeout);

/// Dispatches all messages that are waiting, up to a WM_QUIT, and returns \p value.
ORV_EXTERN_C ORV_FUNC int ORVCALL DoEvents(int value);
