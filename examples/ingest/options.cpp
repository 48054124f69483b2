#include "options.h"

#include "utf8.h"

#include <cstdlib>
#include <functional>
#include <map>

const char* UsageText()
{
    return "Usage: ingest [options] [FILE]\n"
           "       ingest report [options]\n"
           "Reads a package manager's log (default /var/log/dpkg.log; plain, gzip-compressed or a pipe), "
           "stores\n"
           "every event in a database and keeps a log of the executed statements. An event that is stored\n"
           "already is not stored again, so a log may be read twice, and again after an interruption.\n"
           "\n"
           "  --database FILE    file of the embedded SQLite database (default ingest.db)\n"
           "  --connect STRING   another database, by ODBC connection string:\n"
           "                       Driver=PostgreSQL Unicode;Server=HOST;Database=NAME;UID=USER;PWD=...\n"
           "                       Driver=MariaDB Unicode;Server=HOST;Database=NAME;UID=USER;PWD=...\n"
           "                       Driver=ODBC Driver 18 for SQL Server;Server=HOST;Database=NAME;UID=...\n"
           "  --dialect NAME     sqlite, postgresql, mariadb or mssql (default: what the server says it is)\n"
           "  --source NAME      the log's name in the database (default: the file's, without .1, .2.gz)\n"
           "  --log-dir DIR      folder of the statement log, one file a week (default: the current folder)\n"
           "  --threads N        worker threads and sessions, 1 to 64 (default 2)\n"
           "  --batch N          statements a transaction, 1 to 10000 (default 100)\n"
           "  --retry SECONDS    how long a lost connection is tried again, 0 to 86400 (default 30)\n"
           "  --follow           go on with what is appended, across rotation, until Ctrl-C or SIGTERM\n"
           "  --dry-run          print the statements in order instead of executing them\n"
           "  --help             this text\n"
           "\n"
           "ingest report prints what is stored (events a day and action) and what the log tells (slowest "
           "and failed\n"
           "statements); it takes --database, --connect, --dialect, --log-dir and\n"
           "\n"
           "  --html FILE        write the same as one page with charts, which needs no network\n"
           "\n"
           "Exit status: 0 all events are stored; 1 some lines were malformed, statements failed or log "
           "records\n"
           "lost; 2 wrong arguments; 3 nothing could be done (missing file, unreachable database, a server "
           "that\n"
           "does not return values unchanged, unwritable log folder); 4 given up: the database refused "
           "everything\n"
           "or its connection did not come back; 130 ended by Ctrl-C or Ctrl-Break;\n"
           "143 by SIGTERM, or by closing the console or the session.\n";
}

namespace
{

bool ParseNumber(const std::string& sValue, unsigned nLeast, unsigned nMost, unsigned& nNumber)
{
    char* pEnd = nullptr;
    const unsigned long nValue = std::strtoul(sValue.c_str(), &pEnd, 10);
    if (sValue.empty() || sValue[0] == '-' || *pEnd != 0 || nValue < nLeast || nValue > nMost)
        return false;
    nNumber = static_cast<unsigned>(nValue);
    return true;
}

using CValueParser = std::function<bool(const std::string&)>;

std::map<std::string, CValueParser> ValuedOptions(COptions& options)
{
    const auto store = [](std::string& sTarget) {
        return [&sTarget](const std::string& sValue) {
            sTarget = sValue;
            return !sValue.empty();
        };
    };
    const auto file = [](std::filesystem::path& target) {
        return [&target](const std::string& sValue) {
            target = ToPath(sValue);
            return !sValue.empty();
        };
    };
    const auto number = [](unsigned& nTarget, unsigned nLeast, unsigned nMost) {
        return [&nTarget, nLeast, nMost](const std::string& sValue) {
            return ParseNumber(sValue, nLeast, nMost, nTarget);
        };
    };
    return {
        {"--connect", store(options.m_sConnect)},
        {"--database", store(options.m_sDatabase)},
        {"--source", store(options.m_sSource)},
        {"--log-dir", file(options.m_LogDir)},
        {"--html", file(options.m_Page)},
        {"--threads", number(options.m_nThreads, 1, 64)},
        {"--batch", number(options.m_nBatch, 1, 10000)},
        {"--retry", number(options.m_nRetrySeconds, 0, 86400)},
        {"--dialect",
         [&](const std::string& sValue) { return (options.m_pDialect = FindDialect(sValue)) != nullptr; }},
    };
}

} // namespace

bool ParseOptions(const std::vector<std::string>& args, COptions& options, std::string& sError)
{
    const std::map<std::string, CValueParser> valued = ValuedOptions(options);
    const std::map<std::string, bool&> flags = {
        {"--dry-run", options.m_bDryRun}, {"--follow", options.m_bFollow}, {"--help", options.m_bHelp}};
    options.m_bReport = args.size() > 1 && args[1] == "report";
    bool bHasFile = options.m_bReport; // none is read
    for (std::size_t i = options.m_bReport ? 2 : 1; i < args.size(); ++i)
    {
        const std::string& sArgument = args[i];
        const auto it = valued.find(sArgument);
        if (it != valued.end())
        {
            if (i + 1 == args.size())
                return sError = sArgument + " needs a value", false;
            if (!it->second(args[++i]))
                return sError = "bad value '" + args[i] + "' for " + sArgument, false;
        }
        else if (const auto flag = flags.find(sArgument); flag != flags.end())
            flag->second = true;
        else if (sArgument.size() > 1 && sArgument[0] == '-')
            return sError = "unknown option " + sArgument, false;
        else if (bHasFile)
            return sError = "one file too many: " + sArgument, false;
        else
        {
            options.m_Input = ToPath(sArgument);
            bHasFile = true;
        }
    }
    return true;
}

std::string ConnectString(const COptions& options, bool bToRead)
{
    if (!options.m_sConnect.empty())
        return options.m_sConnect;
    // The driver ends a value at a semicolon and knows no quotes; but it takes a URI.
    std::string sUri = "file:";
    for (const char c : options.m_sDatabase)
    {
        const bool bPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                            c == '/' || c == '.' || c == '_' || c == '-' || c == ':';
        if (bPlain)
            sUri += c;
        else
        {
            sUri += '%';
            for (const int iNibble : {c >> 4 & 15, c & 15})
                sUri += "0123456789ABCDEF"[iNibble];
        }
    }
    if (bToRead)
        sUri += "?mode=rw";
    return "Driver=SQLite3;Database=" + sUri + ";Timeout=60000;JournalMode=WAL;SyncPragma=NORMAL";
}
