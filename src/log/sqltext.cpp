#include "log/sqltext.h"

#include <algorithm>
#include <cstring>
#include <new>

CSQLText::CSQLText(std::string_view sLabel, CStatement sStatement, std::string_view sTail) : m_sLabel(sLabel)
{
    // Once without keeping anything, for the size.
    Write(sStatement, sTail);
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
    Write(sStatement, sTail);
    m_nLength = std::min(m_nLength, m_nLimit);
    std::memcpy(m_sText + m_nLength, "\r\n", kEndBytes);
    m_nLength += 2;
}

void CSQLText::Write(CStatement sStatement, std::string_view sTail)
{
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
    if (sCharacter[0] < 0x80)
    {
        sBytes[0] = static_cast<char>(sCharacter[0]);
        return Put({sBytes, 1});
    }
    const DWORD dwFlags = GetACP() == CP_UTF8 ? 0 : WC_COMPOSITECHECK;
    const int nBytes =
        WideCharToMultiByte(CP_ACP, dwFlags, sCharacter.data(), static_cast<int>(sCharacter.size()), sBytes,
                            static_cast<int>(sizeof(sBytes)), nullptr, nullptr);
    Put(nBytes > 0 ? std::string_view(sBytes, static_cast<std::size_t>(nBytes)) : std::string_view("?"));
}

void CSQLText::Put(std::string_view sText)
{
    if (m_nLength < m_nLimit && !sText.empty())
        std::memcpy(m_sText + m_nLength, sText.data(), std::min(sText.size(), m_nLimit - m_nLength));
    m_nLength += sText.size();
}
