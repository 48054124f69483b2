#include "arguments.h"

#include <shellapi.h>

std::vector<CText> ProgramArguments(int, char**)
{
    SetConsoleOutputCP(CP_UTF8);
    int nArgs = 0;
    LPWSTR* const pArgs = CommandLineToArgvW(GetCommandLineW(), &nArgs);
    std::vector<CText> args(pArgs + 1, pArgs + nArgs);
    LocalFree(pArgs);
    return args;
}
