#include "log/logqueue.h"

#include "log/logmessage.h"

#include <atomic>
#include <cstdint>
#include <utility>

void CLogQueue::Append(CLogQueue& other)
{
    if (other.IsEmpty())
        return;
    *m_ppLast = other.m_pHead;
    m_ppLast = other.m_ppLast;
    m_nLines += other.m_nLines;
    m_nBytes += other.m_nBytes;
    other.Forget();
}

void CLogQueue::Prepend(CLogQueue& other)
{
    other.Append(*this);
    Forget();
    Append(other);
}

void CLogQueue::AppendNewestFirst(CLogMessage* pNewest)
{
    if (pNewest == nullptr)
        return;
    CLogMessage** const ppOldest = std::exchange(m_ppLast, &pNewest->m_pNext);
    CLogMessage* pLater = nullptr;
    for (CLogMessage* p = pNewest; p != nullptr;)
    {
        ++m_nLines;
        m_nBytes += p->Length();
        CLogMessage* const pEarlier = std::exchange(p->m_pNext, pLater);
        pLater = std::exchange(p, pEarlier);
    }
    *ppOldest = pLater;
}

void CLogQueue::Forget()
{
    m_pHead = nullptr;
    m_ppLast = &m_pHead;
    m_ppOther = nullptr;
    m_nLines = m_nBytes = 0;
}

CLogMessage* CLogQueue::TakeOther()
{
    if (IsEmpty())
        return nullptr;
    if (m_ppOther == nullptr)
        m_ppOther = &m_pHead->m_pNext;
    while (*m_ppOther != nullptr && (*m_ppOther)->IsError())
        m_ppOther = &(*m_ppOther)->m_pNext;
    CLogMessage* pOther = *m_ppOther;
    if (pOther == nullptr)
        return nullptr;
    *m_ppOther = pOther->m_pNext;
    if (m_ppLast == &pOther->m_pNext)
        m_ppLast = m_ppOther;
    --m_nLines;
    m_nBytes -= pOther->Length();
    return pOther;
}

void CLogQueue::DropWhole(std::uint64_t& nBytes)
{
    CReturnedLines returned;
    m_ppOther = nullptr;
    while (m_pHead != nullptr && m_pHead->Length() <= nBytes)
    {
        CLogMessage* const pFirst = m_pHead;
        nBytes -= pFirst->Length();
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if (pFirst->m_pNext == nullptr)
            m_ppLast = &m_pHead;
        std::atomic_signal_fence(std::memory_order_seq_cst);
        m_pHead = pFirst->m_pNext;
        m_nBytes -= pFirst->Length();
        --m_nLines;
        returned.Add(pFirst);
    }
}
