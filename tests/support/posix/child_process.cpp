#include "support/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

extern char** environ;

CChildProcess::CChildProcess(const ChildProgram& program, const ChildArguments& args)
{
    ChildArguments texts = Joined({program.m_Path.string()}, args);
    std::vector<char*> argv;
    for (auto& sText : texts)
        argv.push_back(sText.data());
    argv.push_back(nullptr);

    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    pid_t pid = 0;
    const int iError = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (iError != 0)
        throw std::runtime_error("posix_spawn");
    m_hProcess = pid;
    m_hOutput = ends[0];
}

bool CChildProcess::ReadMore()
{
    char buffer[4096];
    ssize_t nRead = 0;
    do
        nRead = read(static_cast<int>(m_hOutput), buffer, sizeof(buffer));
    while (nRead < 0 && errno == EINTR);
    if (nRead > 0)
        m_sPending.append(buffer, static_cast<std::size_t>(nRead));
    return nRead > 0;
}

void CChildProcess::Kill()
{
    if (m_hProcess != 0)
        kill(static_cast<pid_t>(m_hProcess), SIGKILL);
}

int CChildProcess::WaitForExit()
{
    int iStatus = 0;
    while (waitpid(static_cast<pid_t>(m_hProcess), &iStatus, 0) < 0 && errno == EINTR)
    {
    }
    close(static_cast<int>(m_hOutput));
    return WIFSIGNALED(iStatus) ? -WTERMSIG(iStatus) : WEXITSTATUS(iStatus);
}
