// Command line of the ingest service.
#pragma once

#include "dialect.h"

#include <string>

struct COptions
{
    std::string m_sInput = "/var/log/dpkg.log";
    std::string m_sSource;                 ///< the log's name in the database; empty: the file's
    std::string m_sConnect;                ///< ODBC connection string; empty: a SQLite file
    std::string m_sDatabase = "ingest.db"; ///< the SQLite file of the embedded default
    std::string m_sLogDir = ".";
    const CDialect* m_pDialect = nullptr; ///< null: the server's own
    unsigned m_nThreads = 2;
    unsigned m_nBatch = 100;
    unsigned m_nRetrySeconds = 30;
    std::string m_sPage; ///< the file that the report's page is written to; empty: none
    bool m_bReport = false;
    bool m_bFollow = false;
    bool m_bDryRun = false;
    bool m_bHelp = false;
};

/// Reads the arguments; false with a message in \p sError when they make no sense.
bool ParseOptions(int argc, char** argv, COptions& options, std::string& sError);

/// The ODBC connection string that the options stand for. The embedded database is made when it is missing,
/// unless it is there \p bToRead.
std::string ConnectString(const COptions& options, bool bToRead = false);

/// The usage text.
const char* UsageText();
