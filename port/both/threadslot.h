// Pointers that each thread has of its own.
#pragma once

#include <windows.h>

#if defined(_WIN32)
#include <winternl.h>
#endif

/// What TlsGetValue gives for a slot of TlsAlloc, without setting the last error: code that only moves text
/// about must not change it.
inline void* PortTlsValue(DWORD dwSlot) noexcept
{
#if defined(_WIN32)
    const TEB* const pThread = NtCurrentTeb();
    if (dwSlot < sizeof(pThread->TlsSlots) / sizeof(pThread->TlsSlots[0]))
        return pThread->TlsSlots[dwSlot];
    const DWORD dwLastError = GetLastError();
    void* const p = TlsGetValue(dwSlot);
    SetLastError(dwLastError);
    return p;
#else
    return TlsGetValue(dwSlot);
#endif
}
