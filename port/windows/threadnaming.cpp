#include "threadnaming.h"

namespace
{

constexpr DWORD g_dwNamingException = 0x406D1388;
constexpr ULONG_PTR g_nNameArgument = 0x1000;

/// Without a debugger nobody else continues the exception, and it would end the process.
LONG CALLBACK ContinueAfterNaming(EXCEPTION_POINTERS* pException)
{
    return pException->ExceptionRecord->ExceptionCode == g_dwNamingException ? EXCEPTION_CONTINUE_EXECUTION
                                                                             : EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

void PortNameThread(DWORD dwThreadId, const char* sName) noexcept
{
    // On x64 the debugger reads id and flags as the halves of one argument; as flags are 0, both layouts are
    // met.
    const ULONG_PTR arguments[] = {g_nNameArgument, reinterpret_cast<ULONG_PTR>(sName), dwThreadId, 0};
    void* const pHandler = AddVectoredExceptionHandler(0, ContinueAfterNaming);
    if (pHandler == nullptr && !IsDebuggerPresent())
        return;
    RaiseException(g_dwNamingException, 0, 4, arguments);
    RemoveVectoredExceptionHandler(pHandler);
}
