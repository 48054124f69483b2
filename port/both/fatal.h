// What has no Win32 name of its own: both port/src and port/windows supply it.
#pragma once

/// Is told in one line what ends the process, on the thread where it happens, which may hold any lock. True
/// when it is done with it. False, which only a thread that can go on allows by a \p pfnPassOn that is not
/// null: then the handler calls that when it is done, on another thread.
using PortFatalHandler = bool (*)(const char* sWhat, void (*pfnPassOn)() noexcept) noexcept;

/// From now on abort and what ends the process by the system's decision call the handler first: fatal
/// signals, on Windows exceptions that nobody handles. Then the former handlers have their turn. Not called
/// twice without the other between.
void PortCatchFatal(PortFatalHandler pfnHandler) noexcept;
void PortLeaveFatal() noexcept;

/// Room for that handler on the calling thread when its stack has overflowed; kept until the thread's end.
/// False when the system gives none. A thread that has such room keeps what it has.
bool PortReserveFatalStack() noexcept;
