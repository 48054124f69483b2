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
    Hook m_fnDestroySourceLocations = nullptr; ///< the log's table of source locations per thread
    Hook m_fnDestroyResourceHandler = nullptr; ///< the resource handler's global state, then this thread's
    Hook m_fnReleaseProcessLogger = nullptr;   ///< the process logger and its option word
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

/// The last step of process detach: drops the registry of teardowns and reports what it still holds.
void ClearPlexedAllocUninit() noexcept;
