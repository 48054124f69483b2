// Pointers that each thread has of its own.
#pragma once

#include <windows.h>

/// What TlsGetValue gives for a slot of TlsAlloc, without setting the last error: code that only moves text
/// about must not change it. The port's call never sets it.
inline void* PortTlsValue(DWORD dwSlot) noexcept
{
    return TlsGetValue(dwSlot);
}
