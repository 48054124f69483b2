#include <windows.h>

#include "errnomap.h"
#include "utf.h"

#include <cstdlib>

DWORD GetEnvironmentVariableW(LPCWSTR lpName, LPWSTR lpBuffer, DWORD nSize) noexcept
{
    const char* sValue = std::getenv(PortToUtf8(lpName).c_str());
    if (!sValue)
    {
        SetLastError(ERROR_ENVVAR_NOT_FOUND);
        return 0;
    }
    SetLastError(ERROR_SUCCESS);
    return PortCopyOut(PortToUtf16(sValue), lpBuffer, nSize);
}

BOOL SetEnvironmentVariableW(LPCWSTR lpName, LPCWSTR lpValue) noexcept
{
    const std::string sName = PortToUtf8(lpName);
    const int nResult =
        lpValue ? ::setenv(sName.c_str(), PortToUtf8(lpValue).c_str(), 1) : ::unsetenv(sName.c_str());
    return nResult == 0 ? TRUE : PortFail();
}
