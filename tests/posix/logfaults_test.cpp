// What only this side can bring about: a full disk, a write that is cut short, a fork.
#include "support/debug_capture.h"
#include "support/test_log.h"

#include <atomic>
#include <csignal>
#include <thread>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

class LogFaults : public CLogTest
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

TEST_F(LogFaults, WriteThatIsCutShortGoesOnWhereItEnded)
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
TEST_F(LogFaults, ForkedChildrenNeitherRepeatNorLoseLinesNorHang)
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

TEST_F(LogFaults, ChildThatDoesNotLogEndsWithoutTheParentsLines)
{
    m_log.LogRaw("parent\n");
    ExpectEnd(Fork("none", 0));
    EXPECT_EQ("parent\n", Written());
}

TEST_F(LogFaults, FileIsShownInTheEditorOfThePath)
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
        WriteBytes(m_dir / "notepad.exe", "#!/bin/sh\necho \"$1\" >'" + shown.string() + "'\n");
        std::filesystem::permissions(m_dir / "notepad.exe", std::filesystem::perms::owner_all);
        EXPECT_TRUE(m_log.ShowLogFileWithNotepad());
    }
    while (!ReadBytes(shown).ends_with('\n'))
        std::this_thread::yield();
    EXPECT_EQ(m_file.string() + "\n", ReadBytes(shown));
    EXPECT_NE(std::string::npos,
              Written().find(") HR: 80070002 Could not show log file in notepad because: "));
}
