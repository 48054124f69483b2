// Numbers in the manner of the user's locale, from ICU's data.
#include <windows.h>

#include "nlslocale.h"

#include <unicode/uloc.h>
#include <unicode/unum.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

namespace
{

/// The locale's decimal format with what Windows has differently: ASCII digits and minus, two digits of the
/// fraction, groups in numbers of four digits too.
icu::LocalUNumberFormatPointer OpenFormat()
{
    char sName[ULOC_FULLNAME_CAPACITY];
    char sLatin[ULOC_FULLNAME_CAPACITY + 16];
    std::snprintf(sLatin, sizeof sLatin, "%s@numbers=latn",
                  EnvironmentLocale("LC_NUMERIC", sName, sizeof sName));
    UErrorCode status = U_ZERO_ERROR;
    icu::LocalUNumberFormatPointer format(unum_open(UNUM_DECIMAL, nullptr, 0, sLatin, nullptr, &status));
    if (U_FAILURE(status))
        return icu::LocalUNumberFormatPointer();
    unum_setSymbol(format.getAlias(), UNUM_MINUS_SIGN_SYMBOL, u"-", 1, &status);
    unum_setAttribute(format.getAlias(), UNUM_FRACTION_DIGITS, 2);
    unum_setAttribute(format.getAlias(), UNUM_MINIMUM_GROUPING_DIGITS, 1);
    unum_setAttribute(format.getAlias(), UNUM_ROUNDING_MODE, UNUM_ROUND_HALFUP);
    return format;
}

/// Digits with an optional "-" in front and at most one "." inside.
bool IsNumber(std::string_view text)
{
    text.remove_prefix(text.starts_with('-') ? 1 : 0);
    return text.find_first_of("0123456789") != text.npos && std::count(text.begin(), text.end(), '.') <= 1 &&
           text.find_first_not_of("0123456789.") == text.npos;
}

} // namespace

int GetNumberFormatW(LCID, DWORD, LPCWSTR lpValue, std::nullptr_t, LPWSTR lpNumberStr, int cchNumber) noexcept
{
    std::string sValue;
    for (; *lpValue != 0; ++lpValue)
        sValue += *lpValue < 0x80 ? static_cast<char>(*lpValue) : '?';
    const auto format = OpenFormat();
    if (!IsNumber(sValue) || format.isNull())
        return SetLastError(ERROR_INVALID_PARAMETER), 0;
    UErrorCode status = U_ZERO_ERROR;
    const int nLength = unum_formatDecimal(format.getAlias(), sValue.c_str(), static_cast<int>(sValue.size()),
                                           lpNumberStr, cchNumber, nullptr, &status);
    if (cchNumber == 0)
        return nLength + 1;
    if (U_FAILURE(status) || nLength >= cchNumber)
        return SetLastError(ERROR_INSUFFICIENT_BUFFER), 0;
    return nLength + 1;
}

LCID GetUserDefaultLCID() noexcept
{
    return LOCALE_USER_DEFAULT;
}
