#include "registry/registrytext.h"

#include <algorithm>
#include <utility>

namespace OrvPort
{
namespace
{

constexpr std::string_view g_sSignature5 = "Windows Registry Editor Version 5.00";
constexpr std::string_view g_sSignature4 = "REGEDIT4";
constexpr std::size_t g_nWrapColumn = 78;

bool IsBlank(WCHAR c)
{
    return c == ' ' || c == '\t';
}

CRegView Trim(CRegView s)
{
    while (!s.empty() && IsBlank(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && IsBlank(s.back()))
        s.remove_suffix(1);
    return s;
}

bool IsAscii(CRegView s, std::string_view sText)
{
    return std::equal(s.begin(), s.end(), sText.begin(), sText.end());
}

int HexDigit(WCHAR c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

/// Takes 1 to \p nMaxDigits hexadecimal digits from the front.
bool TakeHex(CRegView& s, std::size_t nMaxDigits, DWORD& dwValue)
{
    dwValue = 0;
    std::size_t n = 0;
    for (; n < s.size() && HexDigit(s[n]) >= 0; ++n)
    {
        if (n == nMaxDigits)
            return false;
        dwValue = dwValue * 16 + static_cast<DWORD>(HexDigit(s[n]));
    }
    s.remove_prefix(n);
    return n > 0;
}

bool TakeLiteral(CRegView& s, const char* sLiteral)
{
    std::size_t n = 0;
    for (; sLiteral[n] != '\0'; ++n)
        if (n >= s.size() ||
            (s[n] >= 'A' && s[n] <= 'Z' ? s[n] + 32 : s[n]) != static_cast<WCHAR>(sLiteral[n]))
            return false;
    s.remove_prefix(n);
    return true;
}

/// Takes a quoted text from the front; false when its end is missing.
bool TakeQuoted(CRegView& s, CRegString& sText)
{
    sText.clear();
    for (std::size_t i = 1; i < s.size(); ++i)
    {
        if (s[i] == '"')
        {
            s.remove_prefix(i + 1);
            return true;
        }
        if (s[i] != '\\')
            sText.push_back(s[i]);
        else if (++i < s.size())
            sText.push_back(s[i] == 'n' ? WCHAR('\n') : s[i] == 'r' ? WCHAR('\r') : s[i]);
    }
    return false;
}

bool IsEndOrComment(CRegView s)
{
    s = Trim(s);
    return s.empty() || s.front() == ';';
}

void AppendUnits(CRegData& data, CRegView s)
{
    for (WCHAR c : s)
    {
        data.push_back(LOBYTE(c));
        data.push_back(HIBYTE(c));
    }
}

/// Number of bytes of the UTF-8 sequence at \p i, 0 when there is none; surrogates count as sequences.
std::size_t Utf8Length(std::string_view s, std::size_t i)
{
    const auto c = static_cast<unsigned char>(s[i]);
    const std::size_t n = c < 0x80                ? 1
                          : c >= 0xC2 && c < 0xE0 ? 2
                          : c >= 0xE0 && c < 0xF0 ? 3
                          : c >= 0xF0 && c < 0xF5 ? 4
                                                  : 0;
    if (n == 0 || i + n > s.size())
        return 0;
    for (std::size_t k = 1; k < n; ++k)
        if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80)
            return 0;
    const auto c1 = n > 1 ? static_cast<unsigned char>(s[i + 1]) : 0;
    const bool bOverlong = (c == 0xE0 && c1 < 0xA0) || (c == 0xF0 && c1 < 0x90);
    return bOverlong || (c == 0xF4 && c1 > 0x8F) ? 0 : n;
}

void AppendCodePoint(CRegString& s, std::uint32_t c)
{
    if (c >= 0x10000)
    {
        s.push_back(static_cast<WCHAR>(0xD7C0 + (c >> 10)));
        c = 0xDC00 + (c & 0x3FF);
    }
    s.push_back(static_cast<WCHAR>(c));
}

CRegString FromPage(std::string_view s, UINT nCodePage)
{
    CRegString sWide(s.size(), WCHAR(0));
    const int n = s.empty() ? 0
                            : MultiByteToWideChar(nCodePage, 0, s.data(), static_cast<int>(s.size()),
                                                  sWide.data(), static_cast<int>(sWide.size()));
    sWide.resize(static_cast<std::size_t>(n));
    return sWide;
}

// The page that Windows gives the language of the locale.
UINT WindowsCodePage()
{
    DWORD dwCodePage = 0;
    const int n = GetLocaleInfoEx(nullptr, LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                                  reinterpret_cast<LPWSTR>(&dwCodePage), sizeof dwCodePage / sizeof(WCHAR));
    return n != 0 ? dwCodePage : UINT{CP_ACP};
}

// Narrow text in a file. What is not UTF-8 comes from Windows and is in the page of that.
CRegString FromFile(std::string_view s)
{
    CRegString sWide;
    sWide.reserve(s.size());
    for (std::size_t i = 0; i < s.size();)
    {
        const std::size_t n = Utf8Length(s, i);
        if (n == 0)
            return FromPage(s, GetACP() != CP_UTF8 ? GetACP() : WindowsCodePage());
        std::uint32_t c = static_cast<unsigned char>(s[i]);
        if (n > 1)
            c &= 0x7Fu >> n;
        for (std::size_t k = 1; k < n; ++k)
            c = c << 6 | (static_cast<unsigned char>(s[i + k]) & 0x3Fu);
        AppendCodePoint(sWide, c);
        i += n;
    }
    return sWide;
}

void AppendUtf8(std::string& s, std::uint32_t c)
{
    if (c < 0x80)
    {
        s.push_back(static_cast<char>(c));
        return;
    }
    const int nTail = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    s.push_back(static_cast<char>((nTail == 1 ? 0xC0 : nTail == 2 ? 0xE0 : 0xF0) | c >> (6 * nTail)));
    for (int k = nTail - 1; k >= 0; --k)
        s.push_back(static_cast<char>(0x80 | ((c >> (6 * k)) & 0x3F)));
}

bool IsHighSurrogate(WCHAR c)
{
    return (c & 0xFC00) == 0xD800;
}

bool IsLowSurrogate(WCHAR c)
{
    return (c & 0xFC00) == 0xDC00;
}

/// True for text that a quoted string gives back unit by unit: ended by its only NUL, on one line.
bool IsPlainText(const CRegData& data)
{
    if (data.size() < 2 || data.size() % 2 != 0)
        return false;
    for (std::size_t i = 0; i < data.size(); i += 2)
    {
        const unsigned c = data[i] | static_cast<unsigned>(data[i + 1]) << 8;
        const bool bLast = i + 2 == data.size();
        if ((c == 0) != bLast || (c != 0 && c < 0x20 && c != '\t'))
            return false;
    }
    return true;
}

void AppendQuoted(CRegString& s, CRegView sText)
{
    s.push_back('"');
    for (WCHAR c : sText)
    {
        if (c == '\\' || c == '"' || c == '\n' || c == '\r')
            s.push_back('\\');
        s.push_back(c == '\n' ? WCHAR('n') : c == '\r' ? WCHAR('r') : c);
    }
    s.push_back('"');
}

void AppendHex(CRegString& s, DWORD dwValue, int nDigits)
{
    while (nDigits-- > 0)
        s.push_back(static_cast<WCHAR>("0123456789abcdef"[(dwValue >> (4 * nDigits)) & 0xF]));
}

void AppendAscii(CRegString& s, std::string_view sText)
{
    s.append(sText.begin(), sText.end());
}

void AppendHexList(CRegString& s, DWORD dwType, const CRegData& data)
{
    AppendAscii(s, "hex");
    if (dwType != REG_BINARY)
    {
        s.push_back('(');
        AppendHex(s, dwType, dwType < 0x10 ? 1 : dwType < 0x100 ? 2 : 8);
        s.push_back(')');
    }
    s.push_back(':');
    std::size_t nColumn = s.size();
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        if (nColumn >= g_nWrapColumn)
        {
            AppendAscii(s, "\\\n  ");
            nColumn = 2;
        }
        AppendHex(s, data[i], 2);
        if (i + 1 < data.size())
            s.push_back(',');
        nColumn += 3;
    }
}

} // namespace

CRegTextReader::CRegTextReader(std::string_view sBytes) : m_sRest(sBytes)
{
    using namespace std::string_view_literals;
    if (m_sRest.starts_with("\xEF\xBB\xBF"sv))
        m_sRest.remove_prefix(3);
    else if (m_sRest.size() >= 2)
    {
        const bool bMark = m_sRest.starts_with("\xFF\xFE"sv) || m_sRest.starts_with("\xFE\xFF"sv);
        // Without a mark the first character, which is an ASCII one, tells.
        m_encoding.m_bUtf16 = bMark || (m_sRest[0] == 0) != (m_sRest[1] == 0);
        m_encoding.m_bBigEndian = m_encoding.m_bUtf16 && (m_sRest[0] == 0 || m_sRest[0] == '\xFE');
        m_sRest.remove_prefix(bMark ? 2 : 0);
    }
}

/// Reads one line without its end; false when none is left.
bool CRegTextReader::ReadLine(CRegString& sLine)
{
    if (m_sRest.empty())
        return false;
    if (m_encoding.m_bUtf16)
    {
        sLine.clear();
        WCHAR c = 0;
        while (m_sRest.size() >= 2 && c != '\n')
        {
            const auto nFirst = static_cast<BYTE>(m_sRest[0]);
            const auto nSecond = static_cast<BYTE>(m_sRest[1]);
            c = static_cast<WCHAR>(m_encoding.m_bBigEndian ? nFirst << 8 | nSecond : nSecond << 8 | nFirst);
            m_sRest.remove_prefix(2);
            if (c != '\n')
                sLine.push_back(c);
        }
        if (m_sRest.size() == 1)
            m_sRest = {};
    }
    else
    {
        const std::size_t nEnd = m_sRest.find('\n');
        sLine = FromFile(m_sRest.substr(0, nEnd));
        m_sRest.remove_prefix(nEnd == m_sRest.npos ? m_sRest.size() : nEnd + 1);
    }
    const bool bCr = !sLine.empty() && sLine.back() == '\r';
    if (bCr)
        sLine.pop_back();
    if (++m_nLine == 1)
        m_encoding.m_bCrLf = bCr;
    return true;
}

bool CRegTextReader::Next(CRegTextItem& item)
{
    item = {};
    if (!ReadLine(item.m_sText))
        return false;
    item.m_nLine = m_nLine;
    Classify(item);
    return true;
}

void CRegTextReader::Classify(CRegTextItem& item)
{
    const CRegString sText = item.m_sText;
    const CRegView sLine = Trim(sText);
    if (IsEndOrComment(sLine))
        item.m_eKind = CRegTextItem::eOther;
    else if (IsAscii(sLine, g_sSignature5) || IsAscii(sLine, g_sSignature4))
    {
        item.m_eKind = CRegTextItem::eSignature;
        m_bNarrowData = IsAscii(sLine, g_sSignature4);
    }
    else if (sLine.front() == '[')
        ParseKey(item, sLine);
    else
        ParseValue(item, sLine);
}

void CRegTextReader::ParseKey(CRegTextItem& item, CRegView sLine) const
{
    item.m_eKind = CRegTextItem::eMalformed;
    const std::size_t nEnd = sLine.rfind(']');
    const bool bDelete = sLine.size() > 1 && sLine[1] == '-';
    const std::size_t nStart = bDelete ? 2 : 1;
    if (nEnd == sLine.npos || nEnd <= nStart || !IsEndOrComment(sLine.substr(nEnd + 1)))
        return;
    item.m_sName = sLine.substr(nStart, nEnd - nStart);
    item.m_eKind = bDelete ? CRegTextItem::eDeleteKey : CRegTextItem::eKey;
}

void CRegTextReader::ParseValue(CRegTextItem& item, CRegView sLine)
{
    item.m_eKind = CRegTextItem::eMalformed;
    if (sLine.front() == '@')
        sLine.remove_prefix(1);
    else if (sLine.front() != '"' || !TakeQuoted(sLine, item.m_sName))
        return;
    sLine = Trim(sLine);
    if (!TakeLiteral(sLine, "="))
        return;
    sLine = Trim(sLine);
    if (!sLine.empty() && sLine.front() == '-' && IsEndOrComment(sLine.substr(1)))
        item.m_eKind = CRegTextItem::eDeleteValue;
    else if (ParseData(item, sLine))
        item.m_eKind = CRegTextItem::eValue;
}

bool CRegTextReader::ParseData(CRegTextItem& item, CRegView sText)
{
    if (!sText.empty() && sText.front() == '"')
    {
        CRegString sValue;
        if (!TakeQuoted(sText, sValue) || !IsEndOrComment(sText))
            return false;
        item.m_dwType = REG_SZ;
        AppendUnits(item.m_data, sValue);
        item.m_data.insert(item.m_data.end(), 2, BYTE(0));
        return true;
    }
    if (TakeLiteral(sText, "dword:"))
    {
        DWORD dwValue;
        sText = Trim(sText);
        if (!TakeHex(sText, 8, dwValue) || !IsEndOrComment(sText))
            return false;
        item.m_dwType = REG_DWORD;
        for (int nShift = 0; nShift < 32; nShift += 8)
            item.m_data.push_back(static_cast<BYTE>(dwValue >> nShift));
        return true;
    }
    return TakeLiteral(sText, "hex") && ParseHex(item, sText);
}

bool CRegTextReader::ParseHex(CRegTextItem& item, CRegView sText)
{
    item.m_dwType = REG_BINARY;
    if (TakeLiteral(sText, "(") && !(TakeHex(sText, 8, item.m_dwType) && TakeLiteral(sText, ")")))
        return false;
    if (!TakeLiteral(sText, ":"))
        return false;
    bool bContinues = false;
    if (!ParseHexLine(sText, item.m_data, bContinues))
        return false;
    while (bContinues)
        if (!ParseContinuation(item, bContinues))
            return false;
    const bool bText =
        item.m_dwType == REG_SZ || item.m_dwType == REG_EXPAND_SZ || item.m_dwType == REG_MULTI_SZ;
    if (m_bNarrowData && bText)
    {
        const CRegString sWide =
            FromFile({reinterpret_cast<const char*>(item.m_data.data()), item.m_data.size()});
        item.m_data.clear();
        AppendUnits(item.m_data, sWide);
        // It is written back under the signature of the current version, which has 16-bit units.
        item.m_sText = FormatRegValue(item.m_sName, item.m_dwType, item.m_data);
    }
    return true;
}

/// Adds the next line to a list of bytes. A line that cannot belong to it stays for the next item.
bool CRegTextReader::ParseContinuation(CRegTextItem& item, bool& bContinues)
{
    const std::string_view sRest = m_sRest;
    const unsigned nLine = m_nLine;
    CRegString sLine;
    if (!ReadLine(sLine))
        return false;
    if (!ParseHexLine(sLine, item.m_data, bContinues))
    {
        m_sRest = sRest;
        m_nLine = nLine;
        return false;
    }
    item.m_sText.append(1, WCHAR('\n')).append(sLine);
    return true;
}

/// Reads `xx,xx,…` up to the end of the line, a comment, or a backslash that continues it on the next line. A
/// list that ends in a comma has been cut. \p bContinues: the line continues a list, and then whether the
/// next one does.
bool CRegTextReader::ParseHexLine(CRegView sText, CRegData& data, bool& bContinues) const
{
    bool bByteMissing = std::exchange(bContinues, false);
    for (sText = Trim(sText); !IsEndOrComment(sText); sText = Trim(sText))
    {
        if (sText.front() == '\\' && IsEndOrComment(sText.substr(1)))
        {
            bContinues = true;
            return true;
        }
        DWORD dwByte;
        if (!TakeHex(sText, 2, dwByte))
            return false;
        data.push_back(static_cast<BYTE>(dwByte));
        sText = Trim(sText);
        bByteMissing = !sText.empty() && sText.front() == ',';
        if (bByteMissing)
            sText.remove_prefix(1);
        else if (!IsEndOrComment(sText) && sText.front() != '\\')
            return false;
    }
    return !bByteMissing;
}

CRegString RegFromAnsi(std::string_view s)
{
    return FromPage(s, CP_ACP);
}

CRegString FormatRegValue(CRegView sName, DWORD dwType, const CRegData& data)
{
    CRegString s;
    if (sName.empty())
        s.push_back('@');
    else
        AppendQuoted(s, sName);
    s.push_back('=');
    if (dwType == REG_SZ && IsPlainText(data))
    {
        CRegString sText;
        for (std::size_t i = 0; i + 2 < data.size(); i += 2)
            sText.push_back(static_cast<WCHAR>(data[i] | data[i + 1] << 8));
        AppendQuoted(s, sText);
    }
    else if (dwType == REG_DWORD && data.size() == 4)
    {
        AppendAscii(s, "dword:");
        AppendHex(s, data[0] | data[1] << 8 | data[2] << 16 | static_cast<DWORD>(data[3]) << 24, 8);
    }
    else
        AppendHexList(s, dwType, data);
    return s;
}

CRegString RegTextSignature()
{
    return CRegString(g_sSignature5.begin(), g_sSignature5.end());
}

std::string EncodeRegText(CRegView sText, const CRegEncoding& encoding)
{
    std::string sBytes;
    sBytes.reserve(sText.size() * (encoding.m_bUtf16 ? 2 : 1) + 2);
    const auto put = [&](WCHAR c) {
        sBytes.push_back(static_cast<char>(encoding.m_bBigEndian ? HIBYTE(c) : LOBYTE(c)));
        sBytes.push_back(static_cast<char>(encoding.m_bBigEndian ? LOBYTE(c) : HIBYTE(c)));
    };
    if (encoding.m_bUtf16)
        put(0xFEFF);
    for (std::size_t i = 0; i < sText.size(); ++i)
    {
        const WCHAR c = sText[i];
        if (encoding.m_bUtf16)
        {
            if (c == '\n' && encoding.m_bCrLf)
                put('\r');
            put(c);
            continue;
        }
        if (c == '\n' && encoding.m_bCrLf)
            sBytes.push_back('\r');
        if (IsHighSurrogate(c) && i + 1 < sText.size() && IsLowSurrogate(sText[i + 1]))
            AppendUtf8(sBytes, 0x10000u + ((c & 0x3FFu) << 10) + (sText[++i] & 0x3FFu));
        else
            AppendUtf8(sBytes, c);
    }
    return sBytes;
}

} // namespace OrvPort
