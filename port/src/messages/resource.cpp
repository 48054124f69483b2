// A .res file is a sequence of resources: two sizes, type and name, some words that are of no use here, and
// the data. The file is checked once, when it is opened, so that whatever is found later lies within it.
#include <windows.h>

#include "process/errnomap.h"
#include "text/utf.h"

#include <algorithm>
#include <cerrno>
#include <compare>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

using View = std::u16string_view;

/// A file mapped read-only.
class CMappedFile
{
public:
    CMappedFile() = default;
    CMappedFile(const CMappedFile&) = delete;
    CMappedFile& operator=(const CMappedFile&) = delete;
    ~CMappedFile()
    {
        if (m_pData)
            munmap(m_pData, m_nSize);
    }

    /// False, and errno, when the file cannot be mapped; ENOEXEC for what has nothing to map.
    bool Open(const char* sPath)
    {
        const int fd = open(sPath, O_RDONLY | O_CLOEXEC | O_NONBLOCK); // does not wait for a pipe's writer
        if (fd < 0)
            return false;
        const bool bMapped = MapFile(fd);
        const int iError = errno;
        close(fd);
        errno = iError;
        return bMapped;
    }

    const char* Data() const { return static_cast<const char*>(m_pData); }
    std::size_t Size() const { return m_nSize; }

private:
    bool MapFile(int fd)
    {
        struct stat info;
        if (fstat(fd, &info) != 0)
            return false;
        if (!S_ISREG(info.st_mode) || info.st_size == 0)
            return errno = ENOEXEC, false;
        const auto nSize = static_cast<std::size_t>(info.st_size);
        void* const pData = mmap(nullptr, nSize, PROT_READ, MAP_PRIVATE, fd, 0);
        if (pData == MAP_FAILED)
            return false;
        m_pData = pData;
        m_nSize = nSize;
        return true;
    }

    void* m_pData = nullptr;
    std::size_t m_nSize = 0;
};

/// A type or a name: a number, or a text when there is no number.
struct ResourceId
{
    WORD m_nId = 0;
    View m_sText;

    static ResourceId FromArgument(LPCWSTR s)
    {
        if (IS_INTRESOURCE(s))
            return {static_cast<WORD>(reinterpret_cast<ULONG_PTR>(s)), {}};
        return {0, s};
    }

    /// Texts, whose number is 0, in the order of their capitals; then numbers.
    std::strong_ordering operator<=>(const ResourceId& other) const
    {
        if (m_nId != other.m_nId)
            return m_nId <=> other.m_nId;
        return std::lexicographical_compare_three_way(m_sText.begin(), m_sText.end(), other.m_sText.begin(),
                                                      other.m_sText.end(),
                                                      [](WCHAR a, WCHAR b) { return Upper(a) <=> Upper(b); });
    }
    bool operator==(const ResourceId& other) const { return (*this <=> other) == 0; }

private:
    static WCHAR Upper(WCHAR c) { return c >= u'a' && c <= u'z' ? static_cast<WCHAR>(c - 0x20) : c; }
};

struct Resource
{
    ResourceId m_type;
    ResourceId m_name;
    const char* m_pData;
    DWORD m_nSize;

    std::pair<const ResourceId&, const ResourceId&> Key() const { return {m_type, m_name}; }
};

/// Reads a .res file from its start; every step fails at the end of the file.
class CResReader
{
public:
    CResReader(const char* pData, std::size_t nSize) : m_pStart(pData), m_pAt(pData), m_nLeft(nSize) {}

    bool AtEnd() const { return m_nLeft == 0; }

    std::optional<Resource> Next()
    {
        const char* const pHeader = m_pAt;
        DWORD sizes[2];
        Resource resource;
        if (!Get(sizes, sizeof(sizes)) || !GetId(resource.m_type) || !GetId(resource.m_name))
            return std::nullopt;
        const auto nUsed = static_cast<std::size_t>(m_pAt - pHeader);
        if (sizes[1] < nUsed || sizes[1] % sizeof(DWORD) != 0 || !Skip(sizes[1] - nUsed))
            return std::nullopt;
        resource.m_pData = m_pAt;
        resource.m_nSize = sizes[0];
        if (!Skip(sizes[0]))
            return std::nullopt;
        // The file may end without the filling of its last resource.
        Skip(std::min<std::size_t>(m_nLeft, static_cast<std::size_t>(m_pStart - m_pAt) % sizeof(DWORD)));
        return resource;
    }

private:
    bool Skip(std::size_t n)
    {
        if (n > m_nLeft)
            return false;
        m_pAt += n;
        m_nLeft -= n;
        return true;
    }

    bool Get(void* p, std::size_t n)
    {
        const char* const pFrom = m_pAt;
        if (!Skip(n))
            return false;
        std::memcpy(p, pFrom, n);
        return true;
    }

    bool GetId(ResourceId& id)
    {
        constexpr WORD nNumberFollows = 0xFFFF;
        const auto* const sText = reinterpret_cast<const WCHAR*>(m_pAt);
        const std::size_t nUnits = m_nLeft / sizeof(WCHAR);
        if (nUnits != 0 && sText[0] == nNumberFollows)
            return Skip(sizeof(WORD)) && Get(&id.m_nId, sizeof(id.m_nId));
        id.m_sText = View(sText, nUnits);
        id.m_sText = id.m_sText.substr(0, id.m_sText.find(u'\0'));
        return Skip((id.m_sText.size() + 1) * sizeof(WCHAR));
    }

    const char* m_pStart;
    const char* m_pAt;
    std::size_t m_nLeft;
};

/// A resource library; its handle is its address plus one. Modules with code lie at even addresses.
class CResourceLibrary
{
public:
    /// Null, and the last error, when there is no such file or when it is not a .res file.
    static std::unique_ptr<CResourceLibrary> Open(const char* sPath)
    {
        auto pLibrary = std::make_unique<CResourceLibrary>();
        if (!pLibrary->m_file.Open(sPath))
        {
            PortFail();
            return nullptr;
        }
        if (!pLibrary->ReadResources())
        {
            SetLastError(ERROR_BAD_EXE_FORMAT);
            return nullptr;
        }
        return pLibrary;
    }

    static bool IsHandle(HMODULE hModule) { return (reinterpret_cast<ULONG_PTR>(hModule) & 1) != 0; }
    static CResourceLibrary* FromHandle(HMODULE hModule)
    {
        return reinterpret_cast<CResourceLibrary*>(reinterpret_cast<ULONG_PTR>(hModule) - 1);
    }
    static HMODULE ToHandle(CResourceLibrary* pLibrary)
    {
        return reinterpret_cast<HMODULE>(reinterpret_cast<ULONG_PTR>(pLibrary) + 1);
    }

    const Resource* Find(const ResourceId& type, const ResourceId& name) const
    {
        const std::pair<const ResourceId&, const ResourceId&> key(type, name);
        const auto found = std::ranges::lower_bound(m_resources, key, {}, &Resource::Key);
        if (found != m_resources.end() && found->Key() == key)
            return &*found;
        const bool bTypeFound = std::ranges::binary_search(m_resources, type, {}, &Resource::m_type);
        SetLastError(bTypeFound ? ERROR_RESOURCE_NAME_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND);
        return nullptr;
    }

private:
    /// The file opens with an empty resource of type 0, which tells it from older forms.
    bool ReadResources()
    {
        CResReader reader(m_file.Data(), m_file.Size());
        const auto first = reader.Next();
        if (!first || first->m_nSize != 0 || first->m_type != ResourceId())
            return false;
        while (!reader.AtEnd())
        {
            const auto resource = reader.Next();
            if (!resource)
                return false;
            m_resources.push_back(*resource);
        }
        // Of several languages the one that comes first stays first.
        std::ranges::stable_sort(m_resources, {}, &Resource::Key);
        return true;
    }

    CMappedFile m_file;
    std::vector<Resource> m_resources; ///< sorted by their keys
};

} // namespace

HMODULE LoadLibraryExW(LPCWSTR sPath, HANDLE, DWORD dwFlags) noexcept
try
{
    if (!sPath || !(dwFlags & LOAD_LIBRARY_AS_DATAFILE))
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    auto pLibrary = CResourceLibrary::Open(PortPath(sPath).c_str());
    return pLibrary ? CResourceLibrary::ToHandle(pLibrary.release()) : nullptr;
}
catch (const std::bad_alloc&)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

BOOL FreeLibrary(HMODULE hModule) noexcept
{
    if (!CResourceLibrary::IsHandle(hModule))
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    delete CResourceLibrary::FromHandle(hModule);
    return TRUE;
}

HRSRC FindResourceW(HMODULE hModule, LPCWSTR sName, LPCWSTR sType) noexcept
{
    if (!CResourceLibrary::IsHandle(hModule))
    {
        SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
        return nullptr;
    }
    const Resource* const pResource = CResourceLibrary::FromHandle(hModule)->Find(
        ResourceId::FromArgument(sType), ResourceId::FromArgument(sName));
    return reinterpret_cast<HRSRC>(const_cast<Resource*>(pResource));
}

HGLOBAL LoadResource(HMODULE, HRSRC hResource) noexcept
{
    return hResource ? const_cast<char*>(reinterpret_cast<const Resource*>(hResource)->m_pData) : nullptr;
}

LPVOID LockResource(HGLOBAL hData) noexcept
{
    return hData;
}

DWORD SizeofResource(HMODULE, HRSRC hResource) noexcept
{
    return hResource ? reinterpret_cast<const Resource*>(hResource)->m_nSize : 0;
}
