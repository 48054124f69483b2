// What has no Win32 name of its own: both port/src and port/windows supply it.
#pragma once

#include <windows.h>

/// Makes the thread's name known outside the program: to the debugger on Windows, to the kernel elsewhere. An
/// id of 0x7FFFFFFF or more is the calling thread.
void PortNameThread(DWORD dwThreadId, const char* sName) noexcept;
