// The lines of a log: of a plain or gzip-compressed file or a pipe, once or for as long as the log grows.
#pragma once

#include "platform.h"

#include <memory>
#include <string>

class CInput
{
public:
    enum class ENext
    {
        Line,
        Idle, ///< nothing to read at present: the next call may wait
        End   ///< or the request to end, or a failure
    };
    /// Longer ones are cut here: no line makes the service grow.
    static constexpr std::size_t kLongestLine = 65536;

    CInput();
    ~CInput();

    /// With \p bFollow the end of the file is waited at for more, across rotation, until the request to end.
    bool Open(const std::filesystem::path& path, bool bFollow, std::string& sError);
    /// Goes on \p nBytes before the end, with the first line that begins there; nothing for what has no end.
    void SkipToLast(std::uint64_t nBytes);
    /// The next line without its end. Of a followed log only whole ones.
    ENext Next(std::string& sLine);

    /// Of the line that Next gave, from 1 in each file.
    std::size_t LineNumber() const { return m_nLine; }
    std::uint64_t Position() const { return m_nPosition; } ///< bytes of the file that were read
    std::uint64_t Size() const { return m_File.Size(); }
    /// Why reading ended before the end; empty when it did not.
    const std::string& Failure() const { return m_sFailure; }

private:
    struct CInflater;
    enum class EFill
    {
        More,
        Nothing,
        End
    };

    bool TakeLine(std::string& sLine);
    bool TakeRest(std::string& sLine);
    EFill Fill();
    EFill FillCompressed();
    CInputFile::ERead ReadBlock(char* pBuffer, std::size_t nRoom, std::size_t& nRead);
    bool IsMoreAfterEnd();
    bool Reopen();

    std::filesystem::path m_Path;
    CInputFile m_File;
    std::unique_ptr<CInflater> m_pInflater;
    std::string m_sBlock;     ///< read, lines not yet taken
    std::size_t m_nTaken = 0; ///< bytes of the block
    std::uint64_t m_nPosition = 0;
    std::size_t m_nLine = 0;
    bool m_bFollow = false;
    bool m_bSkipping = false; ///< the rest of a line that was too long
    bool m_bWait = false;     ///< Idle was returned
    bool m_bEnd = false;
    std::string m_sFailure;
};
