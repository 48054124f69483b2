#include "abi/loaded_library.h"

#include <dlfcn.h>
#include <elf.h>

#include <fstream>
#include <stdexcept>
#include <vector>

CLoadedLibrary::CLoadedLibrary(const std::string& sFile)
    : m_sFile(sFile), m_hModule(dlopen(sFile.c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (m_hModule == nullptr)
        throw std::runtime_error(dlerror());
}

CLoadedLibrary::~CLoadedLibrary()
{
    dlclose(m_hModule);
}

void* CLoadedLibrary::Address(const std::string& sName) const
{
    return dlsym(m_hModule, sName.c_str());
}

bool CLoadedLibrary::IsLoaded(const std::string& sFile)
{
    void* const hModule = dlopen(sFile.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (hModule != nullptr)
        dlclose(hModule);
    return hModule != nullptr;
}

std::set<std::string> CLoadedLibrary::ExportedNames() const
{
    std::ifstream file(m_sFile, std::ios::binary | std::ios::ate);
    std::vector<char> image(static_cast<std::size_t>(file.tellg()));
    file.seekg(0).read(image.data(), static_cast<std::streamsize>(image.size()));
    const auto* pHeader = reinterpret_cast<const Elf64_Ehdr*>(image.data());
    const auto* pSections = reinterpret_cast<const Elf64_Shdr*>(image.data() + pHeader->e_shoff);
    std::set<std::string> names;
    for (const auto* pSection = pSections; pSection != pSections + pHeader->e_shnum; ++pSection)
    {
        if (pSection->sh_type != SHT_DYNSYM)
            continue;
        const auto* pSymbols = reinterpret_cast<const Elf64_Sym*>(image.data() + pSection->sh_offset);
        const char* sNames = image.data() + pSections[pSection->sh_link].sh_offset;
        for (const auto* pSymbol = pSymbols; pSymbol != pSymbols + pSection->sh_size / sizeof(Elf64_Sym);
             ++pSymbol)
            // A reserved section: the name of the symbols' version.
            if (pSymbol->st_shndx != SHN_UNDEF && pSymbol->st_shndx < SHN_LORESERVE &&
                ELF64_ST_BIND(pSymbol->st_info) != STB_LOCAL)
                names.insert(sNames + pSymbol->st_name);
    }
    return names;
}
