// The library is unloaded while its log's thread is held up in a call of the system.
#include "abi/loaded_library.h"
#include "orvcomtypes/orvexport.h"
#include "support/child_process.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

ORV_CHILD(UnloadWhileThePipeIsFull)
{
    const int fd = open(args.at(0).c_str(), O_RDONLY | O_NONBLOCK);
    {
        const CLoadedLibrary library(ORV_LIBRARY_FILE);
        library.Find<bool(const WCHAR*, int)>("InitFileProcessLogger")(
            std::filesystem::path(args.at(0)).string<WCHAR>().c_str(), 1);
        for (int i = 0; i < 5000; ++i)
            library.Find<void(unsigned, const char*)>("LogStrExp")(1, "a line for a pipe that nobody reads");
        library.Find<bool(DWORD)>("FlushLogs")(100);
    }
    // Now the thread could go on, if it were there.
    char buffer[4096];
    std::size_t nRead = 0;
    for (ssize_t n = 1; n > 0; nRead += static_cast<std::size_t>(n > 0 ? n : 0))
        n = read(fd, buffer, sizeof buffer);
    usleep(20000);
    return nRead > 0 ? 7 : 1;
}

TEST(BlockedUnload, NeitherHangsNorCrashes)
{
#ifdef ORV_TEST_SANITIZED
    GTEST_SKIP() << "the sanitizers hold signals back";
#endif
    const CTempDir dir;
    const auto pipe = dir / "pipe.txt";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    EXPECT_EQ(7, CChildProcess("UnloadWhileThePipeIsFull", {pipe.string()}).Wait().m_iExitCode);
}
