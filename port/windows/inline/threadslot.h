// Pointers that each thread has of its own.
#pragma once

#include <windows.h>
#include <winternl.h>

/// What TlsGetValue gives for a slot of TlsAlloc, without setting the last error: code that only moves text
/// about must not change it. The first slots stand in the thread's own block.
inline void* PortTlsValue(DWORD dwSlot) noexcept
{
    const TEB* const pThread = NtCurrentTeb();
    if (dwSlot < sizeof(pThread->TlsSlots) / sizeof(pThread->TlsSlots[0]))
        return pThread->TlsSlots[dwSlot];
    const DWORD dwLastError = GetLastError();
    void* const p = TlsGetValue(dwSlot);
    SetLastError(dwLastError);
    return p;
}
