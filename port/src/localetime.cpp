#include "orvport/localetime.h"

#include "calendar.h"
#include "nlslocale.h"

#include <unicode/localpointer.h>
#include <unicode/udat.h>
#include <unicode/uloc.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace
{

using icu::LocalUDateFormatPointer;

int Fail(DWORD dwError) noexcept
{
    SetLastError(dwError);
    return 0;
}

/// The ICU name of a locale such as "hu-HU", null being the environment's, with the calendar that SYSTEMTIME
/// counts in.
std::string LocaleOf(LPCWSTR lpLocaleName)
{
    char sName[ULOC_FULLNAME_CAPACITY] = "";
    UErrorCode status = U_ZERO_ERROR;
    if (lpLocaleName == nullptr)
        return std::string(EnvironmentLocale("LC_TIME", sName, sizeof sName)) + "@calendar=gregorian";
    const std::u16string_view sWide(lpLocaleName);
    const std::string sTag(sWide.begin(), sWide.end());
    uloc_forLanguageTag(sTag.c_str(), sName, sizeof sName, nullptr, &status);
    return std::string(sName) + "@calendar=gregorian";
}

LocalUDateFormatPointer OpenFormat(const std::string& sLocale, UDateFormatStyle timeStyle,
                                   UDateFormatStyle dateStyle)
{
    UErrorCode status = U_ZERO_ERROR;
    return LocalUDateFormatPointer(
        udat_open(timeStyle, dateStyle, sLocale.c_str(), nullptr, 0, nullptr, 0, &status));
}

LocalUDateFormatPointer OpenDate(const std::string& sLocale, bool bLong)
{
    return OpenFormat(sLocale, UDAT_NONE, bLong ? UDAT_LONG : UDAT_SHORT);
}

LocalUDateFormatPointer OpenTime(const std::string& sLocale, bool bSeconds)
{
    return OpenFormat(sLocale, bSeconds ? UDAT_MEDIUM : UDAT_SHORT, UDAT_NONE);
}

std::u16string PatternOf(const UDateFormat* pFormat)
{
    UErrorCode status = U_ZERO_ERROR;
    char16_t sPattern[256];
    const int nLength =
        udat_toPattern(pFormat, false, sPattern, static_cast<int>(std::size(sPattern)), &status);
    return U_SUCCESS(status) ? std::u16string(sPattern, static_cast<std::size_t>(nLength)) : std::u16string();
}

std::u16string SymbolOf(const UDateFormat* pFormat, UDateFormatSymbolType type, int iIndex)
{
    UErrorCode status = U_ZERO_ERROR;
    char16_t sText[128];
    const int nLength =
        udat_getSymbols(pFormat, type, iIndex, sText, static_cast<int>(std::size(sText)), &status);
    return U_SUCCESS(status) ? std::u16string(sText, static_cast<std::size_t>(nLength)) : std::u16string();
}

/// A field of an ICU pattern as Windows writes it: years with four digits, weekdays as d, day periods as t.
std::u16string FieldPicture(char16_t c, std::size_t nCount)
{
    switch (c)
    {
    case u'y':
    case u'u': return u"yyyy";
    case u'M':
    case u'L': return std::u16string(std::min<std::size_t>(nCount, 4), u'M');
    case u'E':
    case u'c': return std::u16string(nCount < 4 ? 3 : 4, u'd');
    case u'a':
    case u'b':
    case u'B': return u"tt";
    case u'K': return std::u16string(nCount, u'h');
    case u'k': return std::u16string(nCount, u'H');
    case u'd':
    case u'h':
    case u'H':
    case u'm':
    case u's': return std::u16string(nCount, c);
    default: return {}; // eras and the like
    }
}

bool IsLetter(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

/// Goes through a pattern or picture: runs of one letter are fields, everything else and what stands in
/// quotes is text. The quotes are handed on as text.
template <class OnField, class OnText>
void Walk(std::u16string_view sPicture, OnField onField, OnText onText)
{
    bool bQuoted = false;
    for (std::size_t i = 0; i < sPicture.size();)
    {
        const char16_t c = sPicture[i];
        const std::size_t nCount = std::min(sPicture.find_first_not_of(c, i), sPicture.size()) - i;
        if (!bQuoted && IsLetter(c))
        {
            onField(c, nCount);
            i += nCount;
            continue;
        }
        bQuoted ^= c == u'\'';
        onText(c);
        ++i;
    }
}

/// The picture of an ICU pattern. Blanks that do not break become ordinary ones.
std::u16string PictureOf(std::u16string_view sPattern)
{
    std::u16string sPicture;
    Walk(
        sPattern, [&](char16_t c, std::size_t nCount) { sPicture += FieldPicture(c, nCount); },
        [&](char16_t c) { sPicture += c == 0x00A0 || c == 0x202F ? u' ' : c; });
    return sPicture;
}

void AppendNumber(std::u16string& sText, unsigned n, std::size_t nDigits)
{
    std::u16string sDigits;
    for (; n > 0 || sDigits.size() < nDigits; n /= 10)
        sDigits.insert(sDigits.begin(), static_cast<char16_t>(u'0' + n % 10));
    sText += sDigits;
}

void AppendField(std::u16string& sText, const UDateFormat* pNames, const SYSTEMTIME& st, char16_t c,
                 std::size_t nCount)
{
    const unsigned nHour12 = st.wHour % 12 == 0 ? 12u : st.wHour % 12u;
    switch (c)
    {
    case u'y': AppendNumber(sText, st.wYear, nCount); break;
    case u'M':
        if (nCount < 3)
            AppendNumber(sText, st.wMonth, nCount);
        else
            sText += SymbolOf(pNames, nCount == 3 ? UDAT_SHORT_MONTHS : UDAT_MONTHS, st.wMonth - 1);
        break;
    case u'd':
        if (nCount < 3)
            AppendNumber(sText, st.wDay, nCount);
        else
            sText += SymbolOf(pNames, nCount == 3 ? UDAT_SHORT_WEEKDAYS : UDAT_WEEKDAYS, st.wDayOfWeek + 1);
        break;
    case u'h': AppendNumber(sText, nHour12, nCount); break;
    case u'H': AppendNumber(sText, st.wHour, nCount); break;
    case u'm': AppendNumber(sText, st.wMinute, nCount); break;
    case u's': AppendNumber(sText, st.wSecond, nCount); break;
    case u't': sText += SymbolOf(pNames, UDAT_AM_PMS, st.wHour / 12); break;
    }
}

std::u16string Expand(const UDateFormat* pFormat, const SYSTEMTIME& st)
{
    std::u16string sText;
    Walk(
        PictureOf(PatternOf(pFormat)),
        [&](char16_t c, std::size_t nCount) { AppendField(sText, pFormat, st, c, nCount); },
        [&](char16_t c) {
            if (c != u'\'')
                sText += c;
        });
    return sText;
}

/// Hands out a text with its terminator as these functions do: the size with \p cch 0, else what was written.
int Deliver(const std::u16string& sText, LPWSTR dest, int cch) noexcept
{
    const auto nSize = static_cast<int>(sText.size()) + 1;
    if (cch == 0)
        return nSize;
    if (cch < nSize)
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    std::copy_n(sText.c_str(), nSize, dest);
    return nSize;
}

int FormatTo(const LocalUDateFormatPointer& format, const SYSTEMTIME* pst, LPWSTR dest, int cch)
{
    if (format.isNull() || pst == nullptr || !IsSystemTime(*pst))
        return Fail(ERROR_INVALID_PARAMETER);
    SYSTEMTIME st;
    ToSystemTime(FromSystemTime(*pst), st); // the right day of week
    return Deliver(Expand(format.getAlias(), st), dest, cch);
}

} // namespace

int GetLocaleInfoEx(LPCWSTR lpLocaleName, LCTYPE LCType, LPWSTR lpLCData, int cchData) noexcept
{
    const LCTYPE type = LCType & ~LOCALE_RETURN_GENITIVE_NAMES;
    const auto format = OpenDate(LocaleOf(lpLocaleName), type == LOCALE_SLONGDATE);
    if (format.isNull())
        return Fail(ERROR_INVALID_PARAMETER);
    const UDateFormat* const pFormat = format.getAlias();
    if (type == LOCALE_SSHORTDATE || type == LOCALE_SLONGDATE)
        return Deliver(PictureOf(PatternOf(pFormat)), lpLCData, cchData);
    if (type == LOCALE_S1159 || type == LOCALE_S2359)
        return Deliver(SymbolOf(pFormat, UDAT_AM_PMS, type == LOCALE_S2359), lpLCData, cchData);
    if (type < LOCALE_SMONTHNAME1 || type >= LOCALE_SMONTHNAME1 + 12)
        return Fail(ERROR_INVALID_FLAGS);
    const auto names = LCType == type ? UDAT_STANDALONE_MONTHS : UDAT_MONTHS;
    return Deliver(SymbolOf(pFormat, names, static_cast<int>(type - LOCALE_SMONTHNAME1)), lpLCData, cchData);
}

int GetDateFormatEx(LPCWSTR lpLocaleName, DWORD dwFlags, const SYSTEMTIME* lpDate, std::nullptr_t,
                    LPWSTR lpDateStr, int cchDate, std::nullptr_t) noexcept
{
    SYSTEMTIME st = lpDate != nullptr ? *lpDate : SYSTEMTIME{};
    st.wHour = st.wMinute = st.wSecond = st.wMilliseconds = 0;
    return FormatTo(OpenDate(LocaleOf(lpLocaleName), dwFlags == DATE_LONGDATE), &st, lpDateStr, cchDate);
}

int GetTimeFormatEx(LPCWSTR lpLocaleName, DWORD dwFlags, const SYSTEMTIME* lpTime, std::nullptr_t,
                    LPWSTR lpTimeStr, int cchTime) noexcept
{
    return FormatTo(OpenTime(LocaleOf(lpLocaleName), dwFlags != TIME_NOSECONDS), lpTime, lpTimeStr, cchTime);
}
