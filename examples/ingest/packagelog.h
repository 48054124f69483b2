// One line of a package manager's log: date, time, action, package, versions.
#pragma once

#include <orvcomtypes/orvstr.h>
#include <orvcomtypes/orvtime.h>

#include <cstddef>
#include <string>
#include <string_view>

struct CPackageEvent
{
    std::size_t m_nLine = 0; ///< line of the file, from 1
    COrvTime m_Time;
    COrvStr m_sAction;
    COrvStr m_sState;   ///< of "status", "startup" and "conffile" lines
    COrvStr m_sPackage; ///< without the architecture; the file of a "conffile" line
    COrvStr m_sArchitecture;
    COrvStr m_sVersionFrom; ///< empty for "<none>"
    COrvStr m_sVersionTo;
};

/// Reads one line (UTF-8, without its line end). False with a reason when it is malformed.
bool ParsePackageLine(std::string_view sLine, CPackageEvent& event, std::string& sReason);
