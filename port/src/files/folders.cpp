// Folders of the system and of the user.
#include <windows.h>
#include <shlobj.h>

#include "process/errnomap.h"
#include "text/utf.h"

#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

std::string Variable(const char* sName)
{
    const char* sValue = std::getenv(sName);
    return sValue ? sValue : "";
}

std::string HomeFolder()
{
    std::string sHome = Variable("HOME");
    if (!sHome.empty())
        return sHome;
    char buffer[4096];
    passwd entry;
    passwd* pEntry = nullptr;
    getpwuid_r(getuid(), &entry, buffer, sizeof(buffer), &pEntry);
    return pEntry ? pEntry->pw_dir : "";
}

// The XDG data folder: what an application keeps for a user. A relative value is to be ignored.
std::string DataFolder()
{
    std::string sData = Variable("XDG_DATA_HOME");
    if (sData.starts_with('/'))
        return sData;
    const std::string sHome = HomeFolder();
    return sHome.empty() ? sHome : sHome + "/.local/share";
}

std::string TempFolder()
{
    for (const char* sName : {"TMP", "TEMP", "TMPDIR"})
        if (std::string sValue = Variable(sName); !sValue.empty())
            return sValue;
    return "/tmp";
}

// Not every folder has a path that leads there: a folder above may be closed, or a name no text.
bool IsCurrentFolder(const std::string& sPath)
{
    struct stat there, here;
    return stat(sPath.c_str(), &there) == 0 && stat(".", &here) == 0 && there.st_dev == here.st_dev &&
           there.st_ino == here.st_ino;
}

} // namespace

DWORD GetTempPathW(DWORD nBufferLength, LPWSTR lpBuffer) noexcept
try
{
    std::u16string sPath = PortToUtf16(TempFolder());
    if (sPath.back() != u'/' && sPath.back() != u'\\')
        sPath += u'/';
    return PortCopyOut(sPath, lpBuffer, nBufferLength);
}
catch (const std::bad_alloc&)
{
    return PortFailWithoutMemory();
}

DWORD GetFullPathNameW(LPCWSTR lpFileName, DWORD nBufferLength, LPWSTR lpBuffer, LPWSTR*) noexcept
try
{
    std::string sPath = PortPath(lpFileName);
    if (!sPath.starts_with('/'))
    {
        const std::unique_ptr<char, decltype(&std::free)> pFolder(::getcwd(nullptr, 0), std::free);
        if (pFolder == nullptr)
        {
            PortFail();
            return 0;
        }
        while (sPath.starts_with("./"))
            sPath.erase(0, 2);
        const std::string sFolder = pFolder.get();
        if (!IsCurrentFolder(PortPath(PortToUtf16(sFolder).c_str())))
        {
            SetLastError(ERROR_PATH_NOT_FOUND);
            return 0;
        }
        sPath.insert(0, sFolder.ends_with('/') ? sFolder : sFolder + '/');
    }
    return PortCopyOut(PortToUtf16(sPath), lpBuffer, nBufferLength);
}
catch (const std::bad_alloc&)
{
    return PortFailWithoutMemory();
}

HRESULT SHGetFolderPathW(HWND, int csidl, HANDLE, DWORD, LPWSTR pszPath) noexcept
try
{
    *pszPath = 0;
    if (csidl != CSIDL_APPDATA)
        return E_INVALIDARG;
    const std::u16string sPath = PortToUtf16(DataFolder());
    if (sPath.empty())
        return E_FAIL;
    return PortCopyOut(sPath, pszPath, MAX_PATH) == sPath.size() ? S_OK : E_FAIL;
}
catch (const std::bad_alloc&)
{
    return E_OUTOFMEMORY;
}
