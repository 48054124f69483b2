// Command line of the ingest service.
#pragma once

#include "dialect.h"

#include <filesystem>
#include <string>
#include <vector>

struct COptions
{
    std::filesystem::path m_Input = "/var/log/dpkg.log";
    std::string m_sSource;                 ///< the log's name in the database; empty: the file's
    std::string m_sConnect;                ///< ODBC connection string; empty: a SQLite file
    std::string m_sDatabase = "ingest.db"; ///< the SQLite file of the embedded default
    std::filesystem::path m_LogDir = ".";
    const CDialect* m_pDialect = nullptr; ///< null: the server's own
    unsigned m_nThreads = 2;
    unsigned m_nBatch = 100;
    unsigned m_nRetrySeconds = 30;
    std::filesystem::path m_Page; ///< the file that the report's page is written to; empty: none
    bool m_bReport = false;
    bool m_bFollow = false;
    bool m_bDryRun = false;
    bool m_bHelp = false;
};

/// Reads the arguments, of which the first is the program; false with a message in \p sError when they make
/// no sense.
bool ParseOptions(const std::vector<std::string>& args, COptions& options, std::string& sError);

/// The ODBC connection string that the options stand for. The embedded database is made when it is missing,
/// unless it is there \p bToRead.
std::string ConnectString(const COptions& options, bool bToRead = false);

/// The usage text.
const char* UsageText();
