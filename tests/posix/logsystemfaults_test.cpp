// What only this side can bring about: a full disk, signals, a fork.
#include "orvcomtypes/logcrash.h"
#include "orvcomtypes/lqexcept.h"
#include "support/child_process.h"
#include "support/debug_capture.h"
#include "support/faults.h"
#include "support/forked.h"
#include "support/test_log.h"

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>

#include <process.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

class LogSystemFaults : public CLogTest
{
protected:
    void SetUp() override { Init(lqlInformation); }

    /// A child that logs so many lines and ends.
    pid_t Fork(const char* sWriter, int nLines)
    {
        const pid_t pid = fork();
        if (pid != 0)
            return pid;
        for (int i = 0; i < nLines; ++i)
            m_log.LogOpt(lqlInformation, "%s %d", sWriter, i);
        const bool bFlushed = m_log.Flush(60000);
        m_log.ReleaseLog();
        _exit(bFlushed ? 0 : 1);
    }

    static void ExpectEnd(pid_t pid)
    {
        int nStatus = -1;
        EXPECT_EQ(pid, waitpid(pid, &nStatus, 0));
        EXPECT_EQ(0, nStatus);
    }
};

constexpr DWORD kLong = 60000;

int g_nThreadsUntilASignal = 0; ///< the next ones of this thread

} // namespace

// The library calls these instead of the system's. The sanitizers take signals for themselves.
#ifndef ORV_TEST_SANITIZED

static thread_local bool t_bInterrupted = false;

/// Before a thread is started; a signal's handler runs before the call that sends it returns.
extern "C" int pthread_attr_init(pthread_attr_t* pAttributes) noexcept
{
    static const auto s_pfnNext =
        reinterpret_cast<decltype(&pthread_attr_init)>(dlsym(RTLD_NEXT, "pthread_attr_init"));
    if (g_nThreadsUntilASignal > 0 && --g_nThreadsUntilASignal == 0)
    {
        t_bInterrupted = true;
        pthread_sigqueue(pthread_self(), SIGABRT, {});
        t_bInterrupted = false;
    }
    return s_pfnNext(pAttributes);
}

/// Who waits while it is interrupted may wait for itself.
extern "C" long syscall(long nCall, ...) noexcept
{
    static const auto s_pfnNext = reinterpret_cast<decltype(&syscall)>(dlsym(RTLD_NEXT, "syscall"));
    long aArguments[6];
    va_list args;
    va_start(args, nCall);
    for (long& nArgument : aArguments)
        nArgument = va_arg(args, long);
    va_end(args);
    if (t_bInterrupted && nCall == SYS_futex && (aArguments[1] & FUTEX_CMD_MASK) == FUTEX_WAIT)
        _exit(3);
    return s_pfnNext(nCall, aArguments[0], aArguments[1], aArguments[2], aArguments[3], aArguments[4],
                     aArguments[5]);
}

#endif

/// Lines until writing fails; what is written in the end.
std::string LogUntilItFails(COrvLog& log, int nLines, std::size_t nLine)
{
    CDebugCapture debugger;
    std::string sExpected;
    for (int i = 0; i < nLines; ++i)
    {
        const std::string sLine = "line " + std::to_string(i) + std::string(nLine, '.') + "\n";
        log.LogRaw(sLine.c_str());
        sExpected += sLine;
    }
    while (debugger.Take().find("Could not write to logfile\n") == std::string::npos)
        std::this_thread::yield();
    return sExpected;
}

TEST_F(LogSystemFaults, WriteThatIsCutShortGoesOnWhereItEnded)
{
    for (const int nLines : {300, 1})
    {
        Init(lqlInformation);
        auto pLimit = std::make_unique<CFileLimit>(1000);
        const std::string sExpected = LogUntilItFails(m_log, nLines, static_cast<std::size_t>(1500 / nLines));
        pLimit.reset();
        EXPECT_EQ(sExpected, Written());
    }
}

TEST_F(LogSystemFaults, DiskThatIsFullIsWaitedFor)
{
    std::filesystem::create_directory(m_dir / "disk");
    const CSmallDisk disk(m_dir / "disk", 64);
    if (!disk.IsMounted())
        GTEST_SKIP() << "only the superuser has a disk of any size";
    WriteBytes(m_dir / "disk" / "other", std::string(40000, 'x'));
    const auto file = m_dir / "disk" / "log.txt";
    ASSERT_TRUE(m_log.InitFileLog(file.string<WCHAR>().c_str(), lqlInformation, nullptr));
    const std::string sExpected = LogUntilItFails(m_log, 300, 100);
    std::filesystem::remove(m_dir / "disk" / "other");
    EXPECT_TRUE(m_log.Flush(kLong));
    m_log.ReleaseLog();
    EXPECT_EQ(sExpected, ReadBytes(file));
}

TEST_F(LogSystemFaults, FilesOfFourGigabytesGoOn)
{
    for (const std::uintmax_t nSize : {0xFFFFFFFFull, 0x100000000ull})
    {
        WriteBytes(m_file, "");
        std::filesystem::resize_file(m_file, nSize); // with nothing on the disk
        std::filesystem::remove(m_dir / "test_2.txt");
        Init(lqlInformation);
        m_log.SetFileOption(lqfMaxFileBytes, nSize + 1);
        m_log.LogInf(ORVTEXT("1"));
        EXPECT_TRUE(m_log.Flush(kLong));
        m_log.LogInf(ORVTEXT("in the next file"));
        m_log.ReleaseLog();
        EXPECT_EQ("\r\n=I> <t> 1\r\n", WithoutTimes(ReadBytes(m_file, nSize)));
    }
}

// Threads of the parent log all the time, so that children begin while queues are full and locks are taken.
TEST_F(LogSystemFaults, ForkedChildrenNeitherRepeatNorLoseLinesNorHang)
{
    ORV_SKIP_SANITIZED("the sanitizers' own locks and threads are not made whole in a forked child");
    std::atomic<bool> bStop = false;
    std::vector<std::jthread> threads;
    std::map<std::string, int> logged;
    for (const char* sWriter : {"p0", "p1", "p2", "p3"})
        threads.emplace_back([&, sWriter, &nLines = logged[sWriter]] {
            do
            {
                m_log.LogOpt(lqlInformation, "%s %d", sWriter, nLines);
                if (nLines % 16 == 0) // or the file grows too large
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                ++nLines;
            }
            while (!bStop);
        });
    std::vector<pid_t> children;
    for (int c = 0; c < 12; ++c)
    {
        const std::string sWriter = "c" + std::to_string(c);
        children.push_back(Fork(sWriter.c_str(), 40));
        logged[sWriter] = 40;
    }
    for (const pid_t pid : children)
        ExpectEnd(pid);
    bStop = true;
    threads.clear();
    EXPECT_EQ(logged, CountLines(Written()));
}

TEST_F(LogSystemFaults, ForkedChildWithoutMemoryWritesItsLineOrCountsIt)
{
    ORV_SKIP_SANITIZED("the sanitizers' own locks and threads are not made whole in a forked child");
    enum Result : int
    {
        Fine,
        NothingFailed,
        Wrong
    };
    int nResult = Fine;
    for (unsigned nth = 1; nResult != NothingFailed; ++nth)
    {
        nResult = ForkedResult([&] {
            auto pFault = std::make_unique<CFault>(FaultyCall::Allocation, nth);
            m_log.LogInf(ORVTEXT("line of a child"));
            const bool bFailed = pFault->Happened();
            pFault.reset();
            const bool bTold = m_log.GetLostLines() == 1;
            m_log.ReleaseLog();
            const bool bWritten = ReadBytes(m_file).find("line of a child") != std::string::npos;
            std::filesystem::remove(m_file);
            return bWritten == bTold ? Wrong : bFailed ? Fine : NothingFailed;
        });
        ASSERT_TRUE(nResult == Fine || nResult == NothingFailed) << nth << ": " << nResult;
    }
}

TEST_F(LogSystemFaults, ChildThatDoesNotLogEndsWithoutTheParentsLines)
{
    ORV_SKIP_SANITIZED("the sanitizers' own locks and threads are not made whole in a forked child");
    m_log.LogRaw("parent\n");
    ExpectEnd(Fork("none", 0));
    EXPECT_EQ("parent\n", Written());
}

// ---- Ends ----

// A thread that is ended while it writes is asked for no more than to finish its block.
TEST_F(LogSystemFaults, WhatASlowDiskDoesNotTakeInTimeIsCounted)
{
    const std::uint64_t nLostBefore = GetLostLogLines(nullptr);
    const CFault slow(FaultyCall::SlowWrite);
    const std::string sLine = std::string(99999, 'x') + "\n";
    for (int i = 0; i < 300; ++i)
        m_log.LogRaw(sLine.c_str());
    m_log.ReleaseLog();
    const std::uintmax_t nWritten = std::filesystem::file_size(m_file);
    EXPECT_EQ(0u, nWritten % sLine.size());
    EXPECT_LT(0u, nWritten);
    EXPECT_EQ(300u, nWritten / sLine.size() + (GetLostLogLines(nullptr) - nLostBefore));
}

ORV_CHILD(EndWhileAThreadReleases)
{
    static COrvLog s_log;
    s_log.InitFileLog(std::filesystem::path(args.at(0)).string<WCHAR>().c_str(), lqlInformation, nullptr);
    static const CFault s_slow(FaultyCall::SlowWrite, 1, false);
    for (int i = 0; i < 100; ++i)
        s_log.LogOpt(lqlInformation, "w %d", i);
    const auto Release = [](void*) -> unsigned {
        s_log.ReleaseLog();
        return 0;
    };
    static const auto s_uThread = _beginthreadex(nullptr, 0, Release, nullptr, 0, nullptr);
    Sleep(50); // the thread waits for the disk
    return s_uThread == 0;
}

TEST_F(LogSystemFaults, EndWaitsForALogThatIsJustReleased)
{
    ORV_SKIP_SANITIZED("the sanitizers miss a thread that nobody waits for");
    const ChildResult result = CChildProcess("EndWhileAThreadReleases", {m_file.string()}).Wait();
    EXPECT_EQ(0, result.m_iExitCode) << result.m_sOutput;
    EXPECT_EQ((std::map<std::string, int>{{"w", 100}}), CountLines(Written()));
}

TEST_F(LogSystemFaults, HalfLineIsEndedWhenTheDiskTakesItsEnd)
{
    WriteBytes(m_file, "half");
    {
        CDebugCapture debugger;
        const CFileLimit full(4);
        m_log.LogInf(ORVTEXT("1"));
        EXPECT_FALSE(m_log.Flush(20));
        EXPECT_FALSE(m_log.Flush(20));
    }
    EXPECT_TRUE(m_log.Flush(kLong));
    EXPECT_EQ("half\r\n=I> <t> 1\r\n", Written());
}

TEST_F(LogSystemFaults, LossThatAFullDiskCutIsToldAnew)
{
    const std::string sThere = std::string(995, '.') + '\n';
    WriteBytes(m_file, sThere);
    m_log.SetFileOption(lqfMaxWaiting, 5);
    {
        CDebugCapture debugger;
        const CFileLimit full(1000);
        m_log.LogInf(ORVTEXT("lost"));
        while (debugger.Take().find("Could not write to logfile\n") == std::string::npos)
            std::this_thread::yield();
    }
    EXPECT_FALSE(m_log.Flush(kLong)) << "a line was lost";
    m_log.SetFileOption(lqfMaxWaiting, 1000);
    m_log.LogInf(ORVTEXT("2"));
    EXPECT_TRUE(m_log.Flush(kLong));
    EXPECT_EQ(sThere + "=W> \r\n=W> <t> Lost log lines: 1 (24 bytes), logged between <t> and <t>\r\n"
                       "=I> <t> 2\r\n",
              Written());
}

/// Logs what a flush covers, and then more, whose flush hangs; ends by a signal.
ORV_CHILD(EndInAFlush)
{
    InstallLogCrashHandler(nullptr, 100);
    static COrvLog s_log;
    s_log.InitFileLog(std::filesystem::path(args.at(0)).string<WCHAR>().c_str(), lqlErrors | lqlInformation,
                      nullptr);
    for (int i = 0; i < 100; ++i)
        s_log.LogOpt(lqlInformation, "w %d", i);
    EXPECT_TRUE(s_log.Flush(kLong));
    static const CFault s_hang(FaultyCall::HangingSync);
    s_log.LogOpt(lqlInformation, "w 100");
    while (!s_hang.Happened())
        Sleep(1);
    raise(std::stoi(args.at(1)));
    return 1;
}

// The crash handler waits for a disk, but not for ever.
TEST_F(LogSystemFaults, WhatAFlushCoveredSurvivesTheEndWithinTheNext)
{
    for (const int nSignal : {SIGKILL, SIGTERM, SIGABRT})
    {
        const ChildArguments args{m_file.string(), std::to_string(nSignal)};
        EXPECT_EQ(-nSignal, CChildProcess("EndInAFlush", args).Wait().m_iExitCode);
        EXPECT_EQ((std::map<std::string, int>{{"w", 101}}), CountLines(Written()));
    }
}

/// Waits for a signal that somebody sends; a forked child does when there are two arguments. With three it
/// sends one itself when the log starts its thread, after that of the crash handler.
ORV_CHILD(WaitForASignal)
{
    COrvLog log;
    if (!log.InitFileLog(std::filesystem::path(args.at(0)).string<WCHAR>().c_str(), lqlErrors, nullptr) ||
        !InstallLogCrashHandler(&log, 60000))
        return 1;
    const pid_t pid = args.size() > 1 ? fork() : 0;
    if (pid == 0)
    {
        g_nThreadsUntilASignal = args.size() > 2 ? 2 : 0;
        log.LogErr(ORVTEXT("before"));
        if (g_nThreadsUntilASignal > 0)
            _exit(2);
        std::printf("%d\n", static_cast<int>(getpid()));
        std::fflush(stdout);
        for (;;)
            pause();
    }
    int nStatus = 0;
    waitpid(pid, &nStatus, 0);
    signal(WTERMSIG(nStatus), SIG_DFL);
    RemoveLogCrashHandler();
    raise(WTERMSIG(nStatus));
    return 1;
}

TEST_F(LogSystemFaults, SignalsThatAreSentAreTold)
{
    ORV_SKIP_SANITIZED("the sanitizers take signals for themselves");
    for (const int nSignal : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS})
        for (const ChildArguments& more : {ChildArguments{}, ChildArguments{"forked"}})
        {
            CChildProcess child("WaitForASignal", Joined({m_file.string()}, more));
            kill(static_cast<pid_t>(std::stoi(child.ReadLine())), nSignal);
            EXPECT_EQ(-nSignal, child.Wait().m_iExitCode);
            EXPECT_EQ("=E> <t> before\r\n=E> <t> The process ends. Signal " + std::to_string(nSignal) +
                          " (SIG" + sigabbrev_np(nSignal) + ")\r\n",
                      Written());
        }
}

// The signal comes while the thread holds a lock that its telling takes.
TEST_F(LogSystemFaults, ThreadThatASentSignalInterruptsGoesOn)
{
    ORV_SKIP_SANITIZED("the sanitizers take signals for themselves");
    CChildProcess child("WaitForASignal", {m_file.string(), "forked", "interrupted"});
    EXPECT_EQ(-SIGABRT, child.Wait().m_iExitCode);
    EXPECT_EQ("=E> <t> before\r\n=E> <t> The process ends. Signal 6 (SIGABRT)\r\n", Written());
}

// ---- What is no file ----

TEST_F(LogSystemFaults, PipeGetsItsLines)
{
    const auto pipe = m_dir / "pipe.txt";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    ASSERT_TRUE(m_log.InitFileLog(pipe.string<WCHAR>().c_str(), lqlInformation, nullptr));
    m_log.LogInf(ORVTEXT("1"));
    EXPECT_FALSE(m_log.Flush(10)) << "nobody reads";
    for (const char* sExpected : {"=I> <t> 1\r\n", "=I> <t> 2\r\n"})
    {
        const int fd = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
        EXPECT_TRUE(m_log.Flush(kLong));
        char sText[100] = "";
        EXPECT_LT(0, read(fd, sText, sizeof sText - 1));
        EXPECT_EQ(sExpected, WithoutTimes(sText));
        close(fd); // a reader that goes ends nobody
        m_log.LogInf(ORVTEXT("2"));
        EXPECT_FALSE(m_log.Flush(10));
    }
}

TEST_F(LogSystemFaults, PipeThatNobodyEmptiesDoesNotHoldUpCallersForLong)
{
    const auto pipe = m_dir / "pipe.txt";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    const int fd = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_TRUE(m_log.InitFileLog(pipe.string<WCHAR>().c_str(), lqlInformation, nullptr));
    m_log.SetFileOption(lqfMaxWaiting, 100000);
    // A second each, and for a flush five, would outlast the test.
    const std::string sLine(1000, 'x');
    for (int i = 0; i < 1000; ++i)
    {
        m_log.LogSimpleStr(lqlInformation, sLine.c_str());
        m_log.SetFlushLevel(i > 500 ? lqlInformation : 0u);
    }
    EXPECT_LT(700u, m_log.GetLostLines());
    m_log.ReleaseLog();
    close(fd);
}

TEST_F(LogSystemFaults, CallersThatWaitForRoomTogetherLoseNothing)
{
    ASSERT_TRUE(m_log.InitFileLog(ORVTEXT("/dev/null"), lqlInformation, nullptr));
    m_log.SetFileOption(lqfMaxWaiting, 200);
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&] {
                for (int i = 0; i < 1000; ++i)
                    m_log.LogOpt(lqlInformation, "line %d of those that have hardly any room", i);
            });
    }
    EXPECT_TRUE(m_log.Flush(kLong));
    EXPECT_EQ(0u, m_log.GetLostLines());
}

ORV_CHILD(LogToStandardOutput)
{
    COrvLog log;
    if (!log.InitFileLog(std::filesystem::path(args.at(0)).string<WCHAR>().c_str(), lqlInformation, nullptr))
        return 1;
    log.LogInf(ORVTEXT("to the pipe"));
    return log.Flush(kLong) ? 3 : 2;
}

TEST_F(LogSystemFaults, LinkToTheStandardOutputGetsItsLines)
{
    std::filesystem::create_symlink("/dev/stdout", m_dir / "out.txt");
    const ChildResult result = CChildProcess("LogToStandardOutput", {(m_dir / "out.txt").string()}).Wait();
    EXPECT_EQ(3, result.m_iExitCode);
    EXPECT_EQ("=I> <t> to the pipe\r\n", WithoutTimes(result.m_sOutput));
}

TEST_F(LogSystemFaults, LinkThatLeadsNowhereGetsItsFileOnceThatCanBeMade)
{
    std::filesystem::create_symlink("sub/app.txt", m_dir / "link.txt");
    m_log.InitFileLog((m_dir / "link.txt").u16string().c_str(), lqlInformation, nullptr);
    m_log.SetFlushLevel(lqlInformation); // waits for one try
    m_log.LogInf(ORVTEXT("1"));
    EXPECT_FALSE(m_log.Flush(0));
    std::filesystem::create_directory(m_dir / "sub");
    EXPECT_TRUE(m_log.Flush(kLong));
    EXPECT_EQ("=I> <t> 1\r\n", WithoutTimes(ReadBytes(m_dir / "sub" / "app.txt")));
}

TEST_F(LogSystemFaults, RelativeNameHoldsWhereNoPathLeads)
{
    const std::filesystem::path former = std::filesystem::current_path();
    const std::filesystem::path folder = m_dir / "lat\xE9"; // no text in UTF-8
    std::filesystem::create_directory(folder);
    std::filesystem::current_path(folder);
    m_log.InitFileLog(ORVTEXT("./app.txt"), lqlInformation, nullptr);
    m_log.LogInf(ORVTEXT("1"));
    EXPECT_TRUE(m_log.Flush(kLong));
    std::filesystem::current_path(former);
    EXPECT_EQ("=I> <t> 1\r\n", WithoutTimes(ReadBytes(folder / "app.txt")));
}

ORV_CHILD(LogInAnotherPage)
{
    COrvLog log;
    log.InitFileLog(std::filesystem::path(args.at(0)).u16string().c_str(), lqlErrors | lqlSQL, nullptr);
    log.SetFL("C:\\src\\\x95\x5C\x95\x5C.cpp", 7).LogSimpleStr(lqlErrors, "x\x9B!");
    log.SetFL(nullptr, 0);
    SQLStrSaveToLog(ORVTEXT("a\u2190\u25D9b"), &log, LQComErrorData(), 0, -1, ~0u);
    return 0;
}

TEST_F(LogSystemFaults, BytesOfOtherPagesNeitherEndAFoldersNameNorALine)
{
    const std::string sOutcome = "=S> <t> SQL SUCCEEDED [0]:\r\n";
    for (const auto& [sPage, sExpected] :
         {std::pair("932",
                    "=E> <t> \x95\x5C\x95\x5C.cpp(7) x\x9B!\r\n" + sOutcome + "SQL 0\ta\x81\xA9?b\r\n"),
          std::pair("28591", "=E> <t> .cpp(7) x\\x9B!\r\n" + sOutcome + "SQL 0\ta??b\r\n"),
          std::pair("437", "=E> <t> .cpp(7) x\x9B!\r\n" + sOutcome + "SQL 0\ta\\x1B\r\nSQL 0\tb\r\n")})
    {
        const CVariableGuard page("ORVCOMTYPES_ACP", sPage);
        EXPECT_EQ(0, CChildProcess("LogInAnotherPage", {m_file.string()}).Wait().m_iExitCode);
        EXPECT_EQ(sExpected, WithoutTimes(ReadBytes(m_file)));
        std::filesystem::remove(m_file);
    }
}

ORV_CHILD(LogByDefault)
{
    COrvLog log;
    log.InitRegLog(ORVTEXT("no such key"), nullptr);
    log.LogErr(ORVTEXT("x"));
    return log.Flush(kLong) && std::puts(Narrow(TextOf(log.GetLogFileName())).c_str()) > 0 ? 0 : 1;
}

TEST_F(LogSystemFaults, DefaultFileBearsTheProgramsName)
{
    const CVariableGuard data("XDG_DATA_HOME", ("/" + std::string(300, 'x')).c_str()); // too long
    for (const std::string sProgram : {"tool", "tool.v1.exe", ".x"})
    {
        const std::string sName = sProgram.substr(0, sProgram.rfind('.'));
        const auto program = m_dir / "v1.2" / sProgram;
        std::filesystem::create_directory(m_dir / "v1.2");
        std::filesystem::copy_file(TestProgram(), program);
        const ChildArguments args{std::string(kChildSwitch), "LogByDefault"};
        const std::string sOutput = CChildProcess(ChildProgram{program}, args).Wait().m_sOutput;
        const std::string sFile = "/Lumatrek/Log/" + sName + "-DB_log_W\\d{6}.txt\n";
        EXPECT_TRUE(Contains(sOutput, sFile.c_str())) << sOutput;
        const std::string sReports = ReadBytes(TestReportFolder() / ("LQErrors_3.8.2_" + sName + ".log"));
        EXPECT_EQ(sProgram == "tool", // it has no extension
                  Contains(sReports, R"( orvlog\(\d+\).* 'COrvLog::InitRegLog'! Message: p != nullptr)"));
        EXPECT_TRUE(Contains(sReports, R"( orvlog.* 'CreateLogFileName', 0x80004005! Message: hr == S_OK)"));
    }
}

TEST_F(LogSystemFaults, FileIsShownByTheDesktop)
{
    EXPECT_FALSE(COrvLog().ShowLogFileWithNotepad()) << "without a file";
    const Text sFile = m_dir.Path().string<WCHAR>() + ORVTEXT("\\test.txt"); // not as the system writes it
    ASSERT_TRUE(m_log.InitFileLog(sFile.c_str(), lqlErrors, nullptr));
    m_log.LogErr(ORVTEXT("x"));
    EXPECT_TRUE(m_log.Flush(kLong));
    const auto shown = m_dir / "shown";
    {
        const CVariableGuard path("PATH", m_dir.Path().c_str());
        EXPECT_FALSE(m_log.ShowLogFileWithNotepad());
        WriteBytes(m_dir / "xdg-open", "#!/bin/sh\necho \"$1\" >'" + shown.string() + "'\n");
        std::filesystem::permissions(m_dir / "xdg-open", std::filesystem::perms::owner_all);
        EXPECT_TRUE(m_log.ShowLogFileWithNotepad());
    }
    while (!ReadBytes(shown).ends_with('\n'))
        std::this_thread::yield();
    EXPECT_EQ(m_file.string() + "\n", ReadBytes(shown));
    const char* const sWhy = R"(=E> <t> orvlog\(\d+\) HR: 80070002 Could not show log file in notepad )"
                             R"(because: \S.*; CommandLine: xdg-open "/.*/test.txt"\r\n)";
    EXPECT_TRUE(Contains(Written(), sWhy));
}
