// What a database and its statement logs tell: gathered, as a table, and as a page.
#pragma once

#include "options.h"

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

struct CReport
{
    struct CStatement
    {
        int m_iMs = 0;
        std::string m_sTime;   ///< as the log has it
        std::string m_sText;   ///< the statement, or its beginning
        std::string m_sReason; ///< of a failure
    };
    struct CFailures
    {
        std::uint64_t m_nCount = 0;
        std::string m_sExample;
    };
    /// Milliseconds below 1, 2, 4, 8 and so on; the last one takes the rest.
    static constexpr std::size_t kBuckets = 16;

    std::uint64_t m_nEvents = 0;
    std::set<std::string> m_Actions;
    std::map<std::string, std::map<std::string, std::uint64_t>> m_Days; ///< local day, action, events

    std::uint64_t m_nSucceeded = 0;
    std::uint64_t m_nFailed = 0;
    std::array<std::uint64_t, kBuckets> m_Milliseconds = {};
    std::map<std::string, CFailures> m_Failures; ///< by SQL state and the database's own number
    std::vector<CStatement> m_Slowest;           ///< the slowest first
    std::vector<CStatement> m_LastFailed;        ///< the latest last
};

/// Reads the log files of a statement log, line by line.
class CStatementLogReader
{
public:
    explicit CStatementLogReader(CReport& report) : m_Report(report) {}
    void Read(std::string_view sLine);
    /// After the last line.
    void Finish();

private:
    void ReadHead(std::string_view sLine);
    void AddSuccess(std::string_view sOutcome);
    void AddFailure();

    CReport& m_Report;
    CReport::CStatement m_Statement;
    std::string m_sOutcome; ///< with its further lines; empty between records
};

/// False with a message when the database cannot be asked.
bool GatherReport(const COptions& options, CReport& report, std::string& sError);
std::string ReportTable(const CReport& report);
/// One file that needs no other and no network.
std::string ReportPage(const CReport& report);
