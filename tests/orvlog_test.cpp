#include "orvcomtypes/orvlog.h"

#include "orvcomtypes/orvcomtypes.h"
#include "support/child_process.h"
#include "support/debug_capture.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <regex>
#include <sstream>
#include <thread>

namespace
{

Text ToText(const std::filesystem::path& path)
{
    const auto sText = path.u16string();
    return Text(sText.begin(), sText.end());
}

/// The time in a line is not what these tests are about.
std::string WithoutStamps(const std::string& sText)
{
    static const std::regex s_stamp(R"(\d{6}_\d{6} )");
    return std::regex_replace(sText, s_stamp, "<stamp> ");
}

std::vector<std::string> Lines(const std::string& sText)
{
    std::vector<std::string> lines;
    std::istringstream stream(sText);
    for (std::string sLine; std::getline(stream, sLine);)
        lines.push_back(sLine);
    return lines;
}

class Log : public testing::Test
{
protected:
    std::filesystem::path File() const { return m_dir / "test.txt"; }

    void Init(unsigned nOptions, const WCHAR* sPrefix = nullptr)
    {
        ASSERT_TRUE(m_log.InitFileLog(ToText(File()).c_str(), static_cast<int>(nOptions), sPrefix));
    }

    /// Releases the log, which writes all its lines, and takes them from the file.
    std::string Written()
    {
        m_log.ReleaseLog();
        const std::string sText = WithoutStamps(ReadBytes(File()));
        std::error_code ignored;
        std::filesystem::remove(File(), ignored);
        return sText;
    }

    CTempDir m_dir;
    COrvLog m_log;
};

} // namespace

TEST_F(Log, LineShowsTheMarkOfTheLowestLevel)
{
    Init(0xFFF);
    const struct
    {
        unsigned m_nLevel;
        char m_cMark;
    } cases[] = {{1, 'E'},    {2, 'W'},    {4, 'I'}, {8, 'S'},    {0x20, 'U'},
                 {0x10, 'O'}, {0x40, 'O'}, {9, 'E'}, {0x28, 'S'}, {0x30, 'U'}};
    std::string sExpected;
    for (const auto& c : cases)
    {
        m_log.LogOpt(c.m_nLevel, "x");
        sExpected += std::string("=") + c.m_cMark + "> <stamp> x\r\n";
    }
    EXPECT_EQ(sExpected, Written());
}

TEST_F(Log, LineCarriesPrefixThreadPositionAndResult)
{
    Init(lqlErrors | lqlThreadId, ORVTEXT("Pfx"));
    m_log.SetFL("src\\log/orvlog", 1191)
        .LogOpt(lqlErrors, static_cast<LONG>(0x80070005), "Text %d of %s", 1, "all");
    m_log.SetFL(nullptr, 0);
    char sThread[16];
    std::snprintf(sThread, sizeof(sThread), "[%04X] ", static_cast<unsigned>(GetCurrentThreadId() & 0xFFFF));
    EXPECT_EQ("=E> Pfx <stamp> " + std::string(sThread) + "orvlog(1191) HR: 80070005 Text 1 of all\r\n",
              Written());
}

TEST_F(Log, StampIsTheLocalTime)
{
    Init(lqlErrors);
    const __time64_t tBefore = _time64(nullptr);
    m_log.LogErr(ORVTEXT("x"));
    const __time64_t tAfter = _time64(nullptr);
    m_log.ReleaseLog();
    std::vector<std::string> possible;
    for (__time64_t t = tBefore; t <= tAfter; ++t)
    {
        std::tm tm;
        ASSERT_EQ(0, _localtime64_s(&tm, &t));
        char sLine[64];
        std::strftime(sLine, sizeof(sLine), "=E> %y%m%d_%H%M%S x\r\n", &tm);
        possible.push_back(sLine);
    }
    EXPECT_NE(possible.end(), std::find(possible.begin(), possible.end(), ReadBytes(File())));
}

TEST_F(Log, LineBreaksAreIndentedAndTheEndIsTrimmed)
{
    Init(lqlErrors);
    const struct
    {
        const char* m_sText;
        const char* m_sLine;
    } cases[] = {{"a\nb", "a\r\n\tb"}, {"a\r\nb", "a\r\n\tb"}, {"a\n\nb", "a\r\n\t\r\n\tb"},
                 {"a\rb", "a\rb"},     {"\nb", "\r\n\tb"},     {"a \t\r\n \v\f", "a"},
                 {"a\n", "a"},         {"\n \n", ""}};
    for (const auto& c : cases)
        m_log.LogSimpleStr(lqlErrors, c.m_sText);
    std::string sExpected;
    for (const auto& c : cases)
        sExpected += (*c.m_sLine != 0 ? "=E> <stamp> " : "=E> <stamp>") + std::string(c.m_sLine) + "\r\n";
    // Where nothing follows, the blank behind the stamp goes too.
    m_log.ReleaseLog();
    std::string sText = std::regex_replace(ReadBytes(File()), std::regex(R"(\d{6}_\d{6})"), "<stamp>");
    EXPECT_EQ(sExpected, sText);
}

TEST_F(Log, LevelsThatAreOffLeaveNoTrace)
{
    CDebugCapture debugger;
    Init(lqlErrors | lqlToDebugger);
    m_log.LogWarn(ORVTEXT("no"));
    m_log.LogErr(ORVTEXT(""));
    m_log.LogErr(nullptr);
    m_log.LogSimpleStr(lqlErrors, static_cast<const char*>(nullptr));
    m_log.LogOpt(lqlErrors, nullptr);
    EXPECT_EQ("", Written());
    EXPECT_EQ("", debugger.Take());
}

TEST_F(Log, DebuggerGetsACopyOrAll)
{
    CDebugCapture debugger;
    Init(lqlErrors | lqlToDebugger);
    m_log.LogErr(ORVTEXT("both"));
    m_log.SetLogOpt(lqlToDebugger);
    m_log.LogErr(ORVTEXT("filtered"));
    m_log.LogCust(lqlToDebugger, ORVTEXT("only there"));
    EXPECT_EQ("=E> <stamp> both\r\n", Written());
    EXPECT_EQ("=E> <stamp> both\r\n=O> <stamp> only there\r\n", WithoutStamps(debugger.Take()));
}

TEST_F(Log, PercentInFrontOfTheFormatReadsNoForeignArguments)
{
    Init(lqlErrors, ORVTEXT("50%d 9%s %n%%"));
    m_log.LogOpt(lqlErrors, "[%s]", "text");
    m_log.LogOpt(lqlErrors, "[%I64d]", std::int64_t{7});
    EXPECT_EQ("=E> 50 9text % <stamp> []\r\n=E> 50 9 % <stamp> [7]\r\n", Written());
}

TEST_F(Log, FormatsAsWindowsDoes)
{
    Init(lqlErrors);
    m_log.LogOpt(lqlErrors, "%S|%hs|%ls|%ld|%I64u|%08X", ORVTEXT("wide"), "narrow", ORVTEXT("wide"), -1,
                 std::uint64_t{1} << 40, 0xABC);
    EXPECT_EQ("=E> <stamp> wide|narrow|wide|-1|1099511627776|00000ABC\r\n", Written());
}

TEST_F(Log, LongMessagesAndFormatsAreCut)
{
    Init(lqlErrors);
    const std::string sLong(20000, 'x');
    m_log.LogSimpleStr(lqlErrors, sLong.c_str());
    EXPECT_EQ(16374u + 2, (m_log.ReleaseLog(), ReadBytes(File()).size()));
    std::filesystem::remove(File());
    Init(lqlErrors);
    m_log.LogOpt(lqlErrors, sLong.c_str());
    EXPECT_EQ(1023u + 2, (m_log.ReleaseLog(), ReadBytes(File()).size()));
}

TEST_F(Log, PrefixIsCutAt63)
{
    m_log.SetPrefix(Text(70, 'p').c_str());
    EXPECT_EQ(Text(63, 'p'), TextOf(m_log.GetPrefix()));
    m_log.SetPrefix(nullptr);
    EXPECT_TRUE(m_log.GetPrefix().IsEmpty());
}

TEST_F(Log, RawTextIsUnfilteredAndUndecorated)
{
    Init(0);
    m_log.LogRaw("a\n");
    m_log.LogRaw(0x40, "b");
    m_log.LogRaw(Text(30000, 'c').c_str());
    EXPECT_EQ("a\nb" + std::string(30000, 'c'), Written());
}

TEST_F(Log, OptionsAreReturnedAsTheyWere)
{
    Init(lqlErrors | lqlNoSQLText);
    EXPECT_EQ(static_cast<unsigned>(lqlErrors), m_log.AddLogOpt(lqlNoSQLText | lqlSQL));
    EXPECT_EQ(static_cast<unsigned>(lqlErrors | lqlNoSQLText | lqlSQL), m_log.RevokeLogOpt(lqlSQL));
    EXPECT_TRUE(m_log.HasLog(lqlErrors));
    EXPECT_FALSE(m_log.HasLog(lqlSQL));
    m_log.ReleaseLog();
    EXPECT_FALSE(m_log.HasLog(~0u));
    EXPECT_EQ(0u, m_log.GetLogOpt());
}

TEST_F(Log, ChildSharesTheParentsFile)
{
    Init(lqlErrors, ORVTEXT("parent"));
    m_log.AddLogOpt(lqlNoSQLText);
    COrvLog heir(&m_log, -1, nullptr);
    EXPECT_EQ(m_log.GetLogOpt(), heir.GetLogOpt());
    COrvLog other(&m_log, static_cast<int>(lqlWarnings | lqlNoSQLText), ORVTEXT("other"));
    EXPECT_EQ(static_cast<unsigned>(lqlWarnings), other.GetLogOpt());
    heir.LogErr(ORVTEXT("1"));
    other.LogWarn(ORVTEXT("2"));
    m_log.ReleaseLog();
    heir.LogErr(ORVTEXT("3"));
    EXPECT_TRUE(heir.InitLog(nullptr, -1, ORVTEXT("x")));
    EXPECT_TRUE(heir.GetPrefix().IsEmpty());
    other.ReleaseLog();
    EXPECT_EQ("=E> parent <stamp> 1\r\n=W> other <stamp> 2\r\n=E> parent <stamp> 3\r\n", Written());
}

TEST_F(Log, CopiesOfAReleasedLogAreSilent)
{
    Init(lqlErrors);
    m_log.LogErr(ORVTEXT("before"));
    COrvLog copy(m_log);
    m_log.ReleaseLog();
    copy.LogErr(ORVTEXT("after"));
    copy.ReleaseLog();
    copy.ReleaseLog();
    EXPECT_EQ("=E> <stamp> before\r\n", Written());
}

TEST_F(Log, FormatsThatDifferInCaseNameOneFile)
{
    Init(lqlErrors);
    Text sUpper = ToText(File());
    std::transform(sUpper.begin(), sUpper.end(), sUpper.begin(),
                   [](WCHAR c) { return c >= 'a' && c <= 'z' ? static_cast<WCHAR>(c - 32) : c; });
    COrvLog second;
    ASSERT_TRUE(second.InitFileLog(sUpper.c_str(), lqlErrors, nullptr));
    second.LogErr(ORVTEXT("1"));
    m_log.LogErr(ORVTEXT("2"));
    second.ReleaseLog();
    EXPECT_EQ("=E> <stamp> 1\r\n=E> <stamp> 2\r\n", Written());
}

TEST_F(Log, EmptyFileNameIsReported)
{
    CReportCapture capture;
    EXPECT_FALSE(m_log.InitFileLog(ORVTEXT(""), lqlErrors, nullptr));
    EXPECT_EQ(0u, m_log.GetLogOpt());
    EXPECT_REPORTS(capture, {{"CLogFileHandlerList::AddFileHandler",
                              "STRNOTEMPTY(sFileNameFormat) && pHandler != nullptr", nullptr, "orvlog"}});
}

TEST_F(Log, FileNameIsKnownOnceItIsOpen)
{
    Init(lqlErrors);
    m_log.LogErr(ORVTEXT("x"));
    while (m_log.GetLogFileName().IsEmpty())
        std::this_thread::yield();
    EXPECT_TRUE(std::filesystem::equivalent(
        File(), std::filesystem::path(static_cast<const WCHAR*>(m_log.GetLogFileName()))));
}

TEST_F(Log, PositionBelongsToTheThread)
{
    EXPECT_TRUE(m_log.HasFL());
    m_log.SetFL("file.cpp", 7);
    EXPECT_FALSE(m_log.HasFL());
    bool bElsewhere = false;
    std::thread([&] { bElsewhere = m_log.HasFL(); }).join();
    EXPECT_TRUE(bElsewhere);
    m_log.SetFL("file.cpp", 0);
    EXPECT_TRUE(m_log.HasFL());
    const char* sFile = nullptr;
    int iLine = -1;
    m_log.GetFL(sFile, iLine);
    EXPECT_STREQ("file.cpp", sFile);
    m_log.SetFL(nullptr, 0);
    m_log.GetFL(sFile, iLine);
    EXPECT_EQ(nullptr, sFile);
    EXPECT_EQ(0, iLine);
}

TEST_F(Log, PositionTableIsMadeAnewAfterTheTeardown)
{
    m_log.SetFL("file.cpp", 7);
    UninitOrvComTypes();
    EXPECT_TRUE(m_log.HasFL());
    m_log.SetFL("file.cpp", 8);
    EXPECT_FALSE(m_log.HasFL());
    m_log.SetFL(nullptr, 0);
}

TEST_F(Log, KeepsEveryLineAndTheOrderOfEachThread)
{
    constexpr int nThreads = 16;
    constexpr int nLines = 3000;
    Init(lqlInformation);
    std::vector<std::thread> threads;
    for (int t = 0; t < nThreads; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < nLines; ++i)
                m_log.LogOpt(lqlInformation, "thread %d line %d%s", t, i,
                             i % 50 == 0 ? std::string(600, ' ').append("x").c_str() : "");
        });
    for (auto& thread : threads)
        thread.join();
    int nNext[nThreads] = {};
    for (const std::string& sLine : Lines(Written()))
    {
        int t = -1;
        int i = -1;
        ASSERT_EQ(2, std::sscanf(sLine.c_str(), "=I> <stamp> thread %d line %d", &t, &i)) << sLine;
        ASSERT_EQ(nNext[t]++, i) << "thread " << t;
    }
    for (int t = 0; t < nThreads; ++t)
        EXPECT_EQ(nLines, nNext[t]);
}

TEST_F(Log, MayBeReleasedWhileThreadsLog)
{
    for (int i = 0; i < 5; ++i)
    {
        Init(lqlInformation);
        std::atomic<bool> bStop = false;
        std::atomic<int> nLogged = 0;
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&] {
                for (; !bStop; ++nLogged)
                {
                    m_log.LogInf(ORVTEXT("x"));
                    m_log.LogRaw("=I> raw\r\n");
                    m_log.GetLogFileName();
                }
            });
        while (nLogged == 0)
            std::this_thread::yield();
        m_log.ReleaseLog();
        const int nBefore = nLogged;
        while (nLogged == nBefore)
            std::this_thread::yield();
        bStop = true;
        for (auto& thread : threads)
            thread.join();
        EXPECT_TRUE(Written().starts_with("=I> "));
    }
}

TEST_F(Log, LinesWaitUntilTheFileCanBeOpened)
{
    CDebugCapture debugger;
    // A file where the folder is to be.
    WriteBytes(m_dir / "sub", "");
    const auto file = m_dir / "sub" / "late.txt";
    ASSERT_TRUE(m_log.InitFileLog(ToText(file).c_str(), lqlErrors, nullptr));
    m_log.LogErr(ORVTEXT("1"));
    m_log.LogErr(ORVTEXT("2"));
    std::string sDebug;
    while (sDebug.find("Log creation error: Cannot create or open log file: ") == sDebug.npos)
        sDebug += debugger.Take();
    std::filesystem::remove(m_dir / "sub");
    m_log.LogErr(ORVTEXT("3"));
    m_log.ReleaseLog();
    EXPECT_EQ("=E> <stamp> 1\r\n=E> <stamp> 2\r\n=E> <stamp> 3\r\n", WithoutStamps(ReadBytes(file)));
}

TEST_F(Log, AppendsBesideAnotherWriter)
{
    WriteBytes(File(), "first\r\n");
    Init(lqlErrors);
    m_log.LogErr(ORVTEXT("1"));
    while (ReadBytes(File()).size() < 10)
        std::this_thread::yield();
    {
        std::ofstream other(File(), std::ios::binary | std::ios::app);
        other << "other\r\n";
    }
    m_log.LogErr(ORVTEXT("2"));
    EXPECT_EQ("first\r\n=E> <stamp> 1\r\nother\r\n=E> <stamp> 2\r\n", Written());
}

namespace
{
class CLateLogger
{
public:
    ~CLateLogger() { m_log.LogErr(ORVTEXT("from a static destructor")); }
    COrvLog m_log;
};
} // namespace

ORV_CHILD(LogAtTheEnd)
{
    static CLateLogger s_late;
    const Text sFile = ToText(args.at(0));
    if (!s_late.m_log.InitFileLog(sFile.c_str(), lqlErrors, nullptr) ||
        !InitFileProcessLogger(sFile.c_str(), lqlErrors))
        return 1;
    LogStrExp(lqlErrors, "from main");
    // Wine breaks when it kills a thread that is just opening a file, so the end comes later than that.
    while (ReadBytes(args.at(0)).empty())
        std::this_thread::yield();
    // Never released: its lines are written at the library's end.
    static COrvLog* const s_pLost = new COrvLog(&s_late.m_log, -1, nullptr);
    s_pLost->LogErr(ORVTEXT("from a lost log"));
    return 0;
}

TEST_F(Log, NothingIsLostAtTheEndOfTheProcess)
{
    EXPECT_EQ(0, CChildProcess("LogAtTheEnd", {File().string()}).Wait().m_iExitCode);
    EXPECT_EQ(
        "=E> <stamp> from main\r\n=E> <stamp> from a lost log\r\n=E> <stamp> from a static destructor\r\n",
        WithoutStamps(ReadBytes(File())));
}

// ---- The process logger ----

TEST_F(Log, ProcessLoggerWorksByPlainCalls)
{
    EXPECT_EQ(0u, GetProcessLogOpt(nullptr));
    LogStrExp(lqlErrors, "nowhere");
    ASSERT_TRUE(InitFileProcessLogger(ToText(File()).c_str(), static_cast<int>(lqlErrors | lqlNoSQLText)));
    EXPECT_EQ(static_cast<unsigned>(lqlErrors), GetProcessLogOpt(nullptr));
    GetProcessLogger()->SetPrefix(ORVTEXT("0123456789"));
    WCHAR sPrefix[10];
    GetProcessLogOpt(sPrefix);
    EXPECT_EQ(Text(ORVTEXT("012345678")), sPrefix);
    LogStrExp(lqlErrors, "100%d");
    LogStrExp(lqlErrors, "");
    LogStrRawExp("raw\n");
    ReleaseProcessLogger();
    EXPECT_EQ("=E> 0123456789 <stamp> 100%d\r\nraw\n", WithoutStamps(ReadBytes(File())));
}

TEST_F(Log, ProcessLoggersFileNameIsCutToTheBuffer)
{
    ASSERT_TRUE(InitFileProcessLogger(ToText(File()).c_str(), lqlErrors));
    LogStrExp(lqlErrors, "x");
    while (GetProcessLogger()->GetLogFileName().IsEmpty())
        std::this_thread::yield();
    WCHAR sName[4] = {1, 1, 1, 1};
    EXPECT_EQ(sName, GetLogFileNameExp(sName, 2));
    EXPECT_EQ(1, sName[0]);
    GetLogFileNameExp(sName, 4);
    EXPECT_EQ(TextOf(GetProcessLogger()->GetLogFileName()).substr(0, 3), sName);
    EXPECT_EQ(nullptr, GetLogFileNameExp(nullptr, 100));
    ReleaseProcessLogger();
}

TEST_F(Log, TraceLinesTellThreadAndTimes)
{
    CDebugCapture debugger;
    ASSERT_TRUE(InitFileProcessLogger(ToText(File()).c_str(), lqlInformation));
    WriteThreadPrintfTrace("start", 5);
    ReleaseProcessLogger();
    const std::string sLine = "Thread:" + std::to_string(GetCurrentThreadId()) + "; Time:0(0); start [5]";
    EXPECT_EQ(sLine + "\n", debugger.Take());
    EXPECT_EQ("=I> <stamp> " + sLine + "\r\n", WithoutStamps(ReadBytes(File())));
}

// ---- Configuration in the registry ----

namespace
{

constexpr const WCHAR* kLogKey = ORVTEXT("Software\\Orvanex\\Lumatrek\\TestLog");

void SetValue(HKEY hHive, const WCHAR* sName, DWORD dwType, const void* pData, std::size_t nBytes)
{
    CRegKeyW key;
    ASSERT_EQ(ERROR_SUCCESS, key.Create(hHive, kLogKey, KEY_SET_VALUE));
    ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(key.Get(), sName, 0, dwType, static_cast<const BYTE*>(pData),
                                            static_cast<DWORD>(nBytes)));
}

void SetValue(HKEY hHive, const WCHAR* sName, DWORD dwValue)
{
    SetValue(hHive, sName, REG_DWORD, &dwValue, sizeof(dwValue));
}

void SetValue(HKEY hHive, const WCHAR* sName, const Text& sValue)
{
    SetValue(hHive, sName, REG_SZ, sValue.c_str(), (sValue.size() + 1) * sizeof(WCHAR));
}

} // namespace

class RegistryLog : public Log
{
protected:
    CTestRegistry m_registry;
};

TEST_F(RegistryLog, IsConfiguredByItsKey)
{
    SetValue(HKEY_CURRENT_USER, ORVTEXT("EventLog"), lqlErrors | lqlSQL);
    SetValue(HKEY_CURRENT_USER, ORVTEXT("EventDir"), ToText(File()));
    SetValue(HKEY_CURRENT_USER, ORVTEXT("WorkerDBIdForSQLLog"), Text(ORVTEXT("3,17")));
    for (const WCHAR* sKey : {ORVTEXT("TestLog"), ORVTEXT("SOFTWARE\\Orvanex\\Lumatrek\\TestLog")})
    {
        ASSERT_TRUE(m_log.InitRegLog(sKey, ORVTEXT("P")));
        EXPECT_EQ(static_cast<unsigned>(lqlErrors | lqlSQL), m_log.GetLogOpt());
        EXPECT_TRUE(m_log.NeedSQLLogToWorkerDB(17));
        EXPECT_FALSE(m_log.NeedSQLLogToWorkerDB(1));
    }
    m_log.LogErr(ORVTEXT("x"));
    EXPECT_EQ("=E> P <stamp> x\r\n", Written());
}

TEST_F(RegistryLog, MachineKeyCountsWhereTheUserHasNone)
{
    SetValue(HKEY_LOCAL_MACHINE, ORVTEXT("EventLog"), lqlWarnings);
    SetValue(HKEY_LOCAL_MACHINE, ORVTEXT("EventDir"), ToText(File()));
    EXPECT_TRUE(m_log.InitRegLog(ORVTEXT("TestLog"), nullptr));
    EXPECT_EQ(static_cast<unsigned>(lqlWarnings), m_log.GetLogOpt());
    EXPECT_TRUE(m_log.NeedSQLLogToWorkerDB(1));
}

TEST_F(RegistryLog, IdsThatAreNoTextAreNone)
{
    SetValue(HKEY_CURRENT_USER, ORVTEXT("EventLog"), lqlSQL);
    SetValue(HKEY_CURRENT_USER, ORVTEXT("EventDir"), ToText(File()));
    // Fills the buffer to its end, without a terminator.
    const Text sIds(2000, '7');
    SetValue(HKEY_CURRENT_USER, ORVTEXT("WorkerDBIdForSQLLog"), REG_BINARY, sIds.data(),
             sIds.size() * sizeof(WCHAR));
    ASSERT_TRUE(m_log.InitRegLog(ORVTEXT("TestLog"), nullptr));
    EXPECT_TRUE(m_log.NeedSQLLogToWorkerDB(1));
}

TEST_F(RegistryLog, ZeroMeansNoLog)
{
    SetValue(HKEY_CURRENT_USER, ORVTEXT("EventLog"), 0);
    EXPECT_FALSE(m_log.InitRegLog(ORVTEXT("TestLog"), nullptr));
    EXPECT_FALSE(m_log.HasLog(~0u));
}

TEST_F(RegistryLog, DefaultsWorkButAreNotSuccess)
{
    SetValue(HKEY_CURRENT_USER, ORVTEXT("EventLog"), lqlErrors);
    EXPECT_FALSE(m_log.InitRegLog(ORVTEXT("TestLog"), nullptr)) << "no EventDir";
    EXPECT_EQ(static_cast<unsigned>(lqlErrors), m_log.GetLogOpt());
    EXPECT_FALSE(m_log.InitRegLog(ORVTEXT("NoSuchKey"), nullptr));
    EXPECT_EQ(0x4027u, m_log.GetLogOpt());
    EXPECT_TRUE(m_log.HasLog(lqlErrors));
}

TEST_F(RegistryLog, EmptyKeyNameIsReported)
{
    CReportCapture capture;
    EXPECT_FALSE(m_log.InitRegLog(ORVTEXT(""), nullptr));
    EXPECT_REPORTS(capture, {{"COrvLog::InitRegLog", "STRISEMPTY(sKeyName)"}});
}
