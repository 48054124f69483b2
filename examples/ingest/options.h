// Command line of the ingest service.
#pragma once

#include <string>

/// The SQL that the statements are written in.
enum class ESqlDialect
{
    SQLite,   ///< plain quoted text
    SQLServer ///< N'…' text, guarded table creation
};

struct COptions
{
    std::string m_sInput = "/var/log/dpkg.log";
    std::string m_sConnect;                ///< ODBC connection string; empty: a SQLite file
    std::string m_sDatabase = "ingest.db"; ///< the SQLite file of the embedded default
    std::string m_sLogDir = ".";
    ESqlDialect m_Dialect = ESqlDialect::SQLite;
    unsigned m_nThreads = 2;
    bool m_bDryRun = false;
    bool m_bHelp = false;
};

/// Reads the arguments; false with a message in \p sError when they make no sense.
bool ParseOptions(int argc, char** argv, COptions& options, std::string& sError);

/// The usage text.
const char* UsageText();
