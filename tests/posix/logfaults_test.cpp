// What only this side can bring about: a full disk, a write that is cut short, a fork.
#include "orvcomtypes/orvlog.h"
#include "support/debug_capture.h"
#include "support/temp_dir.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <map>
#include <sstream>
#include <thread>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

Text ToText(const std::filesystem::path& path)
{
    const auto sText = path.u16string();
    return Text(sText.begin(), sText.end());
}

void WaitFor(CDebugCapture& debugger, const char* sText)
{
    std::string sAll;
    while (sAll.find(sText) == sAll.npos)
        sAll += debugger.Take();
}

class LogFaults : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_log.InitFileLog(ToText(m_file).c_str(), lqlInformation, nullptr)); }

    CTempDir m_dir;
    const std::filesystem::path m_file = m_dir / "x.txt";
    COrvLog m_log;
};

/// The file may grow to so many bytes while the object lives.
class CFileSizeLimit
{
public:
    explicit CFileSizeLimit(rlim_t nBytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_former);
        const rlimit limit{nBytes, m_former.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    CFileSizeLimit(const CFileSizeLimit&) = delete;
    CFileSizeLimit& operator=(const CFileSizeLimit&) = delete;
    ~CFileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_former); }

private:
    rlimit m_former;
};

} // namespace

TEST_F(LogFaults, LinesWaitWhileTheDiskIsFull)
{
    CDebugCapture debugger;
    std::filesystem::create_symlink("/dev/full", m_file);
    m_log.LogRaw("1\n");
    WaitFor(debugger, "Could not write to logfile\n");
    m_log.LogRaw("2\n");
    std::filesystem::remove(m_file);
    m_log.LogRaw("3\n");
    m_log.ReleaseLog();
    EXPECT_EQ("1\n2\n3\n", ReadBytes(m_file));
}

TEST_F(LogFaults, WriteThatIsCutShortGoesOnWhereItEnded)
{
    CDebugCapture debugger;
    std::string sExpected;
    {
        const CFileSizeLimit limit(1000);
        for (int i = 0; i < 300; ++i)
        {
            const std::string sLine = "line " + std::to_string(i) + "\n";
            m_log.LogRaw(sLine.c_str());
            sExpected += sLine;
        }
        WaitFor(debugger, "Could not write to logfile\n");
    }
    m_log.ReleaseLog();
    EXPECT_EQ(sExpected, ReadBytes(m_file));
}

// Threads of the parent log all the time, so that children begin while queues are full and locks are taken.
TEST_F(LogFaults, ForkedChildrenNeitherRepeatNorLoseLinesNorHang)
{
#ifdef ORV_TEST_SANITIZED
    GTEST_SKIP() << "the sanitizers' own locks and threads are not made whole in a forked child";
#endif
    constexpr int nThreads = 4;
    constexpr int nChildren = 12;
    constexpr int nLines = 40;
    std::atomic<bool> bStop = false;
    std::vector<std::thread> threads;
    std::vector<int> written(nThreads);
    for (int t = 0; t < nThreads; ++t)
        threads.emplace_back([&, t] {
            for (; !bStop; ++written[t])
            {
                m_log.LogOpt(lqlInformation, "parent %d %d", t, written[t]);
                if (written[t] % 16 == 0)
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    std::vector<pid_t> children;
    for (int c = 0; c < nChildren; ++c)
    {
        const pid_t pid = fork();
        if (pid == 0)
        {
            for (int i = 0; i < nLines; ++i)
                m_log.LogOpt(lqlInformation, "child %d %d", c, i);
            m_log.ReleaseLog();
            _exit(0);
        }
        children.push_back(pid);
    }
    for (const pid_t pid : children)
    {
        int nStatus = -1;
        ASSERT_EQ(pid, waitpid(pid, &nStatus, 0));
        EXPECT_EQ(0, nStatus);
    }
    bStop = true;
    for (auto& thread : threads)
        thread.join();
    m_log.ReleaseLog();

    std::map<std::pair<std::string, int>, int> next;
    std::istringstream lines(ReadBytes(m_file));
    std::string sMark, sStamp, sWho;
    for (int nWho, nLine; lines >> sMark >> sStamp >> sWho >> nWho >> nLine;)
        ASSERT_EQ((next[{sWho, nWho}]++), nLine) << sWho << ' ' << nWho;
    EXPECT_TRUE(lines.eof());
    for (int t = 0; t < nThreads; ++t)
        EXPECT_EQ(written[t], (next[{"parent", t}]));
    for (int c = 0; c < nChildren; ++c)
        EXPECT_EQ(nLines, (next[{"child", c}]));
}

TEST_F(LogFaults, ChildThatDoesNotLogEndsWithoutTheParentsLines)
{
    m_log.LogRaw("parent\n");
    const pid_t pid = fork();
    if (pid == 0)
    {
        m_log.ReleaseLog();
        _exit(0);
    }
    int nStatus = -1;
    ASSERT_EQ(pid, waitpid(pid, &nStatus, 0));
    EXPECT_EQ(0, nStatus);
    m_log.ReleaseLog();
    EXPECT_EQ("parent\n", ReadBytes(m_file));
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
    m_log.ReleaseLog();
    EXPECT_NE(std::string::npos,
              ReadBytes(m_file).find(") HR: 80070002 Could not show log file in notepad because: "));
}
