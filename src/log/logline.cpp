#include "log/logline.h"

#include "core/numtext.h"
#include "core/textformat.h"
#include "log/logfilename.h"
#include "log/loglocation.h"
#include "orvcomtypes/orvlog.h"
#include "strings/charclass.h"

#include <atomic>
#include <cstring>

namespace
{

/// Appends to the header as far as it has room.
using CHeader = OCT::CFormatSink<char>;

char LevelMark(unsigned nLevel)
{
    return nLevel & lqlErrors        ? 'E'
           : nLevel & lqlWarnings    ? 'W'
           : nLevel & lqlInformation ? 'I'
           : nLevel & lqlSQL         ? 'S'
           : nLevel & lqlUser        ? 'U'
                                     : 'O';
}

void PutTwoDigits(CHeader& header, unsigned n)
{
    char digits[2];
    OCT::PutPair(digits, n);
    header.Put(digits, 2);
}

void PutHex(CHeader& header, std::uint32_t n, unsigned nDigits)
{
    char digits[8];
    OCT::PutHex(digits, n, nDigits);
    header.Put(digits, nDigits);
}

/// The local time of the last second that was asked for, in one word so that threads can share it: bits 0-30
/// of the moment, then second of the day, day, month and year.
std::uint64_t LocalStamp()
{
    static std::atomic<std::uint64_t> s_nLast = 0;
    const __time64_t tNow = g_pfnLogTime();
    const std::uint64_t nLast = s_nLast.load(std::memory_order_relaxed);
    const auto nMoment = static_cast<std::uint64_t>(tNow) & 0x7FFFFFFF;
    if (nLast != 0 && (nLast & 0x7FFFFFFF) == nMoment)
        return nLast;
    const std::tm tm = CLogDate(tNow).m_tm;
    const auto Field = [](int nValue, int nShift) { return static_cast<std::uint64_t>(nValue) << nShift; };
    const std::uint64_t nStamp = nMoment | Field((tm.tm_hour * 60 + tm.tm_min) * 60 + tm.tm_sec, 31) |
                                 Field(tm.tm_mday, 48) | Field(tm.tm_mon + 1, 53) |
                                 Field(tm.tm_year % 100, 57);
    s_nLast.store(nStamp, std::memory_order_relaxed);
    return nStamp;
}

/// YYMMDD_HHMMSS
void PutStamp(CHeader& header)
{
    const std::uint64_t nStamp = LocalStamp();
    const auto nSecond = static_cast<unsigned>(nStamp >> 31 & 0x1FFFF);
    PutTwoDigits(header, static_cast<unsigned>(nStamp >> 57));
    PutTwoDigits(header, static_cast<unsigned>(nStamp >> 53 & 0xF));
    PutTwoDigits(header, static_cast<unsigned>(nStamp >> 48 & 0x1F));
    header.Put("_");
    PutTwoDigits(header, nSecond / 3600);
    PutTwoDigits(header, nSecond / 60 % 60);
    PutTwoDigits(header, nSecond % 60);
    header.Put(" ");
}

/// The file's name without its folder, and the line.
void PutLocation(CHeader& header)
{
    const char* sFile;
    int iLine;
    if (!CThreadLogFileLineHandler::Get(sFile, iLine) || sFile == nullptr)
        return;
    const std::string_view sPath(sFile);
    const auto nName = sPath.find_last_of("/\\");
    header.Put(nName == sPath.npos ? sPath : sPath.substr(nName + 1));
    char sLine[16];
    header.Put(sLine, OCT::FormatTo(sLine, "(%d) ", iLine));
}

void PutHeader(CHeader& header, const CLogLineParts& parts)
{
    const char mark[] = {'=', LevelMark(parts.m_nLevel), '>', ' '};
    header.Put(mark, sizeof(mark));
    if (*parts.m_sPrefix != 0)
    {
        header.Put(parts.m_sPrefix);
        header.Put(" ");
    }
    PutStamp(header);
    if (parts.m_nOptions & lqlThreadId)
    {
        header.Put("[");
        PutHex(header, GetCurrentThreadId(), 4);
        header.Put("] ");
    }
    PutLocation(header);
    if (parts.m_phr != nullptr)
    {
        header.Put("HR: ");
        PutHex(header, static_cast<std::uint32_t>(*parts.m_phr), 8);
        header.Put(" ");
    }
}

} // namespace

CLogLine::CLogLine(const CLogLineParts& parts, const char* sFormat, va_list args)
{
    char sHeader[kHeaderBytes];
    CHeader header(sHeader, kHeaderBytes - 1);
    PutHeader(header, parts);
    // The format becomes part of the header and is cut with it; its arguments are those that it names as a
    // whole.
    header.Put(sFormat);
    sHeader[header.Length()] = 0;

    char sMessage[kMessageBytes];
    OCT::CFormatArgs<char> fetched(sFormat, args);
    OCT::CFormatSink<char> message(sMessage, kMessageBytes - 1);
    OCT::FormatText(message, sHeader, fetched);
    Indent(sMessage, message.Length());
    Finish();
}

/// Line breaks of either kind become "\r\n" and a tab.
void CLogLine::Indent(const char* sMessage, std::size_t nLength)
{
    const char* const pEnd = sMessage + nLength;
    while (sMessage != pEnd)
    {
        const auto* pBreak =
            static_cast<const char*>(std::memchr(sMessage, '\n', static_cast<std::size_t>(pEnd - sMessage)));
        const char* pLineEnd = pBreak != nullptr ? pBreak : pEnd;
        const bool bReturn = pBreak != nullptr && pBreak != sMessage && pBreak[-1] == '\r';
        Put(sMessage, static_cast<std::size_t>(pLineEnd - sMessage) - bReturn);
        if (pBreak == nullptr)
            return;
        Put("\r\n\t", 3);
        sMessage = pBreak + 1;
    }
}

void CLogLine::Put(const char* pText, std::size_t nLength)
{
    const std::size_t nFits = std::min(nLength, kTextBytes - m_nLength);
    std::memcpy(m_sText + m_nLength, pText, nFits);
    m_nLength += static_cast<unsigned>(nFits);
}

void CLogLine::Finish()
{
    while (m_nLength > 0 && OCT::IsSpace(m_sText[m_nLength - 1]))
        --m_nLength;
    std::memcpy(m_sText + m_nLength, "\r\n", 3);
    m_nLength += 2;
}
