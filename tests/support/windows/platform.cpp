#include "support/test_environment.h"
#include "support/wine.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>

namespace
{

/// A crash ends the process here and now: a debugger that the system starts may wait for ever.
LONG WINAPI EndAtOnce(EXCEPTION_POINTERS* pException)
{
    const DWORD dwCode = pException->ExceptionRecord->ExceptionCode;
    std::fprintf(stderr, "crashed with exception %08lX at %p\n", dwCode,
                 pException->ExceptionRecord->ExceptionAddress);
    TerminateProcess(GetCurrentProcess(), dwCode);
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

std::filesystem::path TestProgram()
{
    wchar_t sPath[1024];
    return std::filesystem::path(sPath, sPath + GetModuleFileNameW(nullptr, sPath, 1024));
}

void SetTestVariable(const char* sName, const char* sValue)
{
    // The runtime keeps a copy of its own beside the system's; this sets both.
    _putenv((std::string(sName) + "=" + (sValue != nullptr ? sValue : "")).c_str());
    SetEnvironmentVariableA(sName, sValue);
}

void PrepareTestProcess()
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(EndAtOnce);
}

void EndTestProcess(int iResult)
{
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(iResult));
    std::abort();
}

bool IsRunningUnderWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}
