#include "log/logqueue.h"

#include <cstdlib>
#include <cstring>

using CMessagePool = OCT::CPlexAlloc<CLogMessage, 64>;

CLogMessage* CLogMessage::Create(const char* sText, std::uint32_t nLength)
{
    const std::size_t nBytes = offsetof(CLogMessage, m_sText) + std::size_t{nLength} + 1;
    auto* pMessage =
        IsPooled(nLength) ? CMessagePool::AllocateItem() : static_cast<CLogMessage*>(std::malloc(nBytes));
    if (pMessage == nullptr)
        LQThrowMemory(LQ_SRC_LOCATION);
    pMessage->m_pNext = nullptr;
    pMessage->m_nLength = nLength;
    char* sOwn = reinterpret_cast<char*>(pMessage) + offsetof(CLogMessage, m_sText);
    std::memcpy(sOwn, sText, nLength);
    sOwn[nLength] = 0;
    return pMessage;
}

void CLogMessage::Destroy(CLogMessage* pMessage)
{
    if (IsPooled(pMessage->m_nLength))
        CMessagePool::ReleaseItem(pMessage);
    else
        std::free(pMessage);
}

void CLogQueue::DropFirst()
{
    CLogMessage* pFirst = m_pHead;
    m_pHead = pFirst->m_pNext;
    if (m_pHead == nullptr)
        m_ppLast = &m_pHead;
    CLogMessage::Destroy(pFirst);
}
