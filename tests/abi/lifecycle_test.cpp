// Loading and unloading the library in a program that knows it by name only.
#include "abi/loaded_library.h"
#include "orvcomtypes/orvexport.h"
#include "support/child_process.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <cstdio>

namespace
{

using UninitFunction = void ORVCALL();
using RegisterFunction = void ORVCALL(UninitFunction* fnUninit);
using CountFunction = std::uint32_t ORVCALL();

int g_nCalls = 0;

void ORVCALL CountCall()
{
    ++g_nCalls;
}

} // namespace

TEST(Lifecycle, EachLoadBeginsAnew)
{
    CReportCapture capture;
    for (int i = 0; i < 3; ++i)
    {
        const CLoadedLibrary library(ORV_LIBRARY_FILE);
        EXPECT_EQ(1u, library.Find<CountFunction>("GetNextAllocCnt")());
        library.Find<UninitFunction>("UninitOrvComTypes")();
    }
    EXPECT_NO_REPORTS(capture);
}

TEST(Lifecycle, UnloadReportsRegistrationsAndCallsNothing)
{
    g_nCalls = 0;
    CReportCapture capture;
    {
        const CLoadedLibrary library(ORV_LIBRARY_FILE);
        const auto fnRegister = library.Find<RegisterFunction>("RegisterPlexedAlloc");
        fnRegister(CountCall);
        library.Find<UninitFunction>("UninitOrvComTypes")();
        EXPECT_EQ(1, g_nCalls);
        fnRegister(CountCall);
        EXPECT_NO_REPORTS(capture);
    }
    EXPECT_EQ(1, g_nCalls);
    EXPECT_REPORTS(capture, {{"ClearPlexedAllocUninit", "g_PlexedObjectRefCnt == 0", "", "octalloc"},
                             {"ClearPlexedAllocUninit", "g_PlReg != nullptr", "", "octalloc"}});
}

ORV_CHILD(ExitWhileLoaded)
{
    static const auto& library = *new CLoadedLibrary(ORV_LIBRARY_FILE); // never unloaded
    library.Find<RegisterFunction>("RegisterPlexedAlloc")(CountCall);
    std::puts("end of main");
    return 0;
}

TEST(Lifecycle, ExitDetachesOnce)
{
    CReportCapture capture;
    const auto result = CChildProcess("ExitWhileLoaded").Wait();
    EXPECT_EQ(0, result.m_iExitCode);
    EXPECT_EQ("end of main\n", result.m_sOutput);
    EXPECT_EQ(2u, capture.Take().size());
}
