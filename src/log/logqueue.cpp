#include "log/logqueue.h"

#include "errors/lqraise.h"

#include <cstdlib>
#include <cstring>

namespace
{

using CMessagePool = OCT::CPlexAlloc<CLogMessage, 64>;

/// Lines of the pool that were written in final release, linked like a queue.
constinit std::atomic<CLogMessage*> g_pKept = nullptr;

bool IsFinalReleaseSet()
{
    return OCT::g_bFinalRelease.load(std::memory_order_relaxed);
}

/// Null without memory. What the pool throws is not announced: that would log it, and hold up the caller.
CLogMessage* FromPool() noexcept
{
    const OCT::CFlagScope quiet(OCT::t_bThrowsQuietly);
    try
    {
        return CMessagePool::AllocateItem();
    }
    catch (...)
    {
        return nullptr;
    }
}

} // namespace

CLogMessage* CLogMessage::Create(const char* sText, std::uint32_t nLength) noexcept
{
    const std::size_t nBytes = offsetof(CLogMessage, m_sText) + std::size_t{nLength} + 1;
    const bool bPooled = IsPooled(nLength) && !IsFinalReleaseSet();
    auto* pMessage = bPooled ? FromPool() : static_cast<CLogMessage*>(std::malloc(nBytes));
    if (pMessage == nullptr)
        return nullptr;
    pMessage->m_pNext = nullptr;
    pMessage->m_nLength = nLength & 0x7FFFFFFF;
    pMessage->m_bOwnBlock = !bPooled;
    char* sOwn = reinterpret_cast<char*>(pMessage) + offsetof(CLogMessage, m_sText);
    std::memcpy(sOwn, sText, nLength);
    sOwn[nLength] = 0;
    return pMessage;
}

void CLogMessage::Destroy(CLogMessage* pMessage)
{
    if (pMessage->m_bOwnBlock)
        std::free(pMessage);
    else if (!IsFinalReleaseSet())
        CMessagePool::ReleaseItem(pMessage);
    else
    {
        pMessage->m_pNext = g_pKept.load(std::memory_order_relaxed);
        while (!g_pKept.compare_exchange_weak(pMessage->m_pNext, pMessage, std::memory_order_acq_rel))
        {
        }
    }
}

void CLogMessage::ReleaseKept()
{
    CLogMessage* pMessage = g_pKept.exchange(nullptr, std::memory_order_acq_rel);
    while (pMessage != nullptr)
    {
        CLogMessage* pNext = pMessage->m_pNext;
        CMessagePool::ReleaseItem(pMessage);
        pMessage = pNext;
    }
}

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

void CLogQueue::DropFirst()
{
    CLogMessage* pFirst = m_pHead;
    m_pHead = pFirst->m_pNext;
    m_ppOther = nullptr;
    if (m_pHead == nullptr)
        m_ppLast = &m_pHead;
    --m_nLines;
    m_nBytes -= pFirst->Length();
    CLogMessage::Destroy(pFirst);
}
