#include "input.h"

#include "utf8.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace
{

constexpr std::size_t kBlock = 256 * 1024;
constexpr unsigned kPollMs = 200;

struct CMagic
{
    std::string_view m_sBytes;
    const char* m_sKind;
};
constexpr CMagic kUnreadable[] = {{"BZh", "bzip2"},
                                  {"\xFD"
                                   "7zXZ",
                                   "xz"},
                                  {"\x28\xB5\x2F\xFD", "zstd"}};

} // namespace

struct CInput::CInflater
{
    CInflater() { inflateInit2(&m_Stream, 15 + 16); } // 16: gzip
    ~CInflater() { inflateEnd(&m_Stream); }

    z_stream m_Stream = {};
    std::array<char, 65536> m_Block;
};

CInput::CInput() = default;
CInput::~CInput() = default;

bool CInput::Open(const std::filesystem::path& path, bool bFollow, std::string& sError)
{
    m_Path = path;
    m_bFollow = bFollow;
    if (!m_File.Open(path, bFollow, sError))
        return false;
    if (m_File.IsPipe())
        return true;
    char sStart[6] = {};
    std::size_t nRead = 0;
    const CInputFile::ERead read = m_File.Read(sStart, sizeof(sStart), nRead);
    if (read == CInputFile::ERead::Failed || !m_File.Seek(0))
        return sError = "cannot read " + ToUTF8(path), false;
    for (const CMagic& magic : kUnreadable)
        if (std::string_view(sStart, nRead).starts_with(magic.m_sBytes))
            return sError = ToUTF8(path) + " is compressed by " + magic.m_sKind + "; only gzip is read",
                   false;
    if (sStart[0] != '\x1F' || sStart[1] != '\x8B')
        return true;
    if (bFollow)
        return sError = ToUTF8(path) + " is compressed and cannot be followed", false;
    m_pInflater = std::make_unique<CInflater>();
    return true;
}

void CInput::SkipToLast(std::uint64_t nBytes)
{
    if (m_File.IsPipe() || m_pInflater != nullptr || m_File.Size() <= nBytes)
        return;
    m_nPosition = m_File.Size() - nBytes;
    m_bSkipping = m_File.Seek(m_nPosition);
}

CInput::ENext CInput::Next(std::string& sLine)
{
    while (!CStop::IsRequested())
    {
        if (TakeLine(sLine) || (m_bEnd && TakeRest(sLine)))
            return ++m_nLine, ENext::Line;
        if (m_bEnd)
            return ENext::End;
        if (m_bWait || m_File.HasInput())
        {
            const EFill fill = Fill();
            m_bWait = fill == EFill::Nothing;
            m_bEnd = fill == EFill::End;
            if (!m_bWait)
                continue;
        }
        m_bWait = true;
        return ENext::Idle;
    }
    return ENext::End;
}

bool CInput::TakeLine(std::string& sLine)
{
    for (;;)
    {
        const char* const pStart = m_sBlock.data() + m_nTaken;
        const std::size_t nLeft = m_sBlock.size() - m_nTaken;
        const auto* const pEnd = static_cast<const char*>(std::memchr(pStart, '\n', nLeft));
        std::size_t nLength = pEnd != nullptr ? static_cast<std::size_t>(pEnd - pStart) : nLeft;
        const bool bSkipped = m_bSkipping;
        if (pEnd == nullptr)
        {
            if (!m_bSkipping && nLength <= kLongestLine)
                return false;
            m_nTaken = m_sBlock.size();
            m_bSkipping = true;
        }
        else
        {
            m_nTaken += nLength + 1;
            m_bSkipping = false;
        }
        if (!bSkipped)
        {
            if (pEnd != nullptr && nLength > 0 && pStart[nLength - 1] == '\r')
                --nLength;
            sLine.assign(pStart, std::min(nLength, kLongestLine + 1));
            return true;
        }
        if (pEnd == nullptr)
            return false;
    }
}

/// The last line of a file that does not end with a line end. Of a damaged one nobody knows how it goes on.
bool CInput::TakeRest(std::string& sLine)
{
    if (m_bFollow || !m_sFailure.empty() || m_nTaken == m_sBlock.size())
        return false;
    sLine.assign(m_sBlock, m_nTaken);
    if (sLine.back() == '\r')
        sLine.pop_back();
    m_nTaken = m_sBlock.size();
    return true;
}

CInput::EFill CInput::Fill()
{
    m_sBlock.erase(0, m_nTaken);
    m_nTaken = 0;
    if (m_pInflater != nullptr)
        return FillCompressed();
    const std::size_t nKept = m_sBlock.size();
    m_sBlock.resize(nKept + kBlock);
    std::size_t nRead = 0;
    CInputFile::ERead read = ReadBlock(m_sBlock.data() + nKept, kBlock, nRead);
    m_sBlock.resize(nKept + nRead);
    if (read == CInputFile::ERead::Data)
        return EFill::More;
    if (read != CInputFile::ERead::End || !m_bFollow)
        return EFill::End;
    return IsMoreAfterEnd() ? EFill::More : EFill::Nothing;
}

CInputFile::ERead CInput::ReadBlock(char* pBuffer, std::size_t nRoom, std::size_t& nRead)
{
    const CInputFile::ERead read = m_File.Read(pBuffer, nRoom, nRead);
    m_nPosition += nRead;
    if (read == CInputFile::ERead::Failed)
        m_sFailure = "cannot read on in " + ToUTF8(m_Path);
    return read;
}

/// At the end of a followed log. Waits a moment when the caller has been told; true when there is something
/// to read on, in the same file or in the one that took its place.
bool CInput::IsMoreAfterEnd()
{
    if (!m_bWait)
        return false;
    if (CStop::Wait(kPollMs))
        return false;
    const std::uint64_t nSize = m_File.Size();
    if (nSize > m_nPosition)
        return true;
    if (nSize < m_nPosition || m_File.IsReplacedAt(m_Path))
        return Reopen();
    return false;
}

/// What the writer added to the old file between the last look and its renaming is read first.
bool CInput::Reopen()
{
    if (m_File.Size() > m_nPosition)
        return true;
    std::string sIgnored;
    if (!m_File.Open(m_Path, m_bFollow, sIgnored))
        return false;
    m_nPosition = 0;
    m_nLine = 0;
    m_sBlock.clear();
    return true;
}

CInput::EFill CInput::FillCompressed()
{
    z_stream& stream = m_pInflater->m_Stream;
    const std::size_t nKept = m_sBlock.size();
    m_sBlock.resize(nKept + kBlock);
    stream.next_out = reinterpret_cast<Bytef*>(m_sBlock.data() + nKept);
    stream.avail_out = static_cast<uInt>(kBlock);
    int iResult = Z_OK;
    while (stream.avail_out == kBlock && iResult == Z_OK)
    {
        if (stream.avail_in == 0)
        {
            std::size_t nRead = 0;
            if (ReadBlock(m_pInflater->m_Block.data(), m_pInflater->m_Block.size(), nRead) !=
                CInputFile::ERead::Data)
                break;
            stream.next_in = reinterpret_cast<Bytef*>(m_pInflater->m_Block.data());
            stream.avail_in = static_cast<uInt>(nRead);
        }
        iResult = inflate(&stream, Z_NO_FLUSH);
        if (iResult == Z_STREAM_END) // another member may follow
            iResult = inflateReset(&stream);
    }
    m_sBlock.resize(nKept + kBlock - stream.avail_out);
    if (m_sBlock.size() > nKept)
        return EFill::More;
    if (iResult != Z_OK || stream.total_in != 0)
        m_sFailure = ToUTF8(m_Path) + " is damaged or cut: what could be read of it was taken";
    return EFill::End;
}
