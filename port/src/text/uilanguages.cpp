// The languages of the user's messages, as the environment names them.
#include <windows.h>

#include "process/errnomap.h"
#include "text/nlslocale.h"
#include "text/utf.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace
{

/// "hu-HU" of "hu_HU.UTF-8@euro"; empty for the C locale.
std::string LanguageOf(std::string_view sLocale)
{
    std::string sName(sLocale.substr(0, sLocale.find_first_of(".@")));
    std::ranges::replace(sName, '_', '-');
    return sName == "C" || sName == "POSIX" ? std::string() : sName;
}

std::vector<std::string> PreferredLanguages()
{
    const std::string sOfLocale = LanguageOf(EnvironmentLocaleName("LC_MESSAGES"));
    if (sOfLocale.empty())
        return {"en-US"};
    std::vector<std::string> names;
    const auto add = [&](const std::string& sName) {
        if (!sName.empty() && std::ranges::find(names, sName) == names.end())
            names.push_back(sName);
    };
    const char* const sListed = std::getenv("LANGUAGE");
    std::string_view list(sListed != nullptr ? sListed : "");
    while (!list.empty())
    {
        const std::size_t n = std::min(list.find(':'), list.size());
        add(LanguageOf(list.substr(0, n)));
        list.remove_prefix(std::min(n + 1, list.size()));
    }
    add(sOfLocale);
    return names;
}

} // namespace

BOOL GetUserPreferredUILanguages(DWORD dwFlags, ULONG* pulNumLanguages, LPWSTR pwszLanguagesBuffer,
                                 ULONG* pcchLanguagesBuffer) noexcept
try
{
    if (dwFlags != MUI_LANGUAGE_NAME)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const std::vector<std::string> names = PreferredLanguages();
    std::u16string sList;
    for (const std::string& sName : names)
        sList.append(PortToUtf16(sName)).push_back(0);
    sList.push_back(0);
    const ULONG nRoom = *pcchLanguagesBuffer;
    *pulNumLanguages = static_cast<ULONG>(names.size());
    *pcchLanguagesBuffer = static_cast<ULONG>(sList.size());
    if (pwszLanguagesBuffer == nullptr && nRoom == 0)
        return TRUE;
    if (nRoom < sList.size())
    {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    std::ranges::copy(sList, pwszLanguagesBuffer);
    return TRUE;
}
catch (const std::bad_alloc&)
{
    return PortFailWithoutMemory();
}
