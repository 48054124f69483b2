// The library is unloaded while its log's thread is held up: in a call of the system, or before its first
// step.
#include "abi/loaded_library.h"
#include "orvcomtypes/orvexport.h"
#include "support/child_process.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

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
    ORV_SKIP_SANITIZED("the sanitizers hold signals back");
    const CTempDir dir;
    const auto pipe = dir / "pipe.txt";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    EXPECT_EQ(7, CChildProcess("UnloadWhileThePipeIsFull", {pipe.string()}).Wait().m_iExitCode);
}

#ifndef ORV_TEST_SANITIZED

namespace
{

constexpr useconds_t kLateMicroseconds = 300000; // more than the unload gives a thread to leave

bool g_bThreadsComeLate = false;

struct CLateThread
{
    void* (*m_pfnStart)(void*);
    void* m_pArgument;
};

void* ComeLate(void* p)
{
    const std::unique_ptr<CLateThread> pThread(static_cast<CLateThread*>(p));
    usleep(kLateMicroseconds);
    return pThread->m_pfnStart(pThread->m_pArgument);
}

} // namespace

extern "C" int pthread_create(pthread_t* pThread, const pthread_attr_t* pAttributes, void* (*pfnStart)(void*),
                              void* pArgument) noexcept
{
    static const auto s_pfnReal =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return g_bThreadsComeLate
               ? s_pfnReal(pThread, pAttributes, ComeLate, new CLateThread{pfnStart, pArgument})
               : s_pfnReal(pThread, pAttributes, pfnStart, pArgument);
}

ORV_CHILD(UnloadBeforeTheThreadBegins)
{
    g_bThreadsComeLate = true;
    {
        const CLoadedLibrary library(ORV_LIBRARY_FILE);
        library.Find<bool(const WCHAR*, int)>("InitFileProcessLogger")(
            std::filesystem::path(args.at(0)).string<WCHAR>().c_str(), 1);
        library.Find<void(unsigned, const char*)>("LogStrExp")(1, "line");
    }
    usleep(2 * kLateMicroseconds); // now it would have begun
    return 7;
}

TEST(BlockedUnload, WaitsForAThreadThatHasNotBegun)
{
    const CTempDir dir;
    const auto file = dir / "log.txt";
    EXPECT_EQ(7, CChildProcess("UnloadBeforeTheThreadBegins", {file.string()}).Wait().m_iExitCode);
    EXPECT_TRUE(ReadBytes(file).ends_with("line\r\n"));
}

#endif
