#include "support/forked.h"

#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// An exception ends the child: it must not become a second run of the tests that follow.
[[noreturn]] void RunInChild(const std::function<int()>& body) noexcept
{
    alarm(60); // ends a child that hangs
    _exit(body());
}

} // namespace

int ForkedResult(const std::function<int()>& body)
{
    const pid_t pid = fork();
    if (pid == 0)
        RunInChild(body);
    int iStatus = -1;
    const bool bEnded = pid > 0 && waitpid(pid, &iStatus, 0) == pid && WIFEXITED(iStatus);
    return bEnded ? WEXITSTATUS(iStatus) : -1;
}
