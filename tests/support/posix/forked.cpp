#include "support/forked.h"

#include <sys/wait.h>
#include <unistd.h>

int ForkedResult(const std::function<int()>& body)
{
    const pid_t pid = fork();
    if (pid == 0)
    {
        alarm(60); // ends a child that hangs
        _exit(body());
    }
    int iStatus = -1;
    const bool bEnded = pid > 0 && waitpid(pid, &iStatus, 0) == pid && WIFEXITED(iStatus);
    return bEnded ? WEXITSTATUS(iStatus) : -1;
}
