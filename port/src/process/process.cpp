// Starting other programs, detached.
#include <windows.h>

#include "files/handle.h"
#include "process/errnomap.h"
#include "text/utf.h"

#include <cerrno>
#include <new>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

// Nothing can be asked of a detached process.
class CProcess : public CPortObject
{
public:
    CProcess() noexcept : CPortObject(EKind::Process) {}
};

// The words of a command line; a quoted word may contain blanks.
std::vector<std::string> Words(const std::string& sCommandLine)
{
    std::vector<std::string> words;
    bool bQuoted = false;
    bool bInWord = false;
    for (const char c : sCommandLine)
    {
        const bool bBlank = !bQuoted && (c == ' ' || c == '\t');
        if (!bBlank && !bInWord)
            words.emplace_back();
        bInWord = !bBlank;
        if (c == '"')
            bQuoted = !bQuoted;
        else if (!bBlank)
            words.back() += c;
    }
    return words;
}

// Ends a child, and tells why there is no program.
[[noreturn]] void Fail(int fdError)
{
    const int nErrno = errno;
    [[maybe_unused]] const ssize_t nWritten = write(fdError, &nErrno, sizeof(nErrno));
    _exit(127);
}

// In the child: starts another one, which becomes the program, and leaves it alone.
[[noreturn]] void BecomeParent(char** ppWords, int fdError)
{
    const pid_t pid = fork();
    if (pid > 0)
        _exit(0);
    if (pid == 0)
    {
        setsid();
        execvp(ppWords[0], ppWords);
    }
    Fail(fdError);
}

// What a child has told; 0 when the pipe was closed without a word, as it is when the program runs.
int ToldErrno(int fd)
{
    int nErrno = 0;
    ssize_t nRead;
    do
        nRead = read(fd, &nErrno, sizeof(nErrno));
    while (nRead < 0 && errno == EINTR);
    return nRead == sizeof(nErrno) ? nErrno : 0;
}

// Starts the program as nobody's child, so that nobody has to wait for its end. 0, or why it did not start.
int StartDetached(char** ppWords)
{
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0)
        return errno;
    const pid_t pid = fork();
    if (pid == 0)
        BecomeParent(ppWords, fds[1]);
    int nErrno = pid < 0 ? errno : 0;
    close(fds[1]);
    if (pid > 0)
        nErrno = ToldErrno(fds[0]);
    close(fds[0]);
    while (pid > 0 && waitpid(pid, nullptr, 0) < 0 && errno == EINTR)
    {
    }
    return nErrno;
}

} // namespace

BOOL CreateProcessW(LPCWSTR, LPWSTR lpCommandLine, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD,
                    LPVOID, LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION lpProcessInformation) noexcept
try
{
    std::vector<std::string> words = Words(PortToUtf8(lpCommandLine));
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& sWord : words)
        pointers.push_back(sWord.data());
    pointers.push_back(nullptr);
    errno = words.empty() ? ENOENT : StartDetached(pointers.data());
    if (errno != 0)
        return PortFail();
    *lpProcessInformation = {static_cast<CPortObject*>(new (std::nothrow) CProcess),
                             static_cast<CPortObject*>(new (std::nothrow) CProcess), 0, 0};
    return TRUE;
}
catch (const std::bad_alloc&)
{
    return PortFailWithoutMemory();
}
