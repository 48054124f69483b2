// errno as the Win32 error that Windows reports for the same fault.
#pragma once

#include <windows.h>

DWORD PortWin32Error(int nErrno) noexcept;

/// Sets the thread's last error from errno and returns FALSE.
BOOL PortFail() noexcept;

/// Sets the thread's last error to ERROR_NOT_ENOUGH_MEMORY and returns FALSE.
BOOL PortFailWithoutMemory() noexcept;
