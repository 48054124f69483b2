#include <windows.h>

#include "picture.h"
#include "text/nlslocale.h"
#include "time/calendar.h"
#include "time/localetexts.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

namespace
{

int Fail(DWORD dwError) noexcept
{
    SetLastError(dwError);
    return 0;
}

/// The last error of a locale without texts.
DWORD ErrorOf(const std::shared_ptr<const CLocaleTexts>& texts) noexcept
{
    return texts == nullptr ? ERROR_OUTOFMEMORY : texts->m_sName.empty() ? ERROR_INVALID_PARAMETER : 0;
}

/// Hands out a text with its terminator as these functions do: the size with \p cch 0, else what was written.
int Deliver(std::u16string_view sText, LPWSTR dest, int cch) noexcept
{
    const auto nSize = static_cast<int>(sText.size()) + 1;
    if (cch == 0)
        return nSize;
    if (cch < nSize)
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    *std::ranges::copy(sText, dest).out = 0;
    return nSize;
}

/// The same with a number in the place of a text.
int DeliverNumber(DWORD dwNumber, LPWSTR dest, int cch) noexcept
{
    constexpr int nSize = sizeof dwNumber / sizeof(WCHAR);
    if (cch != 0 && cch < nSize)
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    if (cch != 0)
        std::memcpy(dest, &dwNumber, sizeof dwNumber);
    return nSize;
}

/// A text that grows in place; what does not fit is left out and told.
class CPictureText
{
public:
    void Append(char16_t c)
    {
        if (m_nLength < std::size(m_text))
            m_text[m_nLength] = c;
        ++m_nLength;
    }
    void Append(std::u16string_view s)
    {
        for (const char16_t c : s)
            Append(c);
    }
    void AppendNumber(unsigned n, std::size_t nDigits)
    {
        char16_t digits[10];
        std::size_t nFirst = std::size(digits);
        for (; n > 0 || std::size(digits) - nFirst < std::min(nDigits, std::size(digits)); n /= 10)
            digits[--nFirst] = static_cast<char16_t>(u'0' + n % 10);
        Append({digits + nFirst, std::size(digits) - nFirst});
    }
    bool IsWhole() const { return m_nLength <= std::size(m_text); }
    std::u16string_view View() const { return {m_text, m_nLength}; }

private:
    char16_t m_text[512];
    std::size_t m_nLength = 0;
};

void AppendField(CPictureText& text, const CLocaleTexts& texts, const SYSTEMTIME& st, char16_t c,
                 std::size_t nCount)
{
    const unsigned nHour12 = st.wHour % 12 == 0 ? 12u : st.wHour % 12u;
    switch (c)
    {
    case u'y': text.AppendNumber(nCount < 3 ? st.wYear % 100u : st.wYear, nCount); break;
    case u'M':
        if (nCount < 3)
            text.AppendNumber(st.wMonth, nCount);
        else
            text.Append((nCount == 3 ? texts.m_shortMonths : texts.m_months)[st.wMonth - 1u]);
        break;
    case u'd':
        if (nCount < 3)
            text.AppendNumber(st.wDay, nCount);
        else
            text.Append((nCount == 3 ? texts.m_shortDays : texts.m_days)[st.wDayOfWeek]);
        break;
    case u'h': text.AppendNumber(nHour12, nCount); break;
    case u'H': text.AppendNumber(st.wHour, nCount); break;
    case u'm': text.AppendNumber(st.wMinute, nCount); break;
    case u's': text.AppendNumber(st.wSecond, nCount); break;
    case u't': text.Append(texts.m_halves[st.wHour >= 12]); break;
    }
}

/// Writes a picture's text, \p pst having the right day of week.
int Expand(const CLocaleTexts& texts, std::u16string_view sPicture, const SYSTEMTIME& st, LPWSTR dest,
           int cch) noexcept
{
    CPictureText text;
    WalkPicture(
        sPicture, [&](char16_t c, std::size_t nCount) { AppendField(text, texts, st, c, nCount); },
        [&](char16_t c) { text.Append(c); });
    return text.IsWhole() ? Deliver(text.View(), dest, cch) : Fail(ERROR_INSUFFICIENT_BUFFER);
}

} // namespace

int GetLocaleInfoEx(LPCWSTR lpLocaleName, LCTYPE LCType, LPWSTR lpLCData, int cchData) noexcept
{
    if (LCType == (LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER) && lpLocaleName == nullptr)
        return DeliverNumber(WindowsCodePageOfEnvironment(), lpLCData, cchData);
    const auto texts = LocaleTextsOf(lpLocaleName);
    if (const DWORD dwError = ErrorOf(texts))
        return Fail(dwError);
    const auto deliver = [=](std::u16string_view sText) { return Deliver(sText, lpLCData, cchData); };
    const LCTYPE type = LCType & ~LOCALE_RETURN_GENITIVE_NAMES;
    const bool bBesideDay = LCType != type;
    switch (type)
    {
    case LOCALE_SNAME: return deliver(texts->m_sName);
    case LOCALE_SSHORTDATE: return deliver(texts->m_sShortDate);
    case LOCALE_SLONGDATE: return deliver(texts->m_sLongDate);
    case LOCALE_STIMEFORMAT: return deliver(texts->m_sTime);
    case LOCALE_SSHORTTIME: return deliver(texts->m_sShortTime);
    case LOCALE_S1159: return deliver(texts->m_halves[0]);
    case LOCALE_S2359: return deliver(texts->m_halves[1]);
    }
    // Of the names of days Monday comes first.
    if (type - LOCALE_SMONTHNAME1 < 12)
        return deliver((bBesideDay ? texts->m_months : texts->m_monthsAlone)[type - LOCALE_SMONTHNAME1]);
    if (type - LOCALE_SABBREVMONTHNAME1 < 12)
        return deliver(
            (bBesideDay ? texts->m_shortMonths : texts->m_shortMonthsAlone)[type - LOCALE_SABBREVMONTHNAME1]);
    if (type - LOCALE_SDAYNAME1 < 7)
        return deliver(texts->m_days[(type - LOCALE_SDAYNAME1 + 1) % 7]);
    if (type - LOCALE_SABBREVDAYNAME1 < 7)
        return deliver(texts->m_shortDays[(type - LOCALE_SABBREVDAYNAME1 + 1) % 7]);
    return Fail(ERROR_INVALID_FLAGS);
}

int GetDateFormatEx(LPCWSTR lpLocaleName, DWORD dwFlags, const SYSTEMTIME* lpDate, LPCWSTR lpFormat,
                    LPWSTR lpDateStr, int cchDate, std::nullptr_t) noexcept
{
    const auto texts = LocaleTextsOf(lpLocaleName);
    if (const DWORD dwError = ErrorOf(texts))
        return Fail(dwError);
    SYSTEMTIME st = *lpDate;
    st.wHour = st.wMinute = st.wSecond = st.wMilliseconds = 0;
    if (!IsSystemTime(st))
        return Fail(ERROR_INVALID_PARAMETER);
    ToSystemTime(FromSystemTime(st), st); // the right day of week
    const std::u16string_view sPicture = lpFormat != nullptr        ? std::u16string_view(lpFormat)
                                         : dwFlags == DATE_LONGDATE ? texts->m_sLongDate
                                                                    : texts->m_sShortDate;
    return Expand(*texts, sPicture, st, lpDateStr, cchDate);
}

int GetTimeFormatEx(LPCWSTR lpLocaleName, DWORD dwFlags, const SYSTEMTIME* lpTime, std::nullptr_t,
                    LPWSTR lpTimeStr, int cchTime) noexcept
{
    const auto texts = LocaleTextsOf(lpLocaleName);
    if (const DWORD dwError = ErrorOf(texts))
        return Fail(dwError);
    if (!IsSystemTime(*lpTime))
        return Fail(ERROR_INVALID_PARAMETER);
    return Expand(*texts, dwFlags == TIME_NOSECONDS ? texts->m_sShortTime : texts->m_sTime, *lpTime,
                  lpTimeStr, cchTime);
}
