#include "log/logwriter.h"

#include "core/textformat.h"
#include "log/logfilename.h"
#include "log/logline.h"
#include "log/logloss.h"
#include "log/logmessage.h"
#include "log/logqueue.h"
#include "orvcomtypes/orvexport.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace
{

struct CStamp
{
    explicit CStamp(__time64_t t) { *PutLogStamp(m_sText, t) = 0; }

    char m_sText[16];
};

} // namespace

bool CLogWriter::Drain(CLogQueue& lines, CLogLoss& untold, CLogLoss& lost)
{
    lines.DropWhole(m_nDone); // what a thread that ended by force did not come to
    if (IsStopped() || !m_file.Prepare())
        return false;
    if (!m_file.Continues())
        m_nDone = 0;
    // What was cut off goes on before anything else.
    if (m_nDone == 0 && !m_file.IsCutOff() && !Tell(untold))
        return false;
    while (!lines.IsEmpty())
        if (IsStopped() || !AppendBlock(lines, lost))
            return false;
    return true;
}

/// What came into the file before a write failed is waited for, too: the next round may have another file.
bool CLogWriter::Flush(CLogQueue& lines, CLogLoss& untold, CLogLoss& lost)
{
    const bool bDrained = Drain(lines, untold, lost);
    if (!bDrained && IsStopped())
        return false;
    m_bFlushing.store(bDrained, std::memory_order_release);
    const bool bSynced = m_file.Flush();
    m_bFlushing.store(false, std::memory_order_release);
    const CLogLoss unsynced = std::exchange(m_unsynced, {});
    if (!bSynced)
        lost.Add(unsynced);
    return bDrained;
}

/// A line that says what is missing in front of the next one.
bool CLogWriter::Tell(CLogLoss& untold)
{
    if (untold.m_nLines == 0)
        return true;
    char sLine[160];
    const std::size_t nLength =
        OCT::FormatTo(sLine, "=W> %s Lost log lines: %I64u (%I64u bytes), logged between %s and %s\r\n",
                      CStamp(g_pfnLogTime()).m_sText, untold.m_nLines, untold.m_nBytes,
                      CStamp(untold.m_tFirst).m_sText, CStamp(untold.m_tLast).m_sText);
    if (!m_file.AppendLine(sLine, static_cast<DWORD>(nLength)))
        return false;
    untold = {};
    return true;
}

/// One write: a line as it lies, several through the buffer.
bool CLogWriter::AppendBlock(CLogQueue& lines, CLogLoss& lost)
{
    const CLogMessage* pFirst = lines.First();
    const char* pData = pFirst->Text() + m_nDone;
    auto nBytes = static_cast<DWORD>(pFirst->Length() - m_nDone);
    if (m_nDone == 0 && nBytes < kBufferBytes && CLogQueue::Next(pFirst) != nullptr)
    {
        if (m_pBuffer == nullptr)
            m_pBuffer.reset(static_cast<char*>(std::malloc(kBufferBytes)));
        if (m_pBuffer == nullptr)
        {
            DropWithoutBuffer(lines, lost);
            return true;
        }
        nBytes = FillBuffer(lines);
        pData = m_pBuffer.get();
    }
    const DWORD nWritten = m_file.Append(pData, nBytes);
    Consume(lines, nWritten);
    return nWritten == nBytes;
}

void CLogWriter::DropWithoutBuffer(CLogQueue& lines, CLogLoss& lost)
{
    OutputDebugStringW(ORVTEXT("Cannot allocate log file write buffer\n"));
    lost.Add(lines.Lines(), lines.Bytes(), g_pfnLogTime());
    lines.Clear();
}

/// Copies lines from the front as long as they fit; none is cut: other processes may append between two
/// blocks.
DWORD CLogWriter::FillBuffer(const CLogQueue& lines)
{
    DWORD nFilled = 0;
    for (const CLogMessage* p = lines.First(); p != nullptr && p->Length() <= kBufferBytes - nFilled;
         p = CLogQueue::Next(p))
    {
        std::memcpy(m_pBuffer.get() + nFilled, p->Text(), p->Length());
        nFilled += p->Length();
    }
    return nFilled;
}

void CLogWriter::Consume(CLogQueue& lines, DWORD nBytes)
{
    const std::uint64_t nLines = lines.Lines();
    const std::uint64_t nQueued = lines.Bytes();
    m_nDone += nBytes;
    lines.DropWhole(m_nDone);
    m_unsynced.Add(nLines - lines.Lines(), nQueued - lines.Bytes(), g_pfnLogTime());
}
