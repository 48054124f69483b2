#include "text/nlslocale.h"

#include "text/codepage.h"

#include <windows.h>

#include <unicode/uloc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <langinfo.h>
#include <locale.h>
#include <strings.h>

namespace
{

struct CLanguagePage
{
    const char* m_sLanguage;
    UINT m_nCodePage;
};

// Languages of the other pages; everything else is written in 1252.
constexpr CLanguagePage kLanguagePages[] = {
    {"ar", 1256}, {"az", 1254}, {"be", 1251}, {"bg", 1251}, {"bs", 1250}, {"cs", 1250}, {"el", 1253},
    {"et", 1257}, {"fa", 1256}, {"he", 1255}, {"hr", 1250}, {"hu", 1250}, {"ja", 932},  {"kk", 1251},
    {"ko", 949},  {"ky", 1251}, {"lt", 1257}, {"lv", 1257}, {"mk", 1251}, {"mn", 1251}, {"pl", 1250},
    {"ps", 1256}, {"ro", 1250}, {"ru", 1251}, {"sk", 1250}, {"sl", 1250}, {"sq", 1250}, {"sr", 1251},
    {"tg", 1251}, {"th", 874},  {"tr", 1254}, {"tt", 1251}, {"ug", 1256}, {"uk", 1251}, {"ur", 1256},
    {"uz", 1254}, {"vi", 1258}, {"yi", 1255},
};

bool IsNeutral(const char* sLocale)
{
    const std::size_t n = std::strcspn(sLocale, ".@");
    return (n == 1 && sLocale[0] == 'C') || (n == 5 && !std::memcmp(sLocale, "POSIX", 5));
}

// Whether the locale's character set, which stands in its name or else is known to the C library, is another
// than UTF-8.
bool IsLegacy(const char* sLocale)
{
    const auto IsUtf8Name = [](const char* sSet) {
        return !strncasecmp(sSet, "UTF-8", 5) || !strncasecmp(sSet, "UTF8", 4);
    };
    if (const char* const pSet = std::strchr(sLocale, '.'))
        return !IsUtf8Name(pSet + 1);
    const locale_t locale = newlocale(LC_CTYPE_MASK, sLocale, nullptr);
    if (!locale)
        return false;
    const bool bLegacy = !IsUtf8Name(nl_langinfo_l(CODESET, locale));
    freelocale(locale);
    return bLegacy;
}

UINT PageOfLocale(const char* sLocale)
{
    char sLanguage[ULOC_LANG_CAPACITY] = "";
    char sScript[ULOC_SCRIPT_CAPACITY] = "";
    char sCountry[ULOC_COUNTRY_CAPACITY] = "";
    UErrorCode status = U_ZERO_ERROR;
    uloc_getLanguage(sLocale, sLanguage, sizeof sLanguage, &status);
    uloc_getScript(sLocale, sScript, sizeof sScript, &status);
    uloc_getCountry(sLocale, sCountry, sizeof sCountry, &status);
    if (!std::strcmp(sLanguage, "zh"))
    {
        const bool bTraditional = !std::strcmp(sScript, "Hant") || !std::strcmp(sCountry, "TW") ||
                                  !std::strcmp(sCountry, "HK") || !std::strcmp(sCountry, "MO");
        return bTraditional ? 950 : 936;
    }
    if (!std::strcmp(sScript, "Latn") && !std::strcmp(sLanguage, "sr"))
        return 1250;
    for (const CLanguagePage& page : kLanguagePages)
        if (!std::strcmp(sLanguage, page.m_sLanguage))
            return page.m_nCodePage;
    return 1252;
}

} // namespace

const char* EnvironmentLocaleName(const char* sCategory) noexcept
{
    for (const char* sName : {"LC_ALL", sCategory, "LANG"})
    {
        const char* sValue = std::getenv(sName);
        if (sValue && *sValue)
            return sValue;
    }
    return "C";
}

const char* CanonicalLocale(const char* sLocale, char* pName, int cbName) noexcept
{
    UErrorCode status = U_ZERO_ERROR;
    if (IsNeutral(sLocale) || uloc_canonicalize(sLocale, pName, cbName, &status) >= cbName ||
        U_FAILURE(status))
        return "en_US";
    return pName;
}

const char* EnvironmentLocale(const char* sCategory, char* pName, int cbName) noexcept
{
    return CanonicalLocale(EnvironmentLocaleName(sCategory), pName, cbName);
}

UINT AnsiCodePageOfEnvironment() noexcept
{
    const char* const sPage = std::getenv("ORVCOMTYPES_ACP");
    if (sPage && *sPage)
    {
        char* pEnd;
        const auto nPage = static_cast<UINT>(std::strtoul(sPage, &pEnd, 10));
        if (!*pEnd && (nPage == CP_UTF8 || CCodePage::IsKnown(nPage)))
            return nPage;
        std::fprintf(stderr, "OrvComTypes: ORVCOMTYPES_ACP=%s is no code page that is known here\n", sPage);
    }
    const char* const sLocale = EnvironmentLocaleName("LC_CTYPE");
    return IsNeutral(sLocale) || !IsLegacy(sLocale) ? CP_UTF8 : PageOfLocale(sLocale);
}

UINT WindowsCodePageOfEnvironment() noexcept
{
    const char* const sLocale = EnvironmentLocaleName("LC_CTYPE");
    return IsNeutral(sLocale) ? 1252 : PageOfLocale(sLocale);
}
