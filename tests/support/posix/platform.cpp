#include "support/test_environment.h"
#include "support/wine.h"

#include <cstdlib>

std::filesystem::path TestProgram()
{
    return std::filesystem::read_symlink("/proc/self/exe");
}

void SetTestVariable(const char* sName, const char* sValue)
{
    if (sValue != nullptr)
        setenv(sName, sValue, 1);
    else
        unsetenv(sName);
}

void PrepareTestProcess() {}

void EndTestProcess(int iResult)
{
    std::exit(iResult);
}

bool IsRunningUnderWine()
{
    return false;
}
