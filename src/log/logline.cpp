#include "log/logline.h"

#include "core/charclass.h"
#include "core/numtext.h"
#include "core/textformat.h"
#include "log/logfilename.h"
#include "log/loglocation.h"
#include "orvcomtypes/orvlog.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string_view>

#include <windows.h>
#include <emmintrin.h>

namespace
{

using CSink = OCT::CFormatSink<char>;

char LevelMark(unsigned nLevel)
{
    return nLevel & lqlErrors        ? 'E'
           : nLevel & lqlWarnings    ? 'W'
           : nLevel & lqlInformation ? 'I'
           : nLevel & lqlSQL         ? 'S'
           : nLevel & lqlUser        ? 'U'
                                     : 'O';
}

/// The local time of the second that was asked for last, in one word so that threads can share it: 31 bits of
/// the moment, then second, minute, hour, day, month and year.
std::uint64_t LocalTime(__time64_t tTime)
{
    static std::atomic<std::uint64_t> s_nLast = 0;
    const std::uint64_t nLast = s_nLast.load(std::memory_order_relaxed);
    const auto nMoment = static_cast<std::uint64_t>(tTime) & 0x7FFFFFFF;
    if (nLast != 0 && (nLast & 0x7FFFFFFF) == nMoment) [[likely]]
        return nLast;
    const std::tm tm = CLogDate(tTime).m_tm;
    const auto Field = [](int nValue, int nShift) { return static_cast<std::uint64_t>(nValue) << nShift; };
    const std::uint64_t nTime = nMoment | Field(tm.tm_sec, 31) | Field(tm.tm_min, 37) |
                                Field(tm.tm_hour, 43) | Field(tm.tm_mday, 48) | Field(tm.tm_mon + 1, 53) |
                                Field(tm.tm_year % 100, 57);
    s_nLast.store(nTime, std::memory_order_relaxed);
    return nTime;
}

/// Finds what may have to be shown in another way: 0xC2 opens the upper controls of UTF-8, other pages may
/// have them as single bytes.
class COthers
{
public:
    explicit COthers(const CLogPage& page)
        : m_cMask(page.m_nUpperControls != 0 ? '\xE0' : '\xFF'),
          m_cUpper(page.m_nUpperControls != 0 ? '\x80' : '\xC2')
    {
    }

    bool Has(char c) const
    {
        return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F ||
               static_cast<char>(c & m_cMask) == m_cUpper;
    }
    /// The same of sixteen.
    __m128i In(const char* p) const
    {
        const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const auto Is = [=](char c) { return _mm_cmpeq_epi8(text, _mm_set1_epi8(c)); };
        const __m128i isControl = _mm_cmpeq_epi8(_mm_min_epu8(text, _mm_set1_epi8(0x1F)), text);
        const __m128i isUpper =
            _mm_cmpeq_epi8(_mm_and_si128(text, _mm_set1_epi8(m_cMask)), _mm_set1_epi8(m_cUpper));
        return _mm_or_si128(_mm_andnot_si128(Is('\t'), isControl), _mm_or_si128(Is(0x7F), isUpper));
    }

private:
    const char m_cMask;
    const char m_cUpper;
};

/// Those of the ANSI code page, which does not change.
std::uint32_t UpperControls()
{
    constexpr std::uint64_t kIsKnown = 1ull << 32;
    static std::atomic<std::uint64_t> s_nKnown = 0;
    std::uint64_t nKnown = s_nKnown.load(std::memory_order_relaxed);
    if (nKnown != 0) [[likely]]
        return static_cast<std::uint32_t>(nKnown);
    CPINFO info{};
    if (!GetCPInfo(CP_ACP, &info))
        return 0;
    nKnown = kIsKnown;
    if (info.MaxCharSize == 1)
        for (unsigned i = 0; i < 32; ++i)
        {
            const char c = static_cast<char>(0x80 + i);
            WCHAR cWide = 0;
            if (MultiByteToWideChar(CP_ACP, 0, &c, 1, &cWide, 1) == 0)
                return 0; // no memory for its tables
            nKnown |= std::uint64_t{cWide >= 0x80 && cWide < 0xA0} << i;
        }
    s_nKnown.store(nKnown, std::memory_order_relaxed);
    return static_cast<std::uint32_t>(nKnown);
}

/// The prefix and a blank, if there is one. \p bIsFormat becomes true when there is a "%" in it.
char* PutPrefix(char* p, const char* sPrefix, bool& bIsFormat)
{
    char* const pStart = p;
    bool bPercent = false;
    for (char c; (c = *sPrefix++) != 0; *p++ = c)
        bPercent |= c == '%';
    bIsFormat |= bPercent;
    if (p != pStart)
        *p++ = ' ';
    return p;
}

/// The file's name without its folder, and the line. True when there is a "%" in the name.
bool PutLocation(CSink& header)
{
    const char* sFile;
    int iLine;
    if (!CThreadLogFileLineHandler::Get(sFile, iLine) || sFile == nullptr || *sFile == 0)
        return false;
    const std::string_view sPath(sFile);
    std::size_t nName = sPath.find_last_of("/\\") + 1; // npos + 1 is 0
    // The last byte of a character of two may be that of a backslash.
    while (nName > 1 && sFile[nName - 1] == '\\' && (sFile[nName - 2] & 0x80) != 0 && GetACP() != CP_UTF8 &&
           OCT::WholeCharacters(sFile, nName - 1, CP_ACP) != nName - 1)
        nName = sPath.find_last_of("/\\", nName - 2) + 1;
    const std::string_view sName = sPath.substr(nName);
    header.Put(sName);
    char sLine[16];
    header.Put(sLine, OCT::FormatTo(sLine, "(%d) ", iLine));
    return sName.find('%') != sName.npos;
}

} // namespace

char* PutLogStamp(char* p, __time64_t tTime)
{
    const std::uint64_t nTime = LocalTime(tTime);
    const auto Put = [&](int nShift, std::uint32_t nMask) {
        p = OCT::PutPair(p, static_cast<std::uint32_t>(nTime >> nShift) & nMask);
    };
    Put(57, 0x7F);
    Put(53, 0xF);
    Put(48, 0x1F);
    *p++ = '_';
    Put(43, 0x1F);
    Put(37, 0x3F);
    Put(31, 0x3F);
    return p;
}

CLogLine::CLogLine(const CLogLineParts& parts, const char* sFormat, va_list args)
    : m_nCodePage(parts.m_nCodePage)
{
    bool bIsFormat = false;
    const std::size_t nHeader = PutHeader(parts, bIsFormat);
    // So that it is converted with the format.
    bIsFormat |= m_nCodePage != CP_ACP &&
                 std::any_of(m_sText, m_sText + nHeader, [](char c) { return (c & 0x80) != 0; });
    // The format becomes part of the header and is cut with it.
    if (bIsFormat || nHeader + std::strlen(sFormat) >= kHeaderBytes)
        FormatWithHeader((std::min)(nHeader, kHeaderBytes - 1), sFormat, args);
    else
        Format(nHeader, sFormat, args);
    Trim();
    const CLogPage page(m_nCodePage);
    if (m_nLength > kTextBytes || CLogCharacter::IsAnyIn({m_sText, m_nLength}, page))
        Indent(page);
    std::memcpy(m_sText + m_nLength, "\r\n", 3);
    m_nLength += 2;
}

/// Its length. \p bIsFormat becomes true when there is something to be formatted in it.
std::size_t CLogLine::PutHeader(const CLogLineParts& parts, bool& bIsFormat)
{
    char* p = m_sText;
    *p++ = '=';
    *p++ = LevelMark(parts.m_nLevel);
    *p++ = '>';
    *p++ = ' ';
    p = PutPrefix(p, parts.m_sPrefix, bIsFormat);
    p = PutLogStamp(p, g_pfnLogTime());
    *p++ = ' ';
    if (parts.m_nOptions & lqlThreadId)
    {
        *p++ = '[';
        p = OCT::PutHex(p, static_cast<std::uint16_t>(GetCurrentThreadId()), 4);
        *p++ = ']';
        *p++ = ' ';
    }
    CSink header(m_sText, kMessageBytes - 1, m_nCodePage);
    header.PutUpTo(p);
    bIsFormat |= PutLocation(header);
    if (parts.m_phr != nullptr)
    {
        char sHr[8];
        OCT::PutHex(sHr, static_cast<std::uint32_t>(*parts.m_phr), 8);
        header.Put("HR: ");
        header.Put(sHr, sizeof(sHr));
        header.Put(" ");
    }
    return header.Length();
}

void CLogLine::Format(std::size_t nHeader, const char* sFormat, va_list args)
{
    CSink text(m_sText, kMessageBytes - 1, m_nCodePage);
    text.PutUpTo(m_sText + nHeader);
    OCT::CFormatArgs<char> taken(args);
    OCT::FormatText(text, sFormat, taken);
    m_nLength = text.Length();
}

/// The header is formatted too; arguments are those that the caller's format names as a whole.
void CLogLine::FormatWithHeader(std::size_t nHeader, const char* sFormat, va_list args)
{
    char sHeader[kHeaderBytes];
    CSink header(sHeader, kHeaderBytes - 1);
    header.Put(m_sText, nHeader);
    header.Put(sFormat);
    header.EndCut();
    sHeader[header.Length()] = 0;
    OCT::CFetchedArgs<char> fetched(sFormat, args);
    CSink message(m_sText, kMessageBytes - 1, m_nCodePage);
    OCT::FormatText(message, sHeader, fetched);
    m_nLength = message.Length();
}

/// Line breaks of either kind become "\r\n" and a tab, other control characters visible.
void CLogLine::Indent(const CLogPage& page)
{
    char sMessage[kMessageBytes + 1];
    std::memcpy(sMessage, m_sText, m_nLength);
    sMessage[m_nLength] = 0;
    const char* const pEnd = sMessage + m_nLength;
    m_nLength = 0;
    bool bFits = true;
    for (const char* p = sMessage; bFits && p != pEnd;)
    {
        const CLogCharacter c(p, page);
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

CLogPage::CLogPage(UINT nCodePage)
    : m_bUTF8(nCodePage == CP_UTF8 || GetACP() == CP_UTF8), m_nUpperControls(m_bUTF8 ? 0 : UpperControls())
{
}

CLogCharacter::CLogCharacter(const char* sText, const CLogPage& page) : m_sShown(sText, 1), m_nBytes(1)
{
    const auto c = static_cast<unsigned char>(*sText);
    const auto cNext = static_cast<unsigned char>(c != 0 ? sText[1] : 0);
    const bool bUpperPair = page.m_bUTF8 && c == 0xC2 && (cNext & 0xE0) == 0x80;
    const bool bUpper = (c & 0xE0) == 0x80 && (page.m_nUpperControls >> (c & 0x1F) & 1) != 0;
    if (c == '\r' && cNext == '\n')
    {
        m_sShown = "\n";
        m_nBytes = 2;
    }
    else if ((c < 0x20 && c != '\t' && c != '\n') || c == 0x7F || bUpper || bUpperPair)
    {
        m_nBytes = bUpperPair ? 2 : 1;
        m_sShown = {m_sBuffer, OCT::FormatTo(m_sBuffer, "\\x%02X", bUpperPair ? cNext : c)};
    }
}

bool CLogCharacter::IsAnyIn(std::string_view sText, const CLogPage& page)
{
    constexpr std::size_t kBlock = 16;
    const COthers others(page);
    if (sText.size() < kBlock)
        return std::any_of(sText.begin(), sText.end(), [&](char c) { return others.Has(c); });
    const char* const pLast = sText.data() + sText.size() - kBlock;
    __m128i found = others.In(pLast);
    for (const char* p = sText.data(); p < pLast; p += kBlock)
        found = _mm_or_si128(found, others.In(p));
    return _mm_movemask_epi8(found) != 0;
}
