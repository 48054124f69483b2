// Lines of a log whose text, prefix and position come from elsewhere: they stay one record, in which no
// character begins a line of its own or moves a terminal's cursor.
#include "fuzzing.h"
#include "log/logfilename.h"
#include "log/logline.h"
#include "log/loglocation.h"
#include "log/sqltext.h"
#include "orvcomtypes/orvlog.h"

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace
{

constexpr UINT kPages[] = {CP_ACP, CP_UTF8, 1252, 932};
__time64_t g_tNow;

/// No control character but tabs and, followed by \p sLabel, line ends.
void CheckRecord(std::string_view sLine, std::string_view sLabel, bool bUTF8)
{
    Require(sLine.ends_with("\r\n"));
    sLine.remove_suffix(2);
    for (std::size_t i = 0; i < sLine.size(); ++i)
    {
        const auto c = static_cast<unsigned char>(sLine[i]);
        const auto cNext = static_cast<unsigned char>(i + 1 < sLine.size() ? sLine[i + 1] : 0);
        if (c == '\r')
            Require(cNext == '\n' && sLine.substr(i + 2).starts_with(sLabel));
        else if (c == '\n')
            Require(i > 0 && sLine[i - 1] == '\r');
        else
            Require((c >= 0x20 || c == '\t') && c != 0x7F &&
                    !(bUTF8 && c == 0xC2 && cNext >= 0x80 && cNext < 0xA0));
    }
}

void CheckLine(const CLogLineParts& parts, const char* sFormat, ...)
{
    va_list args;
    va_start(args, sFormat);
    const CLogLine line(parts, sFormat, args);
    va_end(args);
    const std::string_view sLine(line.Text(), line.Length());
    Require(line.Text()[line.Length()] == 0 && sLine.find('\0') == sLine.npos);
    Require(sLine.starts_with("=") && sLine.size() <= 0x4000);
    CheckRecord(sLine, "\t",
                parts.m_nCodePage == CP_UTF8 || (parts.m_nCodePage == CP_ACP && GetACP() == CP_UTF8));
}

/// The bytes up to the next zero.
std::string Part(std::string_view& sRest)
{
    const std::size_t n = std::min(sRest.find('\0'), sRest.size());
    const std::string sPart(sRest.substr(0, n));
    sRest.remove_prefix(std::min(n + 1, sRest.size()));
    return sPart;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    if (nSize < 8)
        return 0;
    g_pfnLogTime = [] { return g_tNow; };
    std::int32_t iNow = 0;
    std::memcpy(&iNow, pData + 3, sizeof iNow);
    g_tNow = iNow;
    const UINT nPage = kPages[pData[0] % 4];
    std::string_view sRest(reinterpret_cast<const char*>(pData + 7), nSize - 7);
    const std::string sPrefix = Part(sRest);
    const std::string sFile = Part(sRest);
    const std::string sText = Part(sRest);
    const std::string sLong(sText.empty() ? 0 : pData[1] & 15, 'x'); // up to what has room
    std::string sLongText = sText;
    for (unsigned i = 0; i < (pData[1] >> 4) * 90u; ++i)
        sLongText += sText.empty() ? sLong : sText;
    const Text sWide(pData + 7, pData + nSize);
    const LONG hr = iNow;
    const CLogLineParts parts{pData[2] & 1 ? lqlThreadId : 0u, pData[2], sPrefix.c_str(),
                              pData[2] & 2 ? &hr : nullptr, nPage};
    if (pData[2] & 4)
        CThreadLogFileLineHandler::Set(sFile.c_str(), iNow);
    CheckLine(parts, "%s", sLongText.c_str());
    CheckLine(parts, "%d %s|%S|%I64d %g%%", 42, sText.c_str(), sWide.c_str(), LONGLONG{-1}, 0.5);
    CThreadLogFileLineHandler::Set(nullptr, 0);

    const CSQLText statement(nPage, "outcome\r\n", "SQL label", TextView(sWide), "\r\nSQL label\ttail");
    Require(statement.Text()[statement.Length()] == 0);
    if (nPage != 932) // whose trail bytes may be any
        CheckRecord({statement.Text(), statement.Length()}, "SQL label\t", nPage == CP_UTF8);
    return 0;
}
