// What only this side can bring about: a full disk, a write that is cut short, a fork.
#include "support/child_process.h"
#include "support/debug_capture.h"
#include "support/test_log.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <thread>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
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
        m_log.ReleaseLog();
        _exit(0);
    }

    static void ExpectEnd(pid_t pid)
    {
        int nStatus = -1;
        EXPECT_EQ(pid, waitpid(pid, &nStatus, 0));
        EXPECT_EQ(0, nStatus);
    }
};

constexpr DWORD kLong = 60000;

std::atomic<bool> g_bSyncFails = false;
std::atomic<bool> g_bThreadsFail = false;

/// The size to which files may grow.
void LimitFiles(rlim_t nBytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit;
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = nBytes;
    EXPECT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
}

} // namespace

// The library calls these instead of the system's.

extern "C" int fdatasync(int fd)
{
    if (g_bSyncFails)
    {
        errno = EIO;
        return -1;
    }
    return fsync(fd);
}

extern "C" int pthread_create(pthread_t* pThread, const pthread_attr_t* pAttributes, void* (*pfn)(void*),
                              void* pArgument) noexcept
{
    static const auto s_pfnReal =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return g_bThreadsFail ? EAGAIN : s_pfnReal(pThread, pAttributes, pfn, pArgument);
}

TEST_F(LogSystemFaults, WriteThatIsCutShortGoesOnWhereItEnded)
{
    CDebugCapture debugger;
    std::string sExpected;
    LimitFiles(1000);
    for (int i = 0; i < 300; ++i)
    {
        const std::string sLine = "line " + std::to_string(i) + "\n";
        m_log.LogRaw(sLine.c_str());
        sExpected += sLine;
    }
    while (debugger.Take().find("Could not write to logfile\n") == std::string::npos)
        std::this_thread::yield();
    LimitFiles(RLIM_INFINITY);
    EXPECT_EQ(sExpected, Written());
}

// Threads of the parent log all the time, so that children begin while queues are full and locks are taken.
TEST_F(LogSystemFaults, ForkedChildrenNeitherRepeatNorLoseLinesNorHang)
{
#ifdef ORV_TEST_SANITIZED
    GTEST_SKIP() << "the sanitizers' own locks and threads are not made whole in a forked child";
#endif
    std::atomic<bool> bStop = false;
    std::vector<std::jthread> threads;
    std::map<std::string, int> logged;
    for (const char* sWriter : {"p0", "p1", "p2", "p3"})
        threads.emplace_back([&, sWriter, &nLines = logged[sWriter]] {
            for (; !bStop; ++nLines)
            {
                m_log.LogOpt(lqlInformation, "%s %d", sWriter, nLines);
                if (nLines % 16 == 0) // or the file grows too large
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
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

TEST_F(LogSystemFaults, ChildThatDoesNotLogEndsWithoutTheParentsLines)
{
    m_log.LogRaw("parent\n");
    ExpectEnd(Fork("none", 0));
    EXPECT_EQ("parent\n", Written());
}

// ---- Calls that fail ----

TEST_F(LogSystemFaults, LinesThatCouldNotBeSyncedAreTold)
{
    g_bSyncFails = true;
    m_log.LogInf(ORVTEXT("1"));
    EXPECT_FALSE(m_log.Flush(kLong));
    EXPECT_EQ(1u, m_log.GetLostLines());
    g_bSyncFails = false;
    m_log.LogInf(ORVTEXT("2"));
    EXPECT_TRUE(m_log.Flush(kLong));
    EXPECT_EQ(
        "=I> <t> 1\r\n=W> <t> Lost log lines: 1 (21 bytes), logged between <t> and <t>\r\n=I> <t> 2\r\n",
        Written());
}

TEST_F(LogSystemFaults, HandlerWithoutAThreadTriesAgain)
{
    const auto file = m_dir / "late.txt";
    g_bThreadsFail = true;
    EXPECT_TRUE(m_log.InitFileLog(file.string<WCHAR>().c_str(), lqlInformation, nullptr));
    m_log.LogInf(ORVTEXT("1"));
    EXPECT_FALSE(m_log.Flush(0));
    g_bThreadsFail = false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    while (!m_log.Flush(1))
        std::this_thread::yield();
    EXPECT_EQ("=I> <t> 1\r\n", WithoutTimes(ReadBytes(file)));
    // One that never had a thread writes at its end.
    g_bThreadsFail = true;
    EXPECT_TRUE(m_log.InitFileLog(m_sFile.c_str(), lqlInformation, nullptr));
    m_log.LogInf(ORVTEXT("2"));
    EXPECT_EQ("=I> <t> 2\r\n", Written());
    g_bThreadsFail = false;
}

TEST_F(LogSystemFaults, LinesWaitForAHandle)
{
    rlimit limit;
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
    const rlimit none{0, limit.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
    m_log.LogInf(ORVTEXT("1"));
    const bool bFlushed = m_log.Flush(50);
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
    EXPECT_FALSE(bFlushed);
    EXPECT_TRUE(m_log.Flush(kLong));
    EXPECT_EQ("=I> <t> 1\r\n", Written());
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

TEST_F(LogSystemFaults, TerminalGetsItsLines)
{
    const int fd = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (fd < 0 || grantpt(fd) != 0 || unlockpt(fd) != 0)
        GTEST_SKIP() << "the system has no terminals";
    std::filesystem::create_symlink(ptsname(fd), m_dir / "tty.txt");
    ASSERT_TRUE(m_log.InitFileLog((m_dir / "tty.txt").string<WCHAR>().c_str(), lqlInformation, nullptr));
    const int fdOther = open(ptsname(fd), O_RDWR | O_NOCTTY);
    m_log.LogSimpleStr(lqlInformation, "clear \x1B[2J");
    EXPECT_TRUE(m_log.Flush(kLong));
    char sText[100] = "";
    EXPECT_LT(0, read(fd, sText, sizeof sText - 1));
    EXPECT_EQ("=I> <t> clear \\x1B[2J\r", WithoutTimes(sText).substr(0, 22));
    m_log.ReleaseLog();
    close(fdOther);
    close(fd);
}

TEST_F(LogSystemFaults, FileIsShownByTheDesktop)
{
    EXPECT_FALSE(COrvLog().ShowLogFileWithNotepad()) << "without a file";
    m_log.SetLogOpt(lqlErrors);
    m_log.LogErr(ORVTEXT("x"));
    while (m_log.GetLogFileName().IsEmpty())
        std::this_thread::yield();
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
    EXPECT_NE(std::string::npos,
              Written().find(") HR: 80070002 Could not show log file in notepad because: "));
}
