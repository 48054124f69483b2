// Where callers lay their lines without a lock, so that none of them is held up by another one that has lost
// the processor. Who has the handler's lock moves them into the queue.
//
// Lines are linked the newest first, each by one change of the head; whoever empties the inbox takes all of
// it, so a line that is gone cannot come back while somebody else looks at it. A closed inbox takes none: the
// thread is to be woken first, or there is none, or no lines are wanted any more. That stands in the same
// word, so no line can come in behind the close.
//
// In a forked child it is closed until it is opened there.
#pragma once

#include "log/logmessage.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

class CLogInbox
{
public:
    CLogInbox() = default;
    CLogInbox(const CLogInbox&) = delete;
    CLogInbox& operator=(const CLogInbox&) = delete;

    enum class EPush
    {
        Refused,
        Taken,
        TakenAndMany, ///< somebody should move the lines on
    };
    /// Takes a line over if it is open and if, with that line, at most \p nMost bytes lie here.
    EPush Push(CLogMessage* pMessage, std::uint64_t nMost)
    {
        if (!IsOurs())
            return EPush::Refused;
        const std::size_t nBytes = pMessage->Length();
        const std::size_t nBefore = m_nBytes.fetch_add(nBytes, std::memory_order_relaxed);
        if (std::uint64_t{nBefore} + nBytes <= nMost && Link(pMessage))
            return nBefore / kMany == (nBefore + nBytes) / kMany ? EPush::Taken : EPush::TakenAndMany;
        m_nBytes.fetch_sub(nBytes, std::memory_order_relaxed);
        return EPush::Refused;
    }
    /// Bytes of lines that lie here or are just coming.
    std::uint64_t Bytes() const { return m_nBytes.load(std::memory_order_relaxed); }

    // Under the handler's lock:
    bool IsOpen() const { return IsOurs() && m_pNewest.load(std::memory_order_relaxed) != &s_closed; }
    void Open();
    /// All that lies here, the line that came last first; their bytes count until Leave. \p bClose: takes no
    /// more.
    CLogMessage* TakeAll(bool bClose);
    void Leave(std::uint64_t nBytes)
    {
        m_nBytes.fetch_sub(static_cast<std::size_t>(nBytes), std::memory_order_relaxed);
    }
    /// In a forked child: lines that were just coming never do.
    void ForgetBytes() { m_nBytes.store(0, std::memory_order_relaxed); }

private:
    // What fits into a processor's own memory is turned round quickly.
    static constexpr std::size_t kMany = 32 << 10;

    bool Link(CLogMessage* pMessage)
    {
        CLogMessage* pNewest = m_pNewest.load(std::memory_order_relaxed);
        do
        {
            if (pNewest == &s_closed)
                return false;
            pMessage->m_pNext = pNewest;
        }
        while (!m_pNewest.compare_exchange_weak(pNewest, pMessage, std::memory_order_release,
                                                std::memory_order_relaxed));
        return true;
    }
    bool IsOurs() const { return m_dwProcessId.load(std::memory_order_acquire) == GetCurrentProcessId(); }

    static CLogMessage s_closed;

    std::atomic<DWORD> m_dwProcessId = 0; ///< where it was opened
    // Written for each line, so nothing else is to lie beside them.
    alignas(64) std::atomic<std::size_t> m_nBytes = 0;
    std::atomic<CLogMessage*> m_pNewest = &s_closed;
};
