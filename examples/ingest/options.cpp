#include "options.h"

#include <cstdlib>
#include <functional>
#include <map>

const char* UsageText()
{
    return "Usage: ingest [options] [FILE]\n"
           "Reads a package manager's log (default /var/log/dpkg.log), writes every line into a database and "
           "keeps a log\n"
           "of the executed statements.\n"
           "\n"
           "  --connect STRING   ODBC connection string (default: a SQLite file, see --database)\n"
           "  --database FILE    file of the embedded SQLite database (default ingest.db)\n"
           "  --dialect NAME     sqlite (default) or mssql\n"
           "  --log-dir DIR      folder of the statement log, one file a week (default: the current folder)\n"
           "  --threads N        worker threads, 1 to 64 (default 2)\n"
           "  --dry-run          print the statements in order instead of executing them\n"
           "  --help             this text\n"
           "\n"
           "Exit status: 0 all done; 1 some lines were malformed or some statements failed; 2 wrong "
           "arguments;\n"
           "3 nothing could be done (missing file, unreachable database, unwritable log folder).\n";
}

namespace
{

bool ParseThreads(const std::string& sValue, unsigned& nThreads)
{
    char* pEnd = nullptr;
    const unsigned long nValue = std::strtoul(sValue.c_str(), &pEnd, 10);
    if (sValue.empty() || *pEnd != 0 || nValue < 1 || nValue > 64)
        return false;
    nThreads = static_cast<unsigned>(nValue);
    return true;
}

bool ParseDialect(const std::string& sValue, ESqlDialect& dialect)
{
    if (sValue != "sqlite" && sValue != "mssql")
        return false;
    dialect = sValue == "mssql" ? ESqlDialect::SQLServer : ESqlDialect::SQLite;
    return true;
}

} // namespace

bool ParseOptions(int argc, char** argv, COptions& options, std::string& sError)
{
    const auto store = [](std::string& sTarget) {
        return [&sTarget](const std::string& sValue) {
            sTarget = sValue;
            return !sValue.empty();
        };
    };
    const std::map<std::string, std::function<bool(const std::string&)>> valued = {
        {"--connect", store(options.m_sConnect)},
        {"--database", store(options.m_sDatabase)},
        {"--log-dir", store(options.m_sLogDir)},
        {"--threads", [&](const std::string& sValue) { return ParseThreads(sValue, options.m_nThreads); }},
        {"--dialect", [&](const std::string& sValue) { return ParseDialect(sValue, options.m_Dialect); }},
    };

    bool bHasFile = false;
    for (int i = 1; i < argc; ++i)
    {
        const std::string sArgument = argv[i];
        const auto it = valued.find(sArgument);
        if (it != valued.end())
        {
            if (i + 1 == argc)
                return sError = sArgument + " needs a value", false;
            if (!it->second(argv[++i]))
                return sError = "bad value '" + std::string(argv[i]) + "' for " + sArgument, false;
        }
        else if (sArgument == "--dry-run")
            options.m_bDryRun = true;
        else if (sArgument == "--help")
            options.m_bHelp = true;
        else if (sArgument.size() > 1 && sArgument[0] == '-')
            return sError = "unknown option " + sArgument, false;
        else if (bHasFile)
            return sError = "more than one file: " + sArgument, false;
        else
        {
            options.m_sInput = sArgument;
            bHasFile = true;
        }
    }
    return true;
}
