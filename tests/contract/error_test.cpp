#include <gtest/gtest.h>

#include <windows.h>

#include <thread>

TEST(LastError, BelongsToTheThread)
{
    SetLastError(ERROR_ACCESS_DENIED);
    DWORD dwOther = ERROR_ACCESS_DENIED;
    std::thread([&] {
        dwOther = GetLastError();
        SetLastError(ERROR_DISK_FULL);
    }).join();
    // Read before the first expectation: the test framework's own calls set the last error.
    const DWORD dwOwn = GetLastError();
    EXPECT_EQ(static_cast<DWORD>(ERROR_SUCCESS), dwOther);
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), dwOwn);
}
