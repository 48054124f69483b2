#include "arguments.h"

#include <cstdio>

#include <io.h>
#include <shellapi.h>

namespace
{

/// The console shows UTF-8 until the process ends.
struct CUtf8Console
{
    CUtf8Console() { SetConsoleOutputCP(CP_UTF8); }
    CUtf8Console(const CUtf8Console&) = delete;
    CUtf8Console& operator=(const CUtf8Console&) = delete;
    ~CUtf8Console() { SetConsoleOutputCP(m_nBefore); }
    const UINT m_nBefore = GetConsoleOutputCP();
};

} // namespace

std::vector<CText> ProgramArguments(int, char**)
{
    static const CUtf8Console s_console;
    int nArgs = 0;
    LPWSTR* const pArgs = CommandLineToArgvW(GetCommandLineW(), &nArgs);
    std::vector<CText> args(pArgs + 1, pArgs + nArgs);
    LocalFree(pArgs);
    return args;
}

bool IsErrorStreamATerminal()
{
    return _isatty(_fileno(stderr)) != 0;
}
