#include "log/logline.h"

#include "core/numtext.h"
#include "core/textformat.h"
#include "log/logfilename.h"
#include "log/loglocation.h"
#include "orvcomtypes/orvlog.h"
#include "strings/charclass.h"

#include <algorithm>
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

/// YYMMDD_HHMMSS and a blank; the end.
char* PutStamp(char* p)
{
    const std::uint64_t nStamp = LocalStamp();
    const auto nSecond = static_cast<std::uint32_t>(nStamp >> 31 & 0x1FFFF);
    p = OCT::PutPair(p, static_cast<std::uint32_t>(nStamp >> 57));
    p = OCT::PutPair(p, static_cast<std::uint32_t>(nStamp >> 53 & 0xF));
    p = OCT::PutPair(p, static_cast<std::uint32_t>(nStamp >> 48 & 0x1F));
    *p++ = '_';
    p = OCT::PutPair(p, nSecond / 3600);
    p = OCT::PutPair(p, nSecond / 60 % 60);
    p = OCT::PutPair(p, nSecond % 60);
    *p++ = ' ';
    return p;
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
    char sFixed[32];
    char* p = PutStamp(sFixed);
    if (parts.m_nOptions & lqlThreadId)
    {
        *p++ = '[';
        p = OCT::PutHex(p, static_cast<std::uint16_t>(GetCurrentThreadId()), 4);
        *p++ = ']';
        *p++ = ' ';
    }
    header.Put(sFixed, static_cast<std::size_t>(p - sFixed));
    PutLocation(header);
    if (parts.m_phr != nullptr)
    {
        header.Put("HR: ");
        p = OCT::PutHex(sFixed, static_cast<std::uint32_t>(*parts.m_phr), 8);
        *p++ = ' ';
        header.Put(sFixed, static_cast<std::size_t>(p - sFixed));
    }
}

} // namespace

CLogLine::CLogLine(const CLogLineParts& parts, const char* sFormat, va_list args)
    : m_nCodePage(parts.m_nCodePage)
{
    CHeader text(m_sText, kMessageBytes - 1, m_nCodePage);
    PutHeader(text, parts);
    const std::size_t nHeader = text.Length();
    // The format becomes part of the header and is cut with it.
    if (nHeader + std::strlen(sFormat) >= kHeaderBytes || std::memchr(m_sText, '%', nHeader) != nullptr)
        FormatWithHeader((std::min)(nHeader, kHeaderBytes - 1), sFormat, args);
    else
    {
        OCT::CFormatArgs<char> taken(args);
        OCT::FormatText(text, sFormat, taken);
        m_nLength = text.Length();
    }
    Trim();
    if (m_nLength > kTextBytes || CLogCharacter::IsAnyIn({m_sText, m_nLength}))
        Indent();
    std::memcpy(m_sText + m_nLength, "\r\n", 3);
    m_nLength += 2;
}

/// The header is formatted too; arguments are those that the caller's format names as a whole.
void CLogLine::FormatWithHeader(std::size_t nHeader, const char* sFormat, va_list args)
{
    char sHeader[kHeaderBytes];
    CHeader header(sHeader, kHeaderBytes - 1);
    header.Put(m_sText, nHeader);
    header.Put(sFormat);
    header.EndCut();
    sHeader[header.Length()] = 0;
    OCT::CFetchedArgs<char> fetched(sFormat, args);
    OCT::CFormatSink<char> message(m_sText, kMessageBytes - 1, m_nCodePage);
    OCT::FormatText(message, sHeader, fetched);
    m_nLength = message.Length();
}

/// Line breaks of either kind become "\r\n" and a tab, other control characters visible.
void CLogLine::Indent()
{
    char sMessage[kMessageBytes + 1];
    std::memcpy(sMessage, m_sText, m_nLength);
    sMessage[m_nLength] = 0;
    const char* const pEnd = sMessage + m_nLength;
    const bool bUTF8 = m_nCodePage == CP_UTF8 || (m_nCodePage == CP_ACP && GetACP() == CP_UTF8);
    m_nLength = 0;
    bool bFits = true;
    for (const char* p = sMessage; bFits && p != pEnd;)
    {
        const CLogCharacter c(p, bUTF8);
        bFits = Put(c.m_sShown == "\n" ? "\r\n\t" : c.m_sShown);
        p += c.m_nBytes;
    }
    if (!bFits)
        m_nLength = OCT::WholeCharacters(m_sText, m_nLength, m_nCodePage);
    Trim();
}

/// False when not all of it has room.
bool CLogLine::Put(std::string_view sText)
{
    const std::size_t nFits = (std::min)(sText.size(), kTextBytes - m_nLength);
    std::memcpy(m_sText + m_nLength, sText.data(), nFits);
    m_nLength += nFits;
    return nFits == sText.size();
}

void CLogLine::Trim()
{
    while (m_nLength > 0 && OCT::IsSpace(m_sText[m_nLength - 1]))
        --m_nLength;
}

CLogCharacter::CLogCharacter(const char* sText, bool bUTF8) : m_sShown(sText, 1), m_nBytes(1)
{
    const auto c = static_cast<unsigned char>(*sText);
    const auto cNext = static_cast<unsigned char>(c != 0 ? sText[1] : 0);
    const bool bUpperControl = bUTF8 && c == 0xC2 && cNext >= 0x80 && cNext < 0xA0;
    if (c == '\r' && cNext == '\n')
    {
        m_sShown = "\n";
        m_nBytes = 2;
    }
    else if ((c < 0x20 && c != '\t' && c != '\n') || c == 0x7F || bUpperControl)
    {
        m_nBytes = bUpperControl ? 2 : 1;
        m_sShown = {m_sBuffer, OCT::FormatTo(m_sBuffer, "\\x%02X", bUpperControl ? cNext : c)};
    }
}

bool CLogCharacter::IsAnyIn(std::string_view sText)
{
    // Eight at a time: a byte below 0x20, 0x7F and all above set a top bit. What is beyond ASCII is looked at
    // once more.
    constexpr std::uint64_t kOnes = 0x0101010101010101;
    constexpr std::uint64_t kTops = 0x8080808080808080;
    const auto Look = [](std::uint64_t n) { return (n - 0x20 * kOnes) | (n + kOnes) | n; };
    std::uint64_t nFound = 0;
    std::size_t i = 0;
    for (std::uint64_t n; i + sizeof(n) <= sText.size(); i += sizeof(n))
    {
        std::memcpy(&n, sText.data() + i, sizeof(n));
        nFound |= Look(n);
    }
    std::uint64_t nRest = 0x20 * kOnes;
    std::memcpy(&nRest, sText.data() + i, sText.size() - i);
    if (((nFound | Look(nRest)) & kTops) == 0)
        return false;
    return std::any_of(sText.begin(), sText.end(), [](char c) {
        return (c >= 0 && c < 0x20 && c != '\t') || c == 0x7F || c == '\xC2'; // which opens upper controls
    });
}
