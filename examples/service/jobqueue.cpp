#include "jobqueue.h"

#include <utility>

void CJobQueue::Add(const CName& name)
{
    const std::lock_guard lock(m_Mutex);
    if (!m_Known.insert(name).second)
        return;
    m_Waiting.push_back(name);
    m_Changed.notify_all();
}

void CJobQueue::RetryPutOff()
{
    const std::lock_guard lock(m_Mutex);
    for (const CName& name : m_PutOff)
        m_Known.erase(name);
    m_PutOff.clear();
}

bool CJobQueue::Take(CName& name)
{
    std::unique_lock lock(m_Mutex);
    m_Changed.wait(lock, [this] { return m_bClosed || (!m_bHeld && !m_Waiting.empty()); });
    if (m_bClosed)
        return false;
    name = std::move(m_Waiting.front());
    m_Waiting.pop_front();
    ++m_nTaken;
    return true;
}

void CJobQueue::Finish(const CName& name, bool bDone)
{
    const std::lock_guard lock(m_Mutex);
    --m_nTaken;
    if (bDone)
        m_Known.erase(name);
    else
        m_PutOff.insert(name);
    m_Changed.notify_all();
}

void CJobQueue::Hold()
{
    std::unique_lock lock(m_Mutex);
    m_bHeld = true;
    m_Changed.wait(lock, [this] { return m_nTaken == 0; });
    m_Waiting.clear();
    m_Known.clear();
    m_PutOff.clear();
}

void CJobQueue::Resume()
{
    const std::lock_guard lock(m_Mutex);
    m_bHeld = false;
    m_Changed.notify_all();
}

void CJobQueue::Close()
{
    const std::lock_guard lock(m_Mutex);
    m_bClosed = true;
    m_Changed.notify_all();
}
