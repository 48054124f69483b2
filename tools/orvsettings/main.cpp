#include "arguments.h"

#include <cstdio>

int main(int argc, char** argv)
{
    std::string sOutput;
    std::string sErrors;
    const ToolResult result = RunTool(ProgramArguments(argc, argv), sOutput, sErrors);
    std::fwrite(sErrors.data(), 1, sErrors.size(), stderr);
    const bool bWritten = std::fwrite(sOutput.data(), 1, sOutput.size(), stdout) == sOutput.size();
    return bWritten && std::fflush(stdout) == 0 ? result : eFailed;
}
