// Threads, events and waits.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

#define WAIT_OBJECT_0 0u
#define WAIT_TIMEOUT 258u
#define WAIT_FAILED 0xFFFFFFFFu
#define MAXIMUM_WAIT_OBJECTS 64
#define STILL_ACTIVE 259u

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES lpEventAttributes, BOOL bManualReset, BOOL bInitialState,
                    LPCWSTR lpName) noexcept ORVPORT_SHARED(CreateEventW);
BOOL SetEvent(HANDLE hEvent) noexcept ORVPORT_SHARED(SetEvent);
DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) noexcept ORVPORT_SHARED(WaitForSingleObject);
DWORD WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll,
                             DWORD dwMilliseconds) noexcept;

BOOL GetExitCodeThread(HANDLE hThread, LPDWORD lpExitCode) noexcept;
BOOL TerminateThread(HANDLE hThread, DWORD dwExitCode) noexcept;
DWORD GetCurrentThreadId() noexcept ORVPORT_SHARED(GetCurrentThreadId);
DWORD GetCurrentProcessId() noexcept;
void Sleep(DWORD dwMilliseconds) noexcept;

#define DETACHED_PROCESS 0x00000008u

typedef struct _STARTUPINFOW
{
    DWORD cb;
} STARTUPINFOW, *LPSTARTUPINFOW;

typedef struct _PROCESS_INFORMATION
{
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
} PROCESS_INFORMATION, *LPPROCESS_INFORMATION;

BOOL CreateProcessW(LPCWSTR lpApplicationName, LPWSTR lpCommandLine,
                    LPSECURITY_ATTRIBUTES lpProcessAttributes, LPSECURITY_ATTRIBUTES lpThreadAttributes,
                    BOOL bInheritHandles, DWORD dwCreationFlags, LPVOID lpEnvironment,
                    LPCWSTR lpCurrentDirectory, LPSTARTUPINFOW lpStartupInfo,
                    LPPROCESS_INFORMATION lpProcessInformation) noexcept;
