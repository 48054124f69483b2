#include "resources/lqresloader.h"

#include "core/fixedline.h"
#include "core/memoryerror.h"
#include "orvcomtypes/lqsettings.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "resourcesuffix.h"

#include <windows.h>

#include <cstring>

namespace
{

constexpr unsigned kPathSize = 1024;

/// The file version that the library was built with; 0 when it has none.
DWORD VersionOf(HMODULE hModule) noexcept
{
    // VS_VERSIONINFO: three words, the key, a filling, and then VS_FIXEDFILEINFO.
    constexpr std::size_t nFixedInfo = 40;
    constexpr DWORD dwSignature = 0xFEEF04BD;
    const HRSRC hInfo = FindResourceW(hModule, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(16));
    const HGLOBAL hData = hInfo != nullptr ? LoadResource(hModule, hInfo) : nullptr;
    const void* const pData = hData != nullptr ? LockResource(hData) : nullptr;
    DWORD fixed[3]; // the signature, the structure's version, the file's
    if (pData == nullptr || SizeofResource(hModule, hInfo) < nFixedInfo + sizeof(fixed))
        return 0;
    std::memcpy(fixed, static_cast<const char*>(pData) + nFixedInfo, sizeof(fixed));
    return fixed[0] == dwSignature ? fixed[2] : 0;
}

/// Whether there is simply no such file.
bool IsMissing(DWORD dwError) noexcept
{
    return dwError == ERROR_FILE_NOT_FOUND || dwError == ERROR_PATH_NOT_FOUND ||
           dwError == ERROR_MOD_NOT_FOUND;
}

} // namespace

void CLQResLoader::Init(HMODULE hModule) noexcept
{
    Init(hModule, ORVTEXT("OrvComTypes"), MakeResVersion(ORV_VERSION_MAJOR, ORV_VERSION_MINOR));
}

void CLQResLoader::Init(HMODULE hModule, const WCHAR* sName, DWORD dwVersion) noexcept
{
    m_hModule = hModule;
    m_owner.m_sName.Clear();
    m_owner.m_sName.Append(sName != nullptr ? sName : ORVTEXT(""));
    m_owner.m_dwVersion = dwVersion;
}

bool CLQResLoader::IsUsed() noexcept
{
    if (m_use == useUnknown)
        m_use = GetLQDWORDSettingW(nullptr, ORVTEXT("UseResourceDLL"), 1) != 0 ? useYes : useNo;
    return m_use == useYes;
}

HMODULE CLQResLoader::Open(const WCHAR* sLanguage) noexcept
{
    SetLastError(ERROR_MOD_NOT_FOUND);
    if (m_owner.m_sName.View().empty() || !IsUsed())
        return nullptr;
    WCHAR sFolder[kPathSize];
    const DWORD nLength = GetModuleFileNameW(m_hModule, sFolder, kPathSize);
    if (nLength > 0 && nLength < kPathSize)
    {
        const auto isSeparator = [](WCHAR c) { return c == '\\' || c == '/'; };
        WCHAR* pEnd = sFolder + nLength;
        while (pEnd != sFolder && !isSeparator(pEnd[-1]))
            --pEnd;
        *pEnd = 0;
        if (const HMODULE hModule = OpenFrom(sFolder, sLanguage))
            return hModule;
        if (OCT::IsShortOfMemory(GetLastError()))
            return nullptr;
    }
    const bool bInstalled =
        GetLQStringSettingW(nullptr, ORVTEXT("InstallPath"), sFolder, sizeof(sFolder), nullptr);
    return bInstalled && sFolder[0] != 0 ? OpenFrom(sFolder, sLanguage) : nullptr;
}

HMODULE CLQResLoader::OpenFrom(const WCHAR* sFolder, const WCHAR* sLanguage) const noexcept
{
    OCT::CFixedLine<WCHAR, kPathSize> path;
    path.Append(sFolder);
    if (!path.View().ends_with('/'))
        path.AppendSeparator();
    path.Append(m_owner.m_sName.View()).Append(ORVTEXT(".")).Append(sLanguage).Append(kPortResourceSuffix);
    const HMODULE hModule =
        LoadLibraryExW(path.Text(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    if (hModule == nullptr)
    {
        const DWORD dwError = GetLastError();
        if (!IsMissing(dwError))
            ORV_REPORT_VALUE("CLQResLoader::Open", "hModule != nullptr", dwError);
        return nullptr;
    }
    const DWORD dwVersion = VersionOf(hModule);
    if (dwVersion == m_owner.m_dwVersion)
        return hModule;
    ORV_REPORT_VALUE("CLQResLoader::Open", "dwVersion == m_owner.m_dwVersion", dwVersion);
    FreeLibrary(hModule);
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}
