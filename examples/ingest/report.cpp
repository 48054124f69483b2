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

constexpr std::size_t c_nKeptStatements = 10;
constexpr std::size_t c_nKeptText = 400;
constexpr std::size_t c_nDaysInTable = 14;
constexpr std::string_view c_sSucceeded = "SQL SUCCEEDED [0]: ";
constexpr std::string_view c_sFailed = "SQL FAILED [0]: ";

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

/// The number before \p sUnit, as in "(1 row; 18 ms)"; 0 for none.
int NumberBefore(std::string_view sText, std::string_view sUnit)
{
    const std::size_t nUnit = sText.find(sUnit);
    if (nUnit == sText.npos)
        return 0;
    std::size_t nFirst = nUnit;
    while (nFirst > 0 && sText[nFirst - 1] >= '0' && sText[nFirst - 1] <= '9')
        --nFirst;
    return std::atoi(std::string(sText.substr(nFirst, nUnit - nFirst)).c_str());
}

std::size_t BucketOf(int iMs)
{
    std::size_t n = 0;
    while (n + 1 < CReport::s_nBuckets && iMs >= 1 << n)
        ++n;
    return n;
}

} // namespace

void CStatementLogReader::Read(std::string_view sLine)
{
    if (sLine.starts_with('='))
    {
        Finish();
        ReadHead(sLine);
    }
    else if (m_sOutcome.empty())
        return;
    else if (sLine.starts_with('\t'))
        m_sOutcome.append(" ").append(sLine.substr(1));
    else if (const std::size_t nTab = sLine.find('\t'); nTab != sLine.npos && sLine.starts_with("SQL "))
    {
        std::string& sText = m_Statement.m_sText;
        if (!sText.empty() && sText.size() < c_nKeptText)
            sText += '\n';
        sText.append(sLine.substr(nTab + 1, c_nKeptText - std::min(sText.size(), c_nKeptText)));
    }
}

/// "=S> ingest[123] 261122_033206 [5A25] SQL SUCCEEDED [0]: (1 row; 18 ms)"
void CStatementLogReader::ReadHead(std::string_view sLine)
{
    const std::size_t nOutcome = std::min(sLine.find(c_sSucceeded), sLine.find(c_sFailed));
    const std::size_t nTime = sLine.find(' ', sLine.find(' ') + 1);
    if (nOutcome == sLine.npos || nTime == sLine.npos)
        return;
    m_sOutcome = sLine.substr(nOutcome);
    m_Statement = {};
    m_Statement.m_sTime = sLine.substr(nTime + 1, 13);
}

void CStatementLogReader::Finish()
{
    if (m_sOutcome.starts_with(c_sSucceeded))
        AddSuccess(m_sOutcome);
    else if (!m_sOutcome.empty())
        AddFailure();
    m_sOutcome.clear();
}

void CStatementLogReader::AddSuccess(std::string_view sOutcome)
{
    ++m_Report.m_nSucceeded;
    const int iMs = NumberBefore(sOutcome, " ms");
    ++m_Report.m_Milliseconds[BucketOf(iMs)];
    std::vector<CReport::CStatement>& slowest = m_Report.m_Slowest;
    if (iMs == 0 || (slowest.size() == c_nKeptStatements && iMs <= slowest.back().m_iMs))
        return;
    m_Statement.m_iMs = iMs;
    slowest.insert(std::ranges::upper_bound(slowest, iMs, std::greater(), &CReport::CStatement::m_iMs),
                   m_Statement);
    slowest.resize(std::min(slowest.size(), c_nKeptStatements));
}

/// "SQL FAILED [0]: [23514] ERROR: …; NativeCode: 1"
void CStatementLogReader::AddFailure()
{
    constexpr std::string_view c_sNative = "; NativeCode: ";
    ++m_Report.m_nFailed;
    std::string sReason = m_sOutcome.substr(c_sFailed.size());
    std::string sCode;
    if (const std::size_t nNative = sReason.rfind(c_sNative); nNative != sReason.npos)
    {
        sCode = sReason.substr(nNative + c_sNative.size());
        sReason.resize(nNative);
    }
    if (sReason.size() > 7 && sReason[0] == '[' && sReason[6] == ']')
    {
        sCode = sReason.substr(1, 5) + " " + sCode;
        sReason.erase(0, 8);
    }
    CReport::CFailures& failures = m_Report.m_Failures[sCode];
    if (++failures.m_nCount == 1)
        failures.m_sExample = sReason;
    m_Statement.m_sReason = sReason;
    m_Report.m_LastFailed.push_back(m_Statement);
    if (m_Report.m_LastFailed.size() > c_nKeptStatements)
        m_Report.m_LastFailed.erase(m_Report.m_LastFailed.begin());
}

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
    const std::size_t nSkipped = report.m_Days.size() - std::min(report.m_Days.size(), c_nDaysInTable);
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
