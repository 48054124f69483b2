// Loading and unloading the library in a program that knows it by name only.
#include "abi/loaded_library.h"
#include "orvcomtypes/orvexport.h"
#include "support/child_process.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace
{

using Uninit = void ORVCALL();
using Register = void ORVCALL(Uninit* fnUninit);
using Count = std::uint32_t ORVCALL();

int g_nCalls = 0;

void ORVCALL CountCall()
{
    ++g_nCalls;
}

TEST(Lifecycle, EachLoadBeginsAnew)
{
    CReportCapture capture;
    for (int i = 0; i < 3; ++i)
    {
        const CLoadedLibrary library(ORV_LIBRARY_FILE);
        EXPECT_EQ(1u, library.Find<Count>("GetNextAllocCnt")());
        library.Find<Uninit>("UninitOrvComTypes")();
    }
    EXPECT_NO_REPORTS(capture);
}

TEST(Lifecycle, UnloadReportsRegistrationsAndCallsNothing)
{
    CReportCapture capture;
    {
        const CLoadedLibrary library(ORV_LIBRARY_FILE);
        library.Find<Register>("RegisterPlexedAlloc")(CountCall);
        library.Find<Uninit>("UninitOrvComTypes")();
        EXPECT_EQ(1, g_nCalls);
        library.Find<Register>("RegisterPlexedAlloc")(CountCall);
        EXPECT_NO_REPORTS(capture);
    }
    EXPECT_EQ(1, g_nCalls);
    EXPECT_REPORTS(capture, {{"ClearPlexedAllocUninit", "g_PlexedObjectRefCnt == 0", "", "octalloc"},
                             {"ClearPlexedAllocUninit", "g_PlReg != nullptr", "", "octalloc"}});
}

ORV_CHILD(ExitWhileLoaded)
{
    static const auto& library = *new CLoadedLibrary(ORV_LIBRARY_FILE); // never unloaded
    library.Find<Register>("RegisterPlexedAlloc")(CountCall);
    return 5;
}

TEST(Lifecycle, ExitDetachesOnce)
{
    CReportCapture capture;
    EXPECT_EQ(5, CChildProcess("ExitWhileLoaded").Wait().m_iExitCode);
    EXPECT_EQ(2u, capture.Take().size());
}

} // namespace
