// One hive as the threads of this process share it: readers see a whole document that nobody changes, and
// what other processes wrote; writers take turns with each other and with those of other processes.
#pragma once

#include "registry/hivefile.h"
#include "registry/registrydoc.h"
#include "registry/registrytext.h"
#include "threads/portlock.h"

#include <windows.h>

#include <functional>
#include <memory>
#include <string>

namespace OrvPort
{

class CRegHive
{
public:
    using Document = std::shared_ptr<const CRegDocument>;
    using Change = std::function<LSTATUS(CRegDocument&, bool& bChanged)>;

    /// \p nHive: 0 and 1 tell the hives apart.
    CRegHive(int nHive, CRegView sRoot, CRegView sShortRoot, std::string (*fnFile)());

    /// Runs `LSTATUS read(const CRegDocument&)` on the file's content, as it is now or as the thread's
    /// CRegistryReading saw it. Never waits for a writer.
    template <class Fn>
    LSTATUS Read(Fn&& read)
    {
        Document pDocument;
        const LSTATUS lStatus = ReadDocument(pDocument);
        return lStatus != ERROR_SUCCESS ? lStatus : read(*pDocument);
    }

    /// Stores what \p change makes of the file's content, when it succeeded and changed something.
    /// ERROR_LOCK_VIOLATION when another process does not end its turn.
    LSTATUS Write(const Change& change);

private:
    const CHiveFile& File();
    LSTATUS ReadDocument(Document& pDocument);
    LSTATUS Refresh(Document& pDocument);
    LSTATUS WriteInTurn(CHiveWriter& writer, const Change& change);

    const int m_nHive;
    const CRegDocument m_empty;
    std::string (*const m_fnFile)();
    CPortMemberLock m_writeLock; ///< taken before the other, and held while a file is written
    CPortMemberLock m_lock;      ///< of what follows
    CHiveFile m_file;            ///< chosen at the first access
    Document m_pDocument;        ///< null: not read yet, or not to be trusted any more
    CHiveStamp m_stamp;          ///< of the file that the document came from
};

} // namespace OrvPort
