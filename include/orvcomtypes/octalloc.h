/// The heap that crosses module boundaries, the registry of pool teardowns, and the end of the library.
///
/// Pools must be taken down before the process ends, while the code that does it is still loaded. So each
/// pool registers its teardown, remembered with the module that contains it, and a host takes down its own
/// pools, or all, at a moment it chooses. At process detach no teardown of another module is called any more,
/// since that may already be gone.
///
/// A host that ends the process stops its threads, calls `SetFinalRelease`, then `UninitOrvComTypes`, and
/// unloads.
///
/// Thread safety: all functions may be called from any thread. Teardowns run under the registry's lock and
///   must not register or unregister.
/// Errors: source `octalloc`; "g_bFinalRelease" from "SetFinalRelease"; "g_PlReg != nullptr",
///   "dw > 0 && dw < arrsize(buffer)" and "i < 1024" from "RegisterPlexedAlloc"; "g_PlexedObjectRefCnt == 0"
///   from "CallPlexedAllocUninit"; at process detach "g_PlexedObjectRefCnt == 0" and "g_PlReg != nullptr"
///   from "ClearPlexedAllocUninit". Nothing throws.
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/plexalloc.h"

#include <windows.h>

#include <cstdint>

/// malloc, free and realloc of the library's own runtime: any module may free with `OCTFree` what came from
/// here.
ORV_EXTERN_C ORV_FUNC void* ORVFASTCALL OCTMalloc(std::uint32_t nSize) noexcept;
ORV_EXTERN_C ORV_FUNC void ORVFASTCALL OCTFree(void* p) noexcept;
ORV_EXTERN_C ORV_FUNC void* ORVFASTCALL OCTRealloc(void* p, std::uint32_t nSize) noexcept;

/// Tells the library that the process is ending: giving an item back to a pool becomes a cheap mark.
ORV_EXTERN_C ORV_FUNC void ORVCALL SetFinalRelease() noexcept;
/// True once the process is ending.
ORV_EXTERN_C ORV_FUNC bool ORVCALL IsFinalRelease() noexcept;

/// A number that nobody had before: 1 at the first call.
ORV_EXTERN_C ORV_FUNC std::uint32_t ORVCALL GetNextAllocCnt() noexcept;

/// Remembers a teardown with the module that contains it. Null is ignored; registered twice it is called
/// twice.
ORV_EXTERN_C ORV_FUNC void ORVCALL RegisterPlexedAlloc(OCT::PlexUninit fnUninit) noexcept;

/// Forgets the first registration of \p fnUninit without calling it.
ORV_EXTERN_C ORV_FUNC void ORVCALL UnregisterPlexedAlloc(OCT::PlexUninit fnUninit) noexcept;

/// Calls and forgets the teardowns of \p hModule, or of every module when it is null. A teardown whose
/// address no longer lies in the module that registered it is forgotten without being called.
ORV_EXTERN_C ORV_FUNC void ORVCALL CallPlexedAllocUninit(HMODULE hModule) noexcept;

/// Takes down every pool of every module and the library's own global state. Waits first, up to a second,
/// until logs have written what waits.
ORV_EXTERN_C ORV_FUNC void ORVCALL UninitOrvComTypes() noexcept;
