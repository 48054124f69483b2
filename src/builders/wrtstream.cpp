#include "orvcomtypes/wrtstream.h"

#include "orvcomtypes/octalloc.h"
#include "orvcomtypes/orvstralloc.h"
#include "strings/textlen.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace OCT
{

// ---- IWrtStream ----

IWrtStream::~IWrtStream() = default;

bool IWrtStream::IsWide() const noexcept
{
    return false;
}

// ---- CFileWrtStream ----

CFileWrtStream::~CFileWrtStream()
{
    Close();
}

DWORD CFileWrtStream::Open(const WCHAR* sPath) noexcept
{
    Close();
    m_hFile = CreateFileW(sPath, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                          FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    return m_hFile != INVALID_HANDLE_VALUE ? ERROR_SUCCESS : GetLastError();
}

DWORD CFileWrtStream::Write(const void* pData, std::size_t nBytes) noexcept
{
    constexpr std::size_t nMost = std::size_t{1} << 30; // for one call of the system
    if (m_hFile == INVALID_HANDLE_VALUE)
        return ERROR_INVALID_HANDLE;
    const auto* p = static_cast<const char*>(pData);
    while (nBytes != 0)
    {
        const auto nBlock = static_cast<DWORD>(std::min(nBytes, nMost));
        DWORD nWritten = 0;
        if (!WriteFile(m_hFile, p, nBlock, &nWritten, nullptr))
            return GetLastError();
        if (nWritten != nBlock)
            return ERROR_DISK_FULL;
        p += nBlock;
        nBytes -= nBlock;
    }
    return ERROR_SUCCESS;
}

DWORD CFileWrtStream::Flush() noexcept
{
    if (m_hFile == INVALID_HANDLE_VALUE)
        return ERROR_INVALID_HANDLE;
    const bool bDone = GetFileType(m_hFile) != FILE_TYPE_DISK || FlushFileBuffers(m_hFile);
    return bDone ? ERROR_SUCCESS : GetLastError();
}

DWORD CFileWrtStream::Close() noexcept
{
    const HANDLE hFile = std::exchange(m_hFile, INVALID_HANDLE_VALUE);
    return hFile == INVALID_HANDLE_VALUE || CloseHandle(hFile) ? ERROR_SUCCESS : GetLastError();
}

// ---- CMemWrtStream ----

CMemWrtStream::~CMemWrtStream()
{
    OCTFree(m_pBytes);
}

DWORD CMemWrtStream::Write(const void* pData, std::size_t nBytes) noexcept
{
    constexpr std::uint32_t nLeast = 4096;
    if (nBytes > UINT32_MAX - m_nBytes)
        return ERROR_NOT_ENOUGH_MEMORY;
    const auto nMore = static_cast<std::uint32_t>(nBytes);
    if (nMore > m_nRoom - m_nBytes)
    {
        const std::uint64_t nTwice = std::min<std::uint64_t>(2 * std::uint64_t{m_nRoom}, UINT32_MAX);
        const std::uint32_t nRoom = std::max({nLeast, m_nBytes + nMore, static_cast<std::uint32_t>(nTwice)});
        void* const pNew = OCTRealloc(m_pBytes, nRoom);
        if (pNew == nullptr)
            return ERROR_NOT_ENOUGH_MEMORY;
        m_pBytes = static_cast<char*>(pNew);
        m_nRoom = nRoom;
    }
    if (nMore != 0)
        std::memcpy(m_pBytes + m_nBytes, pData, nMore);
    m_nBytes += nMore;
    return ERROR_SUCCESS;
}

// ---- CStrWrtStream ----

CStrWrtStream::~CStrWrtStream() = default;

bool CStrWrtStream::IsWide() const noexcept
{
    return true;
}

DWORD CStrWrtStream::Write(const void* pData, std::size_t nBytes) noexcept
try
{
    const auto* const s = static_cast<const WCHAR*>(pData);
    const std::size_t n = nBytes / sizeof(WCHAR);
    if (n == 0 && nBytes == 0)
        return ERROR_SUCCESS;
    if (nBytes % sizeof(WCHAR) != 0 || TextLength(s, n) != n)
        return ERROR_INVALID_DATA;
    if (n > UINT32_MAX)
        return ERROR_NOT_ENOUGH_MEMORY;
    // A value that must move its text and cannot forgets it. A second reference keeps the text, and costs
    // nothing where it moves anyway.
    const std::uint64_t nNeeded = sizeof(WCHAR) * (std::uint64_t{m_sText.GetLength()} + n + 1);
    COrvStr sBefore;
    if (!IsSoleStrOwner(m_sText, nNeeded))
        sBefore = m_sText;
    m_sText.Append(s, static_cast<unsigned>(n));
    if (static_cast<const WCHAR*>(m_sText) != nullptr)
        return ERROR_SUCCESS;
    m_sText = std::move(sBefore);
    return ERROR_NOT_ENOUGH_MEMORY;
}
catch (...)
{
    return ERROR_NOT_ENOUGH_MEMORY; // thrown before anything changed
}

} // namespace OCT
