#include "threads/wait.h"

#include "files/handle.h"
#include "threads/futex.h"
#include "threads/portlock.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <ctime>
#include <mutex>
#include <new>

namespace
{

CPortLock g_lock;

[[gnu::constructor]] void HoldLockAtFork()
{
    g_lock.HoldAtFork();
}

} // namespace

// One wait's place in the queue of one object.
struct CWaitNode
{
    std::atomic<std::uint32_t>* m_pWoken;
    CWaitNode* m_pNext;
};

void CWaitable::Signal() noexcept
{
    const std::lock_guard guard(g_lock);
    m_bSignaled = true;
    // All of them look again: who waits for several objects may have to leave this one to another.
    for (CWaitNode* p = m_pWaiting; p; p = p->m_pNext)
    {
        p->m_pWoken->store(1, std::memory_order_relaxed);
        FutexWakeOne(*p->m_pWoken);
    }
}

// One call of a waiting function.
class CWait
{
public:
    CWait(CWaitable** ppObjects, DWORD nCount, bool bAll) noexcept
        : m_ppObjects(ppObjects), m_nCount(nCount), m_bAll(bAll)
    {
        for (DWORD i = 0; i < m_nCount; ++i)
            m_ppObjects[i]->AddRef();
    }
    CWait(const CWait&) = delete;
    CWait& operator=(const CWait&) = delete;
    ~CWait()
    {
        for (DWORD i = 0; i < m_nCount; ++i)
            m_ppObjects[i]->Release();
    }

    DWORD Run(DWORD dwMilliseconds) noexcept
    {
        DWORD dwResult;
        {
            const std::lock_guard guard(g_lock);
            dwResult = TryTake();
            if (dwResult == WAIT_TIMEOUT && dwMilliseconds != 0)
            {
                Enqueue();
                dwResult = Sleep(dwMilliseconds);
                Dequeue();
            }
        }
        if (dwResult != WAIT_TIMEOUT)
            for (DWORD i = 0; i < m_nCount; ++i)
                if (m_bAll || i == dwResult)
                    m_ppObjects[i]->OnWaited();
        return dwResult;
    }

private:
    // The index of a signalled object (0 when all are asked for and signalled), or WAIT_TIMEOUT.
    DWORD TryTake() noexcept
    {
        CWaitable** const ppEnd = m_ppObjects + m_nCount;
        const auto IsSignaled = [](const CWaitable* p) { return p->m_bSignaled; };
        if (m_bAll)
        {
            if (!std::all_of(m_ppObjects, ppEnd, IsSignaled))
                return WAIT_TIMEOUT;
            std::for_each(m_ppObjects, ppEnd, Take);
            return WAIT_OBJECT_0;
        }
        CWaitable** const ppFirst = std::find_if(m_ppObjects, ppEnd, IsSignaled);
        if (ppFirst == ppEnd)
            return WAIT_TIMEOUT;
        Take(*ppFirst);
        return static_cast<DWORD>(ppFirst - m_ppObjects);
    }

    static void Take(CWaitable* pObject) noexcept
    {
        if (!pObject->m_bManualReset)
            pObject->m_bSignaled = false;
    }

    // Leaves the lock while asleep.
    DWORD Sleep(DWORD dwMilliseconds) noexcept
    {
        CTimeLeft left(dwMilliseconds);
        while (left.Update())
        {
            m_nWoken.store(0, std::memory_order_relaxed);
            g_lock.unlock();
            FutexWait(m_nWoken, 0, left.Get());
            g_lock.lock();
            const DWORD dwResult = TryTake();
            if (dwResult != WAIT_TIMEOUT)
                return dwResult;
        }
        return WAIT_TIMEOUT;
    }

    void Enqueue() noexcept
    {
        for (DWORD i = 0; i < m_nCount; ++i)
        {
            m_nodes[i] = {&m_nWoken, m_ppObjects[i]->m_pWaiting};
            m_ppObjects[i]->m_pWaiting = &m_nodes[i];
        }
    }

    void Dequeue() noexcept
    {
        for (DWORD i = 0; i < m_nCount; ++i)
        {
            CWaitNode** pp = &m_ppObjects[i]->m_pWaiting;
            while (*pp != &m_nodes[i])
                pp = &(*pp)->m_pNext;
            *pp = m_nodes[i].m_pNext;
        }
    }

    CWaitable** const m_ppObjects;
    const DWORD m_nCount;
    const bool m_bAll;
    std::atomic<std::uint32_t> m_nWoken{0};
    CWaitNode m_nodes[MAXIMUM_WAIT_OBJECTS];
};

DWORD WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll,
                             DWORD dwMilliseconds) noexcept
{
    CWaitable* objects[MAXIMUM_WAIT_OBJECTS];
    if (nCount == 0 || nCount > MAXIMUM_WAIT_OBJECTS || lpHandles == nullptr)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    for (DWORD i = 0; i < nCount; ++i)
    {
        objects[i] = CPortObject::Of<CWaitable>(lpHandles[i]);
        if (!objects[i])
            return WAIT_FAILED;
    }
    return CWait(objects, nCount, bWaitAll != FALSE).Run(dwMilliseconds);
}

DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) noexcept
{
    return WaitForMultipleObjects(1, &hHandle, FALSE, dwMilliseconds);
}

namespace
{

class CEvent : public CWaitable
{
public:
    CEvent(bool bManualReset, bool bSignaled) noexcept : CWaitable(EKind::Event, bManualReset, bSignaled) {}
    static bool IsKind(EKind eKind) noexcept { return eKind == EKind::Event; }
};

} // namespace

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES, BOOL bManualReset, BOOL bInitialState, LPCWSTR lpName) noexcept
{
    CEvent* pEvent =
        lpName ? nullptr : new (std::nothrow) CEvent(bManualReset != FALSE, bInitialState != FALSE);
    if (!pEvent)
        SetLastError(lpName ? ERROR_NOT_SUPPORTED : ERROR_NOT_ENOUGH_MEMORY);
    return static_cast<CPortObject*>(pEvent);
}

BOOL SetEvent(HANDLE hEvent) noexcept
{
    CEvent* pEvent = CPortObject::Of<CEvent>(hEvent);
    if (pEvent)
        pEvent->Signal();
    return pEvent != nullptr;
}
