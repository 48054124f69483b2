#include "log/logfilename.h"

#include "core/textformat.h"
#include "orvcomtypes/lqsettings.h"
#include "strings/charclass.h"

#include <shlobj.h>

#include <algorithm>
#include <string_view>

namespace
{

using CView = std::basic_string_view<WCHAR>;

constexpr const char* kSource = "orvlog";
constexpr std::size_t kSuffixRoom = 25;

__time64_t CurrentTime()
{
    return _time64(nullptr);
}

bool IsSeparator(WCHAR c)
{
    return c == '\\' || c == '/';
}

/// Removes a leading token, whose letters may be of either case.
bool TakeToken(CView& sText, CView sToken)
{
    const bool bFound = sText.size() >= sToken.size() &&
                        std::equal(sToken.begin(), sToken.end(), sText.begin(),
                                   [](WCHAR cToken, WCHAR c) { return cToken == OCT::ToUpperAscii(c); });
    if (bFound)
        sText.remove_prefix(sToken.size());
    return bFound;
}

ELogPeriod TakePeriod(CView& sFormat)
{
    if (TakeToken(sFormat, ORVTEXT("#MO")))
        return ELogPeriod::Monthly;
    if (TakeToken(sFormat, ORVTEXT("#WE")))
        return ELogPeriod::Weekly;
    if (TakeToken(sFormat, ORVTEXT("#DA")))
        return ELogPeriod::Daily;
    if (TakeToken(sFormat, ORVTEXT("#AN")))
        return ELogPeriod::PerStart;
    return ELogPeriod::None;
}

COrvStr TempFolder()
{
    WCHAR sFolder[MAX_PATH];
    const DWORD nLength = GetTempPathW(MAX_PATH, sFolder);
    return nLength > 0 && nLength < MAX_PATH ? COrvStr(sFolder) : COrvStr(ORVTEXT("C:\\Temp"));
}

COrvStr ApplicationDataFolder()
{
    WCHAR sFolder[MAX_PATH];
    const HRESULT hr = SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, sFolder);
    if (hr == S_OK)
        return COrvStr(sFolder);
    ORV_REPORT_FROM(kSource, "CreateLogFileName", "hr == S_OK", hr);
    return TempFolder();
}

COrvStr PathSetting(const WCHAR* sName)
{
    WCHAR sValue[MAX_PATH];
    return GetLQStringSettingW(nullptr, sName, sValue, sizeof(sValue), nullptr) ? COrvStr(sValue) : COrvStr();
}

/// The first of the settings that has a value, else nothing.
COrvStr FirstPathSetting(std::initializer_list<const WCHAR*> names)
{
    COrvStr sValue;
    for (const WCHAR* sName : names)
        if (sValue.IsEmpty())
            sValue = PathSetting(sName);
    return sValue;
}

/// Where names without a folder go; the same settings as for the process error file.
COrvStr DefaultLogFolder()
{
    COrvStr sFolder = PathSetting(ORVTEXT("DefaultLogPath"));
    if (!sFolder.IsEmpty())
        return sFolder;
    sFolder = FirstPathSetting({ORVTEXT("LocalDataPath"), ORVTEXT("DataPath")});
    if (sFolder.IsEmpty())
        return TempFolder();
    sFolder.AddPath(ORVTEXT("Log"), '\\');
    return sFolder;
}

COrvStr Joined(COrvStr sFolder, CView sName)
{
    const COrvStr sOwn = [&] {
        COrvStr s;
        if (!sName.empty())
            s.Copy(sName.data(), static_cast<unsigned>(sName.size()));
        return s;
    }();
    if (!sOwn.IsEmpty())
        sFolder.AddPath(sOwn, '\\');
    return sFolder;
}

COrvStr ExpandedByMarker(CView sName)
{
    WCHAR sPath[MAX_PATH];
    *std::copy_n(sName.data(), std::min<std::size_t>(sName.size(), MAX_PATH - 1), sPath) = 0;
    ExpandPathW(sPath, sizeof(sPath));
    return COrvStr(sPath);
}

/// The whole path without suffix and extension rules applied.
COrvStr BasePath(CView sName)
{
    if (TakeToken(sName, ORVTEXT("(LOCAPP)")))
        return Joined(ApplicationDataFolder(), sName);
    if (TakeToken(sName, ORVTEXT("(TEMP)")))
        return Joined(TempFolder(), sName);
    if (sName.starts_with(ORVTEXT("*\\")))
        return ExpandedByMarker(sName);
    if (sName.starts_with(ORVTEXT('$')))
    {
        sName.remove_prefix(1);
        COrvStr sFolder =
            FirstPathSetting({ORVTEXT("LocalDataPath"), ORVTEXT("DataPath"), ORVTEXT("DefaultLogPath")});
        return Joined(sFolder.IsEmpty() ? DefaultLogFolder() : sFolder, sName);
    }
    const bool bBare =
        std::none_of(sName.begin(), sName.end(), [](WCHAR c) { return IsSeparator(c) || c == ':'; });
    return Joined(bBare ? DefaultLogFolder() : COrvStr(), sName);
}

/// What tells the files of different periods apart; empty without a period.
COrvStr PeriodSuffix(ELogPeriod ePeriod, const CLogDate& date)
{
    const std::chrono::year_month_day ymd(ePeriod == ELogPeriod::Weekly ? date.Monday() : date.Day());
    const int nYear = static_cast<int>(ymd.year()) % 100;
    const auto nMonth = static_cast<unsigned>(ymd.month());
    const auto nDay = static_cast<unsigned>(ymd.day());
    WCHAR sSuffix[kSuffixRoom];
    sSuffix[0] = 0;
    switch (ePeriod)
    {
    case ELogPeriod::Monthly: OCT::FormatTo(sSuffix, ORVTEXT("_M%02d%02u"), nYear, nMonth); break;
    case ELogPeriod::Weekly: OCT::FormatTo(sSuffix, ORVTEXT("_W%02d%02u%02u"), nYear, nMonth, nDay); break;
    case ELogPeriod::Daily: OCT::FormatTo(sSuffix, ORVTEXT("_D%02d%02u%02u"), nYear, nMonth, nDay); break;
    case ELogPeriod::PerStart:
        OCT::FormatTo(sSuffix, ORVTEXT("_%02d%02u%02u_%02d%02d%02d"), nYear, nMonth, nDay, date.m_tm.tm_hour,
                      date.m_tm.tm_min, date.m_tm.tm_sec);
        break;
    case ELogPeriod::None: break;
    }
    return COrvStr(sSuffix);
}

/// Where the extension begins, its dot included; the length when there is none.
std::size_t ExtensionStart(CView sPath)
{
    const auto nName = sPath.find_last_of(ORVTEXT("\\/"));
    const auto nDot = sPath.rfind(ORVTEXT('.'));
    const bool bInName = nDot != CView::npos && (nName == CView::npos || nDot > nName);
    return bInName ? nDot : sPath.size();
}

} // namespace

__time64_t (*g_pfnLogTime)() = CurrentTime;

CLogDate::CLogDate(__time64_t tTime) : m_tm()
{
    _localtime64_s(&m_tm, &tTime);
}

std::chrono::sys_days CLogDate::Day() const
{
    using namespace std::chrono;
    return year(m_tm.tm_year + 1900) / month(static_cast<unsigned>(m_tm.tm_mon + 1)) /
           day(static_cast<unsigned>(m_tm.tm_mday));
}

std::chrono::sys_days CLogDate::Monday() const
{
    return Day() - std::chrono::days((m_tm.tm_wday + 6) % 7);
}

bool CreateLogFileName(WCHAR* sBuffer, const WCHAR* sFileNameFormat, ELogPeriod& ePeriod)
{
    ePeriod = ELogPeriod::None;
    if (sBuffer != nullptr)
        *sBuffer = 0;
    if (sBuffer == nullptr || sFileNameFormat == nullptr || *sFileNameFormat == 0)
    {
        ORV_REPORT_FROM(kSource, "CreateLogFileName", "sBuffer == nullptr || STRISEMPTY(sFileNameFormat)", 0);
        return false;
    }
    CView sFormat(sFileNameFormat);
    ePeriod = TakePeriod(sFormat);
    const COrvStr sBase = BasePath(sFormat);
    const CView sPath(sBase);
    const std::size_t nExtension = ExtensionStart(sPath);
    const bool bSuffix = sPath.size() + kSuffixRoom <= MAX_PATH;
    const COrvStr sSuffix = bSuffix ? PeriodSuffix(ePeriod, CLogDate(g_pfnLogTime())) : COrvStr();
    const COrvStr sStem = sBase.SubStr(0, static_cast<unsigned>(nExtension));
    const WCHAR* sExtension = nExtension < sPath.size() ? sPath.data() + nExtension : ORVTEXT(".log");
    if (sPath.empty())
        return false;
    OCT::FormatTextInto(sBuffer, MAX_PATH, ORVTEXT("%s%s%s"), static_cast<const WCHAR*>(sStem),
                        static_cast<const WCHAR*>(sSuffix), sExtension);
    CreateDirRecursive(sBuffer);
    return true;
}

void CreateDirRecursive(const WCHAR* sFilePath)
{
    const CView sPath(sFilePath);
    const auto nLast = sPath.find_last_of(ORVTEXT("\\/"));
    if (nLast == CView::npos)
    {
        ORV_REPORT_FROM(kSource, "CreateDirRecursive", "p == nullptr", 0);
        return;
    }
    WCHAR sFolder[MAX_PATH];
    for (std::size_t i = 1; i <= nLast && i < MAX_PATH; ++i)
        if (IsSeparator(sPath[i]))
        {
            *std::copy_n(sPath.data(), i, sFolder) = 0;
            // What exists already, or is a drive or a share, fails; whether the file can be made shows that
            // later.
            CreateDirectoryW(sFolder, nullptr);
        }
}
