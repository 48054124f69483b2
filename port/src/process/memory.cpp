// A BSTR is preceded by its length in bytes and followed by a terminator that does not count.
#include <windows.h>

#include "process/sparememory.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace
{

struct CBstrBlock
{
    std::uint32_t m_nUnused;
    std::uint32_t m_nBytes;
};

CBstrBlock* BlockOf(BSTR bstrString) noexcept
{
    return reinterpret_cast<CBstrBlock*>(bstrString) - 1;
}

} // namespace

bool PortHasSpareMemory() noexcept
{
    constexpr std::size_t nMost = 256 * 1024; // three times what the largest, a page of double bytes, takes
    void* volatile p = ::operator new(nMost, std::nothrow); // volatile: must not be left out
    ::operator delete(p);
    return p != nullptr;
}

LPVOID CoTaskMemAlloc(SIZE_T cb) noexcept
{
    return std::malloc(cb ? cb : 1);
}

void CoTaskMemFree(LPVOID pv) noexcept
{
    std::free(pv);
}

BSTR SysAllocStringLen(LPCWSTR strIn, UINT ui) noexcept
{
    const std::size_t nBytes = std::size_t{ui} * sizeof(WCHAR);
    auto* pBlock = static_cast<CBstrBlock*>(std::malloc(sizeof(CBstrBlock) + nBytes + sizeof(WCHAR)));
    if (!pBlock)
        return nullptr;
    pBlock->m_nBytes = static_cast<std::uint32_t>(nBytes);
    const BSTR bstrString = reinterpret_cast<BSTR>(pBlock + 1);
    if (strIn)
        std::memcpy(bstrString, strIn, nBytes);
    bstrString[ui] = 0;
    return bstrString;
}

BSTR SysAllocString(LPCWSTR psz) noexcept
{
    UINT nLength = 0;
    while (psz && psz[nLength])
        ++nLength;
    return psz ? SysAllocStringLen(psz, nLength) : nullptr;
}

void SysFreeString(BSTR bstrString) noexcept
{
    if (bstrString)
        std::free(BlockOf(bstrString));
}

UINT SysStringLen(BSTR pbstr) noexcept
{
    return pbstr ? static_cast<UINT>(BlockOf(pbstr)->m_nBytes / sizeof(WCHAR)) : 0;
}

HLOCAL LocalAlloc(UINT, SIZE_T uBytes) noexcept
{
    return std::malloc(uBytes ? uBytes : 1);
}

HLOCAL LocalFree(HLOCAL hMem) noexcept
{
    std::free(hMem);
    return nullptr;
}
