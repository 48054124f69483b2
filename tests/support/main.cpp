#include "support/child_process.h"
#include "support/test_environment.h"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    PrepareTestProcess();
    if (argc >= 3 && argv[1] == kChildSwitch)
        return RunAsChild(argv[2], ChildArguments(argv + 3, argv + argc));
    ::testing::InitGoogleTest(&argc, argv);
    int iResult;
    {
        const CTestEnvironment environment;
        iResult = RUN_ALL_TESTS();
    }
    EndTestProcess(iResult);
}
