#include "orvcomtypes/octalloc.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
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

TEST(Alloc, ReallocationKeepsTheContent)
{
    auto* p = static_cast<char*>(OCTRealloc(OCTMalloc(10), 20));
    p[19] = 'x';
    p = static_cast<char*>(OCTRealloc(p, 100000));
    EXPECT_EQ('x', p[19]);
    OCTFree(p);
    OCTFree(OCTRealloc(nullptr, 1));
    OCTFree(nullptr);
}

TEST(Alloc, CountsNeverTwiceTheSame)
{
    std::vector<std::uint32_t> counts(4000);
    std::vector<std::jthread> threads;
    for (auto it = counts.begin(); it != counts.end(); it += 1000)
        threads.emplace_back([it] { std::generate_n(it, 1000, GetNextAllocCnt); });
    threads.clear();
    EXPECT_EQ(4000u, std::set(counts.begin(), counts.end()).size());
}
