// What may befall a log's file, and the lines that wait for it.
#include "orvcomtypes/logcrash.h"
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/octalloc.h"
#include "support/child_process.h"
#include "support/faults.h"
#include "support/report_capture.h"
#include "support/test_log.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace
{

constexpr DWORD kLong = 60000; // for what must happen at last

class LogFaults : public CLogTest
{
protected:
    void Open(const std::filesystem::path& file)
    {
        ASSERT_TRUE(m_log.InitFileLog(file.string<WCHAR>().c_str(),
                                      static_cast<int>(lqlErrors | lqlInformation), nullptr));
    }
    /// Two lines that wait while the file cannot be written.
    void ExpectToWait(const std::filesystem::path& file, const std::function<void()>& allow)
    {
        Open(file);
        m_log.SetFlushLevel(lqlErrors); // waits for one try
        m_log.LogInf(ORVTEXT("1"));
        m_log.LogErr(ORVTEXT("2"));
        EXPECT_FALSE(m_log.Flush(0));
        allow();
        EXPECT_TRUE(m_log.Flush(kLong));
        EXPECT_EQ("=I> <t> 1\r\n=E> <t> 2\r\n", WithoutTimes(ReadBytes(file)));
        EXPECT_EQ(0u, m_log.GetLostLines());
    }
    void Log(const char* sText)
    {
        m_log.LogOpt(lqlInformation, "%s", sText);
        EXPECT_TRUE(m_log.Flush(kLong));
    }
};

} // namespace

// ---- The file ----

TEST_F(LogFaults, FileThatSomebodyTookAwayIsMadeAgain)
{
    using Path = std::filesystem::path;
    const struct
    {
        const char* m_sName;
        void (*m_pfnFault)(const Path& file);
        const char* m_sExpected; // in the file of that name
    } cases[] = {
        {"nothing", [](const Path&) {}, "=I> <t> 1\r\n=I> <t> 2\r\n"},
        {"deleted", [](const Path& file) { std::filesystem::remove(file); }, "=I> <t> 2\r\n"},
        {"renamed", [](const Path& file) { std::filesystem::rename(file, Path(file) += ".1"); },
         "=I> <t> 2\r\n"},
        {"replaced",
         [](const Path& file) {
             std::filesystem::rename(file, Path(file) += ".1");
             WriteBytes(file, "half");
         },
         "half\r\n=I> <t> 2\r\n"},
        {"truncated", [](const Path& file) { std::filesystem::resize_file(file, 0); }, "=I> <t> 2\r\n"},
        {"folder gone", [](const Path& file) { std::filesystem::remove_all(file.parent_path()); },
         "=I> <t> 2\r\n"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.m_sName);
        const Path file = m_dir / c.m_sName / "app.txt";
        std::string sExpected = c.m_sExpected;
        Open(file);
        Log("1");
        try
        {
            c.m_pfnFault(file);
        }
        catch (const std::filesystem::filesystem_error&)
        {
            sExpected = cases[0].m_sExpected; // Windows does not let go of an open file
        }
        Log("2");
        EXPECT_EQ(sExpected, WithoutTimes(ReadBytes(file)));
        m_log.ReleaseLog();
    }
}

TEST_F(LogFaults, LinesWaitWhileTheFileCannotBeOpened)
{
    WriteBytes(m_dir / "sub", ""); // where the folder is to be
    CDebugCapture debugger;
    ExpectToWait(m_dir / "sub" / "late.txt", [&] { std::filesystem::remove(m_dir / "sub"); });
    EXPECT_TRUE(
        Contains(debugger.Take(),
                 "Log creation error: Cannot create or open log file: .*late.txt, error code: \\d+\n"));
    WriteBytes(m_file, "");
    auto pDenied = std::make_unique<CDeniedFile>(m_file);
    ExpectToWait(m_file, [&] { pDenied.reset(); });
    auto pNoHandle = std::make_unique<CFault>(FaultyCall::Open);
    ExpectToWait(m_dir / "handle.txt", [&] { pNoHandle.reset(); });
}

TEST_F(LogFaults, HalfALineIsEndedBeforeTheNextOne)
{
    for (const char* sLeft : {"=I> half", "=", "whole\n", ""})
    {
        WriteBytes(m_file, sLeft);
        Open(m_file);
        Log("x");
        EXPECT_EQ(sLeft + std::string(*sLeft == '=' ? "\r\n" : "") + "=I> <t> x\r\n", Written());
    }
}

// Another writer, whose line never ends.
TEST_F(LogFaults, NobodyIsWaitedForWithoutEnd)
{
    std::atomic<bool> bDone = false;
    std::thread other([&] {
        for (std::ofstream file(m_file, std::ios::app); !bDone; std::this_thread::yield())
            file << '.' << std::flush;
    });
    while (ReadBytes(m_file).empty())
        std::this_thread::yield();
    Open(m_file);
    Log("x");
    bDone = true;
    other.join();
}

TEST_F(LogFaults, LinesThatWaitAreBoundedAndWhatIsLostIsTold)
{
    WriteBytes(m_dir / "sub", ""); // where the folder is to be
    const auto file = m_dir / "sub" / "late.txt";
    Open(file);
    EXPECT_EQ(64u << 20, m_log.GetFileOption(lqfMaxWaiting));
    m_log.SetFileOption(lqfMaxWaiting, 1000);
    m_log.SetFlushLevel(lqlErrors); // waits for one try
    const auto Line = [](std::string sLine, std::size_t nLength) {
        sLine.resize(nLength - 1, '.');
        return sLine + '\n';
    };
    const auto LostWith = [this](unsigned nLevel, const std::string& sLine) {
        m_log.LogRaw(nLevel, sLine.c_str());
        return m_log.GetLostLines();
    };
    EXPECT_EQ(0u, LostWith(lqlErrors, Line("first", 100)));
    for (unsigned i = 2; i <= 12; ++i)
        EXPECT_EQ(i <= 10 ? 0 : i - 10, LostWith(0, Line(std::to_string(i), 100)));
    EXPECT_EQ(3u, LostWith(lqlErrors, Line("=E> no room can be made for it", 1001)));
    EXPECT_EQ(4u, LostWith(lqlErrors, Line("=E> error", 100))) << "another one makes room";
    EXPECT_LE(4u, GetLostLogLines(nullptr));
    EXPECT_FALSE(m_log.Flush(0));
    EXPECT_FALSE(FlushLogs(0));
    std::filesystem::remove(m_dir / "sub");
    EXPECT_TRUE(m_log.Flush(kLong));
    m_log.ReleaseLog();
    std::string sKept = Line("first", 100);
    for (unsigned i = 3; i <= 10; ++i)
        sKept += Line(std::to_string(i), 100);
    EXPECT_EQ("=W> <t> Lost log lines: 4 (1301 bytes), logged between <t> and <t>\r\n" + sKept +
                  Line("=E> error", 100),
              WithoutTimes(ReadBytes(file)));
}

TEST_F(LogFaults, LongPathNamesItsOwnFile)
{
    std::filesystem::path folder = m_dir.Path();
    for (int i = 0; i < 5; ++i)
        folder /= std::string(60, static_cast<char>('a' + i));
    Open(folder / "first.txt");
    Log("1");
    Open(folder / "second.txt");
    Log("2");
    m_log.ReleaseLog();
    // The functions that look into folders do not take such a path everywhere.
    std::size_t nFiles = 0;
    std::error_code none;
    using Iterator = std::filesystem::recursive_directory_iterator;
    for (Iterator it(m_dir.Path(), none); !none && it != Iterator(); it.increment(none))
        nFiles += it->path().extension() == ".txt";
    if (none)
        GTEST_SKIP() << "the test cannot look into folders that deep";
    EXPECT_EQ(2u, nFiles);
}

// ---- Flushing ----

TEST_F(LogFaults, FlushedLinesAreInTheFile)
{
    Init(lqlInformation | lqlWarnings | lqlErrors);
    EXPECT_TRUE(m_log.Flush(0)) << "nothing is queued";
    COrvLog other;
    const auto otherFile = m_dir / "other.txt";
    ASSERT_TRUE(other.InitFileLog(otherFile.string<WCHAR>().c_str(), lqlErrors, nullptr));
    m_log.LogInf(ORVTEXT("1"));
    other.LogErr(ORVTEXT("2"));
    EXPECT_TRUE(FlushLogs(kLong));
    EXPECT_EQ("=I> <t> 1\r\n", WithoutTimes(ReadBytes(m_file)));
    EXPECT_EQ("=E> <t> 2\r\n", WithoutTimes(ReadBytes(otherFile)));
    m_log.SetFlushLevel(lqlWarnings);
    COrvLog heir(&m_log, -1, nullptr);
    EXPECT_EQ(unsigned{lqlWarnings}, heir.GetFlushLevel());
    heir.LogWarn(ORVTEXT("3"));
    EXPECT_TRUE(ReadBytes(m_file).ends_with("3\r\n"));
    heir.LogOpt(lqlErrors | lqlSQL, "4");
    EXPECT_TRUE(ReadBytes(m_file).ends_with("4\r\n"));
    heir.ReleaseLog();
}

// ---- Calls that fail ----

TEST_F(LogFaults, LinesThatCouldNotBeSyncedAreTold)
{
    Init(lqlInformation);
    {
        const CFault fault(FaultyCall::Sync);
        m_log.LogInf(ORVTEXT("1"));
        EXPECT_FALSE(m_log.Flush(kLong));
        EXPECT_EQ(1u, m_log.GetLostLines());
    }
    Log("2");
    EXPECT_EQ(
        "=I> <t> 1\r\n=W> <t> Lost log lines: 1 (21 bytes), logged between <t> and <t>\r\n=I> <t> 2\r\n",
        Written());
}

TEST_F(LogFaults, HandlerWithoutAThreadTriesAgain)
{
    {
        const CFault fault(FaultyCall::ThreadStart);
        Init(lqlInformation);
        m_log.LogInf(ORVTEXT("1"));
        EXPECT_FALSE(m_log.Flush(0));
    }
    while (!m_log.Flush(1))
        std::this_thread::yield();
    EXPECT_EQ("=I> <t> 1\r\n", Written());
    // One that never had a thread writes at its end.
    const CFault fault(FaultyCall::ThreadStart);
    Init(lqlInformation);
    m_log.LogInf(ORVTEXT("2"));
    EXPECT_EQ("=I> <t> 2\r\n", Written());
}

TEST_F(LogFaults, CrashHandlerHasOneThread)
{
    const auto InstallWithoutThreads = [] {
        const CFault fault(FaultyCall::ThreadStart);
        return InstallLogCrashHandler(nullptr, 100);
    };
    EXPECT_FALSE(InstallWithoutThreads());
    EXPECT_TRUE(InstallLogCrashHandler(nullptr, 100));
    EXPECT_TRUE(InstallWithoutThreads()) << "it is installed";
    RemoveLogCrashHandler();
}

// ---- Retention ----

TEST_F(LogFaults, FullFileIsFollowedByTheNextAndOldOnesGo)
{
    Init(lqlInformation);
    m_log.SetFileOption(lqfMaxFileBytes, 21); // one line
    m_log.SetFileOption(lqfKeepFiles, 3);
    EXPECT_FALSE(m_log.SetFileOption(static_cast<LQLogFileOption>(lqfUTF8 + 1), 1));
    EXPECT_EQ(0u, m_log.GetFileOption(lqfUTF8));
    for (int i = 1; i <= 6; ++i)
        Log(std::to_string(i).c_str());
    EXPECT_FALSE(std::filesystem::exists(m_file));
    EXPECT_FALSE(std::filesystem::exists(m_dir / "test_3.txt"));
    EXPECT_EQ("=I> <t> 4\r\n", WithoutTimes(ReadBytes(m_dir / "test_4.txt")));
    EXPECT_EQ("=I> <t> 6\r\n", WithoutTimes(ReadBytes(m_dir / "test_6.txt")));
    // A new start goes on with the last file that has room.
    m_log.ReleaseLog();
    Init(lqlInformation);
    m_log.SetFileOption(lqfMaxFileBytes, 42);
    Log("7");
    Log("8");
    EXPECT_EQ("=I> <t> 6\r\n=I> <t> 7\r\n", WithoutTimes(ReadBytes(m_dir / "test_6.txt")));
    EXPECT_EQ("=I> <t> 8\r\n", WithoutTimes(ReadBytes(m_dir / "test_7.txt")));
}

// ---- Text ----

TEST_F(LogFaults, FileIsUtf8WhereThatIsChosen)
{
    Init(lqlInformation | lqlSQL, ORVTEXT("\u00E4"));
    m_log.SetFileOption(lqfUTF8, 1);
    m_log.LogInf(ORVTEXT("\u00E9\u4E2D\U0001F600\x80\x9F\u00A0|"));
    m_log.LogOpt(lqlInformation, "%S|%5.1S|%s", ORVTEXT("\u4E2D"), ORVTEXT("ab"), "plain");
    m_log.LogRaw(ORVTEXT("\u4E2D\n"));
    SQLStrSaveToLog(ORVTEXT("\u4E2D\U0001F411\x80\x9F\u00A0"), &m_log, LQComErrorData(), 0, -1, ~0u);
    EXPECT_EQ("=I> \xC3\xA4 <t> \xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80\\x80\\x9F\xC2\xA0|\r\n"
              "=I> \xC3\xA4 <t> \xE4\xB8\xAD|    a|plain\r\n"
              "\xE4\xB8\xAD\n=S> \xC3\xA4 <t> SQL SUCCEEDED [0]:\r\nSQL "
              "0\xC3\xA4\t\xE4\xB8\xAD\xF0\x9F\x90\x91\\x80\\x9F\xC2\xA0\r\n",
              Written());
}

TEST_F(LogFaults, TraceLinesTellThreadAndTimes)
{
    CDebugCapture debugger;
    ASSERT_TRUE(InitFileProcessLogger(m_sFile.c_str(), lqlInformation));
    {
        CFrozenClock clock(std::chrono::seconds(100));
        WriteThreadPrintfTrace("start", 5);
        clock.Set(std::chrono::milliseconds(101'234));
        WriteThreadPrintfTrace(nullptr, -1);
        clock.Set(std::chrono::milliseconds(102'000));
        WriteThreadPrintfTrace(std::string(2000, 'x').c_str(), 0);
    }
    ReleaseProcessLogger();
    const std::string sThread = "Thread:" + std::to_string(GetCurrentThreadId()) + "; Time:";
    const std::string sLines = sThread + "0(0); start [5]\n" + sThread + "1234(1234); (null) [-1]\n" +
                               (sThread + "2000(766); " + std::string(2000, 'x')).substr(0, 1000);
    EXPECT_EQ(sLines, Heard(debugger));
    EXPECT_EQ(sLines + "\r\n", Replaced(Replaced(Written(), "=I> <t> ", ""), "\\]\r\n", "]\n"));
}

// ---- The order of the end ----

ORV_CHILD(TeardownBeforeTheLogIsReleased)
{
    COrvLog log;
    const Text sFile = std::filesystem::path(args.at(0)).string<WCHAR>();
    if (!log.InitFileLog(sFile.c_str(), lqlInformation, nullptr))
        return 1;
    for (int i = 0; i < 3000; ++i)
        log.LogOpt(lqlInformation, "w %d", i);
    SetFinalRelease();
    UninitOrvComTypes();
    for (int i = 3000; i < 3100; ++i)
        log.LogOpt(lqlInformation, "w %d", i);
    return 0;
}

TEST_F(LogFaults, FinalReleaseLosesNoLine)
{
    CReportCapture capture;
    EXPECT_EQ(0, CChildProcess("TeardownBeforeTheLogIsReleased", {m_file.string()}).Wait().m_iExitCode);
    EXPECT_EQ((std::map<std::string, int>{{"w", 3100}}), CountLines(ReadBytes(m_file)));
    EXPECT_NO_REPORTS(capture);
}
