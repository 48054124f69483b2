#include "core/textformat.h"
#include "orvcomtypes/lqsettings.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/stringutils.h"
#include "settingsform.h"

#include <windows.h>

#include <cstddef>
#include <string>

namespace
{

/// At most that much of a path is reported.
constexpr unsigned kReportedPathBytes = 520;

template <class Char>
struct CPathTexts;

template <>
struct CPathTexts<char>
{
    static constexpr const char* kFunction = "ExpandPathA";
    static constexpr const char* kBadArgument = "cPath == nullptr || cPathSizeInBytes < sizeof (char)";
    static constexpr const char* kNoBase = "!bRes || cBaseDir[0] == '\\0'";
    static constexpr const char* kDataPath = "DataPath";
    static constexpr const char* kLogPath = "DefaultLogPath";

    static bool GetSetting(const char* sName, char* dest, DWORD cbDest)
    {
        return GetLQStringSettingA(nullptr, sName, dest, cbDest, nullptr);
    }
    /// The last byte of a character of two may be that of a backslash.
    static bool EndsInBackslash(const char* s, std::size_t n)
    {
        return s[n - 1] == '\\' && OCT::WholeCharacters(s, n - 1, CP_ACP) == n - 1;
    }
    static void Narrow(const char* sPath, char (&dest)[kReportedPathBytes])
    {
        CopyCut(dest, kReportedPathBytes, sPath);
    }
};

template <>
struct CPathTexts<WCHAR>
{
    static constexpr const char* kFunction = "ExpandPathW";
    static constexpr const char* kBadArgument = "cPath == nullptr || cPathSizeInBytes < sizeof (wchar_t)";
    static constexpr const char* kNoBase = "!bRes || cBaseDir[0] == L'\\0'";
    static constexpr const WCHAR* kDataPath = ORVTEXT("DataPath");
    static constexpr const WCHAR* kLogPath = ORVTEXT("DefaultLogPath");

    static bool GetSetting(const WCHAR* sName, WCHAR* dest, DWORD cbDest)
    {
        return GetLQStringSettingW(nullptr, sName, dest, cbDest, nullptr);
    }
    static bool EndsInBackslash(const WCHAR* s, std::size_t n) { return s[n - 1] == '\\'; }
    static void Narrow(const WCHAR* sPath, char (&dest)[kReportedPathBytes])
    {
        UnicodeToANSI(sPath, dest, kReportedPathBytes, CP_ACP);
    }
};

template <class Char>
void Report(const char* sCondition)
{
    ORV_REPORT_FROM("lqsettings", CPathTexts<Char>::kFunction, sCondition, 0);
}

/// The setting that a path's marker names, or null when the path has none.
template <class Char>
const Char* BaseSetting(const Char* cPath, std::size_t cchPath)
{
    if (cchPath < 2 || cPath[0] == 0 || cPath[1] != '\\')
        return nullptr;
    return cPath[0] == '*'   ? CPathTexts<Char>::kDataPath
           : cPath[0] == '$' ? CPathTexts<Char>::kLogPath
                             : nullptr;
}

template <class Char>
void ExpandPath(Char* cPath, std::size_t cPathSizeInBytes)
{
    using Texts = CPathTexts<Char>;
    const std::size_t cchPath = cPathSizeInBytes / sizeof(Char);
    if (cPath == nullptr || cchPath < 1)
        return Report<Char>(Texts::kBadArgument);
    const Char* sSetting = BaseSetting(cPath, cchPath);
    if (sSetting == nullptr)
        return;
    CSettingsBuffer<Char> cTmpPath;
    if (!cTmpPath.ReserveSize(cchPath))
        return Report<Char>("cTmpPath == nullptr");
    Char cBaseDir[kSettingsPathChars];
    const bool bRes = Texts::GetSetting(sSetting, cBaseDir, sizeof cBaseDir);
    if (!bRes || cBaseDir[0] == 0)
    {
        char sNarrow[kReportedPathBytes];
        Texts::Narrow(cPath, sNarrow);
        Report<Char>(Texts::kNoBase);
        return Report<Char>(sNarrow);
    }
    const std::size_t nBase = std::char_traits<Char>::length(cBaseDir);
    // The rest keeps its backslash unless the base directory ends in one.
    CopyCut<Char>(cTmpPath, cchPath, cPath + (Texts::EndsInBackslash(cBaseDir, nBase) ? 2 : 1));
    if (CopyCut<Char>(cPath, cchPath, cBaseDir))
        CopyCut<Char>(cPath + nBase, cchPath - nBase, cTmpPath);
}

} // namespace

void ORVCALL ExpandPathA(char* cPath, unsigned cPathSizeInBytes) noexcept
{
    ExpandPath(cPath, cPathSizeInBytes);
}

void ORVCALL ExpandPathW(WCHAR* cPath, unsigned cPathSizeInBytes) noexcept
{
    ExpandPath(cPath, cPathSizeInBytes);
}
