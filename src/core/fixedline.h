// A line of text in a buffer of fixed size, for places that may neither allocate nor call formatters with
// locks.
#pragma once

#include "core/numtext.h"
#include "core/textformat.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace OCT
{

/// Up to \p Size characters, always terminated; what does not fit is cut.
template <class Char, std::size_t Size>
class CFixedLine
{
public:
    using CView = std::basic_string_view<Char>;

    Char* Text() { return m_sText; }
    const Char* Text() const { return m_sText; }
    CView View() const { return {m_sText, m_nLength}; }

    void Clear()
    {
        m_nLength = 0;
        m_bCut = false;
        m_sText[0] = 0;
    }

    /// Keeps room for \p nCount characters at the end of the buffer.
    void ReserveEnd(std::size_t nCount)
    {
        m_nLimit = Size - nCount;
        m_bCut = false;
    }

    /// A cut leaves whole characters, and nothing comes behind it; narrow text is of the ANSI code page.
    CFixedLine& Append(CView text)
    {
        const std::size_t nCopied = m_bCut ? 0 : std::min(text.size(), m_nLimit - m_nLength);
        for (const Char c : text.substr(0, nCopied))
            m_sText[m_nLength++] = c;
        if (nCopied != text.size())
        {
            m_bCut = true;
            m_nLength = WholeCharacters(m_sText, m_nLength, CP_ACP);
        }
        m_sText[m_nLength] = 0;
        return *this;
    }

    /// A number, filled up at the left to \p nWidth characters.
    CFixedLine& AppendDecimal(std::uint32_t n, std::size_t nWidth = 0, Char cFill = '0')
    {
        Char sDigits[kMaxIntText];
        const auto nLength = static_cast<std::size_t>(PutDecimal(sDigits, n) - sDigits);
        for (std::size_t i = nLength; i < nWidth; ++i)
            Append({&cFill, 1});
        return Append({sDigits, nLength});
    }

    /// A number as eight upper-case hexadecimal digits.
    CFixedLine& AppendHex8(std::uint32_t n)
    {
        Char sDigits[8];
        PutHex(sDigits, n, 8);
        return Append({sDigits, 8});
    }

    /// A backslash, unless one stands at the end already.
    CFixedLine& AppendSeparator()
    {
        static constexpr Char kSeparator = '\\';
        return View().ends_with(kSeparator) ? *this : Append({&kSeparator, 1});
    }

private:
    std::size_t m_nLength = 0;
    std::size_t m_nLimit = Size;
    bool m_bCut = false;
    Char m_sText[Size + 1] = {};
};

} // namespace OCT
