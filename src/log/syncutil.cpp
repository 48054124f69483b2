#include "orvcomtypes/syncutil.h"

#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"

#include <windows.h>

namespace OCT
{

CCheckSingleThread::Start::Start(CCheckSingleThread& owner) noexcept : m_owner(owner)
{
    const DWORD dw = ::GetCurrentThreadId();
    const DWORD dwOld = static_cast<DWORD>(::InterlockedExchange(&owner.m_lThreadId, static_cast<LONG>(dw)));
    if (dwOld != 0 && dwOld != dw)
        ORV_REPORT("OCT::CCheckSingleThread::Start::Start", "dwOld == 0 || dwOld == dw");
}

CCheckSingleThread::Start::~Start()
{
    ::InterlockedExchange(&m_owner.m_lThreadId, 0);
}

} // namespace OCT

namespace
{

/// Removes and dispatches what is waiting; false after a WM_QUIT, which is posted again.
bool DispatchWaiting()
{
    MSG msg;
    while (::PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
    {
        if (msg.message == WM_QUIT)
        {
            ::PostQuitMessage(static_cast<int>(msg.wParam));
            return false;
        }
        ::TranslateMessage(&msg);
        ::DispatchMessageW(&msg);
    }
    return true;
}

} // namespace

HRESULT ORVCALL ThSendMessage(HWND wnd, UINT msg, LPARAM lParam) noexcept
{
    const HANDLE hEvent = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (hEvent == nullptr)
        return HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE);
    if (::IsWindow(wnd))
        ::PostMessageW(wnd, msg, reinterpret_cast<WPARAM>(hEvent), lParam);
    // The wait without a receiver is deliberate.
    ::WaitForSingleObject(hEvent, INFINITE);
    ::CloseHandle(hEvent);
    return S_OK;
}

int ORVCALL ThPostMessage(HWND wnd, UINT msg, WPARAM wParam, LPARAM lParam) noexcept
{
    return ::IsWindow(wnd) && ::PostMessageW(wnd, msg, wParam, lParam) ? 0 : 1;
}

int ORVCALL WaitForAsyncProc(UINT msg, WPARAM* wParam, LPARAM* lParam)
{
    MSG current;
    for (;;)
    {
        if (!::PeekMessageW(&current, nullptr, 0, 0, PM_REMOVE))
        {
            ::WaitMessage();
            continue;
        }
        if (current.message == msg || current.message == WM_QUIT)
            break;
        ::TranslateMessage(&current);
        ::DispatchMessageW(&current);
    }
    if (wParam != nullptr)
        *wParam = current.wParam;
    if (lParam != nullptr)
        *lParam = current.lParam;
    if (current.message == WM_QUIT)
        ::PostQuitMessage(static_cast<int>(current.wParam));
    return current.message == msg ? 1 : 0;
}

int ORVCALL WaitEventWithMessageLoop(const HANDLE* handles, DWORD count, DWORD timeout, BOOL waitAll)
{
    for (;;)
    {
        const DWORD dwResult = ::MsgWaitForMultipleObjects(count, handles, waitAll, timeout, QS_ALLINPUT);
        if (dwResult < WAIT_OBJECT_0 + count || dwResult == WAIT_TIMEOUT)
            return static_cast<int>(dwResult);
        if (dwResult != WAIT_OBJECT_0 + count)
            return -1;
        if (!DispatchWaiting())
            return static_cast<int>(count);
    }
}

int ORVCALL WaitOneEventWithMessageLoop(HANDLE h, DWORD timeout)
{
    return WaitEventWithMessageLoop(&h, 1, timeout, FALSE);
}

int ORVCALL DoEvents(int value)
{
    DispatchWaiting();
    return value;
}
