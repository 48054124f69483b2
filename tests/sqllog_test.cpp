// Records of statements and exceptions in a log.
#include "orvcomtypes/lqexcept.h"
#include "support/debug_capture.h"
#include "support/report_capture.h"
#include "support/test_log.h"

namespace
{

constexpr unsigned kUnknownRows = ~0u;
const std::string kFailed = "=E> <t> HR: 80040E14 SQL FAILED [5]: ";
const std::string kNoMessage = "There is no additional COM error info; NativeCode: 0\r\n";

class SQLLog : public CLogTest
{
protected:
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
};

} // namespace

TEST_F(SQLLog, SuccessTellsWhatIsKnown)
{
    Init(lqlSQL);
    Save(ORVTEXT("S"), 3);
    Save(ORVTEXT("S"), 3, -1, 7);
    Save(ORVTEXT("S"), 3, 12);
    Save(ORVTEXT("S"), 3, 12, 7);
    EXPECT_EQ("=S> <t> SQL SUCCEEDED [3]:\r\nSQL 3\tS\r\n"
              "=S> <t> SQL SUCCEEDED [3]: (7 row)\r\nSQL 3\tS\r\n"
              "=S> <t> SQL SUCCEEDED [3]: (12 ms)\r\nSQL 3\tS\r\n"
              "=S> <t> SQL SUCCEEDED [3]: (7 row; 12 ms)\r\nSQL 3\tS\r\n",
              Written());
}

TEST_F(SQLLog, FailureIsWrittenWhereErrorsAre)
{
    SQLStrSaveToLog(ORVTEXT("S"), nullptr, LQComErrorData(), 0, -1, kUnknownRows);
    Save(ORVTEXT("no file"));
    Init(lqlWarnings);
    SaveFailed(ORVTEXT("no errors"));
    m_log.SetLogOpt(lqlErrors);
    Save(ORVTEXT("no statements"));
    SaveFailed(ORVTEXT("S"), ORVTEXT("no such table"), 208);
    SaveFailed(ORVTEXT("S"));
    m_log.SetLogOpt(lqlSQL);
    Save(ORVTEXT(""));
    SQLStrSaveToLog(nullptr, &m_log, LQComErrorData(), 0, -1, kUnknownRows);
    EXPECT_EQ(kFailed + "no such table; NativeCode: 208\r\nSQL 5\tS\r\n" + kFailed + kNoMessage +
                  "SQL 5\tS\r\n",
              Written());
}

TEST_F(SQLLog, EveryLineIsLabelledWithIdAndPrefix)
{
    Init(lqlSQL, ORVTEXT("a\n\x1B"));
    Save(ORVTEXT("S"));
    EXPECT_EQ("=S> a\r\n\t\\x1B <t> SQL SUCCEEDED [0]:\r\nSQL 0a\r\n\t\\x1B\tS\r\n", Written());
    Init(lqlSQL, ORVTEXT("Pfx"));
    Save(ORVTEXT("SELECT 1\nFROM \u4E2D\r\nWHERE b = 'c\rd'\n"), 12);
    const std::string sText = Replaced(Written(), "FROM [^\r]+", "FROM a");
    EXPECT_EQ("=S> Pfx <t> SQL SUCCEEDED [12]:\r\n"
              "SQL 12Pfx\tSELECT 1\r\nSQL 12Pfx\tFROM a\r\nSQL 12Pfx\tWHERE b = 'c\\x0Dd'\r\nSQL 12Pfx\t\r\n",
              sText);
}

TEST_F(SQLLog, LongSuccessIsCutLongFailureIsWhole)
{
    const std::string sHead = "=S> <t> SQL SUCCEEDED [0]:\r\nSQL 0\t";
    Init(lqlSQL);
    Save(Text(2000, 'x'));
    EXPECT_EQ(sHead + std::string(2000, 'x') + "\r\n", Written());
    Init(lqlSQL);
    Save(Text(2001, 'x'));
    EXPECT_EQ(sHead + std::string(400, 'x') + "... (Too long SQL statement to log)\r\n", Written());
    Init(lqlSQL | lqlWholeSQL);
    Save(Text(2001, 'x'));
    EXPECT_EQ(sHead + std::string(2001, 'x') + "\r\n", Written());
    Init(lqlErrors);
    SaveFailed(Text(50000, '\n')); // grows by a label for each line
    std::string sLabels;
    for (int i = 0; i <= 50000; ++i)
        sLabels += "SQL 5\t\r\n";
    EXPECT_TRUE(kFailed + kNoMessage + sLabels == Written());
}

TEST_F(SQLLog, SecurityNoticeTakesTheStatementsPlace)
{
    Init(lqlSQL | lqlErrors);
    m_log.AddLogOpt(lqlNoSQLText);
    Save(ORVTEXT("SECRET"));
    SaveFailed(ORVTEXT("SECRET"));
    const std::string sNotice = "\n\tThe SQL statement hasn't been logged for security reason\n";
    EXPECT_EQ("=S> <t> SQL SUCCEEDED [0]:\r\n" + sNotice + kFailed + kNoMessage + sNotice, Written());
}

TEST_F(SQLLog, DebuggerCopyNeedsItsOwnOption)
{
    CDebugCapture debugger;
    Init(lqlSQL | lqlToDebugger);
    Save(ORVTEXT("quiet"));
    EXPECT_EQ("", Heard(debugger));
    EXPECT_EQ(unsigned{lqlSQL | lqlToDebugger}, m_log.GetLogOpt());
    m_log.AddLogOpt(lqlSQLToDebugger);
    Save(ORVTEXT("loud"));
    EXPECT_NE(std::string::npos, debugger.Take().find("SQL 0\tloud\r\n"));
    Written();
    Init(lqlToDebugger); // which wants statements, but not the level of their outcome
    Save(ORVTEXT("bare"));
    EXPECT_EQ("SQL 0\tbare\r\n", Written());
}

TEST_F(SQLLog, ExceptionIsLoggedWithItsText)
{
    Init(lqlErrors);
    const CLQMemoryExcept e(0, LQ_SRC_LOCATION);
    LogException(e, &m_log);
    EXPECT_TRUE(
        Written().starts_with("=E> <t> LQ exception occured: Category: lqeMemory; File: sqllog_test ("));
    CReportCapture capture;
    LogException(e, nullptr);
    EXPECT_REPORTS(capture, {{"LogException", "pLog != nullptr", nullptr, "orvlog"}});
}
