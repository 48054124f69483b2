// The lines that wait for their file.
#pragma once

#include "log/logmessage.h"

#include <cstdint>

/// First in, first out. Owns its messages.
class CLogQueue
{
public:
    CLogQueue() noexcept : m_pHead(nullptr), m_ppLast(&m_pHead) {}
    CLogQueue(CLogQueue&& other) noexcept : CLogQueue() { Append(other); }
    CLogQueue(const CLogQueue&) = delete;
    CLogQueue& operator=(const CLogQueue&) = delete;
    ~CLogQueue() { Clear(); }

    bool IsEmpty() const { return m_pHead == nullptr; }
    std::uint64_t Lines() const { return m_nLines; }
    std::uint64_t Bytes() const { return m_nBytes; }
    const CLogMessage* First() const { return m_pHead; }
    static const CLogMessage* Next(const CLogMessage* pMessage) { return pMessage->m_pNext; }

    void Push(CLogMessage* pMessage)
    {
        pMessage->m_pNext = nullptr;
        *m_ppLast = pMessage;
        m_ppLast = &pMessage->m_pNext;
        ++m_nLines;
        m_nBytes += pMessage->Length();
    }

    /// Takes over everything in the other queue, behind or in front of what is here.
    void Append(CLogQueue& other);
    void Prepend(CLogQueue& other);
    /// The same behind what is here, of a list that begins with the line that came last.
    void AppendNewestFirst(CLogMessage* pNewest);

    /// Takes the oldest line out that is no error; null when there is none. The first line stays: part of it
    /// may be in the file.
    CLogMessage* TakeOther();

    /// Drops lines from the front as long as all their bytes are among \p nBytes; takes these off. When its
    /// thread is ended here by force, a line may be left that was to go, but none goes that was to stay.
    void DropWhole(std::uint64_t& nBytes);
    void Clear()
    {
        std::uint64_t nBytes = m_nBytes;
        if (nBytes != 0)
            DropWhole(nBytes);
    }

private:
    void Forget();

    CLogMessage* m_pHead;
    CLogMessage** m_ppLast;
    CLogMessage** m_ppOther = nullptr; ///< where TakeOther goes on: all but the first before it are errors
    std::uint64_t m_nLines = 0;
    std::uint64_t m_nBytes = 0;
};
