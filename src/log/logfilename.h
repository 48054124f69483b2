// Names of log files: what a file-name format stands for at a moment.
#pragma once

#include "orvcomtypes/orvstr.h"

#include <chrono>
#include <cstdint>
#include <ctime>

enum class ELogPeriod
{
    None = 0,
    Daily = 1,
    Weekly = 2,
    Monthly = 3,
    PerStart = 4
};

/// The moment that names and periods go by; tests put their own in its place.
extern __time64_t (*g_pfnLogTime)();

/// Local date and time; also their year, month and day where a calendar is needed.
struct CLogDate
{
    explicit CLogDate(__time64_t tTime);
    std::chrono::sys_days Day() const;
    std::chrono::sys_days Monday() const;

    std::tm m_tm;
};

/// Expands a format into \p sBuffer of MAX_PATH characters and makes the file's folders. False, with an empty
/// text, when no name results.
bool CreateLogFileName(WCHAR* sBuffer, const WCHAR* sFileNameFormat, ELogPeriod& ePeriod);

/// Makes the folders of a file's path that are missing.
void CreateDirRecursive(const WCHAR* sFilePath);
