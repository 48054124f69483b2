#include "threadnaming.h"

namespace
{

constexpr DWORD kNamingException = 0x406D1388;
constexpr ULONG_PTR kNameArgument = 0x1000;

/// Without a debugger nobody else continues the exception, and it would end the process.
LONG CALLBACK ContinueAfterNaming(EXCEPTION_POINTERS* pException)
{
    return pException->ExceptionRecord->ExceptionCode == kNamingException ? EXCEPTION_CONTINUE_EXECUTION
                                                                          : EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

void PortNameThread(DWORD dwThreadId, const char* sName) noexcept
{
    // On x64 the debugger reads id and flags as the halves of one argument; as flags are 0, both layouts are
    // met.
    const ULONG_PTR arguments[] = {kNameArgument, reinterpret_cast<ULONG_PTR>(sName), dwThreadId, 0};
    void* const pHandler = AddVectoredExceptionHandler(0, ContinueAfterNaming);
    if (pHandler == nullptr && !IsDebuggerPresent())
        return;
    RaiseException(kNamingException, 0, 4, arguments);
    RemoveVectoredExceptionHandler(pHandler);
}
