#include "log/logfilename.h"

#include "core/charclass.h"
#include "core/memoryerror.h"
#include "core/textformat.h"
#include "orvcomtypes/lqsettings.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"

#include <windows.h>
#include <shlobj.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <initializer_list>
#include <new>
#include <string>
#include <string_view>

namespace
{

using CView = std::basic_string_view<WCHAR>;

constexpr const char* kSource = "orvlog";
constexpr std::size_t kSuffixRoom = 25;
constexpr std::size_t kNumberDigits = 9;    ///< at most, of a file that follows a full one
constexpr std::size_t kSettingChars = 2048; ///< a longer setting would not be read whole

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

CLogText TempFolder()
{
    WCHAR sFolder[MAX_PATH];
    const DWORD nLength = GetTempPathW(MAX_PATH, sFolder);
    return nLength > 0 && nLength < MAX_PATH ? CLogText(sFolder) : CLogText(ORVTEXT("C:\\Temp"));
}

CLogText ApplicationDataFolder()
{
    WCHAR sFolder[MAX_PATH];
    const HRESULT hr = SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, sFolder);
    if (hr == S_OK)
        return CLogText(sFolder);
    ORV_REPORT_FROM(kSource, "CreateLogFileName", "hr == S_OK", hr);
    return TempFolder();
}

/// The first of the settings that has a value, else nothing.
CLogText FirstPathSetting(std::initializer_list<const WCHAR*> names)
{
    WCHAR sValue[kSettingChars];
    for (const WCHAR* sName : names)
        if (GetLQStringSettingW(nullptr, sName, sValue, sizeof(sValue), nullptr) && sValue[0] != 0)
            return CLogText(sValue);
    return CLogText();
}

/// Joins with one separator.
CLogText Joined(CLogText sFolder, CView sName)
{
    if (sFolder.empty() || sName.empty())
        return sFolder.append(sName);
    if (IsSeparator(sFolder.back()) && IsSeparator(sName.front()))
        sName.remove_prefix(1);
    else if (!IsSeparator(sFolder.back()) && !IsSeparator(sName.front()))
        sFolder += ORVTEXT('\\');
    return sFolder.append(sName);
}

/// Where names without a folder go; the same settings as for the process error file.
CLogText DefaultLogFolder()
{
    CLogText sFolder = FirstPathSetting({ORVTEXT("DefaultLogPath")});
    if (!sFolder.empty())
        return sFolder;
    sFolder = FirstPathSetting({ORVTEXT("LocalDataPath"), ORVTEXT("DataPath")});
    return sFolder.empty() ? TempFolder() : Joined(sFolder, ORVTEXT("Log"));
}

CLogText ExpandedByMarker(CView sName)
{
    CLogText sPath(sName);
    sPath.resize(sName.size() + kSettingChars);
    ExpandPathW(sPath.data(), static_cast<unsigned>(sPath.size() * sizeof(WCHAR)));
    sPath.resize(std::char_traits<WCHAR>::length(sPath.c_str()));
    return sPath;
}

/// The whole path without suffix and extension rules applied.
CLogText BasePath(CView sName)
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
        const CLogText sFolder =
            FirstPathSetting({ORVTEXT("LocalDataPath"), ORVTEXT("DataPath"), ORVTEXT("DefaultLogPath")});
        return Joined(sFolder.empty() ? DefaultLogFolder() : sFolder, sName);
    }
    const bool bBare =
        std::none_of(sName.begin(), sName.end(), [](WCHAR c) { return IsSeparator(c) || c == ':'; });
    return Joined(bBare ? DefaultLogFolder() : CLogText(), sName);
}

CLogText PeriodSuffix(ELogPeriod ePeriod, const CLogDate& date)
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
    return CLogText(sSuffix);
}

/// Reads the digits in front; their number is told.
std::size_t TakeDigits(CView& sText, unsigned& nValue)
{
    std::size_t nDigits = 0;
    for (nValue = 0; nDigits < sText.size() && sText[nDigits] >= '0' && sText[nDigits] <= '9'; ++nDigits)
        nValue = nValue * 10 + static_cast<unsigned>(sText[nDigits] - '0');
    sText.remove_prefix(nDigits);
    return nDigits;
}

/// Removes a suffix of the same shape: digits stand for digits.
bool TakeSuffix(CView& sText, CView sShape)
{
    const auto IsAlike = [](WCHAR cShape, WCHAR c) {
        return cShape == c || (cShape >= '0' && cShape <= '9' && c >= '0' && c <= '9');
    };
    if (sText.size() < sShape.size() || !std::equal(sShape.begin(), sShape.end(), sText.begin(), IsAlike))
        return false;
    sText.remove_prefix(sShape.size());
    return true;
}

/// Where the extension begins, its dot included; the length when there is none.
std::size_t ExtensionStart(CView sPath)
{
    const auto nName = sPath.find_last_of(ORVTEXT("\\/"));
    const auto nDot = sPath.rfind(ORVTEXT('.'));
    const bool bInName = nDot != CView::npos && (nName == CView::npos || nDot > nName);
    return bInName ? nDot : sPath.size();
}

/// Empty where the system tells no path that leads there.
CLogText FullPath(const CLogText& sFolder)
{
    CLogText sPath(kSettingChars, 0);
    DWORD nLength = GetFullPathNameW(sFolder.c_str(), kSettingChars, sPath.data(), nullptr);
    if (nLength > kSettingChars)
    {
        sPath.resize(nLength);
        nLength = GetFullPathNameW(sFolder.c_str(), nLength, sPath.data(), nullptr);
    }
    if (nLength == 0 && OCT::IsShortOfMemory(GetLastError()))
        throw std::bad_alloc();
    sPath.resize(nLength < sPath.size() ? nLength : 0);
    return sPath;
}

} // namespace

__time64_t (*g_pfnLogTime)() = CurrentTime;

CLogDate::CLogDate(__time64_t tTime) : m_tm()
{
    if (_localtime64_s(&m_tm, &tTime) != 0)
        m_tm = {}; // before 1970: what is made of it stays two digits each
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

CLogText FullFormat(const WCHAR* sFileNameFormat)
{
    CView sName(sFileNameFormat);
    TakePeriod(sName);
    CView sRest(sName);
    const bool bToken = TakeToken(sRest, ORVTEXT("(LOCAPP)")) || TakeToken(sRest, ORVTEXT("(TEMP)")) ||
                        sName.starts_with(ORVTEXT("*\\")) || sName.starts_with(ORVTEXT('$'));
    const std::size_t nFolder = sName.find_last_of(ORVTEXT("\\/")) + 1; // npos + 1 is 0
    if (bToken || nFolder == 0 || IsSeparator(sName[0]) || sName.find(ORVTEXT(':')) != CView::npos)
        return sFileNameFormat;
    // The folder alone, as the system takes some file names for devices.
    const CLogText sFolder = FullPath(CLogText(sName.substr(0, nFolder)));
    if (sFolder.empty())
        return sFileNameFormat;
    sName.remove_prefix(nFolder);
    return CLogText(sFileNameFormat, sName.data() - nFolder) + sFolder + CLogText(sName);
}

bool CLogFileName::Expand(const WCHAR* sFileNameFormat)
{
    *this = {};
    if (sFileNameFormat == nullptr || *sFileNameFormat == 0)
    {
        ORV_REPORT_FROM(kSource, "CreateLogFileName", "sBuffer == nullptr || STRISEMPTY(sFileNameFormat)", 0);
        return false;
    }
    const CLogText sFull = FullFormat(sFileNameFormat);
    CView sFormat(sFull);
    m_ePeriod = TakePeriod(sFormat);
    m_sStem = BasePath(sFormat);
    if (m_sStem.empty())
        return false;
    if (m_sStem.size() + kSuffixRoom <= MAX_PATH)
        m_sSuffix = PeriodSuffix(m_ePeriod, CLogDate(g_pfnLogTime()));
    const std::size_t nExtension = ExtensionStart(m_sStem);
    m_sExtension = nExtension < m_sStem.size() ? m_sStem.substr(nExtension) : CLogText(ORVTEXT(".log"));
    m_sStem.resize(nExtension);
    return true;
}

CLogText CLogFileName::Path(unsigned nNumber) const
{
    WCHAR sNumber[16] = {};
    if (nNumber > 1)
        OCT::FormatTo(sNumber, ORVTEXT("_%u"), nNumber);
    return m_sStem + m_sSuffix + sNumber + m_sExtension;
}

CLogText CLogFileName::Folder() const
{
    return m_sStem.substr(0, m_sStem.find_last_of(ORVTEXT("\\/")) + 1);
}

unsigned CLogFileName::NumberOf(CView sName, bool bAnyPeriod) const
{
    const CView sStem = CView(m_sStem).substr(Folder().size());
    unsigned nNumber = 1;
    if (!sName.starts_with(sStem) || !sName.ends_with(m_sExtension) ||
        sName.size() < sStem.size() + m_sExtension.size())
        return 0;
    sName = sName.substr(sStem.size(), sName.size() - sStem.size() - m_sExtension.size());
    const bool bPeriod = bAnyPeriod || sName.starts_with(m_sSuffix);
    if (!bPeriod || !TakeSuffix(sName, m_sSuffix))
        return 0;
    if (sName.starts_with(ORVTEXT('_')))
    {
        sName.remove_prefix(1);
        if (TakeDigits(sName, nNumber) - 1 >= kNumberDigits || nNumber < 2)
            return 0;
    }
    return sName.empty() ? nNumber : 0;
}

void CreateDirRecursive(const CLogText& sFilePath)
{
    const auto nLast = sFilePath.find_last_of(ORVTEXT("\\/"));
    if (nLast == sFilePath.npos)
    {
        ORV_REPORT_FROM(kSource, "CreateDirRecursive", "p == nullptr", 0);
        return;
    }
    for (std::size_t i = 1; i <= nLast; ++i)
        if (IsSeparator(sFilePath[i]))
        {
            // What exists already, or is a drive or a share, fails; whether the file can be made shows that
            // later.
            CreateDirectoryW(sFilePath.substr(0, i).c_str(), nullptr);
        }
}
