#include "valuetext.h"
#include "commands.h"
#include "store.h"

#include <windows.h>

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

namespace
{

const struct
{
    const char* m_sName;
    const char* m_sSystemName;
    DWORD m_dwType;
} g_types[] = {{"sz", "REG_SZ", REG_SZ},
               {"expand", "REG_EXPAND_SZ", REG_EXPAND_SZ},
               {"multi", "REG_MULTI_SZ", REG_MULTI_SZ},
               {"dword", "REG_DWORD", REG_DWORD},
               {"qword", "REG_QWORD", REG_QWORD},
               {"binary", "REG_BINARY", REG_BINARY},
               {"none", "REG_NONE", REG_NONE}};

void AppendText(std::vector<BYTE>& data, const CText& sText)
{
    const auto* p = reinterpret_cast<const BYTE*>(sText.c_str());
    data.insert(data.end(), p, p + (sText.size() + 1) * sizeof(WCHAR));
}

/// Decimal, or hexadecimal behind "0x"; the whole text must be a number that fits.
std::uint64_t ParseNumber(const CText& sText, std::uint64_t nMax)
{
    std::string s = Utf8(sText);
    const bool bHex = s.starts_with("0x") || s.starts_with("0X");
    std::uint64_t nValue = 0;
    const char* pStart = s.data() + (bHex ? 2 : 0);
    const char* pEnd = s.data() + s.size();
    const auto [p, error] = std::from_chars(pStart, pEnd, nValue, bHex ? 16 : 10);
    if (error != std::errc() || p != pEnd || nValue > nMax)
        throw CToolError(eBadUsage, "'" + s + "' is no number from 0 to " + std::to_string(nMax));
    return nValue;
}

std::vector<BYTE> ParseBytes(const CText& sText)
{
    std::string s;
    for (char c : Utf8(sText))
        if (c != ' ' && c != ',')
            s.push_back(c);
    std::vector<BYTE> data;
    for (std::size_t i = 0; i < s.size(); i += 2)
    {
        unsigned nByte = 0;
        const char* pEnd = s.data() + i + 2;
        if (i + 1 == s.size() || std::from_chars(s.data() + i, pEnd, nByte, 16).ptr != pEnd)
            throw CToolError(eBadUsage, "bytes are pairs of hexadecimal digits, not '" + Utf8(sText) + "'");
        data.push_back(static_cast<BYTE>(nByte));
    }
    return data;
}

std::uint64_t NumberOf(const std::vector<BYTE>& data)
{
    std::uint64_t nValue = 0;
    for (std::size_t i = data.size(); i-- > 0;)
        nValue = nValue << 8 | data[i];
    return nValue;
}

CText TextOfBytes(const std::vector<BYTE>& data)
{
    CText sText;
    for (std::size_t i = 0; i + 1 < data.size(); i += 2)
        sText.push_back(static_cast<WCHAR>(data[i] | data[i + 1] << 8));
    if (!sText.empty() && sText.back() == 0)
        sText.pop_back();
    return sText;
}

/// The texts of a REG_MULTI_SZ, one a line.
std::string ShowTexts(const std::vector<BYTE>& data)
{
    CText sText = TextOfBytes(data);
    if (!sText.empty() && sText.back() == 0)
        sText.pop_back();
    for (WCHAR& c : sText)
        if (c == 0)
            c = '\n';
    return Utf8(sText);
}

std::string ShowBytes(const std::vector<BYTE>& data)
{
    std::string s;
    for (BYTE byte : data)
    {
        s.push_back("0123456789abcdef"[byte >> 4]);
        s.push_back("0123456789abcdef"[byte & 0xF]);
    }
    return s;
}

} // namespace

std::string TypeName(DWORD dwType)
{
    for (const auto& type : g_types)
        if (type.m_dwType == dwType)
            return type.m_sName;
    return std::to_string(dwType);
}

CStoredValue ParseValue(const CText& sName, const std::string& sType, const std::vector<CText>& words)
{
    CStoredValue value;
    value.m_sName = sName;
    const auto* pType = std::begin(g_types);
    while (pType != std::end(g_types) && sType != pType->m_sName && sType != pType->m_sSystemName)
        ++pType;
    if (pType == std::end(g_types))
        throw CToolError(eBadUsage, "unknown type '" + sType + "'");
    value.m_dwType = pType->m_dwType;
    if (value.m_dwType != REG_MULTI_SZ && words.size() != 1)
        throw CToolError(eBadUsage, "one value is expected");
    switch (value.m_dwType)
    {
    case REG_SZ:
    case REG_EXPAND_SZ: AppendText(value.m_data, words[0]); break;
    case REG_MULTI_SZ:
        for (const CText& sWord : words)
            AppendText(value.m_data, sWord);
        AppendText(value.m_data, {});
        break;
    case REG_DWORD:
    case REG_QWORD:
    {
        const bool bLong = value.m_dwType == REG_QWORD;
        const std::uint64_t nValue = ParseNumber(words[0], bLong ? UINT64_MAX : UINT32_MAX);
        for (int i = 0; i < (bLong ? 8 : 4); ++i)
            value.m_data.push_back(static_cast<BYTE>(nValue >> (8 * i)));
        break;
    }
    default: value.m_data = ParseBytes(words[0]);
    }
    return value;
}

std::string ShowValue(const CStoredValue& value)
{
    if (value.m_dwType == REG_SZ || value.m_dwType == REG_EXPAND_SZ)
        return Utf8(TextOfBytes(value.m_data));
    if (value.m_dwType == REG_MULTI_SZ)
        return ShowTexts(value.m_data);
    if ((value.m_dwType == REG_DWORD && value.m_data.size() == 4) ||
        (value.m_dwType == REG_QWORD && value.m_data.size() == 8))
        return std::to_string(NumberOf(value.m_data));
    return ShowBytes(value.m_data);
}
