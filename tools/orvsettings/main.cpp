#include "arguments.h"
#include "commands.h"

#include "orvcomtypes/octalloc.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

namespace
{

/// Tells somebody who waits at a terminal how far a long change is.
class CProgressLine
{
public:
    ~CProgressLine()
    {
        if (m_bShown)
            std::fputs("\r\x1B[K", stderr);
    }
    void Show(std::size_t nDone, std::size_t nAll)
    {
        const Clock::time_point now = Clock::now();
        if (now < m_next)
            return;
        m_next = now + std::chrono::milliseconds(100);
        m_bShown = true;
        std::fprintf(stderr, "\r%zu of %zu", nDone, nAll);
        std::fflush(stderr);
    }

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point m_next = Clock::now() + std::chrono::milliseconds(300);
    bool m_bShown = false;
};

int Run(const std::vector<CText>& args)
{
    std::string sOutput;
    std::string sErrors;
    ToolResult result;
    {
        CProgressLine line;
        const bool bTerminal = IsErrorStreamATerminal();
        result = RunTool(args, sOutput, sErrors, [&](std::size_t nDone, std::size_t nAll) {
            if (bTerminal)
                line.Show(nDone, nAll);
        });
    }
    std::fwrite(sErrors.data(), 1, sErrors.size(), stderr);
    if (std::fwrite(sOutput.data(), 1, sOutput.size(), stdout) == sOutput.size() && std::fflush(stdout) == 0)
        return result;
    std::perror("orvsettings: cannot write the output");
    return eFailed;
}

} // namespace

int main(int argc, char** argv)
{
    const int iExitCode = Run(ProgramArguments(argc, argv));
    SetFinalRelease();
    UninitOrvComTypes();
    return iExitCode;
}
