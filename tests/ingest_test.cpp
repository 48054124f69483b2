// The example service as its users run it: arguments, exit codes, the statements, the database and the log.
#include "support/child_process.h"
#include "support/temp_dir.h"
#include "support/test_environment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace
{

namespace fs = std::filesystem;

enum EExitCode
{
    ExitDone = 0,
    ExitPartly = 1,
    ExitUsage = 2,
    ExitNothingDone = 3
};

std::size_t Count(const std::string& sText, const std::string& sPart)
{
    std::size_t nCount = 0;
    for (auto n = sText.find(sPart); n != sText.npos; n = sText.find(sPart, n + sPart.size()))
        ++nCount;
    return nCount;
}

class IngestTest : public testing::Test
{
protected:
    ChildResult Run(const ChildArguments& args)
    {
        const fs::path test = TestProgram();
        return CChildProcess(ChildProgram{test.parent_path() / ("ingest" + test.extension().string())}, args)
            .Wait();
    }

    /// Writes the lines to a file and runs the service on it with the embedded database.
    ChildResult Ingest(const std::string& sLines, const ChildArguments& more = {})
    {
        WriteBytes(Input(), sLines);
        ChildArguments args{"--database", (m_Dir / "a.db").string(), "--log-dir", (m_Dir / "log").string()};
        args.insert(args.end(), more.begin(), more.end());
        args.push_back(Input().string());
        return Run(args);
    }

    ChildResult DryRun(const std::string& sLines, const ChildArguments& more = {})
    {
        ChildArguments args{"--dry-run"};
        args.insert(args.end(), more.begin(), more.end());
        return Ingest(sLines, args);
    }

    fs::path Input() const { return m_Dir / "packages.log"; }

    std::string Log() const
    {
        std::string sAll;
        for (const auto& entry : fs::directory_iterator(m_Dir / "log"))
            sAll += ReadBytes(entry.path());
        return sAll;
    }

    CTempDir m_Dir;
};

const char s_sThreeLines[] = "2024-05-06 07:08:09 startup archives unpack\n"
                             "2024-05-06 07:08:10 upgrade libc6:amd64 2.36-9 2.36-10\r\n"
                             "\n"
                             "2024-05-06 07:08:11 status installed libc6:amd64 2.36-10\n";

} // namespace

TEST_F(IngestTest, DryRunPrintsEveryStatementInOrder)
{
    const auto result = DryRun(s_sThreeLines);
    EXPECT_EQ(ExitDone, result.m_iExitCode) << result.m_sOutput;
    EXPECT_EQ(3u, Count(result.m_sOutput, "INSERT INTO package_event"));
    const auto nUpgrade = result.m_sOutput.find("'upgrade', '', 'libc6', 'amd64', '2.36-9', '2.36-10');");
    EXPECT_NE(std::string::npos, nUpgrade) << result.m_sOutput;
    // The blank line counts as a line of the file, not as a line read.
    EXPECT_LT(nUpgrade, result.m_sOutput.find("VALUES ('packages.log', 4, ")) << result.m_sOutput;
    EXPECT_NE(std::string::npos, result.m_sOutput.find("lines read:      3 (0 malformed)"));
}

TEST_F(IngestTest, QuotesCannotBreakOutOfAStatement)
{
    const auto result =
        DryRun("2024-05-06 07:08:10 install x');DROP--:all <none> 1'0\n", {"--dialect", "mssql"});
    EXPECT_EQ(ExitDone, result.m_iExitCode);
    EXPECT_NE(std::string::npos,
              result.m_sOutput.find("N'install', N'', N'x'');DROP--', N'all', N'', N'1''0');"))
        << result.m_sOutput;
}

TEST_F(IngestTest, MalformedLinesAreNamedAndLoseNoGoodLine)
{
    const auto result = DryRun("2024-05-06 07:08:10 install a:all <none> 1\n"
                               "2024-05-06 7:08 install a:all <none> 1\n"
                               "2024-05-06 07:08:10 conjure a:all <none> 1\n"
                               "2024-05-06 07:08:10 install a:all\n"
                               "2024-05-06 07:08:10 install a:all 1 2 3\n"
                               "2024-13-06 07:08:10 install a:all 1 2\n"
                               "2024-05-06 07:08:10 purge a:all 1 <none>");
    EXPECT_EQ(ExitPartly, result.m_iExitCode);
    EXPECT_EQ(2u, Count(result.m_sOutput, "INSERT INTO")) << result.m_sOutput;
    const char* const reasons[] = {":2: no date and time", ":3: unknown action 'conjure'",
                                   ":4: too few fields", ":5: wrong number of fields",
                                   ":6: no date and time"};
    for (const char* sReason : reasons)
        EXPECT_NE(std::string::npos, result.m_sOutput.find(Input().string() + sReason)) << sReason << "\n"
                                                                                        << result.m_sOutput;
}

TEST_F(IngestTest, WrongArgumentsShowTheUsage)
{
    for (const ChildArguments& args :
         {ChildArguments{"--threads", "0"}, {"--threads"}, {"--dialect", "x"}, {"--what"}, {"a", "b"}})
    {
        const auto result = Run(args);
        EXPECT_EQ(ExitUsage, result.m_iExitCode) << args.front();
        EXPECT_NE(std::string::npos, result.m_sOutput.find("Usage: ingest")) << args.front();
    }
    EXPECT_EQ(ExitNothingDone, Run({"--dry-run", (m_Dir / "missing").string()}).m_iExitCode);
}

#if ORV_TEST_DATABASE

TEST_F(IngestTest, ASecondRunViolatesTheKeyAndIsLogged)
{
    const auto first = Ingest(s_sThreeLines);
    EXPECT_EQ(ExitDone, first.m_iExitCode) << first.m_sOutput;
    EXPECT_EQ(1u, Count(Log(), "(-1 row") + Count(Log(), "SQL SUCCEEDED [0]:\r\n"))
        << Log(); // the table's creation
    EXPECT_EQ(3u, Count(Log(), "SQL SUCCEEDED [0]: (1 row; ")) << Log();

    const auto second = Ingest(s_sThreeLines);
    EXPECT_EQ(ExitPartly, second.m_iExitCode);
    EXPECT_NE(std::string::npos, second.m_sOutput.find("failed:          3")) << second.m_sOutput;
    EXPECT_EQ(3u, Count(Log(), "SQL FAILED [0]: ")) << Log();
    EXPECT_NE(std::string::npos,
              Log().find("UNIQUE constraint failed: package_event.source, package_event.line_no"))
        << Log();
    EXPECT_EQ(3u, Count(Log(), "NativeCode: 19")) << Log();
}

TEST_F(IngestTest, ManyThreadsLoseNoLineAndNoLogEntry)
{
    std::string sLines;
    for (int i = 0; i < 500; ++i)
        sLines += "2024-05-06 07:08:10 install package" + std::to_string(i) + ":all <none> 1\n";
    const auto result = Ingest(sLines, {"--threads", "8"});
    EXPECT_EQ(ExitDone, result.m_iExitCode) << result.m_sOutput;
    const std::string sLog = Log();
    EXPECT_EQ(500u, Count(sLog, "SQL SUCCEEDED [0]: (1 row; "));
    for (int i = 0; i < 500; ++i)
        EXPECT_EQ(1u, Count(sLog, "'package" + std::to_string(i) + "'")) << i;
    EXPECT_NE(std::string::npos, result.m_sOutput.find("bytes logged:    " + std::to_string(sLog.size())))
        << result.m_sOutput;
}

TEST_F(IngestTest, AnUnreachableDatabaseOrLogFolderEndsTheRun)
{
    auto result = Ingest(s_sThreeLines, {"--connect", "Driver=NoSuchDriver"});
    EXPECT_EQ(ExitNothingDone, result.m_iExitCode);
    EXPECT_NE(std::string::npos, result.m_sOutput.find("cannot connect to the database")) << result.m_sOutput;

    WriteBytes(m_Dir / "file", "");
    result = Ingest(s_sThreeLines, {"--log-dir", (m_Dir / "file").string()});
    EXPECT_EQ(ExitNothingDone, result.m_iExitCode);
    EXPECT_NE(std::string::npos, result.m_sOutput.find("cannot write the log file")) << result.m_sOutput;
}

#endif
