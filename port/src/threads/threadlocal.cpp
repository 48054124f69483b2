// Slots of threads. Those of TlsAlloc are never given out again: the library takes its few at load.
#include <windows.h>

#include <atomic>

#include <pthread.h>

__thread void* CPortThreadSlots::t_apValues[CPortThreadSlots::kSlots];

namespace
{

std::atomic<DWORD> g_nTaken = 0;

} // namespace

DWORD TlsAlloc() noexcept
{
    const DWORD dwSlot = g_nTaken++;
    return dwSlot < CPortThreadSlots::kSlots ? dwSlot : TLS_OUT_OF_INDEXES;
}

BOOL TlsFree(DWORD dwTlsIndex) noexcept
{
    return dwTlsIndex < CPortThreadSlots::kSlots;
}

DWORD FlsAlloc(PFLS_CALLBACK_FUNCTION lpCallback) noexcept
{
    pthread_key_t key;
    return pthread_key_create(&key, lpCallback) == 0 ? key : FLS_OUT_OF_INDEXES;
}

BOOL FlsFree(DWORD dwFlsIndex) noexcept
{
    return pthread_key_delete(dwFlsIndex) == 0;
}

BOOL FlsSetValue(DWORD dwFlsIndex, PVOID lpFlsData) noexcept
{
    return pthread_setspecific(dwFlsIndex, lpFlsData) == 0;
}
