// The example service in a Windows console: a log that is followed, and the ends that an operator brings
// about.
#include "support/ingest_program.h"
#include "support/windows/console_event.h"

namespace
{

using IngestConsoleTest = CIngestTest;

/// Waits until the service has printed this many events; the result is its output up to there.
std::string ReadUntilPrinted(CChildProcess& child, int nEvents)
{
    const std::string sNumber = std::to_string(nEvents);
    const std::string sLast =
        "ingest: " + sNumber + " lines read, " + sNumber + " events printed; waiting for more";
    std::string sOutput;
    for (std::string sLine; sLine != sLast; sOutput += sLine + '\n')
        if ((sLine = child.ReadLine()).empty())
            return sOutput + "(the service ended)";
    return sOutput;
}

testing::AssertionResult EndedInOrder(const std::string& sOutput, int nEvents)
{
    const auto nCount = static_cast<std::size_t>(nEvents);
    if (const auto all = Has(sOutput, "INSERT INTO package_event", nEvents); !all)
        return all;
    return Has(sOutput,
               "lines read:      " + std::to_string(nEvents) + " (0 malformed)\n" + Line("printed:", nCount));
}

} // namespace

TEST_F(IngestConsoleTest, FollowsAcrossRotation)
{
    const auto append = [&](const std::string& sText) {
        std::ofstream(m_Input, std::ios::app | std::ios::binary) << sText;
    };
    WriteBytes(m_Input, Events(0, 10));
    CChildProcess child(IngestProgram(), Arguments({"--dry-run", "--follow"}));
    std::string sOutput = ReadUntilPrinted(child, 10);
    const std::string sNext = Events(10, 10);
    append(sNext.substr(0, sNext.size() - 5));
    sOutput += ReadUntilPrinted(child, 19);
    append(sNext.substr(sNext.size() - 5));
    sOutput += ReadUntilPrinted(child, 20);
    std::filesystem::rename(m_Input, m_Dir / "packages.log.1");
    WriteBytes(m_Input, Events(20, 5));
    sOutput += ReadUntilPrinted(child, 25);
    WriteBytes(m_Input, Events(25, 1)); // cut short and begun anew
    sOutput += ReadUntilPrinted(child, 26);
    ASSERT_TRUE(RaiseConsoleEvent(child, CTRL_BREAK_EVENT));
    const ChildResult result = child.Wait();
    EXPECT_EQ(130, result.m_iExitCode);
    EXPECT_TRUE(EndedInOrder(sOutput + result.m_sOutput, 26));
}

TEST_F(IngestConsoleTest, EveryConsoleEventEndsTheRunInOrder)
{
    WriteBytes(m_Input, Events(0, 3));
    for (const auto& [dwEvent, iExit] : {std::pair<DWORD, int>{CTRL_C_EVENT, 130},
                                         {CTRL_BREAK_EVENT, 130},
                                         {CTRL_CLOSE_EVENT, 143},
                                         {CTRL_LOGOFF_EVENT, 143},
                                         {CTRL_SHUTDOWN_EVENT, 143}})
    {
        CChildProcess child(IngestProgram(), Arguments({"--dry-run", "--follow"}));
        const std::string sOutput = ReadUntilPrinted(child, 3);
        ASSERT_TRUE(RaiseConsoleEvent(child, dwEvent));
        const ChildResult result = child.Wait();
        EXPECT_EQ(iExit, result.m_iExitCode) << dwEvent;
        EXPECT_TRUE(EndedInOrder(sOutput + result.m_sOutput, 3)) << dwEvent;
    }
}

/// In a console of its own: the event reaches every program of a console, and the test's may be the user's.
ORV_CHILD(PressCtrlC)
{
    FreeConsole();
    if (!AllocConsole() || !SetConsoleCtrlHandler(nullptr, FALSE))
        return 97;
    CChildProcess ingest(IngestProgram(), {"--dry-run", "--follow", args.at(0)});
    const std::string sOutput = ReadUntilPrinted(ingest, 3);
    // Only now, since children inherit that they ignore it.
    if (!SetConsoleCtrlHandler(nullptr, TRUE) || !GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0))
        return 98;
    const ChildResult result = ingest.Wait();
    std::printf("%s%s", sOutput.c_str(), result.m_sOutput.c_str());
    return result.m_iExitCode;
}

TEST_F(IngestConsoleTest, CtrlCInTheConsoleEndsTheRunInOrder)
{
    WriteBytes(m_Input, Events(0, 3));
    const ChildResult result = CChildProcess("PressCtrlC", {Name(m_Input)}).Wait();
    EXPECT_EQ(130, result.m_iExitCode);
    EXPECT_TRUE(EndedInOrder(result.m_sOutput, 3));
}
