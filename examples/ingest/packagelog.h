// One line of a package manager's log: date, time, action, package, versions.
#pragma once

#include <orvcomtypes/orvstr.h>
#include <orvcomtypes/orvtime.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>

struct CPackageEvent
{
    std::size_t m_nLine = 0; ///< line of the file, from 1
    unsigned m_nOrder = 0;   ///< among the log's events of that second, from 1
    COrvTime m_Time;
    COrvStr m_sAction;
    COrvStr m_sState;   ///< of "status", "startup" and "conffile" lines
    COrvStr m_sPackage; ///< without the architecture; the file of a "conffile" line
    COrvStr m_sArchitecture;
    COrvStr m_sVersionFrom; ///< empty for "<none>"
    COrvStr m_sVersionTo;
};

/// Reads lines (UTF-8, without their ends). Most come in the second of the one before, whose time is kept.
class CPackageLineReader
{
public:
    /// False with a reason when the line is malformed. Leaves number and order alone.
    bool Read(std::string_view sLine, CPackageEvent& event, std::string& sReason);

private:
    bool ReadTime(std::string_view sLine, COrvTime& time);

    std::string m_sLastTime;
    COrvTime m_LastTime;
};

/// Numbers the events of each second: log, time and this number say which event it is, whatever file it was
/// read from. Seconds that come again within a day, as when a clock is put back, go on where they ended.
class CEventOrder
{
public:
    unsigned Next(const COrvTime& time);

private:
    std::unordered_map<int, unsigned> m_Counts;
    int m_iNewest = 0;
    std::size_t m_nForgetAt = kForgetStep;

    static constexpr int kKeptSeconds = 25 * 60 * 60;
    static constexpr std::size_t kForgetStep = 100000;
};

/// The name under which a log's events are stored: the file's, without what rotation appends to it (".1",
/// ".2.gz", "-20250131.gz").
std::string LogNameOf(const std::filesystem::path& file);

/// The file that the log was continued from: "x.log.1" for "x.log", "x.log.3.gz" for "x.log.2.gz". Empty when
/// it is not there.
std::filesystem::path PredecessorOf(const std::filesystem::path& file);
