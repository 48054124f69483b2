#include "orvcomtypes/octalloc.h"
#include "support/child_process.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace
{

std::vector<int> g_called;

template <int Id>
void ORVCALL Uninit()
{
    g_called.push_back(Id);
}

void ORVCALL RegisterAnother()
{
    RegisterPlexedAlloc(Uninit<2>);
}

HMODULE OwnModule()
{
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&Uninit<0>), &hModule);
    return hModule;
}

class CRegistry : public testing::Test
{
protected:
    void SetUp() override
    {
        CallPlexedAllocUninit(nullptr);
        g_called.clear();
    }
    void TearDown() override { CallPlexedAllocUninit(nullptr); }

    CReportCapture m_capture;
};

} // namespace

TEST_F(CRegistry, CallsInOrderAndForgets)
{
    RegisterPlexedAlloc(nullptr);
    RegisterPlexedAlloc(Uninit<1>);
    RegisterPlexedAlloc(Uninit<2>);
    RegisterPlexedAlloc(Uninit<1>);
    RegisterPlexedAlloc(Uninit<3>);
    UnregisterPlexedAlloc(Uninit<1>); // the first of two
    UnregisterPlexedAlloc(Uninit<4>); // unknown
    UnregisterPlexedAlloc(nullptr);
    RegisterPlexedAlloc(Uninit<5>); // into the slot that became free
    CallPlexedAllocUninit(nullptr);
    EXPECT_EQ((std::vector{5, 2, 1, 3}), g_called);
    CallPlexedAllocUninit(nullptr);
    EXPECT_EQ(4u, g_called.size());
    EXPECT_NO_REPORTS(m_capture);
}

TEST_F(CRegistry, CallsOneModule)
{
    RegisterPlexedAlloc(Uninit<1>);
    CallPlexedAllocUninit(reinterpret_cast<HMODULE>(&g_called));
    EXPECT_TRUE(g_called.empty());
    CallPlexedAllocUninit(OwnModule());
    EXPECT_EQ(std::vector{1}, g_called);
    EXPECT_NO_REPORTS(m_capture);
}

TEST_F(CRegistry, HasRoomFor1024)
{
    for (int i = 0; i < 1024; ++i)
        RegisterPlexedAlloc(Uninit<1>);
    EXPECT_NO_REPORTS(m_capture);
    RegisterPlexedAlloc(Uninit<2>);
    EXPECT_REPORTS(m_capture, {{"RegisterPlexedAlloc", "i < 1024", "", "octalloc"}});
    CallPlexedAllocUninit(nullptr);
    EXPECT_EQ(std::vector(1024, 1), g_called);
    EXPECT_NO_REPORTS(m_capture);
}

TEST_F(CRegistry, KeepsAFunctionThatRegistersDuringTeardown)
{
    // It may not do so; what it registers behind itself is still found, what it registers before itself is
    // reported.
    RegisterPlexedAlloc(Uninit<1>);
    RegisterPlexedAlloc(RegisterAnother);
    CallPlexedAllocUninit(nullptr);
    EXPECT_EQ(std::vector{1}, g_called);
    EXPECT_REPORTS(m_capture, {{"CallPlexedAllocUninit", "g_PlexedObjectRefCnt == 0", "", "octalloc"}});
}

TEST(Alloc, HeapIsTheRuntimes)
{
    auto* p = static_cast<char*>(OCTMalloc(10));
    ASSERT_NE(nullptr, p);
    p[9] = 'x';
    p = static_cast<char*>(OCTRealloc(p, 100000));
    ASSERT_NE(nullptr, p);
    EXPECT_EQ('x', p[9]);
    OCTFree(p);
    OCTFree(nullptr);
    p = static_cast<char*>(OCTRealloc(nullptr, 1));
    EXPECT_NE(nullptr, p);
    OCTFree(p);
}

ORV_CHILD(FirstCount)
{
    return static_cast<int>(GetNextAllocCnt());
}

TEST(Alloc, CountsFromOneAndNeverTwiceTheSame)
{
    EXPECT_EQ(1, CChildProcess("FirstCount").Wait().m_iExitCode);
    std::vector<std::vector<std::uint32_t>> counts(4, std::vector<std::uint32_t>(1000));
    std::vector<std::thread> threads;
    for (auto& own : counts)
        threads.emplace_back([&own] {
            for (auto& n : own)
                n = GetNextAllocCnt();
        });
    for (auto& thread : threads)
        thread.join();
    std::set<std::uint32_t> all;
    for (const auto& own : counts)
        all.insert(own.begin(), own.end());
    EXPECT_EQ(4000u, all.size());
}

namespace
{

void ORVCALL SayCalled()
{
    std::puts("called");
}

} // namespace

ORV_CHILD(ExitWithRegistration)
{
    RegisterPlexedAlloc(SayCalled);
    if (!args.empty())
        UninitOrvComTypes();
    UninitOrvComTypes();
    if (args.empty())
        RegisterPlexedAlloc(SayCalled);
    return 0;
}

TEST(Lifecycle, DetachReportsWhatIsLeftAndCallsNothing)
{
    CReportCapture capture;
    EXPECT_EQ("called\n", CChildProcess("ExitWithRegistration").Wait().m_sOutput);
    EXPECT_REPORTS(capture, {{"ClearPlexedAllocUninit", "g_PlexedObjectRefCnt == 0", "", "octalloc"},
                             {"ClearPlexedAllocUninit", "g_PlReg != nullptr", "", "octalloc"}});
}

TEST(Lifecycle, DetachAfterTeardownIsQuiet)
{
    CReportCapture capture;
    EXPECT_EQ("called\n", CChildProcess("ExitWithRegistration", {"twice"}).Wait().m_sOutput);
    EXPECT_NO_REPORTS(capture);
}
