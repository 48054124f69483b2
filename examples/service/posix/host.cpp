#include "../host.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace
{

namespace fs = std::filesystem;

std::string Variable(const char* sName, const std::string& sDefault = {})
{
    const char* s = std::getenv(sName);
    return s != nullptr ? s : sDefault;
}

sigset_t g_requests; ///< the signals that WaitForRequest takes; no thread gets them otherwise

/// One datagram to the socket that systemd names, which is all of its protocol; nothing where there is none.
void Notify(const std::string& sText)
{
    const std::string sSocket = Variable("NOTIFY_SOCKET");
    sockaddr_un address = {};
    if (sSocket.empty() || sSocket.size() >= sizeof(address.sun_path))
        return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, sSocket.data(), sSocket.size());
    if (address.sun_path[0] == '@')
        address.sun_path[0] = 0;
    const int iSocket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (iSocket < 0)
        return;
    const auto nLength = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sSocket.size());
    sendto(iSocket, sText.data(), sText.size(), MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&address), nLength);
    close(iSocket);
}

long long Now(long long nUnitsPerSecond)
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * nUnitsPerSecond + now.tv_nsec / (1'000'000'000 / nUnitsPerSecond);
}

/// Half the time within which systemd wants a sign of life; 0 when it wants none.
long long WatchdogMilliseconds()
{
    const std::string sProcess = std::to_string(getpid());
    return Variable("WATCHDOG_PID", sProcess) == sProcess
               ? std::atoll(Variable("WATCHDOG_USEC").c_str()) / 2000
               : 0;
}

bool Fail(std::error_code& error)
{
    error.assign(errno, std::generic_category());
    return false;
}

bool WriteAndClose(int iFile, const std::string& sBytes)
{
    std::size_t nDone = 0;
    while (nDone < sBytes.size())
    {
        const ssize_t n = write(iFile, sBytes.data() + nDone, sBytes.size() - nDone);
        if (n < 0 && errno != EINTR)
            break;
        nDone += static_cast<std::size_t>(std::max<ssize_t>(n, 0));
    }
    const bool bWritten = nDone == sBytes.size() && fsync(iFile) == 0;
    const int iError = errno;
    close(iFile);
    errno = iError;
    return bWritten;
}

bool SyncFolder(const fs::path& folder)
{
    const int iFolder = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return iFolder >= 0 && WriteAndClose(iFolder, {});
}

} // namespace

int RunHosted(const std::string& sVerb, const std::string& sName, ServiceBody body)
{
    if (sVerb != "run" && sVerb != "service")
        return -1;
    sigemptyset(&g_requests);
    sigaddset(&g_requests, SIGINT);
    sigaddset(&g_requests, SIGTERM);
    if (sVerb == "service") // of a terminal it means that it was closed
        sigaddset(&g_requests, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &g_requests, nullptr);
    return body(sName, sVerb == "run");
}

ERequest WaitForRequest(unsigned nMilliseconds)
{
    const long long nWatchdog = WatchdogMilliseconds();
    const long long nEnd = Now(1000) + nMilliseconds;
    for (;;)
    {
        long long nWait = std::max(nEnd - Now(1000), 0LL);
        if (nWatchdog > 0)
        {
            Notify("WATCHDOG=1");
            nWait = std::min(nWait, nWatchdog);
        }
        const timespec wait = {static_cast<time_t>(nWait / 1000),
                               static_cast<long>(nWait % 1000 * 1'000'000)};
        const int iSignal = sigtimedwait(&g_requests, nullptr, &wait);
        if (iSignal == SIGHUP)
            return ERequest::Reload;
        if (iSignal > 0)
            return ERequest::Stop;
        if (Now(1000) >= nEnd)
            return ERequest::None;
    }
}

void TellReady(const std::string& sStatus)
{
    Notify("READY=1\nSTATUS=" + sStatus);
}

void TellReloading()
{
    Notify("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(Now(1'000'000)));
}

void TellStopping()
{
    // From now on another one ends the program at once, but for SIGHUP.
    sigdelset(&g_requests, SIGHUP);
    pthread_sigmask(SIG_UNBLOCK, &g_requests, nullptr);
    Notify("STOPPING=1\nEXTEND_TIMEOUT_USEC=30000000");
}

fs::path DefaultFolder(const std::string& sName)
{
    return Variable("STATE_DIRECTORY", sName);
}

fs::path DefaultLogFolder(const std::string& sName)
{
    return Variable("LOGS_DIRECTORY", (DefaultFolder(sName) / "log").string());
}

bool LoadFile(const fs::path& file, std::string& sBytes, std::error_code& error)
{
    const int iFile = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (iFile < 0)
        return Fail(error);
    char buffer[65536];
    ssize_t n = 0;
    while ((n = read(iFile, buffer, sizeof(buffer))) > 0 || (n < 0 && errno == EINTR))
        sBytes.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    const bool bRead = n == 0 || Fail(error);
    close(iFile);
    return bRead;
}

bool StoreFile(const fs::path& file, const std::string& sBytes, std::error_code& error)
{
    const std::string sNew = file.string() + ".new";
    const int iFile = open(sNew.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (iFile < 0 || !WriteAndClose(iFile, sBytes) || rename(sNew.c_str(), file.c_str()) != 0)
        return Fail(error);
    return SyncFolder(file.parent_path()) || Fail(error);
}

bool CFolderLock::Lock(const fs::path& folder, std::error_code& error)
{
    const int iFolder = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (iFolder < 0)
        return Fail(error);
    if (flock(iFolder, LOCK_EX | LOCK_NB) != 0)
    {
        Fail(error);
        close(iFolder);
        return false;
    }
    Unlock();
    m_hLock = iFolder;
    return true;
}

void CFolderLock::Unlock()
{
    if (m_hLock >= 0)
        close(static_cast<int>(m_hLock));
    m_hLock = -1;
}
