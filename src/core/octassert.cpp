#include "orvcomtypes/octassert.h"

#include "core/fixedline.h"
#include "orvcomtypes/orvexport.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

// A report must be possible from anywhere: under any lock, without memory, in static destructors. So it uses
// platform calls and the stack only.
namespace
{

using CPath = OCT::CFixedLine<WCHAR, 2048>;
using CReportText = OCT::CFixedLine<char, 2100>;

constexpr DWORD kValueSize = 1024;

class CLastErrorKeeper
{
public:
    CLastErrorKeeper() : m_dwError(GetLastError()) {}
    CLastErrorKeeper(const CLastErrorKeeper&) = delete;
    CLastErrorKeeper& operator=(const CLastErrorKeeper&) = delete;
    ~CLastErrorKeeper() { SetLastError(m_dwError); }

private:
    DWORD m_dwError;
};

void AppendLocalTime(CReportText& text)
{
    SYSTEMTIME time;
    GetLocalTime(&time);
    text.AppendDecimal(time.wYear, 4, '0').Append("-").AppendDecimal(time.wMonth, 2, '0');
    text.Append("-").AppendDecimal(time.wDay, 2, '0').Append(" ").AppendDecimal(time.wHour, 2, ' ');
    text.Append(":").AppendDecimal(time.wMinute, 2, '0').Append(":").AppendDecimal(time.wSecond, 2, '0');
    text.Append(" ");
}

std::string_view FileName(const char* sPath)
{
    const std::string_view path = sPath != nullptr ? sPath : "";
    return path.substr(path.find_last_of("/\\") + 1);
}

std::string_view OrEmpty(const char* s)
{
    return s != nullptr ? s : "";
}

void FormatReport(CReportText& text, const char* sSource, int iLine, const char* sFunction,
                  const char* sCondition, std::uint32_t nValue)
{
    text.ReserveEnd(2);
    AppendLocalTime(text);
    text.Append(FileName(sSource)).Append("(");
    if (iLine < 0)
        text.Append("-");
    text.AppendDecimal(iLine < 0 ? 0u - static_cast<std::uint32_t>(iLine)
                                 : static_cast<std::uint32_t>(iLine));
    text.Append(") $$$ in function '").Append(OrEmpty(sFunction)).Append("'");
    // Small counts and indices are decimal, codes and pointers hexadecimal; the switch at 999999 is
    // deliberate.
    if (nValue > 999999)
        text.Append(", 0x").AppendHex8(nValue);
    else if (nValue > 0)
        text.Append(", ").AppendDecimal(nValue);
    text.Append("!");
    if (sCondition != nullptr)
        text.Append(" Message: ").Append(sCondition);
    text.ReserveEnd(0);
    text.Append("\r\n");
}

/// Reads a text value; false when it is missing, empty or no text.
bool ReadValue(HKEY hKey, const WCHAR* sName, CPath& value)
{
    WCHAR sBuffer[kValueSize];
    DWORD dwType = 0;
    DWORD dwBytes = sizeof(sBuffer);
    if (RegQueryValueExW(hKey, sName, nullptr, &dwType, reinterpret_cast<BYTE*>(sBuffer), &dwBytes) !=
        ERROR_SUCCESS)
        return false;
    if (dwType != REG_SZ && dwType != REG_EXPAND_SZ)
        return false;
    // The registry keeps texts as they were written, with or without a terminator.
    std::basic_string_view<WCHAR> text(sBuffer, dwBytes / sizeof(WCHAR));
    value.Clear();
    value.Append(text.substr(0, text.find(WCHAR())));
    return !value.View().empty();
}

bool FindConfiguredDirectory(CPath& directory)
{
    HKEY hKey = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, ORVTEXT("Software\\Orvanex\\Lumatrek"), 0, KEY_QUERY_VALUE,
                      &hKey) != ERROR_SUCCESS)
        return false;
    bool bFound = ReadValue(hKey, ORVTEXT("DefaultLogPath"), directory);
    if (!bFound && (ReadValue(hKey, ORVTEXT("LocalDataPath"), directory) ||
                    ReadValue(hKey, ORVTEXT("DataPath"), directory)))
    {
        directory.AppendSeparator().Append(ORVTEXT("Log\\"));
        bFound = true;
    }
    RegCloseKey(hKey);
    return bFound;
}

bool ReadVariable(const WCHAR* sName, CPath& value)
{
    WCHAR sBuffer[kValueSize];
    const DWORD dwLength = GetEnvironmentVariableW(sName, sBuffer, kValueSize);
    if (dwLength == 0 || dwLength >= kValueSize)
        return false;
    value.Clear();
    value.Append({sBuffer, dwLength});
    return true;
}

bool FindDefaultDirectory(CPath& directory)
{
    if (ReadVariable(ORVTEXT("ALLUSERSPROFILE"), directory))
        directory.AppendSeparator().Append(ORVTEXT("Application Data"));
    else if (!ReadVariable(ORVTEXT("TEMP"), directory))
        return false;
    directory.AppendSeparator().Append(ORVTEXT("Lumatrek\\Log"));
    return true;
}

/// The running program's file name without folder and extension.
void AppendProgramName(CPath& path)
{
    WCHAR sBuffer[kValueSize];
    const DWORD dwLength = std::min(GetModuleFileNameW(nullptr, sBuffer, kValueSize), kValueSize - 1);
    std::basic_string_view<WCHAR> name(sBuffer, dwLength);
    name = name.substr(name.find_last_of(ORVTEXT("/\\")) + 1);
    path.Append(name.substr(0, name.rfind(ORVTEXT('.'))));
}

bool FindErrorFile(CPath& path)
{
    if (!FindConfiguredDirectory(path) && !FindDefaultDirectory(path))
        return false;
    path.AppendSeparator().Append(ORVTEXT("LQErrors_3.8.2_"));
    AppendProgramName(path);
    path.Append(ORVTEXT(".log"));
    return true;
}

/// Creates each folder on the way to a file. Failures show when the file is opened.
void CreateFolders(CPath& file)
{
    WCHAR* pStart = file.Text();
    for (WCHAR* p = pStart; *p != 0; ++p)
    {
        if (p == pStart || (*p != '\\' && *p != '/'))
            continue;
        const WCHAR cSeparator = *p;
        *p = 0;
        CreateDirectoryW(pStart, nullptr);
        *p = cSeparator;
    }
}

HANDLE OpenErrorFile(const CPath& path)
{
    return CreateFileW(path.Text(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// Writes the whole text in one call at what is then the end of the file, whoever else writes.
void WriteAtEnd(HANDLE hFile, const CReportText& text)
{
    OVERLAPPED end = {};
    end.Offset = end.OffsetHigh = 0xFFFFFFFFu;
    DWORD dwWritten = 0;
    WriteFile(hFile, text.Text(), static_cast<DWORD>(text.View().size()), &dwWritten, &end);
}

void ReportUnopenable(const CPath& path, DWORD dwError)
{
    CPath text;
    text.Append(ORVTEXT("Failed to open log file '")).Append(path.View());
    text.Append(ORVTEXT("'. Code ")).AppendDecimal(dwError).Append(ORVTEXT("\n"));
    OutputDebugStringW(text.Text());
}

void AppendToErrorFile(const CReportText& text)
{
    CPath path;
    if (!FindErrorFile(path))
        return;
    HANDLE hFile = OpenErrorFile(path);
    if (hFile == INVALID_HANDLE_VALUE)
    {
        CreateFolders(path);
        hFile = OpenErrorFile(path);
    }
    if (hFile == INVALID_HANDLE_VALUE)
        return ReportUnopenable(path, GetLastError());
    WriteAtEnd(hFile, text);
    CloseHandle(hFile);
}

} // namespace

void ORVCALL OrvReportAssertion(const char* sSource, int iLine, const char* sFunction, const char* sCondition,
                                std::uint32_t nValue) noexcept
{
    const CLastErrorKeeper keeper;
    CReportText text;
    FormatReport(text, sSource, iLine, sFunction, sCondition, nValue);
    OutputDebugStringA(text.Text());
    AppendToErrorFile(text);
}
