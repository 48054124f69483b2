#include <windows.h>

#include <optional>

#include <unistd.h>

namespace
{
thread_local std::optional<int> t_quitCode;
}

BOOL IsWindow(HWND) noexcept
{
    return FALSE;
}

BOOL PostMessageW(HWND, UINT, WPARAM, LPARAM) noexcept
{
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
}

void PostQuitMessage(int nExitCode) noexcept
{
    t_quitCode = nExitCode;
}

BOOL PeekMessageW(LPMSG lpMsg, HWND, UINT, UINT, UINT wRemoveMsg) noexcept
{
    if (!t_quitCode)
        return FALSE;
    *lpMsg = {nullptr, WM_QUIT, static_cast<WPARAM>(*t_quitCode), 0};
    if ((wRemoveMsg & PM_REMOVE) != 0)
        t_quitCode.reset();
    return TRUE;
}

BOOL TranslateMessage(const MSG*) noexcept
{
    return FALSE;
}

LRESULT DispatchMessageW(const MSG*) noexcept
{
    return 0;
}

BOOL WaitMessage() noexcept
{
    // Nobody else can give this thread a message.
    while (!t_quitCode)
        pause();
    return TRUE;
}

DWORD MsgWaitForMultipleObjects(DWORD nCount, const HANDLE* pHandles, BOOL fWaitAll, DWORD dwMilliseconds,
                                DWORD) noexcept
{
    if (nCount >= MAXIMUM_WAIT_OBJECTS)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    if (nCount == 0 && !t_quitCode)
    {
        Sleep(dwMilliseconds);
        return WAIT_TIMEOUT;
    }
    DWORD dwResult = WAIT_TIMEOUT;
    if (nCount != 0)
        dwResult = WaitForMultipleObjects(nCount, pHandles, fWaitAll, t_quitCode ? 0 : dwMilliseconds);
    return dwResult == WAIT_TIMEOUT && t_quitCode ? WAIT_OBJECT_0 + nCount : dwResult;
}
