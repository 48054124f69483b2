// A module handle is the address where the module lies: still harmless when the module has gone.
#include <windows.h>

#include "process/errnomap.h"
#include "text/utf.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

#include <dlfcn.h>
#include <sys/auxv.h>
#include <unistd.h>

namespace
{

// The module's address and file of anything inside it.
bool FindModule(const void* pAddress, Dl_info& info)
{
    return dladdr(pAddress, &info) != 0 && info.dli_fbase;
}

HMODULE ProgramModule()
{
    Dl_info info;
    // The program headers of the running program lie inside it.
    const void* pHeaders = reinterpret_cast<const void*>(getauxval(AT_PHDR));
    return FindModule(pHeaders, info) ? static_cast<HMODULE>(info.dli_fbase) : nullptr;
}

std::string ProgramFile()
{
    char sPath[PATH_MAX];
    const ssize_t nLength = readlink("/proc/self/exe", sPath, sizeof(sPath));
    std::string_view path(sPath, nLength > 0 ? static_cast<std::size_t>(nLength) : 0);
    // What the kernel appends when the file was replaced, as an upgrade does.
    constexpr std::string_view kDeleted = " (deleted)";
    if (path.ends_with(kDeleted) && access(std::string(path).c_str(), F_OK) != 0)
        path.remove_suffix(kDeleted.size());
    return std::string(path);
}

std::string FileOf(HMODULE hModule)
{
    Dl_info info;
    if (!hModule || hModule == ProgramModule())
        return ProgramFile();
    if (!FindModule(hModule, info) || info.dli_fbase != hModule)
        return {};
    char sPath[PATH_MAX];
    return realpath(info.dli_fname, sPath) ? sPath : info.dli_fname;
}

} // namespace

BOOL GetModuleHandleExW(DWORD dwFlags, LPCWSTR lpModuleName, HMODULE* phModule) noexcept
{
    *phModule = nullptr;
    Dl_info info;
    if (!lpModuleName)
        *phModule = ProgramModule();
    else if (!(dwFlags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS))
        SetLastError(ERROR_INVALID_PARAMETER);
    else if (FindModule(lpModuleName, info))
        *phModule = static_cast<HMODULE>(info.dli_fbase);
    else
        SetLastError(ERROR_MOD_NOT_FOUND);
    return *phModule != nullptr;
}

DWORD GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize) noexcept
try
{
    const std::u16string sFile = PortToUtf16(FileOf(hModule));
    if (sFile.empty() || nSize == 0)
    {
        SetLastError(sFile.empty() ? ERROR_MOD_NOT_FOUND : ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    if (sFile.size() < nSize)
    {
        SetLastError(ERROR_SUCCESS);
        return PortCopyOut(sFile, lpFilename, nSize);
    }
    *std::copy_n(sFile.begin(), nSize - 1, lpFilename) = 0;
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return nSize;
}
catch (const std::bad_alloc&)
{
    return PortFailWithoutMemory();
}
