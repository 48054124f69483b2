/// The module whose string tables hold the texts of the current language.
///
/// Ownership: the handler remembers a module; whoever loaded it frees it, after it was taken out of the
/// handler.
/// Thread safety: every function may be called from any thread.
#pragma once

#include "orvcomtypes/octassert.h"

class ORV_API CResourceHandler
{
public:
    /// The module of this thread, else that of the process; null when neither is set.
    static HINSTANCE GetHandle() noexcept;
    /// Sets the module of the process; null for none.
    static void SetHandle(HINSTANCE hInstance) noexcept;
    /// Sets the module of the calling thread; null for that of the process.
    static void SetThreadHandle(HINSTANCE hInstance) noexcept;

    static void DestroyGlobal() noexcept { SetHandle(nullptr); }
    static void DestroyThreadLocal() noexcept { SetThreadHandle(nullptr); }
};
