// Numbers in the manner of the user's locale, from ICU's data.
#include <windows.h>

#include "process/sparememory.h"
#include "text/nlslocale.h"
#include "threads/portlock.h"

#include <unicode/uloc.h>
#include <unicode/unum.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

namespace
{

using View = std::u16string_view;

constexpr std::size_t kFractionDigits = 2;

/// How a locale writes a number: ICU's data has one unit for each mark, and no locale writes more around a
/// negative number than the minus, when digits and minus are ASCII as on Windows.
struct CNumberForm
{
    char16_t m_cDecimal = 0;
    char16_t m_cGroup = 0;
    std::size_t m_nFirstGroup = 0; ///< digits of the group before the mark; 0: there are no groups
    std::size_t m_nGroup = 0;      ///< digits of the others
};

/// The form that a thread used last, with the locale as the environment names it.
struct CKnownForm
{
    char m_sLocale[ULOC_FULLNAME_CAPACITY] = "";
    CNumberForm m_form;
};

thread_local constinit CKnownForm t_known;

char16_t MarkOf(const UNumberFormat* pFormat, UNumberFormatSymbol symbol, UErrorCode& status)
{
    char16_t mark[8] = {};
    unum_getSymbol(pFormat, symbol, mark, static_cast<int>(std::size(mark)), &status);
    return mark[0];
}

std::size_t SizeOf(const UNumberFormat* pFormat, UNumberFormatAttribute attribute)
{
    return static_cast<std::size_t>(std::max(unum_getAttribute(pFormat, attribute), 0));
}

/// ERROR_SUCCESS, or why there is no form.
DWORD LoadForm(CNumberForm& form)
{
    if (!PortHasSpareMemory())
        return ERROR_NOT_ENOUGH_MEMORY;
    const CMakingGuard guard(g_makingLock);
    char sName[ULOC_FULLNAME_CAPACITY];
    char sLatin[ULOC_FULLNAME_CAPACITY + 16];
    std::snprintf(sLatin, sizeof sLatin, "%s@numbers=latn",
                  EnvironmentLocale("LC_NUMERIC", sName, sizeof sName));
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUNumberFormatPointer format(
        unum_open(UNUM_DECIMAL, nullptr, 0, sLatin, nullptr, &status));
    if (U_FAILURE(status))
        return status == U_MEMORY_ALLOCATION_ERROR ? ERROR_NOT_ENOUGH_MEMORY : ERROR_INVALID_PARAMETER;
    form.m_cDecimal = MarkOf(format.getAlias(), UNUM_DECIMAL_SEPARATOR_SYMBOL, status);
    form.m_cGroup = MarkOf(format.getAlias(), UNUM_GROUPING_SEPARATOR_SYMBOL, status);
    form.m_nFirstGroup = SizeOf(format.getAlias(), UNUM_GROUPING_SIZE);
    form.m_nGroup = SizeOf(format.getAlias(), UNUM_SECONDARY_GROUPING_SIZE);
    if (form.m_nGroup == 0)
        form.m_nGroup = form.m_nFirstGroup;
    return U_FAILURE(status) ? ERROR_INVALID_PARAMETER : ERROR_SUCCESS;
}

/// The form of the environment's locale, made where it is not the one of the last call.
DWORD GetForm(CNumberForm& form)
{
    const char* const sLocale = EnvironmentLocaleName("LC_NUMERIC");
    if (std::strcmp(sLocale, t_known.m_sLocale) != 0)
    {
        CKnownForm known;
        std::snprintf(known.m_sLocale, sizeof known.m_sLocale, "%s", sLocale); // a cut name is never found
        if (const DWORD dwError = LoadForm(known.m_form); dwError != ERROR_SUCCESS)
            return dwError;
        t_known = known;
    }
    form = t_known.m_form;
    return ERROR_SUCCESS;
}

bool IsDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

/// Digits with an optional "-" in front and at most one "." inside.
bool IsNumber(View text)
{
    text.remove_prefix(text.starts_with(u'-') ? 1 : 0);
    return std::any_of(text.begin(), text.end(), IsDigit) &&
           std::count(text.begin(), text.end(), u'.') <= 1 &&
           text.find_first_not_of(u"0123456789.") == text.npos;
}

/// Writes a number from its end; counts what has no room.
class CReverseText
{
public:
    CReverseText(LPWSTR sBuffer, int nSize) : m_sBuffer(sBuffer), m_nSize(nSize) {}

    void Put(char16_t c)
    {
        if (m_nLength < m_nSize)
            m_sBuffer[m_nLength] = c;
        ++m_nLength;
    }
    /// The length with the terminator, or 0 and the last error.
    int Finish()
    {
        Put(u'\0');
        if (m_nSize == 0)
            return m_nLength;
        if (m_nLength > m_nSize)
            return SetLastError(ERROR_INSUFFICIENT_BUFFER), 0;
        std::reverse(m_sBuffer, m_sBuffer + m_nLength - 1);
        return m_nLength;
    }

private:
    LPWSTR m_sBuffer;
    int m_nSize;
    int m_nLength = 0;
};

/// Hands out the digits of a number from its last place, rounded up where that was asked for.
class CRounding
{
public:
    explicit CRounding(bool bUp) : m_bUp(bUp) {}

    char16_t Next(char16_t cDigit)
    {
        if (!m_bUp)
            return cDigit;
        m_bUp = cDigit == u'9';
        return m_bUp ? u'0' : static_cast<char16_t>(cDigit + 1);
    }
    bool IsUp() const { return m_bUp; }

private:
    bool m_bUp;
};

void PutWhole(CReverseText& out, CRounding& rounding, View whole, const CNumberForm& form)
{
    whole.remove_prefix(std::min(whole.find_first_not_of(u'0'), whole.size()));
    std::size_t nDigits = 0;
    std::size_t nNextMark = form.m_nFirstGroup;
    const auto put = [&](char16_t c) {
        if (nDigits != 0 && nDigits == nNextMark)
        {
            out.Put(form.m_cGroup);
            nNextMark += form.m_nGroup;
        }
        out.Put(c);
        ++nDigits;
    };
    for (auto it = whole.rbegin(); it != whole.rend(); ++it)
        put(rounding.Next(*it));
    if (rounding.IsUp() || whole.empty())
        put(rounding.Next(u'0'));
}

} // namespace

char16_t UserDecimalSeparator() noexcept
{
    CNumberForm form;
    return GetForm(form) == ERROR_SUCCESS ? form.m_cDecimal : u'.';
}

int GetNumberFormatW(LCID, DWORD, LPCWSTR lpValue, std::nullptr_t, LPWSTR lpNumberStr, int cchNumber) noexcept
{
    View number(lpValue);
    if (!IsNumber(number))
        return SetLastError(ERROR_INVALID_PARAMETER), 0;
    CNumberForm form;
    if (const DWORD dwError = GetForm(form); dwError != ERROR_SUCCESS)
        return SetLastError(dwError), 0;
    const bool bNegative = number.front() == u'-';
    number.remove_prefix(bNegative ? 1 : 0);
    const View whole = number.substr(0, number.find(u'.'));
    const View fraction = number.substr(std::min(whole.size() + 1, number.size()));
    const auto digit = [fraction](std::size_t i) { return i < fraction.size() ? fraction[i] : u'0'; };

    CReverseText out(lpNumberStr, cchNumber);
    CRounding rounding(digit(kFractionDigits) >= u'5');
    for (std::size_t i = kFractionDigits; i > 0; --i)
        out.Put(rounding.Next(digit(i - 1)));
    out.Put(form.m_cDecimal);
    PutWhole(out, rounding, whole, form);
    if (bNegative)
        out.Put(u'-');
    return out.Finish();
}

LCID GetUserDefaultLCID() noexcept
{
    return LOCALE_USER_DEFAULT;
}
