// One log line, built on the stack.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// A moment as lines show it, YYMMDD_HHMMSS; the end.
char* PutLogStamp(char* p, __time64_t tTime);

struct CLogLineParts
{
    unsigned m_nOptions;
    unsigned m_nLevel;
    const char* m_sPrefix;
    const LONG* m_phr; ///< null: none
    UINT m_nCodePage;  ///< of the file; CP_ACP: as narrow text is
};

/// Which bytes are controls in the text of a file.
struct CLogPage
{
    /// CP_ACP: as narrow text is.
    explicit CLogPage(UINT nCodePage);

    bool m_bUTF8;
    std::uint32_t m_nUpperControls; ///< bit by bit those of 0x80 to 0x9F that are such by themselves
};

class CLogLine
{
public:
    /// Builds the line: header and format formatted together, line breaks indented, control characters made
    /// visible, "\r\n" at the end.
    CLogLine(const CLogLineParts& parts, const char* sFormat, va_list args);

    const char* Text() const { return m_sText; }
    unsigned Length() const { return static_cast<unsigned>(m_nLength); }

private:
    static constexpr std::size_t kHeaderBytes = 1024;
    static constexpr std::size_t kMessageBytes = 0x4000;
    static constexpr std::size_t kTextBytes = 16374; ///< of the message; the end of the line comes behind

    std::size_t PutHeader(const CLogLineParts& parts, bool& bIsFormat);
    void Format(std::size_t nHeader, const char* sFormat, va_list args);
    void FormatWithHeader(std::size_t nHeader, const char* sFormat, va_list args);
    void Indent(const CLogPage& page);
    bool Put(std::string_view sText);
    void Trim();

    const UINT m_nCodePage;
    std::size_t m_nLength = 0;
    char m_sText[kMessageBytes + 3];
};

/// How text that came from elsewhere stands in a log: no character may begin a line or move a terminal's
/// cursor. \p sText is terminated behind what there is of it.
struct CLogCharacter
{
    /// The next one: what stands for it, and how many bytes it takes.
    CLogCharacter(const char* sText, const CLogPage& page);

    /// Whether there is anything to be shown in another way, tabs left out.
    static bool IsAnyIn(std::string_view sText, const CLogPage& page);

    std::string_view m_sShown;
    std::size_t m_nBytes;

private:
    char m_sBuffer[8];
};
