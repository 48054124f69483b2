/// `OCT::CCritSect`, the library's one lock.
///
/// A recursive critical section that knows whether it was initialised, so that a lock which is used before
/// its static constructor or after its destructor ran is reported instead of undefined.
///
/// Thread safety: `Lock` and `Unlock` may be called from any thread; construction and destruction may not
/// overlap them.
/// Errors: source `smartcls`; "! m_bInitialized" from "OCT::CCritSect::Init", "m_bInitialized" from
///   "OCT::CCritSect::Lock" and "OCT::CCritSect::Unlock", which then do nothing.
///
///     OCT::CCritSect lock;
///     {
///         OCT::CCritSectGuard guard(&lock); // locked to the end of the scope
///     }
#pragma once

#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"

#include <windows.h>

namespace OCT
{

class ORV_API CCritSect
{
public:
    /// Initialises the section.
    CCritSect() noexcept;
    CCritSect(const CCritSect&) = delete;
    CCritSect& operator=(const CCritSect&) = delete;
    ~CCritSect();

    /// Initialises the section; the constructor has already done it, so another call is reported and false.
    bool Init() noexcept;

    /// Waits until no other thread is inside. The owner may enter again, and leaves as often.
    void Lock() noexcept
    {
        if (m_bInitialized) [[likely]]
            EnterCriticalSection(&m_section);
        else
            ORV_REPORT("OCT::CCritSect::Lock", "m_bInitialized");
    }

    /// Leaves; only a thread that is inside may.
    void Unlock() noexcept
    {
        if (m_bInitialized) [[likely]]
            LeaveCriticalSection(&m_section);
        else
            ORV_REPORT("OCT::CCritSect::Unlock", "m_bInitialized");
    }

private:
    CRITICAL_SECTION m_section;
    BOOL m_bInitialized;
};

/// Holds a lock for a scope, also when an exception leaves it.
template <class LockType>
class CLockGuard
{
public:
    /// Locks; \p pLock must outlive the guard.
    explicit CLockGuard(LockType* pLock) : m_pLock(pLock), m_bLocked(true) { m_pLock->Lock(); }
    CLockGuard(const CLockGuard&) = delete;
    CLockGuard& operator=(const CLockGuard&) = delete;
    ~CLockGuard() { Unlock(); }

    /// Releases the lock before the end of the scope; further calls do nothing.
    void Unlock()
    {
        if (m_bLocked)
            m_pLock->Unlock();
        m_bLocked = false;
    }

private:
    LockType* m_pLock;
    bool m_bLocked;
};

/// The guard of the lock above.
using CCritSectGuard = CLockGuard<CCritSect>;

} // namespace OCT
