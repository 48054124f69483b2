// Events of a console, for a program that has none of its own.
#pragma once

#include "support/child_process.h"

#include <windows.h>

/// Calls what the system calls, in a thread of the process, for an event of its console. The system's modules
/// have the same address in every process.
inline bool RaiseConsoleEvent(const CChildProcess& child, DWORD dwEvent)
{
    const auto pRoutine = reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernelbase.dll"), "CtrlRoutine")));
    const HANDLE hThread =
        CreateRemoteThread(reinterpret_cast<HANDLE>(child.Process()), nullptr, 0, pRoutine,
                           reinterpret_cast<void*>(static_cast<std::uintptr_t>(dwEvent)), 0, nullptr);
    return hThread != nullptr && CloseHandle(hThread);
}
