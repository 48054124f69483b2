#include "orvcomtypes/orvcomtypes.h"
#include "support/debug_capture.h"
#include "support/registry_values.h"
#include "support/report_capture.h"
#include "support/test_log.h"
#include "support/test_registry.h"

#include <atomic>
#include <thread>

using Log = CLogTest;

// ---- Lines ----

TEST_F(Log, LineShowsTheMarkOfTheLowestLevel)
{
    Init(0xFFF);
    for (const unsigned nLevel : {1, 2, 4, 8, 0x20, 0x10, 0x40, 9, 0x28, 0x30})
        m_log.LogOpt(nLevel, "x");
    EXPECT_EQ("EWISUOOESU", Replaced(Written(), "=(.)> <t> x\r\n", "$1"));
}

TEST_F(Log, LineCarriesPrefixThreadPositionAndResult)
{
    Init(lqlErrors | lqlThreadId, ORVTEXT("Pfx"));
    m_log.SetFL("src\\log/orvlog", 1191)
        .LogOpt(lqlErrors, static_cast<LONG>(0x80070005), "Text %d of %s", 1, "all");
    m_log.SetFL("", 1192).LogErr(ORVTEXT("no name"));
    m_log.SetFL(nullptr, 0);
    char sThread[16];
    std::snprintf(sThread, sizeof(sThread), "[%04X]", static_cast<unsigned>(GetCurrentThreadId() & 0xFFFF));
    const std::string sFront = "=E> Pfx <t> " + std::string(sThread);
    EXPECT_EQ(sFront + " orvlog(1191) HR: 80070005 Text 1 of all\r\n" + sFront + " no name\r\n", Written());
}

TEST_F(Log, LineBreaksAreIndentedAndTheEndIsTrimmed)
{
    Init(lqlErrors);
    for (const char* sText :
         {"a\nb", "a\r\nb", "a\n\nb", "a\rb", "\nb", "\x1B[2J\x7F\x01\r\r\n\b", "a \t\r\n \v\f", "\n \n",
          "\xC2\x9B[\xC2\xA0]", "\x1F in front of a block", "\x7F in front of a block"})
        m_log.LogSimpleStr(lqlErrors, sText);
    EXPECT_EQ("=E> <t> a\r\n\tb\r\n"
              "=E> <t> a\r\n\tb\r\n"
              "=E> <t> a\r\n\t\r\n\tb\r\n"
              "=E> <t> a\\x0Db\r\n"
              "=E> <t> \r\n\tb\r\n"
              "=E> <t> \\x1B[2J\\x7F\\x01\\x0D\r\n\t\\x08\r\n"
              "=E> <t> a\r\n"
              "=E> <t>\r\n"
              "=E> <t> " +
                  std::string(IsNarrowUtf8() ? "\\x9B" : "\xC2\x9B") +
                  "[\xC2\xA0]\r\n"
                  "=E> <t> \\x1F in front of a block\r\n"
                  "=E> <t> \\x7F in front of a block\r\n",
              Written());
}

#define ORV_TEN(a, b) a, b, a, b, a, b, a, b, a, b

TEST_F(Log, PercentInFrontOfTheFormatReadsNoForeignArguments)
{
    Init(lqlErrors, ORVTEXT("50%d 9%s %n%%"));
    m_log.LogOpt(lqlErrors, "[%s]", "text");
    m_log.LogOpt(lqlErrors, "[%I64d]", std::int64_t{7});
    m_log.SetPrefix(nullptr);
    m_log.SetFL("%d/50%d", 0).LogOpt(lqlErrors, "[%d]", 7);
    m_log.SetFL(nullptr, 0);
    m_log.SetPrefix(ORVTEXT("%%"));
    std::string sMany;
    for (int i = 0; i < 35; ++i)
        sMany += "%*d";
    m_log.LogOpt(lqlErrors, OCT::CRunTimeFormat(sMany.c_str()), ORV_TEN(1, 2), ORV_TEN(1, 3), ORV_TEN(1, 4),
                 ORV_TEN(1, 5), ORV_TEN(1, 6), ORV_TEN(1, 7), ORV_TEN(1, 8));
    EXPECT_EQ("=E> 50 9text % <t> []\r\n=E> 50 9 % <t> [7]\r\n=E> <t> 507(0) []\r\n"
              "=E> % <t> 22222333334444455555666667777788888\r\n",
              Written());
}

TEST_F(Log, LongTextsAreCut)
{
    const std::string sLong(20000, 'x');
    Init(lqlErrors, Text(70, ORVTEXT('p')).c_str());
    EXPECT_EQ(Text(63, ORVTEXT('p')), TextOf(m_log.GetPrefix()));
    m_log.SetPrefix(nullptr);
    EXPECT_TRUE(m_log.GetPrefix().IsEmpty());
    m_log.LogSimpleStr(lqlErrors, sLong.c_str());
    for (const int nFormat : {20000, 1024 - 18, 1023 - 18}) // behind "=E> 261112_213005 "
        m_log.LogOpt(lqlErrors, sLong.substr(0, nFormat).c_str());
    m_log.SetFileOption(lqfUTF8, 1);
    m_log.LogErr((ORVTEXT("x") + Text(10000, ORVTEXT('\u4E2D'))).c_str());
    m_log.ReleaseLog();
    const std::string sText = ReadBytes(m_file);
    EXPECT_EQ(16374u, sText.find("\r\n"));
    EXPECT_EQ(16374u + 2 + 3 * (1023 + 2) + 16372 + 2, sText.size()) << "no part of a character";
}

TEST_F(Log, RawTextIsUnfilteredAndUndecorated)
{
    Init(0);
    m_log.LogRaw("a\n");
    m_log.LogRaw(0x40, "b");
    m_log.LogRaw(Text(30000, 'c').c_str());
    EXPECT_EQ("a\nb" + std::string(30000, 'c'), Written());
}

TEST_F(Log, DebuggerGetsACopyOrAll)
{
    CDebugCapture debugger;
    Init(lqlErrors | lqlToDebugger);
    m_log.LogWarn(ORVTEXT("off"));
    m_log.LogErr(ORVTEXT(""));
    m_log.LogErr(nullptr);
    m_log.LogSimpleStr(lqlErrors, static_cast<const char*>(nullptr));
    m_log.LogOpt(lqlErrors, nullptr);
    m_log.LogErr(ORVTEXT("both"));
    m_log.SetLogOpt(lqlToDebugger);
    m_log.LogErr(ORVTEXT("filtered"));
    m_log.LogCust(lqlToDebugger, ORVTEXT("only there"));
    EXPECT_EQ("=E> <t> both\r\n", Written());
    EXPECT_EQ("=E> <t> both\r\n=O> <t> only there\r\n", WithoutTimes(Heard(debugger)));
}

TEST_F(Log, PositionBelongsToTheThreadUntilTheTeardown)
{
    m_log.SetFL("file.cpp", 7);
    EXPECT_FALSE(m_log.HasFL());
    bool bElsewhere = false;
    std::thread([&] { bElsewhere = m_log.HasFL(); }).join();
    EXPECT_TRUE(bElsewhere);
    const char* sFile = nullptr;
    int iLine = -1;
    m_log.SetFL("file.cpp", 0).GetFL(sFile, iLine);
    EXPECT_STREQ("file.cpp", sFile);
    EXPECT_EQ(0, iLine);
    EXPECT_TRUE(m_log.HasFL());

    m_log.SetFL("file.cpp", 7);
    UninitOrvComTypes();
    EXPECT_TRUE(m_log.HasFL());
    m_log.SetFL("file.cpp", 8);
    EXPECT_FALSE(m_log.HasFL());
    m_log.SetFL(nullptr, 0);
    EXPECT_TRUE(m_log.HasFL());
}

// ---- Logs and their file ----

TEST_F(Log, ChildSharesTheParentsFile)
{
    Init(lqlErrors | lqlNoSQLText, ORVTEXT("parent"));
    EXPECT_EQ(unsigned{lqlErrors}, m_log.AddLogOpt(lqlNoSQLText | lqlSQL)) << "what it was";
    EXPECT_EQ(unsigned{lqlErrors | lqlNoSQLText | lqlSQL}, m_log.RevokeLogOpt(lqlSQL));
    COrvLog heir(&m_log, -1, nullptr);
    EXPECT_EQ(unsigned{lqlErrors | lqlNoSQLText}, heir.GetLogOpt());
    COrvLog other(&m_log, static_cast<int>(lqlWarnings | lqlNoSQLText), ORVTEXT("other"));
    EXPECT_EQ(unsigned{lqlWarnings}, other.GetLogOpt());
    heir.LogErr(ORVTEXT("1"));
    other.LogWarn(ORVTEXT("2"));
    m_log.ReleaseLog();
    EXPECT_FALSE(m_log.HasLog(~0u));
    heir.LogErr(ORVTEXT("3"));
    EXPECT_TRUE(heir.InitLog(nullptr, -1, ORVTEXT("x")));
    EXPECT_TRUE(heir.GetPrefix().IsEmpty());
    other.ReleaseLog();
    EXPECT_EQ("=E> parent <t> 1\r\n=W> other <t> 2\r\n=E> parent <t> 3\r\n", Written());
}

TEST_F(Log, CopiesOfAReleasedLogAreSilent)
{
    Init(lqlErrors, ORVTEXT("Pfx"));
    COrvLog copy(m_log);
    copy.LogErr(ORVTEXT("before"));
    m_log.ReleaseLog();
    copy.LogErr(ORVTEXT("after"));
    copy.ReleaseLog();
    copy.ReleaseLog();
    EXPECT_EQ("=E> Pfx <t> before\r\n", Written());
}

TEST_F(Log, FormatsThatDifferInCaseNameOneFile)
{
    Text sUpper = m_sFile;
    for (WCHAR& c : sUpper)
        c = c >= 'a' && c <= 'z' ? static_cast<WCHAR>(c - 32) : c;
    Init(lqlErrors);
    COrvLog second;
    ASSERT_TRUE(second.InitFileLog(sUpper.c_str(), lqlErrors, nullptr));
    second.LogErr(ORVTEXT("1"));
    m_log.LogErr(ORVTEXT("2"));
    second.ReleaseLog();
    EXPECT_EQ("=E> <t> 1\r\n=E> <t> 2\r\n", Written());
}

TEST_F(Log, RelativeNameStaysInTheFolderOfItsBeginning)
{
    const std::filesystem::path former = std::filesystem::current_path();
    std::filesystem::current_path(m_dir.Path());
    const bool bLog = m_log.InitFileLog(ORVTEXT("#AN./sub/app.txt"), lqlErrors, nullptr);
    std::filesystem::current_path(former);
    EXPECT_TRUE(bLog);
    m_log.LogErr(ORVTEXT("x"));
    EXPECT_TRUE(m_log.Flush(60000));
    const std::filesystem::path file(TextOf(m_log.GetLogFileName()));
    EXPECT_TRUE(file.is_absolute());
    EXPECT_TRUE(std::filesystem::equivalent(m_dir / "sub", file.parent_path()));
    m_log.ReleaseLog();
}

TEST_F(Log, EmptyNamesAreReported)
{
    CReportCapture capture;
    EXPECT_FALSE(m_log.InitFileLog(ORVTEXT(""), lqlErrors, nullptr));
    EXPECT_FALSE(m_log.InitRegLog(ORVTEXT(""), nullptr));
    EXPECT_EQ(0u, m_log.GetLogOpt());
    EXPECT_REPORTS(capture, {{"CLogFileHandlerList::AddFileHandler",
                              "STRNOTEMPTY(sFileNameFormat) && pHandler != nullptr", nullptr, "orvlog"},
                             {"COrvLog::InitRegLog", "STRISEMPTY(sKeyName)"}});
}

TEST_F(Log, KeepsEveryLineAndTheOrderOfEachThread)
{
    constexpr int nLines = 1000;
    const std::string sLong(600, 'x'); // beyond the pool
    std::map<std::string, int> expected;
    Init(lqlInformation);
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 16; ++t)
        {
            expected["t" + std::to_string(t)] = nLines;
            threads.emplace_back([&, t] {
                for (int i = 0; i < nLines; ++i)
                {
                    m_log.LogOpt(lqlInformation, "t%d %d %s", t, i, i % 50 == 0 ? sLong.c_str() : "");
                    if (i % 400 == t)
                    {
                        EXPECT_TRUE(m_log.Flush(60000));
                    }
                }
            });
        }
    }
    EXPECT_TRUE(m_log.Flush(60000));
    EXPECT_EQ(expected, CountLines(Written()));
}

TEST_F(Log, MayBeReleasedWhileThreadsLog)
{
    for (int i = 0; i < 5; ++i)
    {
        Init(lqlInformation);
        std::atomic<bool> bStop = false;
        std::atomic<int> nLogged = 0;
        const auto LogOn = [&] {
            for (; !bStop; ++nLogged)
            {
                m_log.LogInf(ORVTEXT("x"));
                m_log.LogRaw("=I> raw\r\n");
                m_log.GetLogFileName();
            }
        };
        std::jthread threads[4];
        for (auto& thread : threads)
            thread = std::jthread(LogOn);
        while (nLogged == 0)
            std::this_thread::yield();
        m_log.ReleaseLog();
        bStop = true;
        for (auto& thread : threads)
            thread.join();
        EXPECT_TRUE(Written().starts_with("=I> "));
    }
}

TEST_F(Log, LeavesTheNameOfItsThreadToTheNext)
{
    CReportCapture capture;
    for (int i = 0; i < 70; ++i, m_log.ReleaseLog())
        Init(lqlErrors);
    EXPECT_NO_REPORTS(capture);
}

// ---- The process logger ----

TEST_F(Log, ProcessLoggerWorksByPlainCalls)
{
    EXPECT_EQ(0u, GetProcessLogOpt(nullptr));
    LogStrExp(lqlErrors, "nowhere");
    ASSERT_TRUE(InitFileProcessLogger(m_sFile.c_str(), static_cast<int>(lqlErrors | lqlNoSQLText)));
    EXPECT_EQ(unsigned{lqlErrors}, GetProcessLogOpt(nullptr));
    GetProcessLogger()->SetPrefix(ORVTEXT("0123456789"));
    WCHAR sPrefix[10];
    GetProcessLogOpt(sPrefix);
    EXPECT_EQ(Text(ORVTEXT("012345678")), sPrefix);
    LogStrExp(lqlErrors, "100%d");
    LogStrExp(lqlErrors, "");
    LogStrRawExp("raw\n");
    EXPECT_TRUE(FlushLogs(60000)); // the name is known once the file is open
    const Text sFile = TextOf(GetProcessLogger()->GetLogFileName());
    EXPECT_TRUE(std::filesystem::equivalent(m_file, sFile));
    WCHAR sName[4] = {1, 1, 1, 1};
    EXPECT_EQ(sName, GetLogFileNameExp(sName, 2));
    EXPECT_EQ(1, sName[0]);
    GetLogFileNameExp(sName, 3);
    EXPECT_EQ(sFile.substr(0, 2), sName);
    EXPECT_EQ(nullptr, GetLogFileNameExp(nullptr, 100));
    ReleaseProcessLogger();
    EXPECT_EQ("=E> 0123456789 <t> 100%d\r\nraw\n", Written());
}

// ---- Configuration in the registry ----

class RegistryLog : public Log
{
protected:
    static void Set(HKEY hHive, const WCHAR* sName, const std::optional<RegistryValue>& value)
    {
        const WCHAR* const sKey = ORVTEXT("Software\\Orvanex\\Lumatrek\\TestLog");
        ASSERT_EQ(ERROR_SUCCESS, StoreValue(hHive, sKey, sName, value));
    }
    void Configure(HKEY hHive, unsigned nOptions)
    {
        Set(hHive, ORVTEXT("EventLog"), NumberValue(nOptions));
        Set(hHive, ORVTEXT("EventDir"), TextValue(m_sFile));
    }

    CTestRegistry m_registry;
};

TEST_F(RegistryLog, IsConfiguredByItsKey)
{
    Configure(HKEY_CURRENT_USER, lqlErrors | lqlSQL);
    Set(HKEY_CURRENT_USER, ORVTEXT("WorkerDBIdForSQLLog"), TextValue(ORVTEXT("3,17")));
    for (const WCHAR* sKey : {ORVTEXT("TestLog"), ORVTEXT("SOFTWARE\\Orvanex\\Lumatrek\\TestLog")})
    {
        ASSERT_TRUE(m_log.InitRegLog(sKey, ORVTEXT("P")));
        EXPECT_EQ(unsigned{lqlErrors | lqlSQL}, m_log.GetLogOpt());
        EXPECT_TRUE(m_log.NeedSQLLogToWorkerDB(17));
        EXPECT_FALSE(m_log.NeedSQLLogToWorkerDB(1));
    }
    COrvLog child(&m_log, -1, nullptr);
    for (const unsigned nId : {1u, 17u})
        SQLStrSaveToLog(ORVTEXT("S"), &child, LQComErrorData(), nId, -1, ~0u);
    child.ReleaseLog();
    EXPECT_EQ("=S> P <t> SQL SUCCEEDED [17]:\r\nSQL 17P\tS\r\n", Written());
}

TEST_F(RegistryLog, UserComesBeforeTheMachineAndThatBeforeDefaults)
{
    Set(HKEY_LOCAL_MACHINE, ORVTEXT("EventLog"), TextValue(ORVTEXT("1"))); // of a number's size
    EXPECT_FALSE(m_log.InitRegLog(ORVTEXT("TestLog"), nullptr)) << "works, but is no success";
    EXPECT_EQ(0x4027u, m_log.GetLogOpt());
    EXPECT_TRUE(m_log.HasLog(lqlErrors));
    Configure(HKEY_LOCAL_MACHINE, lqlWarnings);
    Set(HKEY_LOCAL_MACHINE, ORVTEXT("WorkerDBIdForSQLLog"), TextValue(ORVTEXT("3"))); // without lqlSQL
    EXPECT_TRUE(m_log.InitRegLog(ORVTEXT("TestLog"), nullptr));
    EXPECT_EQ(unsigned{lqlWarnings}, m_log.GetLogOpt());
    EXPECT_TRUE(m_log.NeedSQLLogToWorkerDB(1));
    Set(HKEY_CURRENT_USER, ORVTEXT("EventLog"), NumberValue(DWORD{lqlErrors}));
    EXPECT_FALSE(m_log.InitRegLog(ORVTEXT("TestLog"), nullptr)) << "no EventDir";
    EXPECT_EQ(unsigned{lqlErrors}, m_log.GetLogOpt());
    Configure(HKEY_CURRENT_USER, 0);
    EXPECT_FALSE(m_log.InitRegLog(ORVTEXT("TestLog"), nullptr)) << "no log is wanted";
    EXPECT_FALSE(m_log.SetFileOption(lqfKeepFiles, 1)) << "the former file is given back";
}

TEST_F(RegistryLog, NumbersOfTheKeyAreTheOptionsOfLogAndFile)
{
    Configure(HKEY_CURRENT_USER, lqlErrors);
    const struct
    {
        const WCHAR* m_sValue;
        RegistryValue m_value;
        std::uint64_t m_nExpected;
    } cases[] = {
        {ORVTEXT("EventFlushLevel"), NumberValue(DWORD{lqlWarnings}), lqlWarnings},
        {ORVTEXT("EventMaxWaiting"), NumberValue(std::uint64_t{5'000'000'000}), 5'000'000'000},
        {ORVTEXT("EventMaxFileSize"), NumberValue(std::uint64_t{6'000'000'000}), 6'000'000'000},
        {ORVTEXT("EventKeepFiles"), NumberValue(DWORD{14}), 14},
        {ORVTEXT("EventUTF8"), NumberValue(DWORD{1}), 1},
        {ORVTEXT("EventMaxWaiting"), TextValue(ORVTEXT("7")), 64 << 20}, // no number
        {ORVTEXT("EventMaxWaiting"), {REG_DWORD, "12"}, 64 << 20},       // half a number
        {ORVTEXT("EventKeepFiles"), {REG_QWORD, "1234567"}, 0},
        {ORVTEXT("EventFlushLevel"), {REG_BINARY, "1234"}, 0},
        {ORVTEXT("EventMaxWaiting"), {REG_BINARY, ""}, 64 << 20},
    };
    for (const auto& c : cases)
    {
        Set(HKEY_CURRENT_USER, c.m_sValue, c.m_value);
        m_log.SetFlushLevel(0);
        ASSERT_TRUE(m_log.InitRegLog(ORVTEXT("TestLog"), nullptr));
        std::map<Text, std::uint64_t> expected{{ORVTEXT("EventFlushLevel"), 0},
                                               {ORVTEXT("EventMaxWaiting"), 64 << 20},
                                               {ORVTEXT("EventMaxFileSize"), 0},
                                               {ORVTEXT("EventKeepFiles"), 0},
                                               {ORVTEXT("EventUTF8"), 0}};
        expected[c.m_sValue] = c.m_nExpected;
        const std::map<Text, std::uint64_t> actual{
            {ORVTEXT("EventFlushLevel"), m_log.GetFlushLevel()},
            {ORVTEXT("EventMaxWaiting"), m_log.GetFileOption(lqfMaxWaiting)},
            {ORVTEXT("EventMaxFileSize"), m_log.GetFileOption(lqfMaxFileBytes)},
            {ORVTEXT("EventKeepFiles"), m_log.GetFileOption(lqfKeepFiles)},
            {ORVTEXT("EventUTF8"), m_log.GetFileOption(lqfUTF8)}};
        EXPECT_EQ(expected, actual);
        m_log.ReleaseLog();
        Set(HKEY_CURRENT_USER, c.m_sValue, std::nullopt);
    }
}

TEST_F(RegistryLog, IdsThatAreNoTextAreNone)
{
    Configure(HKEY_CURRENT_USER, lqlSQL);
    // Fills the buffer to its end, without a terminator.
    const RegistryValue ids{REG_BINARY, std::string(2000 * sizeof(WCHAR), '7')};
    Set(HKEY_CURRENT_USER, ORVTEXT("WorkerDBIdForSQLLog"), ids);
    ASSERT_TRUE(m_log.InitRegLog(ORVTEXT("TestLog"), nullptr));
    EXPECT_TRUE(m_log.NeedSQLLogToWorkerDB(1));
}
