// What an administrator chooses: values below Software\Orvanex\Lumatrek\<the service's name>.
#pragma once

#include <orvcomtypes/orvstr.h>

#include <filesystem>
#include <string>

struct CSettings
{
    std::filesystem::path m_Folder; ///< "Folder": has the folders in, out and failed
    unsigned m_nWorkers;            ///< "Workers"
    unsigned m_nScanMs;             ///< "ScanMilliseconds": how often new jobs are looked for
    unsigned m_nRetryMs;            ///< "RetryMilliseconds": when a job that was put off is tried again
    COrvStr m_sLanguage;            ///< "Language": of log and status; empty: the system's

    static CSettings Read(const std::string& sName);
};

/// Opens the process's log as the settings say (docs/logging.md), else a daily one in the host's folder.
void OpenLog(const std::string& sName);
