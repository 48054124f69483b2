/// `OCT::IWrtStream`, where a writer puts its bytes, and three places to put them: a file, memory and a text.
///
/// The interface is one function, so that a host puts a socket or a compressor behind it in a few lines. No
/// stream here holds bytes back: writers collect what they have and give it on in blocks.
///
/// Ownership: a stream owns its file or block. `Write` reads its bytes during the call only.
/// Thread safety: one stream belongs to one thread at a time.
/// Errors: nothing throws and nothing is reported. Functions return `ERROR_SUCCESS` or the system's code:
///   `ERROR_DISK_FULL`, `ERROR_NOT_ENOUGH_MEMORY` and so on. Memory and text take all of a block or nothing
///   of it; of a file that fails the caller cannot tell how much of the block it holds.
/// Units: bytes.
///
///     OCT::CFileWrtStream file;
///     DWORD dwError = file.Open(ORVTEXT("C:\\data\\list.txt"));
///     if (dwError == ERROR_SUCCESS)
///         dwError = file.Write("one\r\n", 5);
///     if (dwError == ERROR_SUCCESS)
///         dwError = file.Flush(); // it is on the disk
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace OCT
{

class ORV_API IWrtStream
{
public:
    virtual ~IWrtStream();

    /// Takes all \p nBytes or fails.
    virtual DWORD Write(const void* pData, std::size_t nBytes) noexcept = 0;
    /// True where the stream takes UTF-16 units in the machine's byte order and nothing else; else writers
    /// choose their encoding.
    virtual bool IsWide() const noexcept;

protected:
    IWrtStream() = default;
    IWrtStream(const IWrtStream&) = default;
    IWrtStream& operator=(const IWrtStream&) = default;
};

/// A file that is written from its beginning.
class ORV_API CFileWrtStream : public IWrtStream
{
public:
    CFileWrtStream() noexcept : m_hFile(INVALID_HANDLE_VALUE) {}
    CFileWrtStream(const CFileWrtStream&) = delete;
    CFileWrtStream& operator=(const CFileWrtStream&) = delete;
    /// Closes. What a disk tells late is then lost: call `Flush` before.
    ~CFileWrtStream() override;

    /// Makes the file, or empties the one of that name; others may read it meanwhile. A file that is open is
    /// closed before. The folder must exist.
    DWORD Open(const WCHAR* sPath) noexcept;
    /// `ERROR_INVALID_HANDLE` when no file is open.
    DWORD Write(const void* pData, std::size_t nBytes) noexcept override;
    /// Waits until the disk has what was written; a pipe or terminal has it already.
    DWORD Flush() noexcept;
    DWORD Close() noexcept;

private:
    HANDLE m_hFile;
};

/// Bytes in memory.
class ORV_API CMemWrtStream : public IWrtStream
{
public:
    CMemWrtStream() noexcept : m_pBytes(nullptr), m_nBytes(0), m_nRoom(0) {}
    CMemWrtStream(const CMemWrtStream&) = delete;
    CMemWrtStream& operator=(const CMemWrtStream&) = delete;
    ~CMemWrtStream() override;

    /// Less than 4 GB in all, else `ERROR_NOT_ENOUGH_MEMORY`.
    DWORD Write(const void* pData, std::size_t nBytes) noexcept override;
    /// Valid until the stream changes; null before the first byte.
    const char* GetBytes() const noexcept { return m_pBytes; }
    std::size_t GetSize() const noexcept { return m_nBytes; }
    /// Forgets the bytes and keeps the block for others.
    void Clear() noexcept { m_nBytes = 0; }

private:
    char* m_pBytes;
    std::uint32_t m_nBytes;
    std::uint32_t m_nRoom;
};

/// A text of UTF-16 units.
class ORV_API CStrWrtStream : public IWrtStream
{
public:
    CStrWrtStream() noexcept = default;
    ~CStrWrtStream() override;

    /// `ERROR_INVALID_DATA` for half a unit and for a zero unit, which would end the text.
    DWORD Write(const void* pData, std::size_t nBytes) noexcept override;
    bool IsWide() const noexcept override;
    /// Copies share the buffer.
    const COrvStr& GetText() const noexcept { return m_sText; }
    void Clear() { m_sText.Empty(); }

private:
    COrvStr m_sText;
};

} // namespace OCT
