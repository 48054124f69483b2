// Debugger output goes where ORVCOMTYPES_DEBUG_OUTPUT says: "stderr", or a file that each call appends to in
// one write; nowhere without it. A debugger would take it from a standard stream.
#include <windows.h>

#include "text/utf.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace
{

/// Null: nowhere.
const char* Target()
{
    const char* sTarget = std::getenv("ORVCOMTYPES_DEBUG_OUTPUT");
    return sTarget && *sTarget ? sTarget : nullptr;
}

void Output(const char* sTarget, std::string_view sText)
{
    if (sText.empty())
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
    const char* sTarget = Target();
    if (sTarget && lpOutputString)
        Output(sTarget, lpOutputString);
}

void OutputDebugStringW(LPCWSTR lpOutputString) noexcept
{
    const char* sTarget = Target();
    if (!sTarget || !lpOutputString)
        return;
    try
    {
        Output(sTarget, PortToUtf8(lpOutputString));
    }
    catch (const std::bad_alloc&)
    {
        // Running out of memory is told here too, and must not end the process.
    }
}
