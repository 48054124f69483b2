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
    : m_nCodePage(nCodePage), m_sLabel(sLabel)
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
        if (c == '\n')
        {
            Put("\r\n");
            PutLabel();
        }
        else
            PutCharacter(sStatement.substr(i, bPair ? 2 : 1));
        i += bPair;
    }
    Put(sTail);
}

void CSQLText::PutLabel()
{
    Put(m_sLabel);
    Put("\t");
}

void CSQLText::PutCharacter(CStatement sCharacter)
{
    char sBytes[8];
    if (sCharacter[0] < 0xA0)
    {
        // As UTF-8 would have it, so that the upper controls show too.
        const bool bUpper = sCharacter[0] >= 0x80;
        const char sAscii[] = {bUpper ? '\xC2' : static_cast<char>(sCharacter[0]),
                               bUpper ? static_cast<char>(sCharacter[0]) : '\0', '\0'};
        return Put(CLogCharacter(sAscii, true).m_sShown);
    }
    const bool bUTF8 = m_nCodePage == CP_UTF8 || GetACP() == CP_UTF8;
    const int nBytes = WideCharToMultiByte(m_nCodePage, bUTF8 ? 0 : WC_COMPOSITECHECK, sCharacter.data(),
                                           static_cast<int>(sCharacter.size()), sBytes,
                                           static_cast<int>(sizeof(sBytes)), nullptr, nullptr);
    Put(nBytes > 0 ? std::string_view(sBytes, static_cast<std::size_t>(nBytes)) : std::string_view("?"));
}

void CSQLText::Put(std::string_view sText)
{
    if (m_nLength < m_nLimit && !sText.empty())
        std::memcpy(m_sText + m_nLength, sText.data(), (std::min)(sText.size(), m_nLimit - m_nLength));
    m_nLength += sText.size();
}
