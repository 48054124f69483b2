// The file of one hive: it is read whole, and replaced whole by one writer at a time, as other processes see
// it. Threads are the caller's matter.
#pragma once

#include "registry/registrydoc.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <type_traits>

#include <sys/stat.h>
#include <unistd.h>

namespace OrvPort
{

/// What tells one version of a file from another.
struct CHiveStamp
{
    bool m_bExists = false;
    dev_t m_nDevice = 0;
    ino_t m_nInode = 0;
    off_t m_nSize = 0;
    std::int64_t m_nModified = 0; ///< nanoseconds since 1970

    CHiveStamp() = default;
    explicit CHiveStamp(const struct stat& status);
    bool operator==(const CHiveStamp&) const = default;
};

/// Where the hives are: what the environment says, else the user's configuration folder and /etc.
std::string UserHiveFile();
std::string MachineHiveFile();

class CHiveFile
{
public:
    CHiveFile() = default;
    /// \p bPrivate: a file or folder that has to be made is for its owner only.
    CHiveFile(const std::string& sFile, bool bPrivate);

    const std::string& Name() const { return m_sFile; }
    bool IsPrivate() const { return m_bPrivate; }
    /// The stamp of the file, or of none.
    LSTATUS Look(CHiveStamp& stamp) const;
    /// Reads the file; without one the document is empty. \p bSettled: every later change leaves another
    /// stamp.
    LSTATUS Load(CRegDocument& document, CHiveStamp& stamp, bool& bSettled) const;

private:
    std::string m_sFile; ///< absolute, so that it stays the same file when the process changes its folder
    bool m_bPrivate = false;
};

/// One writer's turn. While it lasts, no other writer has one; readers go on reading the old file.
class CHiveWriter
{
public:
    explicit CHiveWriter(const CHiveFile& file);
    CHiveWriter(const CHiveWriter&) = delete;
    CHiveWriter& operator=(const CHiveWriter&) = delete;
    ~CHiveWriter();

    /// ERROR_LOCK_VIOLATION while another writer has its turn, or waited before.
    LSTATUS TryBegin();
    /// Ends the turn; what was prepared and not committed is gone.
    void End();
    /// Writes the new text beside the file, with all that the old one has: mode, owner, access list,
    /// attributes.
    LSTATUS Prepare(const std::string& sBytes);
    /// Puts it in the file's place: at every moment the old file or the new one is there.
    LSTATUS Commit();
    /// Of the new file.
    const CHiveStamp& Stamp() const { return m_stamp; }

private:
    LSTATUS WriteBeside(int nFile, const std::string& sBytes);
    int KeepRights(int nFile, const struct stat& old) const;

    std::string m_sTarget; ///< the file itself, where the hive's name is a link
    std::string m_sBeside;
    bool m_bPrivate;
    bool m_bPrepared = false;
    int m_nLock = -1;    ///< open while the turn lasts
    int m_nWaiting = -1; ///< shows others that somebody waits
    CHiveStamp m_stamp;
};

/// How long a writer waits for its turn, in milliseconds. (Tests have less patience.)
extern unsigned g_nHivePatience;

/// Tries until it is something else than ERROR_LOCK_VIOLATION, or patience is at an end.
LSTATUS RetryWhileLocked(LSTATUS (*fnTry)(void* pContext), void* pContext);

template <class Fn>
LSTATUS RetryWhileLocked(Fn&& fn)
{
    return RetryWhileLocked(
        [](void* pContext) { return (*static_cast<std::remove_reference_t<Fn>*>(pContext))(); }, &fn);
}

} // namespace OrvPort
