#include "registry/registrytext.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace OrvPort
{
namespace
{

constexpr std::string_view kSignature5 = "Windows Registry Editor Version 5.00";
constexpr std::string_view kSignature4 = "REGEDIT4";
constexpr std::size_t kWrapColumn = 78;

bool IsBlank(WCHAR c)
{
    return c == ' ' || c == '\t';
}

CRegView TrimLeft(CRegView s)
{
    while (!s.empty() && IsBlank(s.front()))
        s.remove_prefix(1);
    return s;
}

CRegView Trim(CRegView s)
{
    s = TrimLeft(s);
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
    if (s.empty())
        return sWide;
    const int n = MultiByteToWideChar(nCodePage, 0, s.data(), static_cast<int>(s.size()), sWide.data(),
                                      static_cast<int>(sWide.size()));
    if (n == 0) // a page whose tables found no memory: the text is not to be taken for an empty one
        throw std::bad_alloc();
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

CRegString UnitsOf(const CRegData& data)
{
    CRegString s(data.size() / 2, WCHAR(0));
    for (std::size_t i = 0; i < s.size(); ++i)
        s[i] = static_cast<WCHAR>(data[2 * i] | data[2 * i + 1] << 8);
    return s;
}

/// True for text that editors leave alone between quotes: ended by its only NUL, no control characters but
/// tabs and line ends.
bool IsPlainText(CRegView s)
{
    if (s.empty() || s.find(WCHAR(0)) != s.size() - 1)
        return false;
    for (std::size_t i = 0; i + 1 < s.size(); ++i)
        if (s[i] < 0x20 && s[i] != '\t' && s[i] != '\n' && (s[i] != '\r' || s[i + 1] != '\n'))
            return false;
    return true;
}

void AppendQuoted(CRegString& s, CRegView sText)
{
    s.push_back('"');
    for (WCHAR c : sText)
    {
        if (c == '\\' || c == '"')
            s.push_back('\\');
        s.push_back(c);
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

void AppendHexList(CRegString& s, DWORD dwType, const CRegData& data, CRegView sLineEnd)
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
        if (nColumn >= kWrapColumn)
        {
            s.append(1, WCHAR('\\')).append(sLineEnd).append(2, WCHAR(' '));
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

/// Reads one line and adds it to the item's text; false when none is left.
bool CRegTextReader::ReadLine(CRegTextItem& item)
{
    if (m_sRest.empty())
        return false;
    if (m_encoding.m_bUtf16)
    {
        m_sLine.clear();
        WCHAR c = 0;
        while (m_sRest.size() >= 2 && c != '\n')
        {
            const auto nFirst = static_cast<BYTE>(m_sRest[0]);
            const auto nSecond = static_cast<BYTE>(m_sRest[1]);
            c = static_cast<WCHAR>(m_encoding.m_bBigEndian ? nFirst << 8 | nSecond : nSecond << 8 | nFirst);
            m_sRest.remove_prefix(2);
            m_sLine.push_back(c);
        }
        if (m_sRest.size() == 1)
            m_sRest = {};
    }
    else
    {
        const std::size_t nLength = std::min(m_sRest.find('\n'), m_sRest.size() - 1) + 1;
        m_sLine = FromFile(m_sRest.substr(0, nLength));
        m_sRest.remove_prefix(nLength);
    }
    item.m_sText.append(m_sLine);
    std::size_t nEnd = m_sLine.ends_with(WCHAR('\n')) ? 1 : 0;
    if (nEnd == 1 && CRegView(m_sLine).substr(0, m_sLine.size() - 1).ends_with(WCHAR('\r')))
        nEnd = 2;
    m_sLineEnd = m_sLine.substr(m_sLine.size() - nEnd);
    m_sLine.erase(m_sLine.size() - nEnd);
    m_sCursor = m_sLine;
    if (++m_nLine == 1)
        m_encoding.m_bCrLf = nEnd == 2;
    return true;
}

bool CRegTextReader::Next(CRegTextItem& item)
{
    item = {};
    if (!ReadLine(item))
        return false;
    item.m_nLine = m_nLine;
    Classify(item);
    return true;
}

bool CRegTextReader::IsAtEnd() const
{
    return IsEndOrComment(m_sCursor);
}

void CRegTextReader::Classify(CRegTextItem& item)
{
    m_sCursor = TrimLeft(m_sCursor); // blanks at the end may be those of a text that goes on
    const CRegView sLine = Trim(m_sCursor);
    if (IsAtEnd())
        item.m_eKind = CRegTextItem::eOther;
    else if (IsAscii(sLine, kSignature5) || IsAscii(sLine, kSignature4))
    {
        item.m_eKind = CRegTextItem::eSignature;
        m_bNarrowData = IsAscii(sLine, kSignature4);
    }
    else if (m_sCursor.front() == '[')
        ParseKey(item);
    else
        ParseValue(item);
}

/// The name ends at the first bracket behind which nothing or a comment stands.
void CRegTextReader::ParseKey(CRegTextItem& item) const
{
    item.m_eKind = CRegTextItem::eKey;
    const bool bDelete = m_sCursor.size() > 1 && m_sCursor[1] == '-';
    const std::size_t nStart = bDelete ? 2 : 1;
    std::size_t nEnd = m_sCursor.find(WCHAR(']'), nStart);
    while (nEnd != m_sCursor.npos && !IsEndOrComment(m_sCursor.substr(nEnd + 1)))
        nEnd = m_sCursor.find(WCHAR(']'), nEnd + 1);
    if (nEnd == m_sCursor.npos || nEnd == nStart)
    {
        item.m_sFault = "a key that is not whole";
        return;
    }
    item.m_sName = m_sCursor.substr(nStart, nEnd - nStart);
    item.m_eKind = bDelete ? CRegTextItem::eDeleteKey : CRegTextItem::eKey;
}

/// Texts may go on over several lines. When they end in nonsense, a quote was forgotten: then only the first
/// line is faulty, and the others are read anew.
void CRegTextReader::ParseValue(CRegTextItem& item)
{
    const std::string_view sRest = m_sRest;
    const unsigned nLine = m_nLine;
    const std::size_t nLength = item.m_sText.size();
    item.m_eKind = CRegTextItem::eValue;
    if (ParseNameAndData(item))
        return;
    if (item.m_sFault == nullptr)
        item.m_sFault = "not understood";
    if (item.m_nTextLines != 0)
    {
        m_sRest = sRest;
        m_nLine = nLine;
        item.m_sText.resize(nLength);
    }
}

bool CRegTextReader::ParseNameAndData(CRegTextItem& item)
{
    if (m_sCursor.front() == '@')
        m_sCursor.remove_prefix(1);
    else if (m_sCursor.front() != '"' || !ParseQuoted(item, item.m_sName))
        return false;
    m_sCursor = TrimLeft(m_sCursor);
    if (!TakeLiteral(m_sCursor, "="))
        return false;
    m_sCursor = TrimLeft(m_sCursor);
    if (!m_sCursor.starts_with(WCHAR('-')) || !IsEndOrComment(m_sCursor.substr(1)))
        return ParseData(item);
    item.m_eKind = CRegTextItem::eDeleteValue;
    return true;
}

bool CRegTextReader::ParseData(CRegTextItem& item)
{
    if (m_sCursor.starts_with(WCHAR('"')))
    {
        CRegString sValue;
        if (!ParseQuoted(item, sValue) || !IsAtEnd())
            return false;
        item.m_dwType = REG_SZ;
        AppendUnits(item.m_data, sValue);
        item.m_data.insert(item.m_data.end(), 2, BYTE(0));
        return true;
    }
    if (TakeLiteral(m_sCursor, "dword:"))
    {
        DWORD dwValue;
        m_sCursor = Trim(m_sCursor);
        if (!TakeHex(m_sCursor, 8, dwValue) || !IsAtEnd())
            return false;
        item.m_dwType = REG_DWORD;
        for (int nShift = 0; nShift < 32; nShift += 8)
            item.m_data.push_back(static_cast<BYTE>(dwValue >> nShift));
        return true;
    }
    return TakeLiteral(m_sCursor, "hex") && ParseHex(item);
}

/// Takes a quoted text; false when its end is missing. A backslash protects a quote or another backslash, and
/// before anything else it stands for itself, as people write paths. Where both occur in one text, nobody can
/// tell what a double one means.
bool CRegTextReader::ParseQuoted(CRegTextItem& item, CRegString& sText)
{
    bool bSingle = false;
    bool bDouble = false;
    for (m_sCursor.remove_prefix(1);;)
    {
        while (m_sCursor.empty())
        {
            sText.append(m_sLineEnd);
            if (!ReadLine(item))
                return false;
            ++item.m_nTextLines;
        }
        const WCHAR c = m_sCursor.front();
        const WCHAR cNext = m_sCursor.size() > 1 ? m_sCursor[1] : WCHAR(0);
        const bool bProtects = c == '\\' && (cNext == '\\' || cNext == '"');
        m_sCursor.remove_prefix(bProtects ? 2 : 1);
        if (c == '"')
            break;
        bSingle |= c == '\\' && !bProtects;
        bDouble |= bProtects && cNext == '\\';
        sText.push_back(bProtects ? cNext : c);
    }
    if (bSingle && bDouble)
        item.m_sFault = "single and double backslashes in one text";
    return !bSingle || !bDouble;
}

bool CRegTextReader::ParseHex(CRegTextItem& item)
{
    item.m_dwType = REG_BINARY;
    if (TakeLiteral(m_sCursor, "(") && !(TakeHex(m_sCursor, 8, item.m_dwType) && TakeLiteral(m_sCursor, ")")))
        return false;
    if (!TakeLiteral(m_sCursor, ":"))
        return false;
    bool bContinues = false;
    if (!ParseHexLine(item.m_data, bContinues))
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
        item.m_sText = FormatRegValue(item.m_sName, item.m_dwType, item.m_data, m_encoding);
    }
    return true;
}

/// Adds the next line to a list of bytes. A line that cannot belong to it stays for the next item.
bool CRegTextReader::ParseContinuation(CRegTextItem& item, bool& bContinues)
{
    const std::string_view sRest = m_sRest;
    const unsigned nLine = m_nLine;
    const std::size_t nLength = item.m_sText.size();
    if (!ReadLine(item))
        return false;
    if (ParseHexLine(item.m_data, bContinues))
        return true;
    m_sRest = sRest;
    m_nLine = nLine;
    item.m_sText.resize(nLength);
    return false;
}

/// Reads `xx,xx,…` up to the end of the line, a comment, or a backslash that continues it on the next line. A
/// list that ends in a comma has been cut. \p bContinues: the line continues a list, and then whether the
/// next one does.
bool CRegTextReader::ParseHexLine(CRegData& data, bool& bContinues)
{
    CRegView& sText = m_sCursor;
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

bool IsRegKeyName(CRegView sName)
{
    for (std::size_t n = sName.find(WCHAR(']')); n != sName.npos; n = sName.find(WCHAR(']'), n + 1))
        if (Trim(sName.substr(n + 1)).starts_with(WCHAR(';')))
            return false;
    return sName.find(WCHAR('\r')) == sName.npos && sName.find(WCHAR('\n')) == sName.npos;
}

CRegString RegFromAnsi(std::string_view s)
{
    return FromPage(s, CP_ACP);
}

CRegString FormatRegValue(CRegView sName, DWORD dwType, const CRegData& data, const CRegEncoding& encoding)
{
    CRegString s;
    if (sName.empty())
        s.push_back('@');
    else
        AppendQuoted(s, sName);
    s.push_back('=');
    const CRegString sText = dwType == REG_SZ && data.size() % 2 == 0 ? UnitsOf(data) : CRegString();
    if (IsPlainText(sText))
        AppendQuoted(s, CRegView(sText).substr(0, sText.size() - 1));
    else if (dwType == REG_DWORD && data.size() == 4)
    {
        AppendAscii(s, "dword:");
        AppendHex(s, data[0] | data[1] << 8 | data[2] << 16 | static_cast<DWORD>(data[3]) << 24, 8);
    }
    else
        AppendHexList(s, dwType, data, encoding.LineEnd());
    return s.append(encoding.LineEnd());
}

CRegString RegTextSignature()
{
    return CRegString(kSignature5.begin(), kSignature5.end());
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
            put(c);
        else if (c < 0x80)
            sBytes.push_back(static_cast<char>(c));
        else if (IsHighSurrogate(c) && i + 1 < sText.size() && IsLowSurrogate(sText[i + 1]))
            AppendUtf8(sBytes, 0x10000u + ((c & 0x3FFu) << 10) + (sText[++i] & 0x3FFu));
        else
            AppendUtf8(sBytes, c);
    }
    return sBytes;
}

} // namespace OrvPort
