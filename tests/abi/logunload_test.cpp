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
#include <memory>
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

class CLoadedLog
{
public:
    explicit CLoadedLog(const std::filesystem::path& file)
    {
        const std::string sBefore = ReadBytes(file);
        m_library.Find<InitLogger>("InitFileProcessLogger")(file.string<WCHAR>().c_str(), 1);
        Log();
        // A thread that is ended before it has begun takes Wine with it.
        while (ReadBytes(file) == sBefore)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        Log();
    }

    void Log()
    {
        for (int i = 0; i < kLines; ++i)
            m_library.Find<LogText>("LogStrExp")(1, "line");
    }
    void CatchCrashes() { m_library.Find<InstallHandler>("InstallLogCrashHandler")(nullptr, 100); }
    void Call(const char* sFunction) { m_library.Find<Plain>(sFunction)(); }

private:
    CLoadedLibrary m_library{ORV_LIBRARY_FILE};
};

struct COrder
{
    const char* m_sName;
    int m_nLines; ///< of each load
    void (*m_pfnEnd)(CLoadedLog& log);
} const g_orders[] = {
    {"unload", 2 * kLines, [](CLoadedLog&) {}},
    {"crash handler, unload", 2 * kLines, [](CLoadedLog& log) { log.CatchCrashes(); }},
    {"release, unload", 2 * kLines, [](CLoadedLog& log) { log.Call("ReleaseProcessLogger"); }},
    {"teardown, unload", 2 * kLines, [](CLoadedLog& log) { log.Call("UninitOrvComTypes"); }},
    {"teardown, release, unload", 2 * kLines,
     [](CLoadedLog& log) {
         log.Call("UninitOrvComTypes");
         log.Call("ReleaseProcessLogger");
     }},
    {"final release, teardown, more lines, unload", 3 * kLines,
     [](CLoadedLog& log) {
         log.Call("SetFinalRelease");
         log.Call("UninitOrvComTypes");
         log.Log();
     }},
    {"release, teardown, unload", 2 * kLines,
     [](CLoadedLog& log) {
         log.Call("ReleaseProcessLogger");
         log.Call("UninitOrvComTypes");
     }},
};

} // namespace

ORV_CHILD(UnloadWithALog)
{
    for (int i = 0; i < kLoads; ++i)
    {
        CLoadedLog log(args.at(1));
        g_orders[std::stoi(args.at(0))].m_pfnEnd(log);
    }
    return 7;
}

TEST(LogUnload, LosesNothingInAnyOrder)
{
    for (std::size_t i = 0; i < std::size(g_orders); ++i)
    {
        SCOPED_TRACE(g_orders[i].m_sName);
        const CTempDir dir;
        const auto file = dir / "log.txt";
        EXPECT_EQ(7, CChildProcess("UnloadWithALog", {std::to_string(i), file.string()}).Wait().m_iExitCode);
        const std::string sText = ReadBytes(file);
        EXPECT_EQ(kLoads * g_orders[i].m_nLines, std::count(sText.begin(), sText.end(), '\n'));
    }
}
