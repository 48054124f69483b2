#include "report.h"

#include <algorithm>

namespace
{

constexpr std::size_t kKeptStatements = 10;
constexpr std::size_t kKeptText = 400;
constexpr std::string_view kSucceeded = "SQL SUCCEEDED [0]: ";
constexpr std::string_view kFailed = "SQL FAILED [0]: ";

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
    while (n + 1 < CReport::kBuckets && iMs >= 1 << n)
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
        if (!sText.empty() && sText.size() < kKeptText)
            sText += '\n';
        sText.append(sLine.substr(nTab + 1, kKeptText - std::min(sText.size(), kKeptText)));
    }
}

/// "=S> ingest[123] 261122_033206 [5A25] SQL SUCCEEDED [0]: (1 row; 18 ms)"
void CStatementLogReader::ReadHead(std::string_view sLine)
{
    const std::size_t nOutcome = std::min(sLine.find(kSucceeded), sLine.find(kFailed));
    const std::size_t nTime = sLine.find(' ', sLine.find(' ') + 1);
    if (nOutcome == sLine.npos || nTime == sLine.npos)
        return;
    m_sOutcome = sLine.substr(nOutcome);
    m_Statement = {};
    m_Statement.m_sTime = sLine.substr(nTime + 1, 13);
}

void CStatementLogReader::Finish()
{
    if (m_sOutcome.starts_with(kSucceeded))
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
    if (iMs == 0 || (slowest.size() == kKeptStatements && iMs <= slowest.back().m_iMs))
        return;
    m_Statement.m_iMs = iMs;
    slowest.insert(std::ranges::upper_bound(slowest, iMs, std::greater(), &CReport::CStatement::m_iMs),
                   m_Statement);
    slowest.resize(std::min(slowest.size(), kKeptStatements));
}

/// "SQL FAILED [0]: [23514] ERROR: …; NativeCode: 1"
void CStatementLogReader::AddFailure()
{
    constexpr std::string_view kNative = "; NativeCode: ";
    ++m_Report.m_nFailed;
    std::string sReason = m_sOutcome.substr(kFailed.size());
    std::string sCode;
    if (const std::size_t nNative = sReason.rfind(kNative); nNative != sReason.npos)
    {
        sCode = sReason.substr(nNative + kNative.size());
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
    if (m_Report.m_LastFailed.size() > kKeptStatements)
        m_Report.m_LastFailed.erase(m_Report.m_LastFailed.begin());
}
