/// Names of threads, for debuggers and for logs.
///
/// A table of 64 slots, filled in the order of the calls and never emptied, also not by the library's
/// teardown or the end of a thread; slot 0 stays free, so 63 names are kept. Naming a thread twice takes two
/// slots, and the older name is found. Each log's writing thread takes a slot and leaves it to the next
/// one's.
///
/// Thread safety: all functions from any thread, for any thread.
/// Errors: reports (source `threadname`) stand at the functions; nothing throws.
/// Units: bytes, the terminator included.
///
///     SetThreadName(GetCurrentThreadId(), "Importer");
///     char sName[64];
///     GetThreadName(dwThreadId, sName, sizeof sName);
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

/// Names a thread, the calling one for ids from 0x7FFFFFFF on (such as -1); whether there is such a thread is
/// not looked at. The table keeps 63 bytes, cut between characters. A debugger learns the name at once; the
/// call takes 10 ms for it. Where the kernel names threads it gets the name too, shortened in the middle to
/// what it takes. Reports "pszThreadName == nullptr || pszThreadName[0] == '\0'" for a null or empty name
/// and, from the 64th call on, "lIdx >= MaxThreads"; nothing else happens then.
ORV_EXTERN_C ORV_FUNC void ORVCALL SetThreadName(DWORD threadId, const char* name);

/// True and the name, or false and the id in decimal, cut between characters. The name set last is found only
/// when another one was set after it; id 0 has an empty name once any is set. For an id of 0xFFFFFFFF,
/// without \p dest and with less than 2 bytes reports "dwThreadID == 0xFFFFFFFF || pszDest == nullptr ||
/// cbDest < 2" and gives false.
ORV_EXTERN_C ORV_FUNC bool ORVCALL GetThreadName(DWORD threadId, char* dest, unsigned cbDest) noexcept;
