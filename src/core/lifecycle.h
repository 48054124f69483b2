// The library's end, in which low layers tear down what higher ones own.
#pragma once

#include <windows.h>

#include <atomic>

/// What teardown calls upwards. The module that owns a state enters its hook when the state comes into being;
/// the table is constant-initialised, so that this may happen in static constructors too.
struct CTeardownHooks
{
    using Hook = std::atomic<void (*)()>;

    Hook m_fnFlushLogs = nullptr;              ///< no log line stays in a pool
    Hook m_fnForgetSourceLocations = nullptr;  ///< those that threads have set for their log lines
    Hook m_fnDestroyResourceHandler = nullptr; ///< the resource handler's global state, then this thread's
    Hook m_fnRemoveCrashHandler = nullptr;     ///< the thread and the handlers of the crash handler
    Hook m_fnReleaseProcessLogger = nullptr;   ///< the process logger and its option word
    Hook m_fnFreeLogs = nullptr;               ///< what is left of logs, when nobody can use it any more
};

extern constinit CTeardownHooks g_TeardownHooks;

/// Calls a hook if there is one.
inline void CallHook(const CTeardownHooks::Hook& hook)
{
    if (const auto fn = hook.load(std::memory_order_acquire))
        fn();
}

/// The first step of process attach: the registry of teardowns learns where the library's own code lies.
void RememberOwnModule(HMODULE hModule) noexcept;

namespace OCT
{

/// True at process detach: chains in use are left without reports of their own then, as one report has told
/// that the host did not tear down.
extern bool g_bQuietTakeDown;

} // namespace OCT

/// The last step of process detach: drops the registry of teardowns and reports what it still holds. At an
/// unload the chains of the library's own pools that nobody uses are freed without a word.
void ClearPlexedAllocUninit(bool bUnloading) noexcept;
