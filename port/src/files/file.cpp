// Files and directories. Share modes are not enforced here: the system knows no mandatory ones.
#include <windows.h>

#include "files/filedata.h"
#include "files/handle.h"
#include "process/errnomap.h"
#include "text/utf.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <new>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace
{

class CFile : public CPortObject
{
public:
    CFile(int fd, mode_t nMode) noexcept : CPortObject(EKind::File), m_fd(fd), m_nMode(nMode) {}
    static bool IsKind(EKind eKind) noexcept { return eKind == EKind::File; }
    bool IsOnDisk() const noexcept { return S_ISREG(m_nMode) || S_ISBLK(m_nMode); }

    const int m_fd;
    const mode_t m_nMode;

private:
    ~CFile() override { ::close(m_fd); }
};

bool IsDirectory(const std::string& sPath)
{
    struct stat st;
    return ::stat(sPath.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// A missing file and a missing folder on the way to it are one errno but two Win32 errors.
BOOL FailForPath(const std::string& sPath)
{
    const int nErrno = errno;
    const auto nSlash = sPath.find_last_of('/');
    const bool bNoFolder = nErrno == ENOENT && nSlash != std::string::npos && nSlash > 0 &&
                           !IsDirectory(sPath.substr(0, nSlash));
    SetLastError(bNoFolder ? static_cast<DWORD>(ERROR_PATH_NOT_FOUND) : PortWin32Error(nErrno));
    return FALSE;
}

int OpenRetrying(const std::string& sPath, int nFlags)
{
    int fd;
    do
        fd = ::open(sPath.c_str(), nFlags, 0666);
    while (fd < 0 && errno == EINTR);
    return fd;
}

// Opens what exists or creates it; tells which. When another process creates it in between, that is opened; a
// link that leads nowhere gets its target where that can be made.
int OpenOrCreate(const std::string& sPath, int nFlags, bool& bExisted)
{
    bExisted = true;
    int fd = OpenRetrying(sPath, nFlags);
    if (fd >= 0 || errno != ENOENT)
        return fd;
    bExisted = false;
    fd = OpenRetrying(sPath, nFlags | O_CREAT | O_EXCL);
    return fd >= 0 || errno != EEXIST ? fd : OpenRetrying(sPath, nFlags | O_CREAT);
}

int AccessFlags(DWORD dwAccess)
{
    const bool bRead = dwAccess & GENERIC_READ;
    const bool bWrite = dwAccess & GENERIC_WRITE;
    return bRead && bWrite ? O_RDWR : bWrite ? O_WRONLY : bRead ? O_RDONLY : O_PATH;
}

// Waits until a pipe or terminal takes more.
bool WaitForRoom(int fd) noexcept
{
    pollfd look{fd, POLLOUT, 0};
    return ::poll(&look, 1, -1) > 0 || errno == EINTR;
}

// A pipe whose reader has gone raises a signal that ends the process, unless it is held back until it can be
// taken away.
class CPipeSignalGuard
{
public:
    CPipeSignalGuard() noexcept
    {
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        sigset_t pending;
        m_bPending = sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_pipe, &m_former);
    }
    CPipeSignalGuard(const CPipeSignalGuard&) = delete;
    CPipeSignalGuard& operator=(const CPipeSignalGuard&) = delete;
    ~CPipeSignalGuard()
    {
        const int nErrno = errno;
        const timespec none{};
        if (!m_bPending)
            sigtimedwait(&m_pipe, nullptr, &none);
        pthread_sigmask(SIG_SETMASK, &m_former, nullptr);
        errno = nErrno;
    }

private:
    sigset_t m_pipe;
    sigset_t m_former;
    bool m_bPending;
};

// One write of what is left to a pipe or terminal.
ssize_t WriteToStream(int fd, const char* pData, std::size_t nBytes) noexcept
{
    const CPipeSignalGuard guard;
    for (;;)
    {
        const ssize_t nDone = ::write(fd, pData, nBytes);
        if (nDone >= 0 || (errno != EINTR && (errno != EAGAIN || !WaitForRoom(fd))))
            return nDone;
    }
}

// One write of what is left, retried when a signal interrupts it. At the end of the file when asked to, in
// one step with finding that end where the system can do that.
ssize_t WriteSome(int fd, const char* pData, std::size_t nBytes, bool bAppend)
{
    const iovec vec{const_cast<char*>(pData), nBytes};
    for (;;)
    {
        ssize_t nDone = bAppend ? ::pwritev2(fd, &vec, 1, -1, RWF_APPEND) : ::write(fd, pData, nBytes);
        if (bAppend && nDone < 0 && (errno == EOPNOTSUPP || errno == ENOSYS))
        {
            ::lseek(fd, 0, SEEK_END);
            nDone = ::write(fd, pData, nBytes);
        }
        if (nDone >= 0 || errno != EINTR)
            return nDone;
    }
}

bool IsAppend(const OVERLAPPED* pOverlapped)
{
    return pOverlapped && pOverlapped->Offset == 0xFFFFFFFFu && pOverlapped->OffsetHigh == 0xFFFFFFFFu;
}

// Moves to where an OVERLAPPED says.
bool Seek(int fd, const OVERLAPPED* pOverlapped)
{
    return !pOverlapped ||
           ::lseek(fd, static_cast<off_t>(pOverlapped->Offset | std::uint64_t{pOverlapped->OffsetHigh} << 32),
                   SEEK_SET) >= 0;
}

BOOL ByPath(int nResult, const std::string& sPath)
{
    return nResult == 0 ? TRUE : FailForPath(sPath);
}

} // namespace

HANDLE CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD,
                   LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition, DWORD,
                   HANDLE) noexcept
try
{
    const bool bEmpties = dwCreationDisposition == CREATE_ALWAYS;
    const bool bCreates = bEmpties || dwCreationDisposition == OPEN_ALWAYS;
    if (!bCreates && dwCreationDisposition != OPEN_EXISTING)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    const std::string sPath = PortPath(lpFileName);
    const bool bInherit = lpSecurityAttributes && lpSecurityAttributes->bInheritHandle;
    // Opening a pipe does not wait for its reader.
    const int nFlags = AccessFlags(dwDesiredAccess) | O_NOCTTY | O_NONBLOCK | (bInherit ? 0 : O_CLOEXEC) |
                       (bEmpties ? O_TRUNC : 0);
    bool bExisted = true;
    const int fd = bCreates ? OpenOrCreate(sPath, nFlags, bExisted) : OpenRetrying(sPath, nFlags);
    struct stat st
    {
    };
    if (fd >= 0 && ::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode))
    {
        ::close(fd);
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    if (fd < 0)
    {
        FailForPath(sPath);
        return INVALID_HANDLE_VALUE;
    }
    CFile* pFile = new (std::nothrow) CFile(fd, st.st_mode);
    if (!pFile)
    {
        ::close(fd);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return INVALID_HANDLE_VALUE;
    }
    SetLastError(bCreates && bExisted ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return static_cast<CPortObject*>(pFile);
}
catch (const std::bad_alloc&)
{
    PortFailWithoutMemory();
    return INVALID_HANDLE_VALUE;
}

BOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
               LPOVERLAPPED lpOverlapped) noexcept
{
    DWORD nIgnored;
    DWORD& nWritten = lpNumberOfBytesWritten ? *lpNumberOfBytesWritten : nIgnored;
    nWritten = 0;
    const CFile* pFile = CPortObject::Of<CFile>(hFile);
    if (!pFile)
        return FALSE;
    const bool bAppend = IsAppend(lpOverlapped);
    if (!bAppend && !Seek(pFile->m_fd, lpOverlapped))
        return PortFail();
    while (nWritten < nNumberOfBytesToWrite)
    {
        const char* pData = static_cast<const char*>(lpBuffer) + nWritten;
        const DWORD nLeft = nNumberOfBytesToWrite - nWritten;
        const ssize_t nDone = pFile->IsOnDisk() ? WriteSome(pFile->m_fd, pData, nLeft, bAppend)
                                                : WriteToStream(pFile->m_fd, pData, nLeft);
        if (nDone < 0)
            return PortFail();
        nWritten += static_cast<DWORD>(nDone);
    }
    return TRUE;
}

DWORD SetFilePointer(HANDLE hFile, LONG lDistanceToMove, PLONG lpDistanceToMoveHigh,
                     DWORD dwMoveMethod) noexcept
{
    const CFile* pFile = CPortObject::Of<CFile>(hFile);
    if (!pFile)
        return INVALID_SET_FILE_POINTER;
    off_t nDistance = lDistanceToMove;
    if (lpDistanceToMoveHigh)
        nDistance = static_cast<off_t>(static_cast<ULONGLONG>(*lpDistanceToMoveHigh) << 32 |
                                       static_cast<DWORD>(lDistanceToMove));
    const off_t nPosition = ::lseek(pFile->m_fd, nDistance, dwMoveMethod == FILE_BEGIN ? SEEK_SET : SEEK_END);
    if (nPosition < 0)
    {
        PortFail();
        return INVALID_SET_FILE_POINTER;
    }
    if (lpDistanceToMoveHigh)
        *lpDistanceToMoveHigh = static_cast<LONG>(nPosition >> 32);
    SetLastError(NO_ERROR);
    return static_cast<DWORD>(nPosition);
}

BOOL FlushFileBuffers(HANDLE hFile) noexcept
{
    const CFile* pFile = CPortObject::Of<CFile>(hFile);
    if (!pFile)
        return FALSE;
    // A pipe or terminal keeps nothing that could be lost.
    return !pFile->IsOnDisk() || ::fdatasync(pFile->m_fd) == 0 ? TRUE : PortFail();
}

BOOL ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead,
              LPOVERLAPPED) noexcept
{
    *lpNumberOfBytesRead = 0;
    const CFile* pFile = CPortObject::Of<CFile>(hFile);
    if (!pFile)
        return FALSE;
    ssize_t nDone;
    do
        nDone = ::read(pFile->m_fd, lpBuffer, nNumberOfBytesToRead);
    while (nDone < 0 && errno == EINTR);
    if (nDone < 0)
        return PortFail();
    *lpNumberOfBytesRead = static_cast<DWORD>(nDone);
    return TRUE;
}

DWORD GetFileType(HANDLE hFile) noexcept
{
    const CFile* pFile = CPortObject::Of<CFile>(hFile);
    if (!pFile)
        return 0;
    SetLastError(NO_ERROR);
    return pFile->IsOnDisk() ? FILE_TYPE_DISK : S_ISCHR(pFile->m_nMode) ? FILE_TYPE_CHAR : FILE_TYPE_PIPE;
}

BOOL GetFileInformationByHandle(HANDLE hFile, LPBY_HANDLE_FILE_INFORMATION lpFileInformation) noexcept
{
    const CFile* pFile = CPortObject::Of<CFile>(hFile);
    struct stat st;
    if (!pFile)
        return FALSE;
    if (::fstat(pFile->m_fd, &st) != 0)
        return PortFail();
    *lpFileInformation = {};
    PortFillFileData(*lpFileInformation, st);
    lpFileInformation->dwVolumeSerialNumber = static_cast<DWORD>(st.st_dev ^ st.st_dev >> 32);
    lpFileInformation->nNumberOfLinks = static_cast<DWORD>(st.st_nlink);
    lpFileInformation->nFileIndexHigh = static_cast<DWORD>(st.st_ino >> 32);
    lpFileInformation->nFileIndexLow = static_cast<DWORD>(st.st_ino);
    return TRUE;
}

BOOL CreateDirectoryW(LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES) noexcept
try
{
    const std::string sPath = PortPath(lpPathName);
    return ByPath(::mkdir(sPath.c_str(), 0777), sPath);
}
catch (const std::bad_alloc&)
{
    return PortFailWithoutMemory();
}

DWORD GetLongPathNameW(LPCWSTR lpszShortPath, LPWSTR lpszLongPath, DWORD cchBuffer) noexcept
try
{
    // There are no short names: a path is long when it exists.
    const std::string sPath = PortPath(lpszShortPath);
    struct stat st;
    if (!ByPath(::lstat(sPath.c_str(), &st), sPath))
        return 0;
    return PortCopyOut(PortToUtf16(sPath), lpszLongPath, cchBuffer);
}
catch (const std::bad_alloc&)
{
    return PortFailWithoutMemory();
}
