// What logs keep when their process ends badly.
#include "orvcomtypes/logcrash.h"
#include "orvcomtypes/lqexcept.h"
#include "support/child_process.h"
#include "support/test_log.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <thread>

namespace
{

constexpr int kLines = 2000;

/// Cannot even say what it is.
class CUntold : public CLQExcept
{
public:
    using CLQExcept::CLQExcept;
    COrvStr FormatToLog() const override { throw 7; }
};

const struct CEnd
{
    const char* m_sName;
    const char* m_sTold;
    void (*m_pfn)();
} g_ends[] = {
    {"abort", "abort|SIGABRT", [] { std::abort(); }},
    {"throw", "Uncaught exception: no way", [] { throw std::runtime_error("no way"); }},
    {"throw of ours", "Uncaught exception: Category: lqeMemory",
     [] { throw CLQMemoryExcept(0, LQ_SRC_LOCATION); }},
    {"throw of a host", "Uncaught exception of an unknown type",
     [] { throw CUntold(E_FAIL, 0, LQ_SRC_LOCATION); }},
    {"throw in a thread", "Uncaught exception of an unknown type",
     [] { std::thread([] { throw 7; }).join(); }},
    {"terminate", "terminate was called", [] { std::terminate(); }},
    {"fault", "SIGSEGV|Exception C0000005",
     [] {
         static int* volatile s_pNowhere = nullptr;
         *s_pNowhere = 1;
     }},
};

} // namespace

ORV_CHILD(EndBadly)
{
    static COrvLog s_log;
    const Text sFile = std::filesystem::path(args.at(1)).string<WCHAR>();
    if (!s_log.InitFileLog(sFile.c_str(), lqlErrors | lqlInformation, nullptr) ||
        !InstallLogCrashHandler(&s_log, 60000))
        return 1;
    for (int i = 0; i < kLines; ++i)
        s_log.LogOpt(lqlInformation, "w %d", i);
    g_ends[std::stoi(args.at(0))].m_pfn();
    return 0;
}

TEST(LogCrash, LosesNothingAndTellsWhy)
{
    for (std::size_t i = 0; i < std::size(g_ends); ++i)
    {
#ifdef ORV_TEST_SANITIZED
        if (std::string_view(g_ends[i].m_sName) == "fault")
            continue; // the sanitizer's own
#endif
        SCOPED_TRACE(g_ends[i].m_sName);
        const CTempDir dir;
        const auto file = dir / "log.txt";
        const ChildResult result = CChildProcess("EndBadly", {std::to_string(i), file.string()}).Wait();
        EXPECT_NE(0, result.m_iExitCode);
        EXPECT_NE(1, result.m_iExitCode);
        const std::string sText = WithoutTimes(ReadBytes(file));
        const auto nTold = sText.find("=E> <t> The process ends. ");
        ASSERT_NE(std::string::npos, nTold);
        EXPECT_EQ((std::map<std::string, int>{{"w", kLines}}), CountLines(sText.substr(0, nTold)));
        EXPECT_TRUE(std::regex_search(sText.substr(nTold), std::regex(g_ends[i].m_sTold)))
            << sText.substr(nTold);
    }
}

ORV_CHILD(LogUntilKilled)
{
    COrvLog log;
    if (!log.InitFileLog(std::filesystem::path(args.at(0)).string<WCHAR>().c_str(), lqlInformation, nullptr))
        return 1;
    for (int i = 0;; ++i)
    {
        log.LogOpt(lqlInformation, "w %d", i);
        if (i % 50 == 49 && log.Flush(60000))
        {
            std::printf("%d\n", i + 1);
            std::fflush(stdout);
        }
    }
}

TEST(LogCrash, WhatAFlushCoveredSurvivesAKill)
{
    const CTempDir dir;
    const auto file = dir / "log.txt";
    for (int i = 0; i < 3; ++i)
    {
        CChildProcess child("LogUntilKilled", {file.string()});
        int nFlushed = 0;
        while (nFlushed < 200)
            nFlushed = std::stoi(child.ReadLine());
        child.Kill();
        const std::string sText = ReadBytes(file);
        // A kill may leave half a line behind the last whole one.
        const auto lines = CountLines(sText.substr(0, sText.rfind('\n') + 1));
        EXPECT_LE(nFlushed, lines.at("w"));
        std::filesystem::remove(file);
    }
}

TEST(LogCrash, RemovedHandlerLeavesTheFormerOnes)
{
    const auto pfnFormer = std::get_terminate();
    EXPECT_TRUE(InstallLogCrashHandler(nullptr, 100));
    EXPECT_TRUE(InstallLogCrashHandler(nullptr, 200));
    EXPECT_NE(pfnFormer, std::get_terminate());
    RemoveLogCrashHandler();
    EXPECT_EQ(pfnFormer, std::get_terminate());
    RemoveLogCrashHandler();
}
