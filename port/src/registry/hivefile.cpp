#include "registry/hivefile.h"

#include "process/errnomap.h"
#include "registry/registrydoc.h"

#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace OrvPort
{

unsigned g_nHivePatience = 5000;

namespace
{

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
/// Coarser than the clock that stamps files: within this time of a change another one may leave the same
/// stamp. Some file systems keep whole seconds, or every other.
constexpr std::int64_t kSettleTime = 20'000'000;
constexpr std::int64_t kCoarseSettleTime = 2 * kNanosecondsPerSecond;
/// Of the lock's file: one writer has the first, all that wait share the second.
constexpr off_t kTurnByte = 0;
constexpr off_t kWaitingByte = 1;
constexpr const char* kAccessList = "system.posix_acl_access";

class CDescriptor
{
public:
    explicit CDescriptor(int nFile) : m_nFile(nFile) {}
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    ~CDescriptor()
    {
        if (m_nFile >= 0)
            close(m_nFile);
    }
    int Get() const { return m_nFile; }
    bool IsOpen() const { return m_nFile >= 0; }

private:
    int m_nFile;
};

LSTATUS StatusOfErrno(int nError)
{
    return static_cast<LSTATUS>(PortWin32Error(nError));
}

std::int64_t Now()
{
    using namespace std::chrono;
    return duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
}

bool ReadAll(int nFile, std::string& sBytes)
{
    for (std::size_t nUsed = 0;;)
    {
        sBytes.resize(nUsed + 65536);
        const ssize_t n = read(nFile, sBytes.data() + nUsed, sBytes.size() - nUsed);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
        {
            sBytes.resize(nUsed);
            return n == 0;
        }
        nUsed += static_cast<std::size_t>(n);
    }
}

bool WriteAll(int nFile, std::string_view sBytes)
{
    while (!sBytes.empty())
    {
        const ssize_t n = write(nFile, sBytes.data(), sBytes.size());
        if (n < 0 && errno != EINTR)
            return false;
        if (n > 0)
            sBytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

/// Locks a byte of the lock's file or, with F_OFD_GETLK, asks whether it could be; else errno is EAGAIN.
bool LockByte(int nFile, int nCommand, off_t nByte, short nType)
{
    struct flock lock = {};
    lock.l_type = nType;
    lock.l_whence = SEEK_SET;
    lock.l_start = nByte;
    lock.l_len = 1;
    if (fcntl(nFile, nCommand, &lock) != 0)
        return false;
    const bool bFree = nCommand != F_OFD_GETLK || lock.l_type == F_UNLCK;
    errno = bFree ? 0 : EAGAIN;
    return bFree;
}

std::string FolderOf(const std::string& sFile)
{
    const std::size_t n = sFile.rfind('/');
    return n == std::string::npos ? "." : n == 0 ? "/" : sFile.substr(0, n);
}

/// What root makes in somebody's folder is his, or he could not use it.
void GiveToOwnerOf(const std::string& sFolder, int nFile)
{
    struct stat status;
    if (geteuid() == 0 && stat(sFolder.c_str(), &status) == 0)
        static_cast<void>(fchown(nFile, status.st_uid, status.st_gid) == 0);
}

/// Makes what is missing of a folder's path; the first reason why that failed, or 0.
int MakeFolders(const std::string& sFolder, mode_t nMode)
{
    int nError = 0;
    for (std::size_t n = 0; n != std::string::npos;)
    {
        n = sFolder.find('/', n + 1);
        const std::string sPart = sFolder.substr(0, n);
        if (mkdir(sPart.c_str(), nMode) == 0)
        {
            const CDescriptor folder(open(sPart.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
            fchmod(folder.Get(), nMode); // whatever the process masks
            GiveToOwnerOf(FolderOf(sPart), folder.Get());
        }
        else if (nError == 0 && errno != EEXIST)
            nError = errno;
    }
    return nError;
}

/// Extended attributes, of which access lists are one; those of security modules and of the administrator as
/// far as the process may.
int CopyAttributes(const char* sFrom, int nTo)
{
    const ssize_t cbNames = listxattr(sFrom, nullptr, 0);
    if (cbNames <= 0)
        return 0;
    std::vector<char> names(static_cast<std::size_t>(cbNames)), value(65536); // longer ones there are none
    const ssize_t cbListed = listxattr(sFrom, names.data(), names.size());
    for (const char* sName = names.data(); sName < names.data() + cbListed; sName += std::strlen(sName) + 1)
    {
        const ssize_t cb = getxattr(sFrom, sName, value.data(), value.size());
        if (cb >= 0 && fsetxattr(nTo, sName, value.data(), static_cast<std::size_t>(cb), 0) == 0)
            continue;
        const std::string_view sKind(sName);
        if (!sKind.starts_with("security.") && !sKind.starts_with("trusted."))
            return errno;
    }
    return 0;
}

/// The file that a link stands for, there or not, so that replacing it keeps the link.
std::string ResolveLinks(const std::string& sFile)
{
    std::filesystem::path file(sFile);
    std::error_code error;
    for (int nLinks = 0; nLinks < 40; ++nLinks)
    {
        const std::filesystem::path target = std::filesystem::read_symlink(file, error);
        if (error)
            break;
        file = file.parent_path() / target;
    }
    return file.string();
}

std::string Environment(const char* sName)
{
    const char* sValue = secure_getenv(sName);
    return sValue == nullptr ? std::string() : std::string(sValue);
}

std::string HomeFolder()
{
    if (std::string sHome = Environment("HOME"); !sHome.empty())
        return sHome;
    passwd entry;
    passwd* pEntry = nullptr;
    char sBuffer[4096];
    getpwuid_r(geteuid(), &entry, sBuffer, sizeof sBuffer, &pEntry);
    return pEntry == nullptr ? std::string() : std::string(pEntry->pw_dir);
}

} // namespace

std::string UserHiveFile()
{
    if (std::string sFile = Environment("ORVCOMTYPES_USER_HIVE"); !sFile.empty())
        return sFile;
    std::string sFolder = Environment("XDG_CONFIG_HOME");
    // A relative folder is to be ignored there.
    if (!sFolder.starts_with('/'))
        sFolder = HomeFolder() + "/.config";
    return sFolder + "/orvcomtypes/user.reg";
}

std::string MachineHiveFile()
{
    const std::string sFile = Environment("ORVCOMTYPES_MACHINE_HIVE");
    return sFile.empty() ? "/etc/orvcomtypes/machine.reg" : sFile;
}

LSTATUS RetryWhileLocked(LSTATUS (*fnTry)(void* pContext), void* pContext)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(g_nHivePatience);
    for (;;)
    {
        const LSTATUS lStatus = fnTry(pContext);
        if (lStatus != ERROR_LOCK_VIOLATION || Clock::now() >= end)
            return lStatus;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// ---- Reading ----

CHiveStamp::CHiveStamp(const struct stat& status)
    : m_bExists(true),
      m_nDevice(status.st_dev),
      m_nInode(status.st_ino),
      m_nSize(status.st_size),
      m_nModified(status.st_mtim.tv_sec * kNanosecondsPerSecond + status.st_mtim.tv_nsec)
{
}

CHiveFile::CHiveFile(const std::string& sFile, bool bPrivate) : m_sFile(sFile), m_bPrivate(bPrivate)
{
    std::error_code error;
    if (const std::filesystem::path absolute = std::filesystem::absolute(m_sFile, error); !error)
        m_sFile = absolute.string();
}

LSTATUS CHiveFile::Look(CHiveStamp& stamp) const
{
    struct stat status;
    const bool bThere = stat(m_sFile.c_str(), &status) == 0;
    if (!bThere && errno != ENOENT && errno != ENOTDIR)
        return StatusOfErrno(errno);
    stamp = bThere ? CHiveStamp(status) : CHiveStamp();
    return ERROR_SUCCESS;
}

LSTATUS CHiveFile::Load(CRegDocument& document, CHiveStamp& stamp, bool& bSettled) const
{
    // Not blocking: the name may be that of a pipe.
    const CDescriptor file(open(m_sFile.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    std::string sBytes;
    const bool bMissing = !file.IsOpen() && (errno == ENOENT || errno == ENOTDIR);
    if (!bMissing && (!file.IsOpen() || fstat(file.Get(), &status) != 0 || !ReadAll(file.Get(), sBytes)))
        return StatusOfErrno(errno);
    document.Load(sBytes);
    stamp = bMissing ? CHiveStamp() : CHiveStamp(status);
    const bool bCoarse = stamp.m_nModified % kNanosecondsPerSecond == 0;
    const std::int64_t nSettleTime = bCoarse ? kCoarseSettleTime : kSettleTime;
    bSettled = bMissing || std::abs(Now() - stamp.m_nModified) > nSettleTime;
    return ERROR_SUCCESS;
}

// ---- Writing ----

CHiveWriter::CHiveWriter(const CHiveFile& file)
    : m_sTarget(ResolveLinks(file.Name())), m_sBeside(m_sTarget + ".tmp"), m_bPrivate(file.IsPrivate())
{
}

CHiveWriter::~CHiveWriter()
{
    End();
    if (m_nWaiting >= 0)
        close(m_nWaiting);
}

void CHiveWriter::End()
{
    if (std::exchange(m_bPrepared, false))
        unlink(m_sBeside.c_str());
    if (m_nLock >= 0)
        close(std::exchange(m_nLock, -1));
}

/// The lock has a file of its own, because the hive's own file is replaced. It is never removed: a process
/// that waits on a removed file would lock nothing. Who may only read must not be able to hold it.
///
/// Waiting is trying again, as only that can be given up. A writer that begins one turn after the other would
/// leave no gap for it; so who waits shows it, and who comes new then waits too.
LSTATUS CHiveWriter::TryBegin()
{
    const std::string sLock = m_sTarget + ".lock";
    m_nLock = open(sLock.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC);
    if (m_nLock < 0 && errno == ENOENT)
    {
        const int nFolderError = MakeFolders(FolderOf(m_sTarget), m_bPrivate ? 0700 : 0755);
        m_nLock = open(sLock.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (m_nLock < 0)
            return StatusOfErrno(errno != ENOENT ? errno : nFolderError != 0 ? nFolderError : EACCES);
        GiveToOwnerOf(FolderOf(m_sTarget), m_nLock);
    }
    if (m_nLock < 0)
        return StatusOfErrno(errno);
    const bool bFirst = m_nWaiting < 0 && LockByte(m_nLock, F_OFD_GETLK, kWaitingByte, F_WRLCK);
    if ((m_nWaiting >= 0 || bFirst) && LockByte(m_nLock, F_OFD_SETLK, kTurnByte, F_WRLCK))
        return ERROR_SUCCESS;
    const int nError = errno;
    End();
    if (nError != EAGAIN && nError != EACCES)
        return StatusOfErrno(nError);
    if (m_nWaiting < 0)
    {
        m_nWaiting = open(sLock.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC);
        LockByte(m_nWaiting, F_OFD_SETLK, kWaitingByte, F_RDLCK);
    }
    return ERROR_LOCK_VIOLATION;
}

LSTATUS CHiveWriter::Prepare(const std::string& sBytes)
{
    // A process that was killed may have left one that this one may not write.
    unlink(m_sBeside.c_str());
    const CDescriptor file(open(m_sBeside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file.IsOpen())
        return StatusOfErrno(errno);
    m_bPrepared = true;
    return WriteBeside(file.Get(), sBytes);
}

/// Fills the new file, and gives it a later time than the old one has: the time tells versions apart even
/// where inode numbers are used again.
LSTATUS CHiveWriter::WriteBeside(int nFile, const std::string& sBytes)
{
    CHiveStamp old;
    struct stat status;
    if (stat(m_sTarget.c_str(), &status) == 0)
    {
        // To replace a file takes no right to write it, but who took that right away means it.
        if (!S_ISREG(status.st_mode) || faccessat(AT_FDCWD, m_sTarget.c_str(), W_OK, AT_EACCESS) != 0)
            return ERROR_ACCESS_DENIED;
        old = CHiveStamp(status);
        if (const int nError = KeepRights(nFile, status); nError != 0)
            return nError == EPERM ? ERROR_INVALID_OWNER : StatusOfErrno(nError);
    }
    else
    {
        GiveToOwnerOf(FolderOf(m_sTarget), nFile);
        fchmod(nFile, m_bPrivate ? 0600 : 0644);
    }
    if (!WriteAll(nFile, sBytes))
        return StatusOfErrno(errno);
    for (const std::int64_t nTime :
         {std::max(Now(), old.m_nModified + 1), old.m_nModified + kCoarseSettleTime})
    {
        const timespec time{nTime / kNanosecondsPerSecond, nTime % kNanosecondsPerSecond};
        const timespec times[] = {time, time};
        if (futimens(nFile, times) != 0 || fstat(nFile, &status) != 0)
            return StatusOfErrno(errno);
        m_stamp = CHiveStamp(status);
        if (m_stamp.m_nModified > old.m_nModified)
            break;
    }
    return fsync(nFile) == 0 ? ERROR_SUCCESS : StatusOfErrno(errno);
}

/// Gives the new file owner, group, mode, access list and attributes of the old one; errno, EPERM where the
/// process may not.
int CHiveWriter::KeepRights(int nFile, const struct stat& old) const
{
    struct stat own;
    if (fstat(nFile, &own) != 0 || ((own.st_uid != old.st_uid || own.st_gid != old.st_gid) &&
                                    fchown(nFile, old.st_uid, old.st_gid) != 0))
        return errno;
    fremovexattr(nFile, kAccessList); // which a folder may have given it
    if (fchmod(nFile, old.st_mode & 07777) != 0)
        return errno;
    return CopyAttributes(m_sTarget.c_str(), nFile);
}

LSTATUS CHiveWriter::Commit()
{
    const std::string sFolder = FolderOf(m_sTarget); // before, as it may find no memory
    if (rename(m_sBeside.c_str(), m_sTarget.c_str()) != 0)
        return StatusOfErrno(errno);
    m_bPrepared = false;
    // The new file is in force; not every file system lets its folder be synced.
    const CDescriptor folder(open(sFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.IsOpen())
        fsync(folder.Get());
    return ERROR_SUCCESS;
}

} // namespace OrvPort
