#include "support/test_environment.h"
#include "support/wine.h"

#include <cstdlib>

// Tests exhaust the heap; the sanitizers' heaps must then answer as an ordinary one does.
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}

extern "C" const char* __tsan_default_options()
{
    return "allocator_may_return_null=1";
}

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

bool IsRunningUnderWine()
{
    return false;
}
