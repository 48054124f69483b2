#include "log/logwriter.h"

#include <algorithm>
#include <cstring>

bool CLogWriter::Write(CLogQueue& lines)
{
    m_backlog.Append(lines);
    if (!m_file.Prepare())
        return false;
    while (!m_backlog.IsEmpty())
        if (!WriteBlock())
            return false;
    return true;
}

bool CLogWriter::Flush(CLogQueue& lines)
{
    if (!Write(lines))
        return false;
    m_bFlushing.store(true, std::memory_order_release);
    m_file.Flush();
    m_bFlushing.store(false, std::memory_order_release);
    return true;
}

/// One write: a single line as it lies, several through the buffer.
bool CLogWriter::WriteBlock()
{
    const CLogMessage* pFirst = m_backlog.First();
    const char* pData = pFirst->Text() + m_nFirstDone;
    DWORD nBytes = pFirst->Length() - m_nFirstDone;
    if (CLogQueue::Next(pFirst) != nullptr)
    {
        if (m_pBuffer == nullptr)
            m_pBuffer.reset(static_cast<char*>(std::malloc(kBufferBytes)));
        if (m_pBuffer == nullptr)
        {
            OutputDebugStringW(ORVTEXT("Cannot allocate log file write buffer\n"));
            m_backlog.Clear();
            m_nFirstDone = 0;
            return true;
        }
        nBytes = FillBuffer();
        pData = m_pBuffer.get();
    }
    const DWORD nWritten = m_file.Write(pData, nBytes);
    Consume(nWritten);
    return nWritten == nBytes;
}

/// Copies lines from the front as long as they fit. Only one that is larger than the buffer is cut: other
/// processes may append between two blocks.
DWORD CLogWriter::FillBuffer()
{
    DWORD nFilled = 0;
    DWORD nSkip = m_nFirstDone;
    for (const CLogMessage* p = m_backlog.First(); p != nullptr; p = CLogQueue::Next(p))
    {
        const DWORD nRoom = kBufferBytes - nFilled;
        if (p->Length() - nSkip > nRoom && nFilled > 0)
            break;
        const DWORD nPart = std::min(p->Length() - nSkip, nRoom);
        std::memcpy(m_pBuffer.get() + nFilled, p->Text() + nSkip, nPart);
        nFilled += nPart;
        nSkip = 0;
    }
    return nFilled;
}

void CLogWriter::Consume(DWORD nBytes)
{
    while (nBytes > 0)
    {
        const DWORD nLeft = m_backlog.First()->Length() - m_nFirstDone;
        if (nBytes < nLeft)
        {
            m_nFirstDone += nBytes;
            return;
        }
        nBytes -= nLeft;
        m_nFirstDone = 0;
        m_backlog.DropFirst();
    }
}
