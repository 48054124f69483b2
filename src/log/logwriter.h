// Queued lines into a file, in as few writes as possible. What cannot be written stays in the queue.
#pragma once

#include "log/logfile.h"
#include "log/logfilename.h"
#include "log/logloss.h"
#include "log/logqueue.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>

/// Belongs to one thread at a time, except for the file's name.
class CLogWriter
{
public:
    CLogWriter(const CLogText& sFormat, const CLogFileOptions& options) : m_file(sFormat, options) {}

    /// Writes the lines, in front of them what was lost and is not told yet. False when some are left. What
    /// was given up comes into \p lost.
    bool Drain(CLogQueue& lines, CLogLoss& untold, CLogLoss& lost);
    /// The same, and waits until they are on the disk.
    bool Flush(CLogQueue& lines, CLogLoss& untold, CLogLoss& lost);
    /// Makes the writing thread leave what lies behind the block that it is just writing; from any thread.
    void Stop() { m_bStopped.store(true, std::memory_order_relaxed); }
    /// Whether the writing thread has written all and is in that wait; from any thread.
    bool IsFlushing() const { return m_bFlushing.load(std::memory_order_acquire); }

    CLogFile& File() { return m_file; }
    const CLogFile& File() const { return m_file; }

private:
    static constexpr DWORD kBufferBytes = 0x200000;

    bool Tell(CLogLoss& untold);
    bool IsStopped() const { return m_bStopped.load(std::memory_order_relaxed); }
    bool AppendBlock(CLogQueue& lines, CLogLoss& lost);
    void DropWithoutBuffer(CLogQueue& lines, CLogLoss& lost);
    DWORD FillBuffer(const CLogQueue& lines);
    void Consume(CLogQueue& lines, DWORD nBytes);

    CLogFile m_file;
    CLogLoss m_unsynced; ///< what is lost when the next flush fails
    std::atomic<bool> m_bFlushing = false;
    std::atomic<bool> m_bStopped = false;
    std::uint64_t m_nDone = 0; ///< bytes of the first line that are written already

    struct CFree
    {
        void operator()(char* p) const { std::free(p); }
    };
    std::unique_ptr<char, CFree> m_pBuffer; ///< made when several lines are first written together
};
