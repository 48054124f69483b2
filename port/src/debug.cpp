// Debugger output goes where ORVCOMTYPES_DEBUG_OUTPUT says: "stderr", or a file that each call appends to in
// one write; nowhere without it. A debugger would take it from a standard stream.
#include <windows.h>

#include "utf.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

namespace
{

void Output(std::string_view sText)
{
    const char* sTarget = std::getenv("ORVCOMTYPES_DEBUG_OUTPUT");
    if (!sTarget || !*sTarget || sText.empty())
        return;
    const bool bStandard = std::strcmp(sTarget, "stderr") == 0;
    const int fd =
        bStandard ? STDERR_FILENO : ::open(sTarget, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0)
        return;
    [[maybe_unused]] const ssize_t nWritten = ::write(fd, sText.data(), sText.size());
    if (!bStandard)
        ::close(fd);
}

} // namespace

void OutputDebugStringA(LPCSTR lpOutputString) noexcept
{
    if (lpOutputString)
        Output(lpOutputString);
}

void OutputDebugStringW(LPCWSTR lpOutputString) noexcept
{
    if (lpOutputString)
        Output(PortToUtf8(lpOutputString));
}

WORD CaptureStackBackTrace(DWORD FramesToSkip, DWORD FramesToCapture, PVOID* BackTrace,
                           std::nullptr_t) noexcept
{
    void* addresses[64];
    const auto nFrames = static_cast<DWORD>(backtrace(addresses, 64));
    const DWORD dwSkip = FramesToSkip + 1; // this function
    const DWORD dwCount = nFrames > dwSkip ? std::min(nFrames - dwSkip, FramesToCapture) : 0;
    std::copy_n(addresses + std::min(dwSkip, nFrames), dwCount, BackTrace);
    return static_cast<WORD>(dwCount);
}
