// The library is unloaded while its process logger is open.
#include "abi/loaded_library.h"
#include "orvcomtypes/orvexport.h"
#include "support/child_process.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <thread>

class COrvLog;

namespace
{

constexpr int kLoads = 20;
constexpr int kLines = 5;

using Plain = void ORVCALL();
using InitLogger = bool ORVCALL(const WCHAR* sFormat, int nOptions);
using LogText = void ORVCALL(unsigned nLevel, const char* sText);
using InstallHandler = bool ORVCALL(COrvLog* pLog, DWORD nMilliseconds);

} // namespace

/// Loads the library, logs, and calls functions before the unload.
ORV_CHILD(UnloadWithALog)
{
    const std::filesystem::path file = args.at(0);
    for (int iLoad = 0; iLoad < kLoads; ++iLoad)
    {
        const CLoadedLibrary library(ORV_LIBRARY_FILE);
        const auto log = [&library] {
            for (int i = 0; i < kLines; ++i)
                library.Find<LogText>("LogStrExp")(1, "line");
        };
        const std::string sBefore = ReadBytes(file);
        library.Find<InitLogger>("InitFileProcessLogger")(file.string<WCHAR>().c_str(), 1);
        log();
        // A thread that is ended before it has begun takes Wine with it.
        while (ReadBytes(file) == sBefore)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        log();
        for (std::size_t i = 1; i < args.size(); ++i)
            if (args[i] == "LogStrExp")
                log();
            else if (args[i] == "InstallLogCrashHandler")
                library.Find<InstallHandler>("InstallLogCrashHandler")(nullptr, 100);
            else
                library.Find<Plain>(args[i])();
    }
    return 7;
}

TEST(LogUnload, LosesNothingInAnyOrder)
{
    const ChildArguments orders[] = {{},
                                     {"InstallLogCrashHandler"},
                                     {"ReleaseProcessLogger"},
                                     {"UninitOrvComTypes"},
                                     {"UninitOrvComTypes", "ReleaseProcessLogger"},
                                     {"SetFinalRelease", "UninitOrvComTypes", "LogStrExp"},
                                     {"ReleaseProcessLogger", "UninitOrvComTypes"}};
    for (const ChildArguments& order : orders)
    {
        SCOPED_TRACE(testing::PrintToString(order));
        const CTempDir dir;
        const auto file = dir / "log.txt";
        EXPECT_EQ(7, CChildProcess("UnloadWithALog", Joined({file.string()}, order)).Wait().m_iExitCode);
        const std::string sText = ReadBytes(file);
        const int nTimes = 2 + static_cast<int>(std::ranges::count(order, "LogStrExp"));
        EXPECT_EQ(kLoads * kLines * nTimes, std::ranges::count(sText, '\n'));
    }
}
