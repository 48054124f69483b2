#include "abi/loaded_library.h"

#include <windows.h>

#include <stdexcept>

CLoadedLibrary::CLoadedLibrary(const std::string& sFile)
    : m_sFile(sFile), m_hModule(LoadLibraryA(sFile.c_str()))
{
    if (m_hModule == nullptr)
        throw std::runtime_error("LoadLibrary: " + std::to_string(GetLastError()));
}

CLoadedLibrary::~CLoadedLibrary()
{
    FreeLibrary(static_cast<HMODULE>(m_hModule));
}

void* CLoadedLibrary::Address(const std::string& sName) const
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_hModule), sName.c_str()));
}

bool CLoadedLibrary::IsLoaded(const std::string& sFile)
{
    return GetModuleHandleA(sFile.c_str()) != nullptr;
}

std::set<std::string> CLoadedLibrary::ExportedNames() const
{
    const char* pBase = static_cast<const char*>(m_hModule);
    const auto* pDosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(pBase);
    const auto* pHeaders = reinterpret_cast<const IMAGE_NT_HEADERS*>(pBase + pDosHeader->e_lfanew);
    const auto& directory = pHeaders->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    std::set<std::string> names;
    if (directory.VirtualAddress == 0)
        return names;
    const auto* pExports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(pBase + directory.VirtualAddress);
    const auto* pNames = reinterpret_cast<const DWORD*>(pBase + pExports->AddressOfNames);
    for (DWORD i = 0; i < pExports->NumberOfNames; ++i)
        names.insert(pBase + pNames[i]);
    return names;
}
