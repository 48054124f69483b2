#include "../platform.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

namespace
{

std::atomic<int> g_iSignal = 0;
int g_wakeUp[2] = {-1, -1}; // readable from the first request on

void OnSignal(int iSignal)
{
    const int iError = errno;
    g_iSignal = iSignal;
    [[maybe_unused]] const ssize_t nWritten = write(g_wakeUp[1], "", 1);
    errno = iError;
}

/// Waits until one of both can be read; true when the file can.
bool WaitForInput(int iFile, int iMilliseconds)
{
    pollfd files[] = {{iFile, POLLIN, 0}, {g_wakeUp[0], POLLIN, 0}};
    while (poll(files, 2, iMilliseconds) < 0 && errno == EINTR && !CStop::IsRequested())
    {
    }
    return files[0].revents != 0;
}

} // namespace

std::vector<std::string> CommandLine(int argc, char** argv)
{
    return {argv, argv + argc};
}

void CStop::Install()
{
    if (pipe2(g_wakeUp, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool CStop::IsRequested()
{
    return g_iSignal != 0;
}

bool CStop::Wait(unsigned nMilliseconds)
{
    WaitForInput(-1, static_cast<int>(nMilliseconds));
    return IsRequested();
}

int CStop::ExitStatus()
{
    return IsRequested() ? 128 + g_iSignal : 0;
}

bool CInputFile::Open(const std::filesystem::path& path, bool bForGood, std::string& sError)
{
    struct stat status = {};
    const bool bFound = stat(path.c_str(), &status) == 0;
    const bool bPipe = bFound && !S_ISREG(status.st_mode);
    if (bFound && S_ISDIR(status.st_mode))
        return sError = path.string() + " is a folder; name the log in it", false;
    // Not waiting for a writer here; one that is a writer itself never sees the pipe's end.
    const int iFile =
        open(path.c_str(), O_CLOEXEC | (bPipe ? O_NONBLOCK : 0) | (bPipe && bForGood ? O_RDWR : O_RDONLY));
    if (iFile < 0)
        return sError = "cannot read " + path.string() + ": " + std::strerror(errno), false;
    Close();
    m_hFile = iFile;
    m_bPipe = bPipe;
    return true;
}

void CInputFile::Close()
{
    if (m_hFile >= 0)
        close(static_cast<int>(m_hFile));
    m_hFile = -1;
}

bool CInputFile::HasInput() const
{
    return !m_bPipe || WaitForInput(static_cast<int>(m_hFile), 0);
}

CInputFile::ERead CInputFile::Read(char* pBuffer, std::size_t nRoom, std::size_t& nRead)
{
    for (;;)
    {
        if (m_bPipe && !WaitForInput(static_cast<int>(m_hFile), -1))
            return ERead::Stopped;
        const ssize_t n = read(static_cast<int>(m_hFile), pBuffer, nRoom);
        nRead = n > 0 ? static_cast<std::size_t>(n) : 0;
        if (n >= 0)
            return n > 0 ? ERead::Data : ERead::End;
        if (errno != EINTR && errno != EAGAIN)
            return ERead::Failed;
    }
}

std::uint64_t CInputFile::Size() const
{
    struct stat status = {};
    return fstat(static_cast<int>(m_hFile), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

bool CInputFile::Seek(std::uint64_t nOffset)
{
    return lseek(static_cast<int>(m_hFile), static_cast<off_t>(nOffset), SEEK_SET) >= 0;
}

bool CInputFile::IsReplacedAt(const std::filesystem::path& path) const
{
    struct stat named = {};
    struct stat open = {};
    return stat(path.c_str(), &named) == 0 && fstat(static_cast<int>(m_hFile), &open) == 0 &&
           (named.st_ino != open.st_ino || named.st_dev != open.st_dev);
}

bool IsTerminal(std::FILE* pFile)
{
    return isatty(fileno(pFile)) != 0;
}

unsigned long ProcessNumber()
{
    return static_cast<unsigned long>(getpid());
}
