// One line on its way from its caller to the file, and the memory it lies in.
#pragma once

#include <cstdint>

struct CLogBlock;

/// One queued line, its text terminated. Short ones lie in blocks of a pool, a long one in a block of the
/// heap of its own.
class CLogMessage
{
public:
    /// A copy of the text; null without memory.
    static CLogMessage* Create(const char* sText, std::uint32_t nLength) noexcept;

    /// Whether a line of this length comes from the pool.
    static constexpr bool IsPooled(std::uint32_t nLength) { return nLength < kPooledBytes - 1; }

    const char* Text() const { return reinterpret_cast<const char*>(this) + sizeof(CLogMessage); }
    std::uint32_t Length() const { return m_nLength; }
    /// Whether it was logged as an error.
    bool IsError() const { return m_nLength > 2 && Text()[0] == '=' && Text()[1] == 'E'; }

private:
    friend struct CLogBlock;
    friend class CLogInbox;
    friend class CLogQueue;
    friend class CReturnedLines;
    static constexpr std::uint32_t kPooledBytes = 480;

    CLogMessage* m_pNext;
    std::uint32_t m_nLength;
    std::uint32_t m_nInBlock; ///< where it lies in a block of the pool; 0: in none
    // The text follows.
};

/// Lines on their way back to where their memory came from: the pool gets many blocks at once.
class CReturnedLines
{
public:
    CReturnedLines() = default;
    CReturnedLines(const CReturnedLines&) = delete;
    CReturnedLines& operator=(const CReturnedLines&) = delete;
    ~CReturnedLines();

    void Add(CLogMessage* pMessage);

private:
    static constexpr unsigned kBlocks = 32;
    void EndBlock();
    void ReleaseBlocks();

    CLogBlock* m_pBlock = nullptr; ///< of the last lines
    std::int32_t m_nLines = 0;     ///< of that block
    unsigned m_nFree = 0;
    CLogBlock* m_apFree[kBlocks];
};
