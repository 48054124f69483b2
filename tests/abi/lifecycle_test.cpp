// What the built library offers to the loader, and loading and unloading it in a program that knows it by
// name only.
#include "abi/loaded_library.h"
#include "orvcomtypes/orvexport.h"
#include "support/child_process.h"
#include "support/heap.h"
#include "support/pattern.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"
#include "support/test_environment.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>

namespace
{

/// The listed plain functions by their bare names, the classes and overloaded functions by their C++ names,
/// and nothing else. Comes first: what finding a name pins in the process would keep the library loaded
/// below.
TEST(Exports, AreTheListedFunctionsAndOurOwnCppNames)
{
    static const std::set<std::string> listed = {
#include "listed_names.inc"
    };
    // A function template of another library, compiled into ours, would become part of the interface unseen.
    constexpr const char* sForeign = "_Z(T[ISV]|GV)?Z?N?K?(S[a-z]|9__gnu_cxx|[0-9]icu|7testing).*";
    constexpr const char* sPlain = "_Z(?!\\d+(LQ[A-Z]|GetComErrorString))\\d.*";
    const CLoadedLibrary library(ORV_LIBRARY_FILE);
    std::set<std::string> bare;
    for (const auto& sName : library.ExportedNames())
    {
        // The loader searches the table by halves: a name can stand in it and still not be found.
        EXPECT_TRUE(library.Resolves(sName)) << sName;
        EXPECT_FALSE(Fits(sName, sForeign)) << sName;
        // The loader takes a plain C++ function of any other library's for ours of the same name.
        EXPECT_FALSE(Fits(sName, sPlain)) << sName;
        if (!sName.starts_with("_Z"))
            bare.insert(sName);
    }
    EXPECT_EQ(listed, bare);
    // Members and type information, by the names that all our compilers give them.
    for (const char* sName : {"_ZN7COrvStr5EmptyEv", "_ZTI9CLQExcept", "_ZTV9CLQExcept"})
        EXPECT_TRUE(library.Resolves(sName)) << sName;
}

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

using Compare = int ORVCALL(const WCHAR* a, const WCHAR* b, bool bNoCase);
using InitLogger = bool ORVCALL(const WCHAR* sFormat, int nOptions);
using Flush = bool ORVCALL(DWORD nMilliseconds);
using LogText = void ORVCALL(unsigned nLevel, const char* sText);
using SelectZone = LONG ORVCALL(const WCHAR* sName);
using LocalDate = bool ORVCALL(LONG t, double* pDate);
using Encode = int ORVCALL(const WCHAR* s, char* pDest, unsigned cchDest, unsigned nCodePage);

/// A process of its own: how often the library was loaded before would count.
ORV_CHILD(LoadAndUnload)
{
    const bool bTearDown = args.at(0) == "teardown";
    SetTestVariable("TZ", "Europe/Budapest"); // has many changes
    const CTempDir dir;
    std::optional<std::size_t> nBefore;
    constexpr std::size_t nCycles = 10;
    for (std::size_t i = 0; i < 2 * nCycles; ++i)
    {
        if (i == nCycles)
            nBefore = HeapInUse();
        const CLoadedLibrary library(ORV_LIBRARY_FILE);
        char sBytes[8];
        library.Find<Compare>("CompareOrvString")(ORVTEXT("\u4E00"), ORVTEXT("\u4E01"), true);
        for (const unsigned nCodePage : {1250u, 932u, 54936u})
            library.Find<Encode>("UnicodeToANSI")(ORVTEXT("\u00E9"), sBytes, sizeof sBytes, nCodePage);
        for (const WCHAR* sZone : {ORVTEXT(""), ORVTEXT("Tokyo Standard Time")})
        {
            double d;
            EXPECT_EQ(0, library.Find<SelectZone>("SetTimeZone")(sZone));
            EXPECT_TRUE(library.Find<LocalDate>("Timet2LocalDATE")(0, &d));
        }
        for (int n = 0; n < 6; ++n)
        {
            const auto file = dir / (std::to_string(n) + ".txt");
            library.Find<InitLogger>("InitFileProcessLogger")(file.string<WCHAR>().c_str(), 1);
            library.Find<LogText>("LogStrExp")(1, "line");
            // Where its thread has not begun a handler stays.
            EXPECT_TRUE(library.Find<Flush>("FlushLogs")(60000));
        }
        if (bTearDown)
            library.Find<Uninit>("UninitOrvComTypes")();
    }
    if (!nBefore)
        return 1;
    EXPECT_LT(HeapInUse().value(), *nBefore + nCycles * 1024) << "what one load makes is larger";
    return testing::Test::HasFailure() ? 2 : 0;
}

TEST(Lifecycle, UnloadLeavesNothingOnTheHeap)
{
    for (const char* sEnd : {"teardown", "unload alone"})
    {
        const ChildResult result = CChildProcess("LoadAndUnload", {sEnd}).Wait();
        if (result.m_iExitCode == 1)
            GTEST_SKIP() << "this heap does not tell what is in use";
        EXPECT_EQ(0, result.m_iExitCode) << sEnd << ": " << result.m_sOutput;
    }
}

TEST(Lifecycle, UnloadReportsRegistrationsAndCallsNothing)
{
    CReportCapture capture;
    g_nCalls = 0;
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
