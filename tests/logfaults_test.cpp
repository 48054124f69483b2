// What may befall a log's file, and the lines that wait for it.
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/octalloc.h"
#include "support/child_process.h"
#include "support/faults.h"
#include "support/report_capture.h"
#include "support/test_log.h"

#include <algorithm>
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
    EXPECT_NE(std::string::npos,
              debugger.Take().find("Log creation error: Cannot create or open log file: "));
    WriteBytes(m_file, "");
    auto pDenied = std::make_unique<CDeniedFile>(m_file);
    ExpectToWait(m_file, [&] { pDenied.reset(); });
}

TEST_F(LogFaults, HalfALineIsEndedBeforeTheNextOne)
{
    for (const char* sLeft : {"=I> half", "whole\n", ""})
    {
        WriteBytes(m_file, sLeft);
        Open(m_file);
        Log("x");
        EXPECT_EQ(sLeft + std::string(*sLeft == '=' ? "\r\n" : "") + "=I> <t> x\r\n", Written());
    }
}

TEST_F(LogFaults, LinesThatWaitAreBoundedAndWhatIsLostIsTold)
{
    WriteBytes(m_dir / "sub", ""); // where the folder is to be
    const auto file = m_dir / "sub" / "late.txt";
    Open(file);
    EXPECT_EQ(64u << 20, m_log.GetFileOption(lqfMaxWaiting));
    m_log.SetFileOption(lqfMaxWaiting, 2000);
    for (int i = 0; i < 200; ++i)
        m_log.LogOpt(lqlInformation, "line %d", i);
    const auto nLostInformation = m_log.GetLostLines();
    m_log.LogErr(std::basic_string<WCHAR>(3000, 'x').c_str());
    EXPECT_EQ(nLostInformation + 1, m_log.GetLostLines()) << "no room can be made for it";
    m_log.LogErr(ORVTEXT("error 1"));
    m_log.LogErr(ORVTEXT("error 2"));
    EXPECT_FALSE(m_log.Flush(0));
    std::uint64_t nBytes = 0;
    const auto nLost = m_log.GetLostLines(&nBytes);
    const auto nLostInAll = GetLostLogLines(nullptr);
    EXPECT_LT(100u, nLost);
    EXPECT_LE(nLost, nLostInAll);
    std::filesystem::remove(m_dir / "sub");
    EXPECT_TRUE(m_log.Flush(kLong));
    m_log.LogInf(ORVTEXT("after"));
    m_log.ReleaseLog();
    const std::string sText = WithoutTimes(ReadBytes(file));
    const std::string sTold = "=W> <t> Lost log lines: " + std::to_string(nLost) + " (" +
                              std::to_string(nBytes) + " bytes), logged between <t> and <t>\r\n";
    EXPECT_EQ(0u, sText.find(sTold)) << sText;
    EXPECT_NE(std::string::npos, sText.find("=I> <t> line 0\r\n"));
    EXPECT_TRUE(sText.ends_with("=E> <t> error 1\r\n=E> <t> error 2\r\n=I> <t> after\r\n")) << sText;
    EXPECT_GE(2000 + sTold.size() + 100, sText.size());
    const auto nKept = static_cast<std::uint64_t>(std::count(sText.begin(), sText.end(), '\n')) - 2;
    EXPECT_EQ(203u, nLost + nKept);
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

TEST_F(LogFaults, LinesWaitForAHandle)
{
    Init(lqlInformation);
    {
        const CFault fault(FaultyCall::Open);
        m_log.LogInf(ORVTEXT("1"));
        EXPECT_FALSE(m_log.Flush(50));
    }
    EXPECT_TRUE(m_log.Flush(kLong));
    EXPECT_EQ("=I> <t> 1\r\n", Written());
}

// ---- Retention ----

TEST_F(LogFaults, FullFileIsFollowedByTheNextAndOldOnesGo)
{
    Init(lqlInformation);
    m_log.SetFileOption(lqfMaxFileBytes, 20);
    m_log.SetFileOption(lqfKeepFiles, 3);
    WriteBytes(m_dir / "test_x.txt", "not of this format");
    for (int i = 1; i <= 5; ++i)
        Log(std::to_string(i).c_str());
    EXPECT_FALSE(std::filesystem::exists(m_file));
    EXPECT_FALSE(std::filesystem::exists(m_dir / "test_2.txt"));
    EXPECT_EQ("=I> <t> 3\r\n", WithoutTimes(ReadBytes(m_dir / "test_3.txt")));
    EXPECT_EQ("=I> <t> 5\r\n", WithoutTimes(ReadBytes(m_dir / "test_5.txt")));
    EXPECT_TRUE(std::filesystem::exists(m_dir / "test_x.txt"));
    // A new start goes on with the last file that has room.
    m_log.ReleaseLog();
    Init(lqlInformation);
    m_log.SetFileOption(lqfMaxFileBytes, 30);
    Log("6");
    Log("7");
    EXPECT_EQ("=I> <t> 5\r\n=I> <t> 6\r\n", WithoutTimes(ReadBytes(m_dir / "test_5.txt")));
    EXPECT_EQ("=I> <t> 7\r\n", WithoutTimes(ReadBytes(m_dir / "test_6.txt")));
}

// ---- Text ----

TEST_F(LogFaults, FileIsUtf8WhereThatIsChosen)
{
    Init(lqlInformation | lqlSQL, ORVTEXT("\u00E4"));
    m_log.SetFileOption(lqfUTF8, 1);
    m_log.LogInf(ORVTEXT("\u00E9\u4E2D\U0001F600"));
    m_log.LogOpt(lqlInformation, "%S|%5.1S|%s", ORVTEXT("\u4E2D"), ORVTEXT("ab"), "plain");
    m_log.LogRaw(ORVTEXT("\u4E2D\n"));
    SQLStrSaveToLog(ORVTEXT("\u4E2D"), &m_log, LQComErrorData(), 0, -1, ~0u);
    EXPECT_EQ("=I> \xC3\xA4 <t> \xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80\r\n"
              "=I> \xC3\xA4 <t> \xE4\xB8\xAD|    a|plain\r\n"
              "\xE4\xB8\xAD\n=S> \xC3\xA4 <t> SQL SUCCEEDED [0]:\r\nSQL 0\xC3\xA4\t\xE4\xB8\xAD\r\n",
              Written());
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
