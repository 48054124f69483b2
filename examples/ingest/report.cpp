#include "report.h"

#include "input.h"
#include "session.h"
#include "utf8.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace
{

namespace fs = std::filesystem;

constexpr std::size_t kDaysInTable = 14;

std::string DayOf(int iTime)
{
    WORD wYear = 0;
    WORD wMonth = 0;
    WORD wDay = 0;
    COrvTime(iTime).GetLocalYMD(&wYear, &wMonth, &wDay, nullptr, nullptr, nullptr);
    char sDay[40];
    std::snprintf(sDay, sizeof(sDay), "%04u-%02u-%02u", static_cast<unsigned>(wYear),
                  static_cast<unsigned>(wMonth), static_cast<unsigned>(wDay));
    return sDay;
}

/// Local days begin at any quarter of an hour, so that is what the server groups by.
bool GatherEvents(const COptions& options, CReport& report, std::string& sError)
{
    const CSessionSettings settings{ConnectString(options, true), options.m_pDialect};
    CSession session(settings);
    COrvStr sReason;
    if (!session.Open(sReason))
        return sError = "cannot use the database: " + ToUTF8(sReason), false;
    const COrvSQLStr sql(ORVTEXT("SELECT event_time - event_time % 900, action, COUNT(*) FROM package_event ")
                             ORVTEXT("GROUP BY event_time - event_time % 900, action"));
    const CSqlOutcome outcome = session.Query(sql, 3, [&](const std::vector<COrvStr>& row) {
        const std::string sAction = ToUTF8(row[1]);
        const std::uint64_t nCount = std::stoull(ToUTF8(row[2]));
        report.m_Actions.insert(sAction);
        report.m_Days[DayOf(std::stoi(ToUTF8(row[0])))][sAction] += nCount;
        report.m_nEvents += nCount;
    });
    if (!outcome.m_bOk)
        sError = "cannot read the table: " + ToUTF8(ToText(outcome.m_sMessage));
    return outcome.m_bOk;
}

void GatherStatements(const COptions& options, CReport& report)
{
    std::vector<fs::path> files;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(options.m_LogDir, error))
        if (ToUTF8(entry.path().filename()).starts_with("ingest_W"))
            files.push_back(entry.path());
    std::ranges::sort(files); // by week
    for (const fs::path& file : files)
    {
        CStatementLogReader reader(report);
        CInput input;
        std::string sText;
        if (!input.Open(file, false, sText))
            continue;
        while (input.Next(sText) == CInput::ENext::Line)
            reader.Read(sText);
        reader.Finish();
    }
}

} // namespace

bool GatherReport(const COptions& options, CReport& report, std::string& sError)
{
    if (!GatherEvents(options, report, sError))
        return false;
    GatherStatements(options, report);
    return true;
}

std::string ReportTable(const CReport& report)
{
    std::string sTable;
    const auto cell = [&](std::string sText, std::size_t nWidth) {
        if (sText.size() < nWidth)
            sText.insert(0, nWidth - sText.size(), ' ');
        sTable += sText + "  ";
    };
    const auto line = [](std::string sText) {
        if (const std::size_t nValues = sText.find("VALUES ("); nValues != sText.npos)
            sText.erase(0, nValues); // what differs
        std::ranges::replace(sText, '\n', ' ');
        return sText.substr(0, 150) + '\n';
    };
    sTable += std::to_string(report.m_nEvents) + " events\n\n";
    cell("day", 10);
    for (const std::string& sAction : report.m_Actions)
        cell(sAction, 7);
    sTable += '\n';
    const std::size_t nSkipped = report.m_Days.size() - std::min(report.m_Days.size(), kDaysInTable);
    for (auto it = std::next(report.m_Days.begin(), static_cast<std::ptrdiff_t>(nSkipped));
         it != report.m_Days.end(); ++it)
    {
        cell(it->first, 10);
        for (const std::string& sAction : report.m_Actions)
            cell(std::to_string(it->second.contains(sAction) ? it->second.at(sAction) : 0),
                 std::max<std::size_t>(sAction.size(), 7));
        sTable += '\n';
    }
    if (nSkipped > 0)
        sTable += "(" + std::to_string(nSkipped) + " earlier days)\n";
    sTable += '\n' + std::to_string(report.m_nSucceeded) + " statements succeeded, " +
              std::to_string(report.m_nFailed) + " failed\n";
    if (!report.m_Slowest.empty())
        sTable += "\nslowest:\n";
    for (const CReport::CStatement& statement : report.m_Slowest)
    {
        cell(std::to_string(statement.m_iMs) + " ms", 10);
        sTable += statement.m_sTime + "  " + line(statement.m_sText);
    }
    if (!report.m_Failures.empty())
        sTable += "\nfailures:\n";
    for (const auto& [sCode, failures] : report.m_Failures)
    {
        cell(std::to_string(failures.m_nCount), 10);
        sTable += sCode + "  " + line(failures.m_sExample);
    }
    return sTable;
}
