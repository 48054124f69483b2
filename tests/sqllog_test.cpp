// Records of statements and exceptions in a log.
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/orvlog.h"
#include "support/debug_capture.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <regex>

namespace
{

constexpr unsigned kUnknownRows = ~0u;

class SQLLog : public testing::Test
{
protected:
    void Init(unsigned nOptions, const WCHAR* sPrefix = nullptr)
    {
        const auto sFile = (m_dir / "sql.txt").u16string();
        ASSERT_TRUE(
            m_log.InitFileLog(Text(sFile.begin(), sFile.end()).c_str(), static_cast<int>(nOptions), sPrefix));
    }

    void Save(const Text& sSql, unsigned nWorkerDb = 0, int iMs = -1, unsigned nRows = kUnknownRows)
    {
        SQLStrSaveToLog(sSql.c_str(), &m_log, LQComErrorData(), nWorkerDb, iMs, nRows);
    }

    void SaveFailed(const Text& sSql, const WCHAR* sMessage = ORVTEXT(""), LONG iNative = 0)
    {
        LQComErrorData err;
        err.m_iCode = static_cast<LONG>(0x80040E14);
        err.m_sMessage = sMessage;
        err.m_iNativeCode = iNative;
        SQLStrSaveToLog(sSql.c_str(), &m_log, err, 5, -1, kUnknownRows);
    }

    std::string Written()
    {
        m_log.ReleaseLog();
        const std::string sText =
            std::regex_replace(ReadBytes(m_dir / "sql.txt"), std::regex(R"(\d{6}_\d{6} )"), "");
        std::error_code ignored;
        std::filesystem::remove(m_dir / "sql.txt", ignored);
        return sText;
    }

    CTempDir m_dir;
    COrvLog m_log;
};

} // namespace

TEST_F(SQLLog, SuccessTellsWhatIsKnown)
{
    Init(lqlSQL);
    Save(ORVTEXT("S"), 3);
    Save(ORVTEXT("S"), 3, -1, 7);
    Save(ORVTEXT("S"), 3, 12);
    Save(ORVTEXT("S"), 3, 12, 7);
    EXPECT_EQ("=S> SQL SUCCEEDED [3]:\r\nSQL 3\tS\r\n"
              "=S> SQL SUCCEEDED [3]: (7 row)\r\nSQL 3\tS\r\n"
              "=S> SQL SUCCEEDED [3]: (12 ms)\r\nSQL 3\tS\r\n"
              "=S> SQL SUCCEEDED [3]: (7 row; 12 ms)\r\nSQL 3\tS\r\n",
              Written());
}

TEST_F(SQLLog, FailureTellsTheErrorAlsoWhereOnlyErrorsAreLogged)
{
    Init(lqlErrors);
    Save(ORVTEXT("ignored"));
    SaveFailed(ORVTEXT("S"), ORVTEXT("no such table"), 208);
    SaveFailed(ORVTEXT("S"));
    EXPECT_EQ("=E> HR: 80040E14 SQL FAILED [5]: no such table; NativeCode: 208\r\nSQL 5\tS\r\n"
              "=E> HR: 80040E14 SQL FAILED [5]: There is no additional COM error info; NativeCode: 0\r\nSQL "
              "5\tS\r\n",
              Written());
}

TEST_F(SQLLog, NothingWithoutLogStatementOrOption)
{
    SQLStrSaveToLog(ORVTEXT("S"), nullptr, LQComErrorData(), 0, -1, kUnknownRows);
    Save(ORVTEXT("S"));
    Init(lqlWarnings);
    Save(ORVTEXT("S"));
    SaveFailed(ORVTEXT("S"));
    m_log.SetLogOpt(lqlSQL);
    Save(ORVTEXT(""));
    SQLStrSaveToLog(nullptr, &m_log, LQComErrorData(), 0, -1, kUnknownRows);
    EXPECT_EQ("", Written());
}

TEST_F(SQLLog, EveryLineIsLabelledWithIdAndPrefix)
{
    Init(lqlSQL, ORVTEXT("Pfx"));
    Save(ORVTEXT("SELECT 1\nFROM a\r\nWHERE b = 'c\rd'\n"), 12);
    EXPECT_EQ("=S> Pfx SQL SUCCEEDED [12]:\r\n"
              "SQL 12Pfx\tSELECT 1\r\nSQL 12Pfx\tFROM a\r\nSQL 12Pfx\tWHERE b = 'c\rd'\r\nSQL 12Pfx\t\r\n",
              Written());
}

TEST_F(SQLLog, LongSuccessIsCutLongFailureIsWhole)
{
    const std::string sHead = "=S> SQL SUCCEEDED [0]:\r\nSQL 0\t";
    Init(lqlSQL | lqlErrors);
    Save(Text(2000, 'x'));
    EXPECT_EQ(sHead + std::string(2000, 'x') + "\r\n", Written());
    Init(lqlSQL);
    Save(Text(2001, 'x'));
    EXPECT_EQ(sHead + std::string(400, 'x') + "... (Too long SQL statement to log)\r\n", Written());
    Init(lqlSQL | lqlWholeSQL);
    Save(Text(2001, 'x'));
    EXPECT_EQ(sHead + std::string(2001, 'x') + "\r\n", Written());
    Init(lqlErrors);
    SaveFailed(Text(100000, 'x'));
    EXPECT_TRUE(Written().ends_with("SQL 5\t" + std::string(100000, 'x') + "\r\n"));
}

TEST_F(SQLLog, ManyShortLinesAreWholeToo)
{
    Init(lqlSQL);
    Text sSql;
    std::string sExpected = "=S> SQL SUCCEEDED [0]:\r\nSQL 0\t";
    for (int i = 0; i < 900; ++i)
    {
        sSql += ORVTEXT("a\n");
        sExpected += "a\r\nSQL 0\t";
    }
    Save(sSql);
    EXPECT_EQ(sExpected + "\r\n", Written());
}

TEST_F(SQLLog, SecurityNoticeTakesTheStatementsPlace)
{
    Init(lqlSQL | lqlErrors);
    m_log.AddLogOpt(lqlNoSQLText);
    Save(ORVTEXT("SECRET"));
    SaveFailed(ORVTEXT("SECRET"));
    const std::string sNotice = "\n\tThe SQL statement hasn't been logged for security reason\n";
    EXPECT_EQ(
        "=S> SQL SUCCEEDED [0]:\r\n" + sNotice +
            "=E> HR: 80040E14 SQL FAILED [5]: There is no additional COM error info; NativeCode: 0\r\n" +
            sNotice,
        Written());
}

TEST_F(SQLLog, DebuggerCopyNeedsItsOwnOption)
{
    CDebugCapture debugger;
    Init(lqlSQL | lqlToDebugger);
    Save(ORVTEXT("quiet"));
    EXPECT_EQ("", debugger.Take());
    EXPECT_EQ(static_cast<unsigned>(lqlSQL | lqlToDebugger), m_log.GetLogOpt());
    m_log.AddLogOpt(lqlSQLToDebugger);
    Save(ORVTEXT("loud"));
    EXPECT_NE(std::string::npos, debugger.Take().find("SQL 0\tloud\r\n"));
}

TEST_F(SQLLog, TextOutsideAsciiIsConverted)
{
    Init(lqlSQL);
    Save(ORVTEXT("N'\u4E2D'"));
    const std::string sText = Written();
    EXPECT_TRUE(sText.ends_with("'\r\n")) << sText;
    EXPECT_NE(std::string::npos, sText.find("SQL 0\tN'"));
}

TEST_F(SQLLog, ExceptionIsLoggedWithItsText)
{
    Init(lqlErrors);
    const CLQMemoryExcept e(0, LQ_SRC_LOCATION);
    LogException(e, &m_log);
    EXPECT_TRUE(Written().starts_with("=E> LQ exception occured: Category: lqeMemory; File: sqllog_test ("));
    CReportCapture capture;
    LogException(e, nullptr);
    EXPECT_REPORTS(capture, {{"LogException", "pLog != nullptr", nullptr, "orvlog"}});
}
