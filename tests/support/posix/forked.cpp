#include "support/forked.h"

#include <sys/wait.h>
#include <unistd.h>

bool RunForked(bool (*body)())
{
    const pid_t pid = fork();
    if (pid == 0)
    {
        alarm(60); // ends a child that hangs
        _exit(body() ? 0 : 1);
    }
    int iStatus = -1;
    return pid > 0 && waitpid(pid, &iStatus, 0) == pid && iStatus == 0;
}
