// Takes files of orders from a folder and makes statements of them, as a service: README.md.
#include "service.h"

#include <orvcomtypes/octalloc.h>

#include <cstdio>

namespace
{

constexpr const char* kUsage = "Usage: intake run [NAME]         in this terminal, until Ctrl-C\n"
                               "       intake service [NAME]     as a service of systemd or Windows\n"
                               "       intake install [NAME]     makes the service, on Windows\n"
                               "       intake uninstall [NAME]   removes it\n"
                               "NAME is the service's and its settings'; Intake unless given.\n";

/// From its first line to the last one in the log; an exception that comes here ends the process, and the log
/// tells.
int Serve(const std::string& sName, bool bTerminal) noexcept
{
    const bool bWorked = CService(sName, bTerminal).Run();
    FlushLogs(5000);
    ReleaseProcessLogger();
    UninitOrvComTypes();
    return bWorked ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const int iExitCode =
        argc == 2 || argc == 3 ? RunHosted(argv[1], argc == 3 ? argv[2] : "Intake", Serve) : -1;
    if (iExitCode >= 0)
        return iExitCode;
    std::fputs(kUsage, stderr);
    return 2;
}
