#include "core/textformat.h"
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvlog.h"
#include "textviewer.h"

#include <windows.h>

#include <cstddef>

namespace
{

/// The system's text for an error; its number where there is none.
template <std::size_t Size>
void DescribeError(WCHAR (&sReason)[Size], DWORD dwError)
{
    sReason[0] = 0;
    try
    {
        GetWinErrorString(dwError).CopyTo(sReason, Size);
    }
    catch (...) // no memory
    {
    }
    if (sReason[0] == 0)
        OCT::FormatTo(sReason, ORVTEXT("0x%08X"), dwError);
}

} // namespace

bool COrvLog::ShowLogFileWithNotepad() const
{
    const COrvStr sFile = GetLogFileName();
    if (sFile.IsEmpty())
        return false;
    WCHAR sCommandLine[MAX_PATH];
    OCT::FormatTo(sCommandLine, ORVTEXT("%s \"%s\""), PortTextViewer(), static_cast<const WCHAR*>(sFile));
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, sCommandLine, nullptr, nullptr, TRUE, DETACHED_PROCESS, nullptr, nullptr,
                        &startup, &process))
    {
        const DWORD dwError = GetLastError();
        WCHAR sReason[500];
        DescribeError(sReason, dwError);
        SetFL("orvlog", __LINE__);
        LogOpt(lqlErrors, HRESULT_FROM_WIN32(dwError),
               "Could not show log file in notepad because: %S; CommandLine: %S", sReason, sCommandLine);
        SetFL(nullptr, 0);
        return false;
    }
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
    return true;
}
