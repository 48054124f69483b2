#include <windows.h>

namespace
{
thread_local DWORD t_dwLastError = 0;
}

DWORD GetLastError() noexcept
{
    return t_dwLastError;
}

void SetLastError(DWORD dwError) noexcept
{
    t_dwLastError = dwError;
}
