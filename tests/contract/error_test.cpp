#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <thread>

TEST(LastError, BelongsToTheThread)
{
    // Between the two calls this thread only spins: thread and framework functions set the last error
    // themselves.
    std::atomic<bool> isSet = false;
    std::atomic<bool> isOtherDone = false;
    DWORD dwOther = ERROR_ACCESS_DENIED;
    std::thread other([&] {
        while (!isSet)
            ;
        dwOther = GetLastError();
        SetLastError(ERROR_DISK_FULL);
        isOtherDone = true;
    });
    SetLastError(ERROR_ACCESS_DENIED);
    isSet = true;
    while (!isOtherDone)
        ;
    const DWORD dwOwn = GetLastError();
    other.join();
    EXPECT_NE(static_cast<DWORD>(ERROR_ACCESS_DENIED), dwOther);
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), dwOwn);
}
