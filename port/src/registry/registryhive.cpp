#include "registry/registryhive.h"

#include "process/errnomap.h"

#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace OrvPort
{
namespace
{

constexpr std::int64_t g_nNanosecondsPerSecond = 1'000'000'000;
/// Coarser than the clock that stamps files: within this time of a change another one may leave the same
/// stamp. Some file systems keep whole seconds, or every other.
constexpr std::int64_t g_nSettleTime = 20'000'000;
constexpr std::int64_t g_nCoarseSettleTime = 2 * g_nNanosecondsPerSecond;

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

bool LockFile(int nFile)
{
    while (flock(nFile, LOCK_EX) != 0)
        if (errno != EINTR)
            return false;
    return true;
}

std::string FolderOf(const std::string& sFile)
{
    const std::size_t n = sFile.rfind('/');
    return n == std::string::npos ? "." : n == 0 ? "/" : sFile.substr(0, n);
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
            chmod(sPart.c_str(), nMode); // whatever the process masks
        else if (nError == 0 && errno != EEXIST)
            nError = errno;
    }
    return nError;
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

} // namespace

CRegHive::CStamp::CStamp(const struct stat& status)
    : m_bExists(true),
      m_nDevice(status.st_dev),
      m_nInode(status.st_ino),
      m_nSize(status.st_size),
      m_nModified(status.st_mtim.tv_sec * g_nNanosecondsPerSecond + status.st_mtim.tv_nsec)
{
}

void CRegHive::ChooseFile()
{
    if (!m_sFile.empty())
        return;
    m_sFile = m_fnFile();
    // It stays the same file when the process changes its folder.
    std::error_code error;
    if (const std::filesystem::path absolute = std::filesystem::absolute(m_sFile, error); !error)
        m_sFile = absolute.string();
}

LSTATUS CRegHive::Refresh()
{
    struct stat status;
    if (stat(m_sFile.c_str(), &status) == 0)
        return m_bTrusted && m_stamp == CStamp(status) ? ERROR_SUCCESS : Load();
    if (errno != ENOENT && errno != ENOTDIR)
    {
        m_bTrusted = false;
        return StatusOfErrno(errno);
    }
    if (!m_bTrusted || m_stamp.m_bExists)
        m_document.Load({}, {});
    m_stamp = {};
    m_bTrusted = true;
    return ERROR_SUCCESS;
}

LSTATUS CRegHive::Load()
{
    m_bTrusted = false;
    // Not blocking: the name may be that of a pipe.
    const CDescriptor file(open(m_sFile.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    std::string sBytes;
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || !ReadAll(file.Get(), sBytes))
        return StatusOfErrno(errno);
    m_document.Load(sBytes, [this](unsigned nLine, CRegView sText) { ReportBadLine(nLine, sText); });
    m_stamp = CStamp(status);
    const bool bCoarse = m_stamp.m_nModified % g_nNanosecondsPerSecond == 0;
    m_bTrusted = std::abs(Now() - m_stamp.m_nModified) > (bCoarse ? g_nCoarseSettleTime : g_nSettleTime);
    return ERROR_SUCCESS;
}

void CRegHive::ReportBadLine(unsigned nLine, CRegView sText) const
{
    std::string sMessage = m_sFile + "(" + std::to_string(nLine) + "): registry line ignored: ";
    sMessage += EncodeRegText(sText.substr(0, 200), {}) + "\n";
    std::replace(sMessage.begin(), sMessage.end(), '\0', '?');
    OutputDebugStringA(sMessage.c_str());
}

LSTATUS CRegHive::Write(const std::function<LSTATUS(CRegDocument&, bool& bChanged)>& change)
{
    const std::lock_guard guard(m_lock);
    ChooseFile();
    const std::string sTarget = ResolveLinks(m_sFile);
    const int nFolderError = MakeFolders(FolderOf(sTarget), m_bPrivate ? 0700 : 0755);
    // The lock has a file of its own, because the hive's own file is replaced. It is never removed: a process
    // that waits on a removed file would lock nothing. Who may only read must not be able to hold it.
    const CDescriptor lock(open((sTarget + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock.IsOpen() || !LockFile(lock.Get()))
        return StatusOfErrno(errno != ENOENT ? errno : nFolderError != 0 ? nFolderError : EACCES);
    LSTATUS lStatus = Refresh();
    if (lStatus != ERROR_SUCCESS)
        return lStatus;
    // Memory may run out in the middle of a change.
    const bool bTrusted = std::exchange(m_bTrusted, false);
    bool bChanged = false;
    lStatus = change(m_document, bChanged);
    if (lStatus == ERROR_SUCCESS && bChanged)
        return Replace(sTarget);
    m_bTrusted = bTrusted;
    return lStatus;
}

/// Puts the document in the file's place: the old file or the new one is there at every moment.
LSTATUS CRegHive::Replace(const std::string& sTarget)
{
    const std::string sBeside = sTarget + ".tmp";
    CStamp stamp;
    {
        // A process that was killed may have left one that this one may not write.
        unlink(sBeside.c_str());
        const CDescriptor file(open(sBeside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (!file.IsOpen())
            return StatusOfErrno(errno);
        const LSTATUS lStatus = WriteBeside(file.Get(), sTarget, m_document.Store(), stamp);
        if (lStatus != ERROR_SUCCESS || rename(sBeside.c_str(), sTarget.c_str()) != 0)
        {
            const int nError = errno;
            unlink(sBeside.c_str());
            return lStatus != ERROR_SUCCESS ? lStatus : StatusOfErrno(nError);
        }
    }
    // The new file is in force; not every file system lets its folder be synced.
    const CDescriptor folder(open(FolderOf(sTarget).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.IsOpen())
        fsync(folder.Get());
    m_stamp = stamp;
    m_bTrusted = true;
    return ERROR_SUCCESS;
}

/// Fills the new file, with mode and owner of the old one and a later time: the time tells versions apart
/// even where inode numbers are used again.
LSTATUS CRegHive::WriteBeside(int nFile, const std::string& sTarget, const std::string& sBytes,
                              CStamp& stamp) const
{
    mode_t nMode = m_bPrivate ? 0600 : 0644;
    CStamp old;
    struct stat status;
    if (stat(sTarget.c_str(), &status) == 0)
    {
        // To replace a file takes no right to write it, but who took that right away means it.
        if (!S_ISREG(status.st_mode) || faccessat(AT_FDCWD, sTarget.c_str(), W_OK, AT_EACCESS) != 0)
            return ERROR_ACCESS_DENIED;
        old = CStamp(status);
        nMode = status.st_mode & 07777;
        // Kept as far as the process may.
        if (fchown(nFile, status.st_uid, status.st_gid) != 0 &&
            fchown(nFile, static_cast<uid_t>(-1), status.st_gid) != 0)
            errno = 0;
    }
    fchmod(nFile, nMode);
    if (!WriteAll(nFile, sBytes))
        return StatusOfErrno(errno);
    for (const std::int64_t nTime :
         {std::max(Now(), old.m_nModified + 1), old.m_nModified + g_nCoarseSettleTime})
    {
        const timespec time{nTime / g_nNanosecondsPerSecond, nTime % g_nNanosecondsPerSecond};
        const timespec times[] = {time, time};
        if (futimens(nFile, times) != 0 || fstat(nFile, &status) != 0)
            return StatusOfErrno(errno);
        stamp = CStamp(status);
        if (stamp.m_nModified > old.m_nModified)
            break;
    }
    return fsync(nFile) == 0 ? ERROR_SUCCESS : StatusOfErrno(errno);
}

} // namespace OrvPort
