// Files that are taken for resource libraries: they are refused, or all that is read lies within them.
#include "orvcomtypes/loadstrres.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace
{

/// A file that goes with the process.
class CFile
{
public:
    ~CFile()
    {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    const std::filesystem::path& Path() const { return m_path; }

private:
    const std::filesystem::path m_path =
        std::filesystem::temp_directory_path() / ("resfile_fuzz." + std::to_string(GetCurrentProcessId()));
};

/// Reads every unit, so that a sanitizer sees one that lies elsewhere.
unsigned Sum(HMODULE hModule, unsigned uID)
{
    unsigned nLength = 0;
    unsigned nSum = 0;
    const WCHAR* const s = LoadStringResImage(hModule, uID, &nLength);
    for (unsigned i = 0; i < nLength; ++i)
        nSum += s[i];
    return nSum;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    static const CFile s_file;
    std::ofstream(s_file.Path(), std::ios::binary)
        .write(reinterpret_cast<const char*>(pData), static_cast<std::streamsize>(nSize));
    const HMODULE hModule = LoadLibraryExW(s_file.Path().string<WCHAR>().c_str(), nullptr,
                                           LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    if (hModule == nullptr)
        return 0;
    static volatile unsigned s_nSum;
    for (unsigned uID = 0; uID < 2100; uID += uID < 48 ? 1 : 15) // every block
        s_nSum = s_nSum + Sum(hModule, uID);
    s_nSum = s_nSum + Sum(hModule, 65519) + Sum(hModule, 0xFFFFFFFF);
    for (const WCHAR* sName : {ORVTEXT("name"), ORVTEXT(""), static_cast<const WCHAR*>(MAKEINTRESOURCEW(1))})
        FindResourceW(hModule, sName, MAKEINTRESOURCEW(16));
    FreeLibrary(hModule);
    return 0;
}
