// Message loops of a program without windows: the only message is the thread's own WM_QUIT, so waiting for
// messages is plain waiting.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

typedef struct tagMSG
{
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
} MSG, *LPMSG;

#define WM_QUIT 0x0012u
#define PM_REMOVE 0x0001u
#define QS_ALLINPUT 0x04FFu

BOOL IsWindow(HWND hWnd) noexcept;
BOOL PostMessageW(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam) noexcept;
void PostQuitMessage(int nExitCode) noexcept ORVPORT_SHARED(PostQuitMessage);
BOOL PeekMessageW(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax, UINT wRemoveMsg) noexcept
    ORVPORT_SHARED(PeekMessageW);
BOOL TranslateMessage(const MSG* lpMsg) noexcept;
LRESULT DispatchMessageW(const MSG* lpMsg) noexcept;
BOOL WaitMessage() noexcept;
DWORD MsgWaitForMultipleObjects(DWORD nCount, const HANDLE* pHandles, BOOL fWaitAll, DWORD dwMilliseconds,
                                DWORD dwWakeMask) noexcept;
