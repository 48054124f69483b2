// Logs that the registry configures.
#include "core/charclass.h"
#include "core/textformat.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvlog.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/regkeyw.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>

namespace
{

constexpr unsigned kDefaultOptions = lqlErrors | lqlWarnings | lqlInformation | lqlUser | lqlThreadId;

/// What a log's key says.
struct CLogConfiguration
{
    bool m_bRead = false; ///< else the defaults are in force
    unsigned m_nOptions = kDefaultOptions;
    WCHAR m_sFileNameFormat[MAX_PATH] = {};
    WCHAR m_sWorkerDBIds[2000] = {};
    std::optional<std::uint64_t> m_nFlushLevel;
    std::optional<std::uint64_t> m_fileOptions[lqfUTF8 + 1];
};

constexpr const WCHAR* kFileOptionNames[] = {ORVTEXT("EventMaxWaiting"), ORVTEXT("EventMaxFileSize"),
                                             ORVTEXT("EventKeepFiles"), ORVTEXT("EventUTF8")};

COrvStr KeyPath(const WCHAR* sKeyName)
{
    const std::string_view sSoftware = "SOFTWARE";
    const WCHAR* s = sKeyName;
    std::size_t nSame = 0;
    while (nSame < sSoftware.size() && OCT::ToUpperAscii(s[nSame]) == static_cast<WCHAR>(sSoftware[nSame]))
        ++nSame;
    COrvStr sPath;
    if (nSame < sSoftware.size())
        sPath = ORVTEXT("Software\\Orvanex\\Lumatrek\\");
    sPath += sKeyName;
    return sPath;
}

bool OpenKey(CRegKeyW& key, const WCHAR* sPath)
{
    return sPath != nullptr && // a long one that found no memory would be the hive itself
           (key.Open(HKEY_CURRENT_USER, sPath, KEY_READ) == ERROR_SUCCESS ||
            key.Open(HKEY_LOCAL_MACHINE, sPath, KEY_READ) == ERROR_SUCCESS);
}

/// A number of either size; none when there is no such value.
std::optional<std::uint64_t> ReadNumber(const CRegKeyW& key, const WCHAR* sName)
{
    std::uint64_t nValue = 0; // the lower bytes come first on all our targets
    DWORD dwType = 0;
    DWORD cbValue = sizeof(nValue);
    const LSTATUS lRes =
        RegQueryValueExW(key.Get(), sName, nullptr, &dwType, reinterpret_cast<BYTE*>(&nValue), &cbValue);
    const DWORD cbExpected = dwType == REG_DWORD ? 4 : dwType == REG_QWORD ? 8 : 0;
    if (lRes != ERROR_SUCCESS || cbValue != cbExpected || cbValue == 0)
        return std::nullopt;
    return nValue;
}

bool ReadOptions(const CRegKeyW& key, unsigned& nOptions)
{
    DWORD dwValue = 0;
    DWORD dwType = 0;
    DWORD cbValue = sizeof(dwValue);
    const LSTATUS lRes = RegQueryValueExW(key.Get(), ORVTEXT("EventLog"), nullptr, &dwType,
                                          reinterpret_cast<BYTE*>(&dwValue), &cbValue);
    const bool bRead = lRes == ERROR_SUCCESS && dwType == REG_DWORD && cbValue == sizeof(dwValue);
    if (bRead)
        nOptions = dwValue;
    return bRead;
}

CLogConfiguration ReadConfiguration(const WCHAR* sKeyName)
{
    CLogConfiguration configuration;
    CRegKeyW key;
    if (!OpenKey(key, KeyPath(sKeyName)) || !ReadOptions(key, configuration.m_nOptions))
        return configuration;
    configuration.m_bRead = true;
    if (configuration.m_nOptions == 0)
        return configuration;
    ULONG nChars = MAX_PATH;
    configuration.m_bRead =
        key.QueryStringValue(ORVTEXT("EventDir"), configuration.m_sFileNameFormat, &nChars) == ERROR_SUCCESS;
    if (configuration.m_nOptions & lqlSQL)
    {
        nChars = static_cast<ULONG>(std::size(configuration.m_sWorkerDBIds));
        // A value that is no text may have been copied all the same.
        if (key.QueryStringValue(ORVTEXT("WorkerDBIdForSQLLog"), configuration.m_sWorkerDBIds, &nChars) !=
            ERROR_SUCCESS)
            configuration.m_sWorkerDBIds[0] = 0;
    }
    configuration.m_nFlushLevel = ReadNumber(key, ORVTEXT("EventFlushLevel"));
    for (unsigned i = 0; i < std::size(kFileOptionNames); ++i)
        configuration.m_fileOptions[i] = ReadNumber(key, kFileOptionNames[i]);
    return configuration;
}

/// A weekly file named after the program.
void DefaultFormat(WCHAR (&sFormat)[MAX_PATH])
{
    WCHAR sProgram[1024];
    sProgram[0] = 0;
    GetModuleFileNameW(nullptr, sProgram, static_cast<DWORD>(std::size(sProgram)));
    const std::basic_string_view<WCHAR> sPath(sProgram);
    // Zero without a folder.
    const std::size_t nName = sPath.find_last_of(ORVTEXT("\\/")) + 1;
    // A dot in a folder's name is no extension: programs may have none.
    const std::size_t nDot = sPath.find_last_of(ORVTEXT('.'));
    if (nDot != sPath.npos && nDot >= nName)
        sProgram[nDot] = 0;
    else
        ORV_REPORT_FROM("orvlog", "COrvLog::InitRegLog", "p != nullptr", 0);
    OCT::FormatTo(sFormat, ORVTEXT("#WE(LOCAPP)\\Lumatrek\\Log\\%s-DB_log.txt"), sProgram + nName);
}

} // namespace

bool COrvLog::InitRegLog(const WCHAR* keyName, const WCHAR* prefix)
{
    if (keyName == nullptr || *keyName == 0)
    {
        ORV_REPORT_FROM("orvlog", "COrvLog::InitRegLog", "STRISEMPTY(sKeyName)", 0);
        return false;
    }
    CLogConfiguration configuration;
    try
    {
        configuration = ReadConfiguration(keyName);
        m_WorkerDBIds.RemoveAll();
        m_WorkerDBIds.Split(configuration.m_sWorkerDBIds, ',');
    }
    catch (...) // no memory
    {
        SetLogOpt(0);
        return false;
    }
    if (configuration.m_nOptions == 0) // no log is wanted
        ReleaseLog();
    if (!configuration.m_bRead)
        DefaultFormat(configuration.m_sFileNameFormat);
    if (!InitFileLog(configuration.m_sFileNameFormat, static_cast<int>(configuration.m_nOptions), prefix))
        return false;
    if (configuration.m_nFlushLevel)
        SetFlushLevel(static_cast<unsigned>(*configuration.m_nFlushLevel));
    for (unsigned i = 0; i < std::size(kFileOptionNames); ++i)
        if (const auto& option = configuration.m_fileOptions[i])
            SetFileOption(static_cast<LQLogFileOption>(i), *option);
    return configuration.m_bRead;
}
