#include "arguments.h"
#include "commands.h"

#include <windows.h>

#include <cstring>
#include <vector>

#include <unistd.h>

std::vector<CText> ProgramArguments(int argc, char** argv)
{
    std::vector<CText> args;
    for (int i = 1; i < argc; ++i)
    {
        const int nBytes = static_cast<int>(std::strlen(argv[i]));
        CText sArg(static_cast<std::size_t>(nBytes), 0);
        sArg.resize(static_cast<std::size_t>(
            nBytes == 0 ? 0 : MultiByteToWideChar(CP_UTF8, 0, argv[i], nBytes, sArg.data(), nBytes)));
        args.push_back(sArg);
    }
    return args;
}

bool IsErrorStreamATerminal()
{
    return isatty(STDERR_FILENO) == 1;
}
