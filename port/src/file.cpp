// Files and directories. Share modes are not enforced here: the system knows no mandatory ones.
#include <windows.h>

#include "errnomap.h"
#include "handle.h"
#include "utf.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace
{

class CFile : public CPortObject
{
public:
    explicit CFile(int fd) noexcept : CPortObject(EKind::File), m_fd(fd) {}
    static bool IsKind(EKind eKind) noexcept { return eKind == EKind::File; }
    const int m_fd;

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

// Opens what exists or creates it; tells which. Another process may create or delete the file in between.
int OpenOrCreate(const std::string& sPath, int nFlags, bool& bExisted)
{
    for (;;)
    {
        bExisted = true;
        int fd = OpenRetrying(sPath, nFlags);
        if (fd >= 0 || errno != ENOENT)
            return fd;
        bExisted = false;
        fd = OpenRetrying(sPath, nFlags | O_CREAT | O_EXCL);
        if (fd >= 0 || errno != EEXIST)
            return fd;
    }
}

int AccessFlags(DWORD dwAccess)
{
    const bool bRead = dwAccess & GENERIC_READ;
    const bool bWrite = dwAccess & GENERIC_WRITE;
    return bRead && bWrite ? O_RDWR : bWrite ? O_WRONLY : O_RDONLY;
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
    if (dwCreationDisposition != OPEN_ALWAYS)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    const std::string sPath = PortPath(lpFileName);
    const bool bInherit = lpSecurityAttributes && lpSecurityAttributes->bInheritHandle;
    bool bExisted;
    const int fd =
        OpenOrCreate(sPath, AccessFlags(dwDesiredAccess) | O_NOCTTY | (bInherit ? 0 : O_CLOEXEC), bExisted);
    struct stat st;
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
    CFile* pFile = new (std::nothrow) CFile(fd);
    if (!pFile)
    {
        ::close(fd);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return INVALID_HANDLE_VALUE;
    }
    SetLastError(bExisted ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
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
        const ssize_t nDone = WriteSome(pFile->m_fd, static_cast<const char*>(lpBuffer) + nWritten,
                                        nNumberOfBytesToWrite - nWritten, bAppend);
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
    return ::fdatasync(pFile->m_fd) == 0 ? TRUE : PortFail();
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
