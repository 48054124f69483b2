// Slots of threads: a pointer of each thread's own.
#pragma once

#include "orvport/types.h"

#define TLS_OUT_OF_INDEXES 0xFFFFFFFFu
#define FLS_OUT_OF_INDEXES 0xFFFFFFFFu

typedef void(WINAPI* PFLS_CALLBACK_FUNCTION)(PVOID lpFlsData);

/// In the library's own part of the thread's memory, so that reading one is two instructions.
struct CPortThreadSlots
{
    static constexpr DWORD kSlots = 8;
    static __thread void* t_apValues[kSlots] __attribute__((tls_model("initial-exec")));
};

DWORD TlsAlloc() noexcept;
BOOL TlsFree(DWORD dwTlsIndex) noexcept;
inline LPVOID TlsGetValue(DWORD dwTlsIndex) noexcept
{
    return CPortThreadSlots::t_apValues[dwTlsIndex];
}
inline BOOL TlsSetValue(DWORD dwTlsIndex, LPVOID lpTlsValue) noexcept
{
    CPortThreadSlots::t_apValues[dwTlsIndex] = lpTlsValue;
    return 1;
}

DWORD FlsAlloc(PFLS_CALLBACK_FUNCTION lpCallback) noexcept;
BOOL FlsFree(DWORD dwFlsIndex) noexcept;
BOOL FlsSetValue(DWORD dwFlsIndex, PVOID lpFlsData) noexcept;
