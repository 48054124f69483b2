// The example service as systemd runs it.
#include "support/intake_program.h"

#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>

void CIntakeTest::ForgetSettings() const {}

namespace
{

/// The socket on which systemd is told; a message that does not come within a minute is an empty one.
class CManager
{
public:
    CManager()
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        m_sName.copy(address.sun_path, sizeof(address.sun_path));
        address.sun_path[0] = 0;
        const timeval minute = {60, 0};
        setsockopt(m_iSocket, SOL_SOCKET, SO_RCVTIMEO, &minute, sizeof(minute));
        const auto nLength = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + m_sName.size());
        EXPECT_EQ(0, bind(m_iSocket, reinterpret_cast<sockaddr*>(&address), nLength));
    }
    CManager(const CManager&) = delete;
    CManager& operator=(const CManager&) = delete;
    ~CManager() { close(m_iSocket); }

    std::string Told()
    {
        char buffer[4096];
        const ssize_t n = recv(m_iSocket, buffer, sizeof(buffer), 0);
        return std::string(buffer, static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    }

    /// Waits for this message; the result is the one before.
    std::string WaitFor(const std::string& sMessage)
    {
        std::string s = Told(), sBefore;
        for (; !s.empty() && s != sMessage; s = Told())
            sBefore = s;
        EXPECT_EQ(sMessage, s);
        return sBefore;
    }

    void ExpectStopping()
    {
        std::string s = Told();
        while (s.starts_with("READY=1\n"))
            s = Told();
        EXPECT_TRUE(s.starts_with("STOPPING=1\n")) << s;
    }

private:
    const std::string m_sName = "@intake-test-" + std::to_string(getpid());
    const CVariableGuard m_variable{"NOTIFY_SOCKET", m_sName.c_str()};
    const int m_iSocket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

class IntakeUnderSystemd : public CIntakeTest
{
protected:
    std::unique_ptr<CChildProcess> Start()
    {
        return std::make_unique<CChildProcess>(ChildProgram{Program()}, ChildArguments{"service", m_sName});
    }

    static void Send(const CChildProcess& child, int iSignal)
    {
        EXPECT_EQ(0, kill(static_cast<pid_t>(child.Process()), iSignal));
    }
};

} // namespace

TEST_F(IntakeUnderSystemd, TellsEachStepAndWritesAWholeLog)
{
    CManager manager;
    const auto child = Start();
    manager.WaitFor("READY=1\nSTATUS=Done: 0, refused: 0.");
    PutJobs(0, 30);
    Put("bad", "x");
    manager.WaitFor("READY=1\nSTATUS=Done: 30, refused: 1.");

    UseFolder("other");
    Set(ORVTEXT("Language"), TextValue(ORVTEXT("hu")));
    Set(ORVTEXT("Workers"), NumberValue(DWORD(9)));
    Send(*child, SIGHUP);
    const std::string sReady = "READY=1\nSTATUS=K\u00E9sz: 30, elutas\u00EDtva: 1.";
    EXPECT_EQ(0u, manager.WaitFor(sReady).find("RELOADING=1\nMONOTONIC_USEC="));
    PutJobs(30, 1);
    manager.WaitFor("READY=1\nSTATUS=K\u00E9sz: 31, elutas\u00EDtva: 1.");
    EXPECT_EQ((std::set<std::string>{"30"}), DoneJobs());

    Send(*child, SIGTERM);
    manager.ExpectStopping();
    const ChildResult result = child->Wait();
    EXPECT_EQ(0, result.m_iExitCode);
    const auto log = Log();
    EXPECT_EQ(30, LinesWith(log, ".orders: 20 orders, "));
    EXPECT_EQ(1, LinesWith(log, " 4 sz\u00E1lon, a nyelv hu.")) << "as many threads as before";
    EXPECT_EQ(1, LinesWith(log, "30.orders: 20 rendel\u00E9s, "));
    EXPECT_EQ(1, LinesWith(log, "bad.orders is refused. Line 1: "));
    EXPECT_EQ(1, LinesWith(log, "Le\u00E1llt. K\u00E9sz: 31, elutas\u00EDtva: 1, h\u00E1travan: 0."));
    EXPECT_EQ(35u, log.size());
    EXPECT_EQ("bad.orders is refused. Line 1: a line has four fields of text, separated by tabs.\n",
              result.m_sOutput);
}

TEST_F(IntakeUnderSystemd, ShowsItsWatchdogThatItLivesWhileNothingIsToBeDone)
{
    Set(ORVTEXT("ScanMilliseconds"), NumberValue(DWORD(3'600'000)));
    const CVariableGuard watchdog("WATCHDOG_USEC", "20000");
    CManager manager;
    const auto child = Start();
    for (int i = 0; i < 3; ++i)
        manager.WaitFor("WATCHDOG=1");
}

TEST_F(IntakeUnderSystemd, StoppedInTheMiddleLeavesTheRestForTheNextStart)
{
    constexpr int nCount = 150;
    PutJobs(0, nCount);
    int nDone = 0;
    for (int nStarts = 0; nDone < nCount; ++nStarts)
    {
        const int nBefore = nDone;
        CManager manager;
        const auto child = Start();
        while (nDone == nBefore && manager.Told().starts_with("READY=1\n"))
            nDone = static_cast<int>(DoneJobs().size());
        Send(*child, nStarts % 2 == 0 ? SIGTERM : SIGINT);
        manager.ExpectStopping();
        EXPECT_EQ(0, child->Wait().m_iExitCode);
        nDone = ExpectNoneLost(nCount);
        EXPECT_EQ(std::size_t(nCount - nDone), Names("in").size()) << "nothing is left in between";
        EXPECT_EQ(1, LinesWith(Log(), "Stopped. Done: " + std::to_string(nDone - nBefore) +
                                          ", refused: 0, left: " + std::to_string(nCount - nDone) + '.'));
        EXPECT_EQ(nDone, LinesWith(Log(), ".orders: 20 orders, "));
    }
}
