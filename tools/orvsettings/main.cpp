#include "arguments.h"

#include <cstdio>

int main(int argc, char** argv)
{
    std::string sOutput;
    std::string sErrors;
    const ToolResult result = RunTool(ProgramArguments(argc, argv), sOutput, sErrors);
    std::fwrite(sErrors.data(), 1, sErrors.size(), stderr);
    if (std::fwrite(sOutput.data(), 1, sOutput.size(), stdout) == sOutput.size() && std::fflush(stdout) == 0)
        return result;
    std::perror("orvsettings: cannot write the output");
    return eFailed;
}
