// Names of log files: what a file-name format stands for at a moment.
#pragma once

#include <windows.h>

#include <chrono>
#include <ctime>
#include <string>
#include <string_view>

/// The handlers' own texts lie outside of the library's pools: logs live until the process ends.
using CLogText = std::basic_string<WCHAR>;

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

/// The format with a full path where it names a folder without a token: what it stands for does not change
/// with the current folder.
CLogText FullFormat(const WCHAR* sFileNameFormat);

/// A log file's path in its parts, of any length.
struct CLogFileName
{
    /// Expands a format for this moment. False when it is empty, which is reported, or no name results.
    bool Expand(const WCHAR* sFileNameFormat);
    /// The path; of the files that follow when one is full, numbered from 2 on.
    CLogText Path(unsigned nNumber = 1) const;
    /// The number of the file \p sName (without folder) if it belongs to this format, in this period or, for
    /// \p bAnyPeriod, in any; else 0.
    unsigned NumberOf(std::basic_string_view<WCHAR> sName, bool bAnyPeriod) const;
    /// The folder with its separator; empty when the path has none.
    CLogText Folder() const;

    ELogPeriod m_ePeriod = ELogPeriod::None;
    CLogText m_sStem;
    CLogText m_sSuffix; ///< what tells the files of different periods apart; may be empty
    CLogText m_sExtension;
};

/// Makes the folders of a file's path that are missing.
void CreateDirRecursive(const CLogText& sFilePath);
