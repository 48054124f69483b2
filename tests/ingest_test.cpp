// The example service as its users run it: arguments, exit codes, the statements, the database and the log.
#include "support/child_process.h"
#include "support/temp_dir.h"
#include "support/test_environment.h"

#include <gtest/gtest.h>

namespace
{

enum EExitCode
{
    ExitDone = 0,
    ExitPartly = 1,
    ExitUsage = 2,
    ExitNothingDone = 3
};

int Count(const std::string& sText, const std::string& sPart)
{
    int nCount = 0;
    for (auto n = sText.find(sPart); n != sText.npos; n = sText.find(sPart, n + sPart.size()))
        ++nCount;
    return nCount;
}

testing::AssertionResult Has(const std::string& sText, const std::string& sPart, int nTimes = 1)
{
    if (Count(sText, sPart) == nTimes)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "'" << sPart << "' is not " << nTimes << " times in\n" << sText;
}

class IngestTest : public testing::Test
{
protected:
    /// Runs the service; the result is what it prints.
    std::string Run(EExitCode eExpected, const ChildArguments& args)
    {
        const auto test = TestProgram();
        const ChildProgram program{test.parent_path() / ("ingest" + test.extension().string())};
        const ChildResult result = CChildProcess(program, args).Wait();
        EXPECT_EQ(eExpected, result.m_iExitCode) << result.m_sOutput;
        return result.m_sOutput;
    }

    /// Writes the lines to a file and runs the service on it with the embedded database.
    std::string Ingest(EExitCode eExpected, const std::string& sLines, const ChildArguments& more = {})
    {
        WriteBytes(m_Input, sLines);
        ChildArguments args{"--database", (m_Dir / "a.db").string(), "--log-dir", (m_Dir / "log").string()};
        args.insert(args.end(), more.begin(), more.end());
        args.push_back(m_Input.string());
        return Run(eExpected, args);
    }

    std::string Log() const
    {
        std::string sAll;
        for (const auto& entry : std::filesystem::directory_iterator(m_Dir / "log"))
            sAll += ReadBytes(entry.path());
        return sAll;
    }

    const CTempDir m_Dir;
    const std::filesystem::path m_Input = m_Dir / "packages.log";
};

const char s_sThreeLines[] = "2024-05-06 07:08:09 startup archives unpack\n"
                             "2024-05-06 07:08:10 upgrade x');DROP--:amd64 <none> 1'0\r\n"
                             "\n"
                             "2024-05-06 07:08:11 status installed libc6:amd64 2.36-10\n";

} // namespace

TEST_F(IngestTest, DryRunPrintsEveryStatementInOrder)
{
    const auto sOutput = Ingest(ExitDone, s_sThreeLines, {"--dry-run", "--dialect", "mssql"});
    EXPECT_TRUE(Has(sOutput, "INSERT INTO package_event", 3));
    const auto nUpgrade = sOutput.find("N'upgrade', N'', N'x'');DROP--', N'amd64', N'', N'1''0');");
    EXPECT_NE(std::string::npos, nUpgrade) << sOutput;
    // The blank line counts as a line of the file, not as a line read.
    EXPECT_LT(nUpgrade, sOutput.find("VALUES (N'packages.log', 4, ")) << sOutput;
    EXPECT_TRUE(Has(sOutput, "lines read:      3 (0 malformed)"));
}

TEST_F(IngestTest, MalformedLinesAreNamedAndLoseNoGoodLine)
{
    const auto sOutput = Ingest(ExitPartly,
                                "2024-05-06 07:08:10 install a:all <none> 1\n"
                                "2024-05-06 7:08 install a:all <none> 1\n"
                                "2024-05-06 07:08:10 conjure a:all <none> 1\n"
                                "2024-05-06 07:08:10 install a:all\n"
                                "2024-05-06 07:08:10 install a:all 1 2 3\n"
                                "2024-13-06 07:08:10 install a:all 1 2\n"
                                "2024-05-06 07:08:10 purge a:all 1 <none>",
                                {"--dry-run"});
    EXPECT_TRUE(Has(sOutput, "INSERT INTO", 2));
    for (const char* sReason : {":2: no date and time", ":3: unknown action 'conjure'", ":4: too few fields",
                                ":5: wrong number of fields", ":6: no date and time"})
        EXPECT_TRUE(Has(sOutput, m_Input.string() + sReason));
}

TEST_F(IngestTest, WrongArgumentsShowTheUsage)
{
    for (const ChildArguments& args :
         {ChildArguments{"--threads", "0"}, {"--threads"}, {"--dialect", "x"}, {"--what"}, {"a", "b"}})
        EXPECT_TRUE(Has(Run(ExitUsage, args), "Usage: ingest")) << args.front();
    Run(ExitNothingDone, {"--dry-run", (m_Dir / "missing").string()});
}

#if ORV_TEST_DATABASE

TEST_F(IngestTest, ASecondRunViolatesTheKeyAndIsLogged)
{
    Ingest(ExitDone, s_sThreeLines);
    EXPECT_EQ(1, Count(Log(), "(-1 row") + Count(Log(), "SQL SUCCEEDED [0]:\r\n")) << "the table's creation";
    EXPECT_TRUE(Has(Log(), "SQL SUCCEEDED [0]: (1 row; ", 3));

    EXPECT_TRUE(Has(Ingest(ExitPartly, s_sThreeLines), "failed:          3"));
    EXPECT_TRUE(Has(Log(), "SQL FAILED [0]: ", 3));
    EXPECT_TRUE(Has(Log(), "UNIQUE constraint failed: package_event.source, package_event.line_no", 3));
    EXPECT_TRUE(Has(Log(), "NativeCode: 19", 3));
}

TEST_F(IngestTest, ManyThreadsLoseNoLineAndNoLogEntry)
{
    std::string sLines;
    for (int i = 0; i < 500; ++i)
        sLines += "2024-05-06 07:08:10 install package" + std::to_string(i) + ":all <none> 1\n";
    const auto sOutput = Ingest(ExitDone, sLines, {"--threads", "8"});
    const std::string sLog = Log();
    EXPECT_EQ(500, Count(sLog, "SQL SUCCEEDED [0]: (1 row; "));
    for (int i = 0; i < 500; ++i)
        EXPECT_EQ(1, Count(sLog, "'package" + std::to_string(i) + "'")) << i;
    EXPECT_TRUE(Has(sOutput, "bytes logged:    " + std::to_string(sLog.size())));
}

TEST_F(IngestTest, AnUnreachableDatabaseOrLogFolderEndsTheRun)
{
    EXPECT_TRUE(Has(Ingest(ExitNothingDone, s_sThreeLines, {"--connect", "Driver=NoSuchDriver"}),
                    "cannot connect to the database"));
    EXPECT_TRUE(Has(Ingest(ExitNothingDone, s_sThreeLines, {"--log-dir", m_Input.string()}),
                    "cannot write the log file"));
}

#endif
