// The lines that the example service reads: an event that is taken can be written as a line that is taken as
// the same event, and a report of a statement log of any content keeps to its bounds.
#include "fuzzing.h"
#include "packagelog.h"
#include "report.h"
#include "utf8.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace
{

std::string LineOf(std::string_view sTime, const CPackageEvent& event)
{
    const std::string sPackage = ToUTF8(event.m_sPackage) +
                                 (event.m_sArchitecture.IsEmpty() ? "" : ":" + ToUTF8(event.m_sArchitecture));
    const auto Version = [](const COrvStr& s) { return s.IsEmpty() ? "<none>" : ToUTF8(s); };
    const std::string sAction = ToUTF8(event.m_sAction);
    std::string sLine = std::string(sTime) + ' ' + sAction + ' ';
    if (sAction == "status")
        return sLine + ToUTF8(event.m_sState) + ' ' + sPackage + ' ' + Version(event.m_sVersionTo);
    if (sAction == "startup" || sAction == "conffile")
        return sLine + sPackage + ' ' + ToUTF8(event.m_sState) + ' '; // which ends a word, also an empty one
    return sLine + sPackage + ' ' + Version(event.m_sVersionFrom) + ' ' + Version(event.m_sVersionTo);
}

void CheckEvent(std::string_view sLine)
{
    CPackageLineReader reader;
    CPackageEvent event;
    std::string sReason;
    if (!reader.Read(sLine, event, sReason))
        return Require(!sReason.empty());
    Require(event.m_Time.IsValid());
    const std::string sTime(sLine.substr(0, 19));
    CPackageEvent again;
    Require(reader.Read(LineOf(sTime, event), again, sReason) && again.m_Time == event.m_Time);
    Require(LineOf(sTime, event) == LineOf(sTime, again));
}

void CheckReport(const CReport& report, std::uint64_t nLines)
{
    std::uint64_t nTimed = 0;
    for (const std::uint64_t n : report.m_Milliseconds)
        nTimed += n;
    Require(nTimed == report.m_nSucceeded && report.m_nSucceeded + report.m_nFailed <= nLines);
    Require(report.m_Slowest.size() <= 10 && report.m_LastFailed.size() <= 10);
    for (std::size_t i = 0; i < report.m_Slowest.size(); ++i)
        Require(report.m_Slowest[i].m_sText.size() <= 401 &&
                (i == 0 || report.m_Slowest[i - 1].m_iMs >= report.m_Slowest[i].m_iMs));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    CReport report;
    CStatementLogReader reader(report);
    std::uint64_t nLines = 0;
    std::string_view sRest(reinterpret_cast<const char*>(pData), nSize);
    while (!sRest.empty())
    {
        const std::size_t n = std::min(sRest.find('\n'), sRest.size() - 1);
        const std::string_view sLine = sRest.substr(0, n + (sRest[n] != '\n'));
        sRest.remove_prefix(n + 1);
        ++nLines;
        CheckEvent(sLine);
        reader.Read(sLine);
    }
    reader.Finish();
    CheckReport(report, nLines);
    std::string sName;
    for (std::size_t i = 0; i < std::min<std::size_t>(nSize, 60); ++i)
        sName += static_cast<char>(pData[i] & 0x7F); // other bytes are no name everywhere
    Require(LogNameOf(sName.c_str()).size() <= sName.size());
    return 0;
}
