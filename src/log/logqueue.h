// Lines on their way from the callers to the file.
#pragma once

#include "orvcomtypes/plexalloc.h"

#include <cstddef>
#include <cstdint>

/// One queued line. Short ones have this size and come from a pool; long ones are as large as their text.
class CLogMessage
{
public:
    /// A copy of the text. Throws `CLQMemoryExcept`.
    static CLogMessage* Create(const char* sText, std::uint32_t nLength);
    static void Destroy(CLogMessage* pMessage);

    /// Whether a line of this length comes from the pool.
    static constexpr bool IsPooled(std::uint32_t nLength) { return nLength < s_nPooledBytes - 1; }

    const char* Text() const { return reinterpret_cast<const char*>(this) + offsetof(CLogMessage, m_sText); }
    std::uint32_t Length() const { return m_nLength; }

private:
    friend class CLogQueue;
    static constexpr std::uint32_t s_nPooledBytes = 480;

    CLogMessage* m_pNext;
    std::uint32_t m_nLength;
    [[maybe_unused]] char m_sText[s_nPooledBytes]; // reached by its offset: it may be longer than declared
};

template <>
struct OCT::CPlexTypeName<CLogMessage>
{
    static constexpr OCT::CFixedText kText{"class CLogMessage"};
};
template <>
inline constexpr bool OCT::kLibraryPool<CLogMessage> = true;

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
    const CLogMessage* First() const { return m_pHead; }
    static const CLogMessage* Next(const CLogMessage* pMessage) { return pMessage->m_pNext; }

    void Push(CLogMessage* pMessage)
    {
        pMessage->m_pNext = nullptr;
        *m_ppLast = pMessage;
        m_ppLast = &pMessage->m_pNext;
    }

    /// Takes over everything in the other queue.
    void Append(CLogQueue& other)
    {
        if (other.IsEmpty())
            return;
        *m_ppLast = other.m_pHead;
        m_ppLast = other.m_ppLast;
        other.m_pHead = nullptr;
        other.m_ppLast = &other.m_pHead;
    }

    void DropFirst();
    void Clear()
    {
        while (!IsEmpty())
            DropFirst();
    }

private:
    CLogMessage* m_pHead;
    CLogMessage** m_ppLast;
};
