#include "zonekeyname.h"

#include <string_view>

namespace
{

struct KeyName
{
    const WCHAR* m_sName;
    std::string_view m_sIds; // a blank behind each
};

#define ORVTEXT(text) L##text

constexpr KeyName kNames[] = {
#include "zonekeynames.inc"
};

char ToLower(char c)
{
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
}

bool IsSameId(std::string_view sId, std::wstring_view sZone)
{
    if (sId.size() != sZone.size())
        return false;
    for (std::size_t i = 0; i < sId.size(); ++i)
        if (sZone[i] >= 0x80 || ToLower(sId[i]) != ToLower(static_cast<char>(sZone[i])))
            return false;
    return true;
}

bool HasId(std::string_view sIds, std::wstring_view sZone)
{
    for (std::size_t nEnd; (nEnd = sIds.find(' ')) != sIds.npos; sIds.remove_prefix(nEnd + 1))
        if (IsSameId(sIds.substr(0, nEnd), sZone))
            return true;
    return false;
}

} // namespace

const WCHAR* PortZoneKeyName(const WCHAR* sZone) noexcept
{
    for (const KeyName& name : kNames)
        if (HasId(name.m_sIds, sZone))
            return name.m_sName;
    return nullptr;
}
