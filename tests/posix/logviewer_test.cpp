// The format file by which lnav reads our logs, over a log that was just written.
#include "orvcomtypes/lqexcept.h"
#include "support/test_log.h"

#include <cstdlib>

using LogViewer = CLogTest;

TEST_F(LogViewer, FindsLevelsThreadsAndOutcomes)
{
    if (std::system("lnav -V >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "lnav is not installed";
    Init(lqlErrors | lqlWarnings | lqlSQL | lqlThreadId, ORVTEXT("Two words"));
    m_log.LogErr(ORVTEXT("no connection\nto the server"));
    SQLStrSaveToLog(ORVTEXT("SELECT 1"), &m_log, LQComErrorData(), 3, 12, 7);
    LQComErrorData err;
    err.m_iCode = static_cast<LONG>(0x80040E14);
    err.m_sMessage = ORVTEXT("no such table");
    SQLStrSaveToLog(ORVTEXT("SELECT 2"), &m_log, err, 5, -1, ~0u);
    m_log.RevokeLogOpt(lqlThreadId);
    m_log.SetPrefix(nullptr);
    m_log.LogWarn(ORVTEXT("plain"));
    m_log.ReleaseLog();
    const auto formats = m_dir / "formats" / "orvcomtypes";
    std::filesystem::create_directories(formats);
    std::filesystem::copy_file(ORV_LNAV_FORMAT, formats / "format.json");
    const auto result = m_dir / "result.csv";
    const std::string sCommand =
        "HOME='" + m_dir.Path().string() + "' lnav -n -I '" + m_dir.Path().string() +
        "' -c ';SELECT log_level, prefix, thread IS NULL, outcome, worker, rows, ms, hresult,"
        " replace(log_body, char(13) || char(10), \"|\") FROM orvcomtypes_log' -c ':write-csv-to -' '" +
        m_file.string() + "' >'" + result.string() + "'";
    ASSERT_EQ(0, std::system(sCommand.c_str()));
    const std::string sRows = ReadBytes(result);
    EXPECT_EQ("error,Two words,0,<NULL>,<NULL>,<NULL>,<NULL>,<NULL>,no connection|\tto the server\n"
              "debug,Two words,0,SUCCEEDED,3,7,12,<NULL>,SQL 3Two words\tSELECT 1\n"
              "error,Two words,0,FAILED,5,<NULL>,<NULL>,80040E14,no such table; NativeCode: 0|SQL 5Two "
              "words\tSELECT 2\n"
              "warning,<NULL>,1,<NULL>,<NULL>,<NULL>,<NULL>,<NULL>,plain\n",
              sRows.substr(sRows.find('\n') + 1));
}
