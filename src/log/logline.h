// One log line, built on the stack.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstddef>

struct CLogLineParts
{
    unsigned m_nOptions;
    unsigned m_nLevel;
    const char* m_sPrefix;
    const LONG* m_phr; ///< null: none
};

class CLogLine
{
public:
    /// Builds the line: header and format formatted together, line breaks indented, "\r\n" at the end.
    CLogLine(const CLogLineParts& parts, const char* sFormat, va_list args);

    const char* Text() const { return m_sText; }
    unsigned Length() const { return m_nLength; }

private:
    static constexpr std::size_t kHeaderBytes = 1024;
    static constexpr std::size_t kMessageBytes = 0x4000;
    static constexpr std::size_t kTextBytes = 16374; ///< of the message; the end of the line comes behind

    void Indent(const char* sMessage, std::size_t nLength);
    void Put(const char* pText, std::size_t nLength);
    void Finish();

    unsigned m_nLength = 0;
    char m_sText[kTextBytes + 3];
};
