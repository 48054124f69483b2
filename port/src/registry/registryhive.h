// One hive and its file: reads see what other processes wrote, writes are locked against them and replace the
// file whole.
#pragma once

#include "registry/registrydoc.h"
#include "threads/portlock.h"

#include <string>
#include <utility>

#include <sys/stat.h>

namespace OrvPort
{

class CRegHive
{
public:
    /// \p bPrivate: a file or folder that has to be made is for its owner only.
    CRegHive(CRegView sRoot, CRegView sShortRoot, std::string (*fnFile)(), bool bPrivate)
        : m_document(sRoot, sShortRoot), m_fnFile(fnFile), m_bPrivate(bPrivate)
    {
        m_lock.HoldAtFork();
    }

    /// Runs `LSTATUS read(const CRegDocument&)` on the file's current content.
    template <class Fn>
    LSTATUS Read(Fn&& read)
    {
        const std::lock_guard guard(m_lock);
        ChooseFile();
        const LSTATUS lStatus = Refresh();
        return lStatus != ERROR_SUCCESS ? lStatus : read(std::as_const(m_document));
    }

    /// Runs `LSTATUS change(CRegDocument&, bool& bChanged)` and stores the result when it succeeded and
    /// changed something.
    LSTATUS Write(const std::function<LSTATUS(CRegDocument&, bool& bChanged)>& change);

    /// Taken for good when the process ends: no other thread may come in any more.
    CPortLock& Lock() { return m_lock; }

private:
    /// What tells one version of the file from another.
    struct CStamp
    {
        bool m_bExists = false;
        dev_t m_nDevice = 0;
        ino_t m_nInode = 0;
        off_t m_nSize = 0;
        std::int64_t m_nModified = 0; ///< nanoseconds since 1970

        CStamp() = default;
        explicit CStamp(const struct stat& status);
        bool operator==(const CStamp&) const = default;
    };

    void ChooseFile();
    LSTATUS Refresh();
    LSTATUS Load();
    LSTATUS Replace(const std::string& sTarget);
    LSTATUS WriteBeside(int nFile, const std::string& sTarget, const std::string& sBytes,
                        CStamp& stamp) const;
    void ReportBadLine(unsigned nLine, CRegView sText) const;

    CPortLock m_lock;
    CRegDocument m_document;
    std::string (*m_fnFile)();
    std::string m_sFile; ///< chosen at the first access
    bool m_bPrivate;
    bool m_bTrusted = false; ///< the document is what the stamp stands for
    CStamp m_stamp;
};

} // namespace OrvPort
