#include "../platform.h"
#include "../utf8.h"

#include <windows.h>

#include <io.h>
#include <shellapi.h>

#include <atomic>

namespace
{

std::atomic<int> g_iExitStatus = 0;
HANDLE g_hStop = nullptr; // signalled from the first request on

HANDLE ToHandle(std::intptr_t hFile)
{
    return reinterpret_cast<HANDLE>(hFile);
}

BOOL WINAPI OnConsoleEvent(DWORD dwEvent)
{
    const bool bInterrupt = dwEvent == CTRL_C_EVENT || dwEvent == CTRL_BREAK_EVENT;
    if (g_iExitStatus.exchange(bInterrupt ? 130 : 143) != 0)
        return FALSE;
    SetEvent(g_hStop);
    // The system ends the process when the handler returns, but for the first two events.
    if (!bInterrupt)
        Sleep(INFINITE);
    return TRUE;
}

bool GetInformation(HANDLE hFile, BY_HANDLE_FILE_INFORMATION& information)
{
    return GetFileInformationByHandle(hFile, &information) != 0;
}

HANDLE OpenToRead(const std::filesystem::path& path)
{
    // Whoever rotates the log may rename and delete it meanwhile.
    return CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

std::vector<std::string> CommandLine(int, char**)
{
    int nCount = 0;
    wchar_t** const psArguments = CommandLineToArgvW(GetCommandLineW(), &nCount);
    std::vector<std::string> args;
    for (int i = 0; i < nCount; ++i)
        args.push_back(ToUTF8(psArguments[i]));
    LocalFree(psArguments);
    return args;
}

void CStop::Install()
{
    g_hStop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

bool CStop::IsRequested()
{
    return g_iExitStatus != 0;
}

bool CStop::Wait(unsigned nMilliseconds)
{
    WaitForSingleObject(g_hStop, nMilliseconds);
    return IsRequested();
}

int CStop::ExitStatus()
{
    return g_iExitStatus;
}

bool CInputFile::Open(const std::filesystem::path& path, bool, std::string& sError)
{
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        return sError = ToUTF8(path) + " is a folder; name the log in it", false;
    const HANDLE hFile = OpenToRead(path);
    if (hFile == INVALID_HANDLE_VALUE)
        return sError = "cannot read " + ToUTF8(path) + ": error " + std::to_string(GetLastError()), false;
    Close();
    m_hFile = reinterpret_cast<std::intptr_t>(hFile);
    return true;
}

void CInputFile::Close()
{
    if (m_hFile != -1)
        CloseHandle(ToHandle(m_hFile));
    m_hFile = -1;
}

bool CInputFile::HasInput() const
{
    return true;
}

CInputFile::ERead CInputFile::Read(char* pBuffer, std::size_t nRoom, std::size_t& nRead)
{
    DWORD dwRead = 0;
    nRead = 0;
    if (!ReadFile(ToHandle(m_hFile), pBuffer, static_cast<DWORD>(nRoom), &dwRead, nullptr))
        return GetLastError() == ERROR_BROKEN_PIPE ? ERead::End : ERead::Failed;
    nRead = dwRead;
    return dwRead > 0 ? ERead::Data : ERead::End;
}

std::uint64_t CInputFile::Size() const
{
    LARGE_INTEGER nSize = {};
    return GetFileSizeEx(ToHandle(m_hFile), &nSize) ? static_cast<std::uint64_t>(nSize.QuadPart) : 0;
}

bool CInputFile::Seek(std::uint64_t nOffset)
{
    LARGE_INTEGER nTo = {};
    nTo.QuadPart = static_cast<LONGLONG>(nOffset);
    return SetFilePointerEx(ToHandle(m_hFile), nTo, nullptr, FILE_BEGIN) != 0;
}

bool CInputFile::IsReplacedAt(const std::filesystem::path& path) const
{
    const HANDLE hNamed = OpenToRead(path);
    if (hNamed == INVALID_HANDLE_VALUE)
        return false;
    BY_HANDLE_FILE_INFORMATION named = {};
    BY_HANDLE_FILE_INFORMATION open = {};
    const bool bReplaced =
        GetInformation(hNamed, named) && GetInformation(ToHandle(m_hFile), open) &&
        (named.nFileIndexLow != open.nFileIndexLow || named.nFileIndexHigh != open.nFileIndexHigh ||
         named.dwVolumeSerialNumber != open.dwVolumeSerialNumber);
    CloseHandle(hNamed);
    return bReplaced;
}

bool IsTerminal(std::FILE* pFile)
{
    return _isatty(_fileno(pFile)) != 0;
}

unsigned long ProcessNumber()
{
    return GetCurrentProcessId();
}
