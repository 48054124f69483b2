#include "support/test_environment.h"
#include "support/wine.h"

#include <windows.h>

#include <cstdlib>

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
}

bool IsRunningUnderWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}
