// Queued lines into a file, in as few writes as possible, losing none of them.
#pragma once

#include "log/logfile.h"
#include "log/logqueue.h"

#include <atomic>
#include <cstdlib>
#include <memory>

/// Belongs to one thread at a time, except for the file's name.
class CLogWriter
{
public:
    explicit CLogWriter(const COrvStr& sFormat) : m_file(sFormat) {}

    /// Writes what is left over from earlier and these lines. False when some of it could not be written and
    /// is kept.
    bool Write(CLogQueue& lines);
    /// The same, and waits until they are on the disk.
    bool Flush(CLogQueue& lines);
    /// Whether the writing thread is in that wait; from any thread.
    bool IsFlushing() const { return m_bFlushing.load(std::memory_order_acquire); }
    bool HasBacklog() const { return !m_backlog.IsEmpty(); }

    CLogFile& File() { return m_file; }
    const CLogFile& File() const { return m_file; }

private:
    static constexpr DWORD kBufferBytes = 0x200000;

    bool WriteBlock();
    DWORD FillBuffer();
    void Consume(DWORD nBytes);

    CLogFile m_file;
    CLogQueue m_backlog;
    std::atomic<bool> m_bFlushing = false;
    DWORD m_nFirstDone = 0; ///< bytes of the first line that are written already

    struct CFree
    {
        void operator()(char* p) const { std::free(p); }
    };
    std::unique_ptr<char, CFree> m_pBuffer; ///< made when several lines are first written together
};
