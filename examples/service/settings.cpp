#include "settings.h"

#include "host.h"

#include <orvcomtypes/lqsettings.h>
#include <orvcomtypes/orvlog.h>

#include <algorithm>

CSettings CSettings::Read(const std::string& sName)
{
    const COrvStr sKey(sName.c_str());
    const auto number = [&](const WCHAR* sValue, DWORD dwDefault, DWORD dwLeast, DWORD dwMost) {
        return std::clamp(GetLQDWORDSettingW(sKey, sValue, dwDefault), dwLeast, dwMost);
    };
    CSettings settings;
    settings.m_Folder = static_cast<const WCHAR*>(GetLQStrSetting(sKey, ORVTEXT("Folder"), ORVTEXT("")));
    if (settings.m_Folder.empty())
        settings.m_Folder = DefaultFolder(sName);
    settings.m_nWorkers = number(ORVTEXT("Workers"), 4, 1, 60);
    settings.m_nScanMs = number(ORVTEXT("ScanMilliseconds"), 1000, 1, 3'600'000);
    settings.m_nRetryMs = number(ORVTEXT("RetryMilliseconds"), 60'000, 1, 3'600'000);
    settings.m_sLanguage = GetLQStrSetting(sKey, ORVTEXT("Language"), ORVTEXT(""));
    return settings;
}

void OpenLog(const std::string& sName)
{
    const COrvStr sKey(sName.c_str());
    if (!GetLQStrSetting(sKey, ORVTEXT("EventDir"), ORVTEXT("")).IsEmpty())
    {
        InitRegProcessLogger(sKey);
        return;
    }
    const auto file = std::filesystem::absolute(DefaultLogFolder(sName) / "intake.txt");
    COrvStr sFormat(ORVTEXT("#DA"));
    sFormat += file.string<WCHAR>().c_str();
    InitFileProcessLogger(sFormat, lqlErrors | lqlWarnings | lqlInformation | lqlThreadId);
    GetProcessLogger()->SetFlushLevel(lqlErrors);
    GetProcessLogger()->SetFileOption(lqfKeepFiles, 14);
    GetProcessLogger()->SetFileOption(lqfUTF8, 1);
}
