#include "core/textformat.h"
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/orvlog.h"
#include "textviewer.h"

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
        COrvStr sReason = GetWinErrorString(dwError);
        if (sReason.IsEmpty())
        {
            WCHAR sCode[11];
            OCT::FormatTo(sCode, ORVTEXT("0x%08X"), dwError);
            sReason = sCode;
        }
        SetFL("orvlog", __LINE__);
        LogOpt(lqlErrors, HRESULT_FROM_WIN32(dwError),
               "Could not show log file in notepad because: %S; CommandLine: %S",
               static_cast<const WCHAR*>(sReason), static_cast<const WCHAR*>(sCommandLine));
        SetFL(nullptr, 0);
        return false;
    }
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
    return true;
}
