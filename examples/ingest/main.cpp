// A small host service: reads a package manager's log, binds every line into a statement, executes it and
// logs what became of it.
#include "ingest.h"
#include "options.h"
#include "platform.h"
#include "report.h"
#include "utf8.h"

#include <orvcomtypes/octalloc.h>

#include <cstdio>
#include <fstream>

namespace
{

enum EExitCode
{
    ExitDone = 0,
    ExitPartly = 1,
    ExitUsage = 2,
    ExitNothingDone = 3,
    ExitGivenUp = 4
};

void PrintCount(std::FILE* pFile, const char* sName, std::uint64_t nValue, const char* sAfter = "\n")
{
    std::fprintf(pFile, "%-16s %llu%s", sName, static_cast<unsigned long long>(nValue), sAfter);
}

void PrintSummary(std::FILE* pFile, const COptions& options, const CSummary& summary)
{
    const auto dExecuted = static_cast<double>(summary.m_nStored + summary.m_nKnown + summary.m_nFailed);
    PrintCount(pFile, "lines read:", summary.m_nLines, "");
    std::fprintf(pFile, " (%llu malformed)\n", static_cast<unsigned long long>(summary.m_nMalformed));
    PrintCount(pFile, options.m_bDryRun ? "printed:" : "stored:", summary.m_nStored);
    if (options.m_bDryRun)
        return;
    PrintCount(pFile, "already stored:", summary.m_nKnown);
    PrintCount(pFile, "failed:", summary.m_nFailed);
    if (summary.m_nUndone > 0)
        PrintCount(pFile, "not executed:", summary.m_nUndone);
    PrintCount(pFile, "statements/s:",
               summary.m_dSeconds > 0 ? static_cast<std::uint64_t>(dExecuted / summary.m_dSeconds) : 0);
    PrintCount(pFile, "bytes logged:", summary.m_nLogBytes);
    if (summary.m_nLostRecords > 0)
        PrintCount(pFile, "log lost:", summary.m_nLostRecords, " records\n");
    std::fprintf(pFile, "%-16s %s\n", "log file:", summary.m_sLogFile.c_str());
}

int ExitCode(const CSummary& summary)
{
    if (CStop::IsRequested())
        return CStop::ExitStatus();
    if (summary.m_bGivenUp)
        return ExitGivenUp;
    const bool bAll =
        summary.m_nMalformed + summary.m_nFailed + summary.m_nLostRecords == 0 && !summary.m_bCutShort;
    return bAll ? ExitDone : ExitPartly;
}

int Report(const COptions& options)
{
    CReport report;
    std::string sError;
    if (!GatherReport(options, report, sError))
    {
        std::fprintf(stderr, "ingest: %s\n", sError.c_str());
        return ExitNothingDone;
    }
    std::fputs(ReportTable(report).c_str(), stdout);
    if (options.m_Page.empty())
        return ExitDone;
    std::ofstream page(options.m_Page, std::ios::binary);
    page << ReportPage(report) << std::flush;
    if (page)
        return ExitDone;
    std::fprintf(stderr, "ingest: cannot write %s\n", ToUTF8(options.m_Page).c_str());
    return ExitPartly;
}

int Run(int argc, char** argv)
{
    COptions options;
    std::string sError;
    if (!ParseOptions(CommandLine(argc, argv), options, sError))
    {
        std::fprintf(stderr, "ingest: %s\n\n%s", sError.c_str(), UsageText());
        return ExitUsage;
    }
    if (options.m_bHelp)
    {
        std::fputs(UsageText(), stdout);
        return ExitDone;
    }
    CStop::Install();
    if (options.m_bReport)
        return Report(options);
    CSummary summary;
    if (!RunIngest(options, summary, sError))
    {
        std::fprintf(stderr, "ingest: %s\n", sError.c_str());
        return ExitNothingDone;
    }
    // On a dry run the statements alone go to the output.
    std::fflush(stdout);
    PrintSummary(options.m_bDryRun ? stderr : stdout, options, summary);
    return ExitCode(summary);
}

} // namespace

int main(int argc, char** argv)
{
    const int iExitCode = Run(argc, argv);
    UninitOrvComTypes();
    return iExitCode;
}
