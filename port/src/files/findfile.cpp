// The files of a folder, one after the other.
#include <windows.h>

#include "files/filedata.h"
#include "files/handle.h"
#include "process/errnomap.h"
#include "text/utf.h"

#include <cerrno>
#include <new>
#include <string>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

class CFind : public CPortObject
{
public:
    explicit CFind(DIR* pFolder) noexcept : CPortObject(EKind::Find), m_pFolder(pFolder) {}
    static bool IsKind(EKind eKind) noexcept { return eKind == EKind::Find; }

    // The next name that has room, with what is known of its file.
    bool Next(WIN32_FIND_DATAW& data)
    {
        while (const dirent* pEntry = ::readdir(m_pFolder))
        {
            struct stat st;
            const std::u16string sName = PortToUtf16(pEntry->d_name);
            if (sName.size() >= MAX_PATH || ::fstatat(::dirfd(m_pFolder), pEntry->d_name, &st, 0) != 0)
                continue;
            data = {};
            PortFillFileData(data, st);
            sName.copy(data.cFileName, MAX_PATH - 1);
            return true;
        }
        SetLastError(ERROR_NO_MORE_FILES);
        return false;
    }

private:
    ~CFind() override { ::closedir(m_pFolder); }

    DIR* const m_pFolder;
};

// The folder of a pattern that asks for everything in it; empty for any other.
std::string FolderOfAll(LPCWSTR sPattern)
{
    const std::string sPath = PortPath(sPattern);
    return sPath.ends_with("/*") ? sPath.substr(0, sPath.size() - 1) : std::string();
}

} // namespace

HANDLE FindFirstFileW(LPCWSTR lpFileName, LPWIN32_FIND_DATAW lpFindFileData) noexcept
try
{
    const std::string sFolder = FolderOfAll(lpFileName);
    errno = EINVAL;
    DIR* const pFolder = sFolder.empty() ? nullptr : ::opendir(sFolder.c_str());
    if (!pFolder)
    {
        PortFail();
        return INVALID_HANDLE_VALUE;
    }
    CFind* pFind = new (std::nothrow) CFind(pFolder);
    if (!pFind)
    {
        ::closedir(pFolder);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return INVALID_HANDLE_VALUE;
    }
    if (pFind->Next(*lpFindFileData))
        return static_cast<CPortObject*>(pFind);
    pFind->Release();
    return INVALID_HANDLE_VALUE;
}
catch (const std::bad_alloc&)
{
    PortFailWithoutMemory();
    return INVALID_HANDLE_VALUE;
}

BOOL FindNextFileW(HANDLE hFindFile, LPWIN32_FIND_DATAW lpFindFileData) noexcept
try
{
    CFind* pFind = CPortObject::Of<CFind>(hFindFile);
    return pFind && pFind->Next(*lpFindFileData);
}
catch (const std::bad_alloc&)
{
    return PortFailWithoutMemory();
}

BOOL FindClose(HANDLE hFindFile) noexcept
{
    CFind* pFind = CPortObject::Of<CFind>(hFindFile);
    if (pFind)
        pFind->Release();
    return pFind != nullptr;
}

BOOL DeleteFileW(LPCWSTR lpFileName) noexcept
try
{
    return ::unlink(PortPath(lpFileName).c_str()) == 0 ? TRUE : PortFail();
}
catch (const std::bad_alloc&)
{
    return PortFailWithoutMemory();
}
