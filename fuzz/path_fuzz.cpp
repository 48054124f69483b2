// Paths and the names of log files: a marker gives way to its setting and the rest stays, cut to the room;
// a log's format gives names that it knows again.
#include "fuzzing.h"
#include "log/logfilename.h"
#include "orvcomtypes/lqsettings.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace
{

__time64_t g_tNow;

// Without any setting, with plain ones, and with those that end in a separator and are long.
constexpr const WCHAR* kRoots[] = {ORVTEXT("Software\\OrvComTypesTest\\Fuzz0"),
                                   ORVTEXT("Software\\OrvComTypesTest\\Fuzz1"),
                                   ORVTEXT("Software\\OrvComTypesTest\\Fuzz2")};

/// As the settings themselves cut it.
Text SettingOf(std::size_t nRoot, bool bData)
{
    if (nRoot == 0)
        return {};
    const Text sFolder = bData ? ORVTEXT("D:\\data") : ORVTEXT("/var/log");
    return nRoot == 1 ? sFolder : sFolder + Text(100, bData ? 'd' : 'l') + ORVTEXT('\\');
}

bool StoreSettings()
{
    for (std::size_t i = 1; i < std::size(kRoots); ++i)
    {
        SetLQSettingsRootW(kRoots[i]);
        Require(SetLQStringSettingW(nullptr, ORVTEXT("DataPath"), SettingOf(i, true).c_str(), nullptr));
        Require(
            SetLQStringSettingW(nullptr, ORVTEXT("DefaultLogPath"), SettingOf(i, false).c_str(), nullptr));
    }
    g_pfnLogTime = [] { return g_tNow; };
    return true;
}

template <class Char>
void CheckPath(const std::basic_string<Char>& sPath, std::size_t nRoot, std::size_t nRoom)
{
    std::basic_string<Char> sExpected = sPath;
    if (sPath.size() > 1 && nRoot > 0 && (sPath[0] == '*' || sPath[0] == '$') && sPath[1] == '\\')
    {
        const Text sBase = SettingOf(nRoot, sPath[0] == '*');
        sExpected.assign(sBase.begin(), sBase.end());
        sExpected.append(sPath, sBase.back() == '\\' ? 2 : 1);
    }
    nRoom += sPath.size() + 1; // the path itself stands in it
    const bool bCut = sExpected.size() >= nRoom;
    sExpected.resize(bCut ? nRoom - 1 : sExpected.size());
    std::vector<Char> buffer(nRoom);
    std::copy(sPath.begin(), sPath.end(), buffer.begin());
    if constexpr (sizeof(Char) == 1)
        ExpandPathA(buffer.data(), static_cast<unsigned>(nRoom));
    else
        ExpandPathW(buffer.data(), static_cast<unsigned>(nRoom * sizeof(Char)));
    // A cut leaves out a character of several bytes as a whole, and what could be the beginning of one.
    const std::basic_string<Char> sResult = buffer.data();
    constexpr std::size_t kMostLess = sizeof(Char) == 1 ? 3 : 0;
    Require(sExpected.starts_with(sResult));
    Require(sResult.size() + (bCut ? kMostLess : 0) >= sExpected.size());
}

void CheckLogName(const Text& sFormat, TextView sOther)
{
    CLogFileName name;
    if (!name.Expand(sFormat.c_str()))
        return Require(name.m_sStem.empty());
    const CLogText sFolder = name.Folder();
    Require(name.m_sSuffix.size() < 25 && name.m_sStem.starts_with(sFolder));
    Require(name.m_sExtension.starts_with('.') && name.m_sExtension.find('\\') == Text::npos);
    for (const unsigned n : {1u, 2u, 57u, 999999999u})
    {
        const CLogText sName = name.Path(n).substr(sFolder.size());
        Require(name.NumberOf(sName, false) == n && name.NumberOf(sName, true) == n);
    }
    // A file of this period is one of any.
    const unsigned nOther = name.NumberOf(sOther, false);
    Require(nOther == 0 || name.NumberOf(sOther, true) == nOther);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    static const bool s_bStored = StoreSettings();
    if (!s_bStored || nSize < 6)
        return 0;
    const std::size_t nRoot = pData[0] % std::size(kRoots);
    SetLQSettingsRootW(kRoots[nRoot]);
    std::int32_t iNow = 0;
    std::memcpy(&iNow, pData + 1, sizeof iNow);
    g_tNow = iNow;
    const std::string sBytes(reinterpret_cast<const char*>(pData + 6), nSize - 6);
    const Text sWidened(pData + 6, pData + nSize);
    const Text sPath = sWidened.c_str(); // up to the first zero
    CheckPath(sPath, nRoot, pData[5]);
    CheckPath(std::string(sBytes.c_str()), nRoot, pData[5]);
    CheckLogName(sPath, TextView(sWidened).substr(std::min(sPath.size() + 1, sWidened.size())));
    return 0;
}
