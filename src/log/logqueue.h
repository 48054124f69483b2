// Lines on their way from the callers to the file.
#pragma once

#include "orvcomtypes/plexalloc.h"

#include <cstddef>
#include <cstdint>

/// One queued line. Short ones have this size and come from a pool; long ones are as large as their text.
class CLogMessage
{
public:
    /// A copy of the text; null without memory.
    static CLogMessage* Create(const char* sText, std::uint32_t nLength) noexcept;
    static void Destroy(CLogMessage* pMessage);

    /// In final release the pool would take a chain with a line in it for free as soon as another line of it
    /// is given back. So lines come from the heap then, and those of the pool are kept until there is none
    /// on its way: that is what the caller of this says.
    static void ReleaseKept();

    /// Whether a line of this length comes from the pool.
    static constexpr bool IsPooled(std::uint32_t nLength) { return nLength < s_nPooledBytes - 1; }

    const char* Text() const { return reinterpret_cast<const char*>(this) + offsetof(CLogMessage, m_sText); }
    std::uint32_t Length() const { return m_nLength; }
    /// Whether it was logged as an error.
    bool IsError() const { return m_nLength > 2 && Text()[0] == '=' && Text()[1] == 'E'; }

private:
    friend class CLogQueue;
    static constexpr std::uint32_t s_nPooledBytes = 480;

    CLogMessage* m_pNext;
    std::uint32_t m_nLength : 31;
    std::uint32_t m_bOwnBlock : 1;
    [[maybe_unused]] char m_sText[s_nPooledBytes]; // reached by its offset: it may be longer than declared
};

template <>
struct OCT::CPlexTypeName<CLogMessage>
{
    static constexpr OCT::CFixedText kText{"class CLogMessage"};
};
template <>
inline constexpr int OCT::kPlexShelf<CLogMessage> = 4;

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

    /// Takes the oldest line out that is no error; null when there is none. The first line stays: part of it
    /// may be in the file.
    CLogMessage* TakeOther();

    void DropFirst();
    void Clear()
    {
        while (!IsEmpty())
            DropFirst();
    }

private:
    void Forget();

    CLogMessage* m_pHead;
    CLogMessage** m_ppLast;
    CLogMessage** m_ppOther = nullptr; ///< where TakeOther goes on: all but the first before it are errors
    std::uint64_t m_nLines = 0;
    std::uint64_t m_nBytes = 0;
};
