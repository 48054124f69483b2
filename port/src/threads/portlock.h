// The port's own locks, and what is made on first use.
//
// A function's static is made behind a guard, and a std::mutex is held, of which a fork knows nothing: when
// another thread is just inside, the child waits for it for ever. So everything here goes through sections
// that the fork waits for. Static ones are not destroyed: threads may still run while the process exits.
#pragma once

#include "forklock.h"

#include <windows.h>

#include <atomic>
#include <mutex>
#include <new>

/// A section in the shape of a standard mutex, recursive. All zero it is free, so static ones are usable from
/// the first moment; who owns one calls HoldAtFork at load.
class CPortLock
{
public:
    constexpr CPortLock() noexcept = default;
    CPortLock(const CPortLock&) = delete;
    CPortLock& operator=(const CPortLock&) = delete;

    void HoldAtFork() noexcept { PortHoldAtFork(&m_section); }
    void lock() noexcept { EnterCriticalSection(&m_section); }
    void unlock() noexcept { LeaveCriticalSection(&m_section); }

protected:
    CRITICAL_SECTION m_section{};
};

/// The lock of an object that may go again, also because the rest of it found no memory; a fork waits for it
/// meanwhile.
class CPortMemberLock : public CPortLock
{
public:
    CPortMemberLock() noexcept { HoldAtFork(); }
    ~CPortMemberLock() { DeleteCriticalSection(&m_section); }
};

/// Held while something is made on first use, and during every call of ICU that may take ICU's own locks: a
/// fork waits for this one, so that it finds those free too.
extern CPortLock g_makingLock;

using CMakingGuard = std::lock_guard<CPortLock>;

/// A value made on first use, in place: a module that is unloaded takes it along.
template <class T>
class CMadeOnce
{
public:
    constexpr CMadeOnce() noexcept = default;

    /// Null before the first Get.
    const T* Peek() const noexcept { return m_pValue.load(std::memory_order_acquire); }

    template <class... Args>
    const T& Get(const Args&... args)
    {
        if (const T* p = Peek()) [[likely]]
            return *p;
        const CMakingGuard guard(g_makingLock);
        if (Peek() == nullptr)
            m_pValue.store(::new (m_storage) T(args...), std::memory_order_release);
        return *Peek();
    }

    /// Who comes later all the same makes it anew.
    void DestroyAtUnload() noexcept
    {
        if (const T* const p = m_pValue.exchange(nullptr))
            p->~T();
    }

private:
    std::atomic<const T*> m_pValue = nullptr;
    alignas(T) unsigned char m_storage[sizeof(T)]{};
};
