#include "time/localetexts.h"

#include "process/sparememory.h"
#include "process/unload.h"
#include "text/nlslocale.h"
#include "threads/portlock.h"

#include <windows.h>

#include <unicode/localpointer.h>
#include <unicode/udat.h>
#include <unicode/uloc.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>

namespace
{

using icu::LocalUDateFormatPointer;

LocalUDateFormatPointer OpenFormat(const std::string& sLocale, UDateFormatStyle timeStyle,
                                   UDateFormatStyle dateStyle)
{
    UErrorCode status = U_ZERO_ERROR;
    return LocalUDateFormatPointer(
        udat_open(timeStyle, dateStyle, sLocale.c_str(), nullptr, 0, nullptr, 0, &status));
}

template <std::size_t N>
void ReadSymbols(const UDateFormat* pFormat, UDateFormatSymbolType type, int iFirst,
                 std::array<std::u16string, N>& texts)
{
    for (std::size_t i = 0; i < N; ++i)
    {
        UErrorCode status = U_ZERO_ERROR;
        char16_t sText[128];
        const int nLength =
            udat_getSymbols(pFormat, type, iFirst + static_cast<int>(i), sText, std::size(sText), &status);
        if (U_SUCCESS(status))
            texts[i].assign(sText, static_cast<std::size_t>(nLength));
    }
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

/// The picture of an ICU pattern: what stands in quotes is kept with them, blanks that do not break become
/// ordinary ones.
std::u16string PictureOf(std::u16string_view sPattern)
{
    std::u16string sPicture;
    bool bQuoted = false;
    for (std::size_t i = 0; i < sPattern.size();)
    {
        const char16_t c = sPattern[i];
        const std::size_t nCount = std::min(sPattern.find_first_not_of(c, i), sPattern.size()) - i;
        if (!bQuoted && IsLetter(c))
        {
            sPicture += FieldPicture(c, nCount);
            i += nCount;
            continue;
        }
        bQuoted ^= c == u'\'';
        sPicture += c == 0x00A0 || c == 0x202F ? u' ' : c;
        ++i;
    }
    return sPicture;
}

std::u16string ReadPicture(const LocalUDateFormatPointer& format)
{
    UErrorCode status = U_ZERO_ERROR;
    char16_t sPattern[256];
    const int nLength = udat_toPattern(format.getAlias(), false, sPattern, std::size(sPattern), &status);
    return U_SUCCESS(status) ? PictureOf({sPattern, static_cast<std::size_t>(nLength)}) : std::u16string();
}

/// The texts that were asked for last.
class CLastTexts
{
public:
    CLastTexts() = default;
    CLastTexts(const CLastTexts&) = delete;
    CLastTexts& operator=(const CLastTexts&) = delete;

    std::shared_ptr<const CLocaleTexts> Get(std::string_view sLocale)
    {
        const std::lock_guard guard(m_lock);
        if (m_pTexts == nullptr || m_sLocale != sLocale)
        {
            const CMakingGuard making(g_makingLock);
            m_pTexts = std::make_shared<const CLocaleTexts>(std::string(sLocale));
            m_sLocale = sLocale;
        }
        return m_pTexts;
    }

private:
    CPortMemberLock m_lock;
    std::string m_sLocale;
    std::shared_ptr<const CLocaleTexts> m_pTexts;
};

/// Destructors of static objects may format times.
constinit CMadeOnce<CLastTexts> g_lastTexts;

CLastTexts& LastTexts()
{
    return const_cast<CLastTexts&>(g_lastTexts.Get());
}

/// In front of what the environment says; the rest are tags.
constexpr char kEnvironment = '=';

/// The ICU name of a locale, with the calendar that SYSTEMTIME counts in.
std::string IcuName(const std::string& sLocale)
{
    char sName[ULOC_FULLNAME_CAPACITY] = "";
    UErrorCode status = U_ZERO_ERROR;
    if (sLocale.starts_with(kEnvironment))
    {
        char sBuffer[ULOC_FULLNAME_CAPACITY];
        std::strcpy(sName, CanonicalLocale(sLocale.c_str() + 1, sBuffer, sizeof sBuffer));
    }
    else
        uloc_forLanguageTag(sLocale.c_str(), sName, sizeof sName, nullptr, &status);
    uloc_setKeywordValue("calendar", "gregorian", sName, sizeof sName, &status);
    return sName;
}

} // namespace

CLocaleTexts::CLocaleTexts(const std::string& sLocale)
{
    if (!PortHasSpareMemory())
        throw std::bad_alloc();
    const std::string sName = IcuName(sLocale);
    const auto shortDate = OpenFormat(sName, UDAT_NONE, UDAT_SHORT);
    const auto longDate = OpenFormat(sName, UDAT_NONE, UDAT_LONG);
    const auto time = OpenFormat(sName, UDAT_MEDIUM, UDAT_NONE);
    const auto shortTime = OpenFormat(sName, UDAT_SHORT, UDAT_NONE);
    if (shortDate.isNull() || longDate.isNull() || time.isNull() || shortTime.isNull())
        return;
    m_sShortDate = ReadPicture(shortDate);
    m_sLongDate = ReadPicture(longDate);
    m_sTime = ReadPicture(time);
    m_sShortTime = ReadPicture(shortTime);
    const UDateFormat* const pFormat = longDate.getAlias();
    ReadSymbols(pFormat, UDAT_AM_PMS, 0, m_halves);
    ReadSymbols(pFormat, UDAT_MONTHS, 0, m_months);
    ReadSymbols(pFormat, UDAT_SHORT_MONTHS, 0, m_shortMonths);
    ReadSymbols(pFormat, UDAT_STANDALONE_MONTHS, 0, m_monthsAlone);
    ReadSymbols(pFormat, UDAT_STANDALONE_SHORT_MONTHS, 0, m_shortMonthsAlone);
    ReadSymbols(pFormat, UDAT_WEEKDAYS, 1, m_days);
    ReadSymbols(pFormat, UDAT_SHORT_WEEKDAYS, 1, m_shortDays);
    char sBase[ULOC_FULLNAME_CAPACITY];
    char sTag[ULOC_FULLNAME_CAPACITY];
    UErrorCode status = U_ZERO_ERROR;
    uloc_getBaseName(sName.c_str(), sBase, sizeof sBase, &status);
    const int nLength = uloc_toLanguageTag(sBase, sTag, sizeof sTag, false, &status);
    m_sName.assign(sTag, sTag + (U_SUCCESS(status) ? nLength : 0));
}

std::shared_ptr<const CLocaleTexts> LocaleTextsOf(LPCWSTR lpLocaleName) noexcept
try
{
    if (lpLocaleName == nullptr)
        return LastTexts().Get(std::string(1, kEnvironment) + EnvironmentLocaleName("LC_TIME"));
    const std::u16string_view sWide(lpLocaleName);
    return LastTexts().Get(std::string(sWide.begin(), sWide.end()));
}
catch (const std::bad_alloc&)
{
    return nullptr;
}

void PortFreeLocaleTextsAtUnload() noexcept
{
    g_lastTexts.DestroyAtUnload();
}
