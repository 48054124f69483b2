// Message texts. The inserts are formatted here and not by the C library, whose wide texts have 32-bit
// characters.
#include <windows.h>

#include "messages/systemtext.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

namespace
{

using View = std::u16string_view;

/// What "!…!" behind an insert says; without it an insert is a text.
struct CInsertFormat
{
    bool m_bLeft = false;
    bool m_bZero = false;
    bool m_bPlus = false;
    bool m_bBlank = false;
    bool m_bAlternate = false;
    int m_nWidth = 0;
    int m_nPrecision = -1;
    char16_t m_cSize = 0; ///< 'h', 'l', 'q' for 64 bits; 0: none
    char16_t m_cType = u's';
};

/// Expands one format; stops at the first error.
class CExpansion
{
public:
    CExpansion(View format, const DWORD_PTR* pArguments) : m_rest(format), m_pArguments(pArguments) {}

    /// ERROR_SUCCESS, or why the format is none.
    DWORD Run();

    std::u16string m_sText;

private:
    char16_t Next()
    {
        const char16_t c = m_rest.front();
        m_rest.remove_prefix(1);
        return c;
    }
    bool TakeIf(char16_t c)
    {
        const bool bTaken = m_rest.starts_with(c);
        m_rest.remove_prefix(bTaken ? 1 : 0);
        return bTaken;
    }
    bool StartsWithDigit() const
    {
        return !m_rest.empty() && m_rest.front() >= u'0' && m_rest.front() <= u'9';
    }

    bool ExpandEscape();
    bool ExpandInsert(char16_t cFirstDigit);
    bool ParseInsertFormat(View field, CInsertFormat& format, unsigned& nArgument) const;
    void AppendInsert(const CInsertFormat& format, DWORD_PTR nValue);
    void AppendNumber(const CInsertFormat& format, DWORD_PTR nValue);
    void AppendPadded(const CInsertFormat& format, View text, View prefix = {});

    View m_rest;
    const DWORD_PTR* m_pArguments; ///< null: inserts stay as they are
    bool m_bEnded = false;
};

DWORD CExpansion::Run()
{
    while (!m_rest.empty() && !m_bEnded)
    {
        const char16_t c = Next();
        if (c == u'%')
        {
            if (!ExpandEscape())
                return ERROR_INVALID_PARAMETER;
        }
        else if (c == u'\r' || c == u'\n')
        {
            if (c == u'\r')
                TakeIf(u'\n');
            m_sText += u"\r\n";
        }
        else
            m_sText += c;
    }
    return ERROR_SUCCESS;
}

bool CExpansion::ExpandEscape()
{
    if (m_rest.empty())
        return false;
    const char16_t c = Next();
    switch (c)
    {
    case u'0': m_bEnded = true; return true;
    case u'n': m_sText += u"\r\n"; return true;
    case u'r': m_sText += u'\r'; return true;
    case u't': m_sText += u'\t'; return true;
    default: break;
    }
    if (c > u'0' && c <= u'9')
        return ExpandInsert(c);
    if (m_pArguments == nullptr)
        m_sText += u'%';
    m_sText += c;
    return true;
}

bool CExpansion::ExpandInsert(char16_t cFirstDigit)
{
    if (m_pArguments == nullptr)
    {
        m_sText += u'%';
        m_sText += cFirstDigit;
        return true;
    }
    auto nArgument = static_cast<unsigned>(cFirstDigit - u'1');
    if (StartsWithDigit())
        nArgument = (nArgument + 1) * 10 + static_cast<unsigned>(Next() - u'0') - 1;
    CInsertFormat format;
    if (TakeIf(u'!'))
    {
        const auto nEnd = m_rest.find(u'!');
        if (nEnd == m_rest.npos || !ParseInsertFormat(m_rest.substr(0, nEnd), format, nArgument))
            return false;
        m_rest.remove_prefix(nEnd + 1);
    }
    AppendInsert(format, m_pArguments[nArgument]);
    return true;
}

void SetFlag(CInsertFormat& format, char16_t c)
{
    switch (c)
    {
    case u'-': format.m_bLeft = true; break;
    case u'0': format.m_bZero = true; break;
    case u'+': format.m_bPlus = true; break;
    case u' ': format.m_bBlank = true; break;
    default: format.m_bAlternate = true; break;
    }
}

/// A star takes its number from the array, in front of the insert itself.
bool CExpansion::ParseInsertFormat(View field, CInsertFormat& format, unsigned& nArgument) const
{
    const auto starts = [&field](View text) {
        const bool bStarts = field.starts_with(text);
        field.remove_prefix(bStarts ? text.size() : 0);
        return bStarts;
    };
    constexpr int nMost = 10000;
    const auto number = [&] {
        if (starts(u"*"))
            return std::clamp(static_cast<int>(m_pArguments[nArgument++]), -nMost, nMost);
        int n = 0;
        for (; !field.empty() && field.front() >= u'0' && field.front() <= u'9'; field.remove_prefix(1))
            n = std::min(n * 10 + (field.front() - u'0'), nMost);
        return n;
    };
    for (; !field.empty() && View(u"-0+ #").find(field.front()) != View::npos; field.remove_prefix(1))
        SetFlag(format, field.front());
    format.m_nWidth = number();
    if (starts(u"."))
        format.m_nPrecision = number();
    if (starts(u"I64") || starts(u"ll"))
        format.m_cSize = u'q';
    else if (starts(u"h"))
        format.m_cSize = u'h';
    else if (starts(u"l") || starts(u"w"))
        format.m_cSize = u'l';
    else
        starts(u"I32");
    if (field.size() != 1)
        return false;
    format.m_cType = field.front();
    return true;
}

std::u16string FromNarrow(const char* sText)
{
    const int nLength = MultiByteToWideChar(CP_ACP, 0, sText, -1, nullptr, 0);
    std::u16string sWide(static_cast<std::size_t>(std::max(nLength, 1)), u'\0');
    MultiByteToWideChar(CP_ACP, 0, sText, -1, sWide.data(), nLength);
    sWide.pop_back();
    return sWide;
}

std::u16string TextOf(DWORD_PTR nValue, bool bNarrow)
{
    if (nValue == 0)
        return u"(null)";
    return bNarrow ? FromNarrow(reinterpret_cast<const char*>(nValue))
                   : reinterpret_cast<const char16_t*>(nValue);
}

void CExpansion::AppendInsert(const CInsertFormat& format, DWORD_PTR nValue)
{
    const bool bNarrow = format.m_cSize == u'h' ||
                         (format.m_cSize != u'l' && (format.m_cType == u'S' || format.m_cType == u'C'));
    switch (format.m_cType)
    {
    case u's':
    case u'S':
    {
        const std::u16string sText = TextOf(nValue, bNarrow);
        const auto nLength =
            format.m_nPrecision < 0 ? sText.npos : static_cast<std::size_t>(format.m_nPrecision);
        return AppendPadded(format, View(sText).substr(0, nLength));
    }
    case u'c':
    case u'C':
    {
        const char sNarrow[] = {static_cast<char>(nValue), 0};
        return AppendPadded(format,
                            bNarrow ? FromNarrow(sNarrow) : std::u16string(1, static_cast<char16_t>(nValue)));
    }
    default: return AppendNumber(format, nValue);
    }
}

/// At least \p nLeast digits; none at all of 0 where that is 0.
std::u16string Digits(ULONGLONG n, unsigned nBase, bool bUpper, int nLeast)
{
    std::u16string sDigits;
    for (; n != 0; n /= nBase)
        sDigits += static_cast<char16_t>((bUpper ? "0123456789ABCDEF" : "0123456789abcdef")[n % nBase]);
    sDigits.append(static_cast<std::size_t>(std::max(nLeast - static_cast<int>(sDigits.size()), 0)), u'0');
    std::reverse(sDigits.begin(), sDigits.end());
    return sDigits;
}

void CExpansion::AppendNumber(const CInsertFormat& format, DWORD_PTR nValue)
{
    const bool bSigned = format.m_cType == u'd' || format.m_cType == u'i';
    LONGLONG nSigned = static_cast<LONGLONG>(nValue);
    if (format.m_cSize == u'h')
        nSigned = bSigned ? static_cast<SHORT>(nValue) : static_cast<WORD>(nValue);
    else if (format.m_cSize != u'q' && format.m_cType != u'p')
        nSigned = bSigned ? static_cast<LONGLONG>(static_cast<LONG>(nValue)) : static_cast<DWORD>(nValue);
    const bool bNegative = bSigned && nSigned < 0;
    const ULONGLONG nAbsolute =
        bNegative ? 0 - static_cast<ULONGLONG>(nSigned) : static_cast<ULONGLONG>(nSigned);

    const bool bHex = format.m_cType == u'x' || format.m_cType == u'X' || format.m_cType == u'p';
    const unsigned nBase = bHex ? 16 : format.m_cType == u'o' ? 8 : 10;
    const int nLeast = format.m_cType == u'p' ? 16 : format.m_nPrecision < 0 ? 1 : format.m_nPrecision;
    std::u16string sDigits = Digits(nAbsolute, nBase, format.m_cType != u'x', nLeast);
    if (format.m_bAlternate && nBase == 8 && !sDigits.starts_with(u'0'))
        sDigits.insert(0, 1, u'0');

    View prefix = bNegative                    ? u"-"
                  : bSigned && format.m_bPlus  ? u"+"
                  : bSigned && format.m_bBlank ? u" "
                                               : u"";
    if (format.m_bAlternate && bHex && nAbsolute != 0)
        prefix = format.m_cType == u'x' ? u"0x" : u"0X";
    CInsertFormat padding = format;
    padding.m_bZero = format.m_bZero && format.m_nPrecision < 0; // digits that are asked for stand alone
    AppendPadded(padding, sDigits, prefix);
}

/// Blanks stand before the prefix, zeros behind it.
void CExpansion::AppendPadded(const CInsertFormat& format, View text, View prefix)
{
    const int nMissing = std::abs(format.m_nWidth) - static_cast<int>(prefix.size() + text.size());
    const auto nFill = static_cast<std::size_t>(std::max(nMissing, 0));
    const bool bLeft = format.m_bLeft || format.m_nWidth < 0;
    const bool bZero = format.m_bZero && !bLeft;
    m_sText.append(bLeft || bZero ? 0 : nFill, u' ');
    m_sText += prefix;
    m_sText.append(bZero ? nFill : 0, u'0');
    m_sText += text;
    m_sText.append(bLeft ? nFill : 0, u' ');
}

/// Hands the text to the caller's buffer, or to one that is made for it.
DWORD Deliver(const std::u16string& sText, DWORD dwFlags, LPWSTR lpBuffer, DWORD nSize)
{
    if (sText.empty())
        return SetLastError(ERROR_NO_WORK_DONE), 0;
    auto nLength = static_cast<DWORD>(sText.size());
    if (dwFlags & FORMAT_MESSAGE_ALLOCATE_BUFFER)
    {
        auto* pText = static_cast<LPWSTR>(LocalAlloc(0, std::max(nSize, nLength + 1) * sizeof(WCHAR)));
        *reinterpret_cast<LPWSTR*>(lpBuffer) = pText;
        lpBuffer = pText;
        nSize = pText != nullptr ? nLength + 1 : 0;
    }
    if (nLength >= nSize)
        return SetLastError(lpBuffer != nullptr ? ERROR_INSUFFICIENT_BUFFER : ERROR_NOT_ENOUGH_MEMORY), 0;
    *std::copy(sText.begin(), sText.end(), lpBuffer) = 0;
    return nLength;
}

DWORD Format(DWORD dwFlags, View source, LPWSTR lpBuffer, DWORD nSize, va_list* pArguments)
{
    const bool bInserts = !(dwFlags & FORMAT_MESSAGE_IGNORE_INSERTS);
    CExpansion expansion(source, bInserts ? reinterpret_cast<const DWORD_PTR*>(pArguments) : nullptr);
    if (const DWORD dwError = expansion.Run(); dwError != ERROR_SUCCESS)
        return SetLastError(dwError), 0;
    return Deliver(expansion.m_sText, dwFlags, lpBuffer, nSize);
}

} // namespace

DWORD FormatMessageW(DWORD dwFlags, LPCVOID lpSource, DWORD dwMessageId, DWORD, LPWSTR lpBuffer, DWORD nSize,
                     va_list* Arguments) noexcept
{
    try
    {
        if (dwFlags & FORMAT_MESSAGE_FROM_SYSTEM)
        {
            const char16_t* sText = PortSystemText(dwMessageId);
            if (sText == nullptr)
                return SetLastError(ERROR_MR_MID_NOT_FOUND), 0;
            return Format(dwFlags, std::u16string(sText) + u"\r\n", lpBuffer, nSize, Arguments);
        }
        if (lpSource == nullptr)
            return 0;
        return Format(dwFlags, static_cast<LPCWSTR>(lpSource), lpBuffer, nSize, Arguments);
    }
    catch (const std::bad_alloc&)
    {
        return SetLastError(ERROR_NOT_ENOUGH_MEMORY), 0;
    }
}
