// A small host service: reads a package manager's log, binds every line into a statement, executes it and
// logs what became of it.
#include "ingest.h"
#include "options.h"

#include <orvcomtypes/octalloc.h>

#include <cstdio>

namespace
{

enum EExitCode
{
    ExitDone = 0,
    ExitPartly = 1,
    ExitUsage = 2,
    ExitNothingDone = 3
};

unsigned long long Number(std::uint64_t nValue)
{
    return nValue;
}

void PrintSummary(std::FILE* pFile, const COptions& options, const CSummary& summary)
{
    const double dRate =
        summary.m_dSeconds > 0
            ? static_cast<double>(summary.m_nExecuted + summary.m_nFailed) / summary.m_dSeconds
            : 0;
    std::fprintf(pFile, "lines read:      %llu (%llu malformed)\n", Number(summary.m_nLines),
                 Number(summary.m_nMalformed));
    std::fprintf(pFile, "%s %llu\n",
                 options.m_bDryRun ? "printed:        " : "executed:       ", Number(summary.m_nExecuted));
    std::fprintf(pFile, "failed:          %llu\n", Number(summary.m_nFailed));
    std::fprintf(pFile, "statements/s:    %.0f\n", dRate);
    if (!summary.m_sLogFile.empty())
        std::fprintf(pFile, "bytes logged:    %llu\nlog file:        %s\n", Number(summary.m_nLogBytes),
                     summary.m_sLogFile.c_str());
}

int Run(int argc, char** argv)
{
    COptions options;
    std::string sError;
    if (!ParseOptions(argc, argv, options, sError))
    {
        std::fprintf(stderr, "ingest: %s\n\n%s", sError.c_str(), UsageText());
        return ExitUsage;
    }
    if (options.m_bHelp)
    {
        std::fputs(UsageText(), stdout);
        return ExitDone;
    }
    CSummary summary;
    if (!RunIngest(options, summary, sError))
    {
        std::fprintf(stderr, "ingest: %s\n", sError.c_str());
        return ExitNothingDone;
    }
    // On a dry run the statements alone go to the output.
    PrintSummary(options.m_bDryRun ? stderr : stdout, options, summary);
    return summary.m_nMalformed + summary.m_nFailed == 0 ? ExitDone : ExitPartly;
}

} // namespace

int main(int argc, char** argv)
{
    const int iExitCode = Run(argc, argv);
    UninitOrvComTypes();
    return iExitCode;
}
