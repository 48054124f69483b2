#include "registry/registryzones.h"

#include "registry/registrydoc.h"
#include "registry/registrytext.h"
#include "time/zonekeys.h"

#include <windows.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace OrvPort
{
namespace
{

CRegData BytesOf(const void* pBytes, std::size_t nBytes)
{
    const auto* p = static_cast<const BYTE*>(pBytes);
    return CRegData(p, p + nBytes);
}

CRegEntry TextValue(CRegView sName, const CRegString& sText)
{
    return {{}, sName, REG_SZ, BytesOf(sText.c_str(), (sText.size() + 1) * sizeof(WCHAR))};
}

} // namespace

std::vector<CRegEntry> ServeZoneKey(CRegView sPath)
{
    const CRegString sZones = FoldRegName(u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones\\");
    if (!CRegView(FoldRegName(sPath)).starts_with(sZones))
        return {};
    const std::optional<ZoneKeyValues> zone = FindZoneKey(sPath.substr(sZones.size()));
    if (!zone)
        return {};
    return {TextValue(u"Std", zone->m_sStd),
            TextValue(u"Dlt", zone->m_sDlt),
            {{}, u"TZI", REG_BINARY, BytesOf(&zone->m_rules, sizeof zone->m_rules)}};
}

} // namespace OrvPort
