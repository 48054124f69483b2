/// Names of threads, for debuggers and for logs.
///
/// A table of 64 slots, filled in the order of the calls and never emptied; slot 0 stays free, so 63 names
/// are kept. Naming a thread twice takes two slots, and the older name is found.
///
/// Thread safety: all functions from any thread.
/// Errors: reported (source `threadname`), then nothing happens or false: see each function.
/// Units: bytes, the terminator included.
///
///     SetThreadName(GetCurrentThreadId(), "Importer");
///     char sName[64];
///     GetThreadName(dwThreadId, sName, sizeof sName);
#pragma once

#include "orvcomtypes/octassert.h"

/// Names a thread, the calling one for ids from 0x7FFFFFFF on (such as -1). The table keeps 63 bytes. A
/// debugger learns the name at once; the call takes 10 ms for it. Where the kernel names threads it gets the
/// name too, shortened in the middle to what it takes. "pszThreadName == nullptr || pszThreadName[0] ==
/// '\0'"; from the 64th call on "lIdx >= MaxThreads".
ORV_EXTERN_C ORV_FUNC void ORVCALL SetThreadName(DWORD threadId, const char* name);

/// True and the name, or false and the id in decimal. The name set last is found only when another one was
/// set after it. "dwThreadID == 0xFFFFFFFF || pszDest == nullptr || cbDest < 2"
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetThreadName(DWORD threadId, char* dest, unsigned cbDest) noexcept;
