#include "log/sqltext.h"

#include "core/textformat.h"
#include "log/logline.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

CSQLText::CSQLText(UINT nCodePage, std::string_view sOutcome, std::string_view sLabel, CStatement sStatement,
                   std::string_view sTail)
    : m_nCodePage(nCodePage), m_page(nCodePage), m_sLabel(sLabel)
{
    // Once without keeping anything, for the size.
    Compose(sOutcome, sStatement, sTail);
    std::size_t nRoom = kStackBytes;
    if (m_nLength + kEndBytes > kStackBytes)
    {
        m_pHeap.reset(new (std::nothrow) char[m_nLength + kEndBytes]);
        if (m_pHeap != nullptr)
        {
            m_sText = m_pHeap.get();
            nRoom = m_nLength + kEndBytes;
        }
    }
    m_nLimit = nRoom - kEndBytes;
    m_nLength = 0;
    Compose(sOutcome, sStatement, sTail);
    if (m_nLength > m_nLimit)
        m_nLength = OCT::WholeCharacters(m_sText, m_nLimit, m_nCodePage);
    std::memcpy(m_sText + m_nLength, "\r\n", kEndBytes);
    m_nLength += 2;
}

void CSQLText::Compose(std::string_view sOutcome, CStatement sStatement, std::string_view sTail)
{
    Put(sOutcome);
    PutLabel();
    for (std::size_t i = 0; i < sStatement.size(); ++i)
    {
        const WCHAR c = sStatement[i];
        const WCHAR cNext = i + 1 < sStatement.size() ? sStatement[i + 1] : WCHAR{0};
        const bool bPair = (c & 0xFC00) == 0xD800 && (cNext & 0xFC00) == 0xDC00;
        if (c == '\r' && cNext == '\n')
            continue;
        PutCharacter(sStatement.substr(i, bPair ? 2 : 1));
        i += bPair;
    }
    Put(sTail);
}

/// Terminated text of the file's page, as in other lines.
template <class PutBreak>
void CSQLText::PutVisible(std::string_view sText, PutBreak putBreak)
{
    for (std::size_t i = 0; i < sText.size();)
    {
        const CLogCharacter c(sText.data() + i, m_page);
        if (c.m_sShown == "\n")
            putBreak();
        else
            Put(c.m_sShown);
        i += c.m_nBytes;
    }
}

void CSQLText::PutLabel()
{
    if (CLogCharacter::IsAnyIn(m_sLabel, m_page))
        PutVisible(m_sLabel, [this] { Put("\r\n\t"); });
    else
        Put(m_sLabel);
    Put("\t");
}

/// Converted first: what a code page makes a control or a line break of is one.
void CSQLText::PutCharacter(CStatement sCharacter)
{
    char sBytes[9] = {};
    const WCHAR c = sCharacter[0];
    if (c >= 0x80 && c < 0xA0) // the upper controls, which not every page has
        return Put({sBytes, OCT::FormatTo(sBytes, "\\x%02X", c)});
    int nBytes = 1;
    if (c < 0x80)
        sBytes[0] = static_cast<char>(c);
    else
    {
        nBytes = WideCharToMultiByte(m_nCodePage, m_page.m_bUTF8 ? 0 : WC_COMPOSITECHECK, sCharacter.data(),
                                     static_cast<int>(sCharacter.size()), sBytes,
                                     static_cast<int>(sizeof(sBytes)) - 1, nullptr, nullptr);
        if (nBytes <= 0)
            return Put("?");
    }
    PutVisible({sBytes, static_cast<std::size_t>(nBytes)}, [this] {
        Put("\r\n");
        PutLabel();
    });
}

void CSQLText::Put(std::string_view sText)
{
    if (m_nLength < m_nLimit && !sText.empty())
        std::memcpy(m_sText + m_nLength, sText.data(), (std::min)(sText.size(), m_nLimit - m_nLength));
    m_nLength += sText.size();
}
