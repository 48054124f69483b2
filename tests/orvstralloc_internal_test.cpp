#include "orvcomtypes/octalloc.h"
#include "strings/strbuffer.h"
#include "strings/textlen.h"
#include "support/child_process.h"
#include "support/meeting.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <set>
#include <thread>
#include <vector>

TEST(OrvStrAlloc, RequestsGetTheirSizeClass)
{
    constexpr struct
    {
        unsigned nBytes;
        unsigned nAllocLen;
    } rows[] = {{3, 42},      {42, 42},     {43, 82},     {82, 82},    {83, 302},
                {302, 302},   {303, 802},   {802, 802},   {803, 1012}, {1011, 1012},
                {1012, 2036}, {1850, 2036}, {1851, 4084}, {2036, 4084}};
    for (const auto& row : rows)
    {
        WCHAR* const s = ORVS_AllocateString(row.nBytes);
        EXPECT_EQ(row.nAllocLen, ORVS_GetAllocLen(s)) << row.nBytes;
        EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(s) % 16) << row.nBytes;
        EXPECT_EQ(0u, ORVS_GetStrLen(s));
        EXPECT_EQ(0, OCT::StrHeader(s).iRC);
        EXPECT_EQ(0, *s);
        ORVS_SetStrLen(s, 1);
        EXPECT_EQ(1u, ORVS_GetStrLen(s));
        ORVS_SetStrLen(s, 0xFFFFFFFF);
        EXPECT_EQ(row.nAllocLen / sizeof(WCHAR) - 1, ORVS_GetStrLen(s));
        ORVS_AddrefString(s);
        ORVS_ReleaseString(s);
    }
}

TEST(OrvStrAlloc, EmptyTextIsSharedAndNeverCounted)
{
    WCHAR* const sEmpty = ORVS_GetDefaultEmptyString();
    for (unsigned nBytes = 0; nBytes < 3; ++nBytes)
        EXPECT_EQ(sEmpty, ORVS_AllocateString(nBytes));
    ORVS_ReleaseString(sEmpty);
    ORVS_AddrefString(sEmpty);
    ORVS_SetStrLen(sEmpty, 1);
    EXPECT_EQ(0, OCT::StrHeader(sEmpty).iRC);
    EXPECT_EQ(2u, ORVS_GetAllocLen(sEmpty));
    EXPECT_EQ(0u, ORVS_GetStrLen(sEmpty));
}

TEST(OrvStrAlloc, SizesOutOfReachAreNull)
{
    CReportCapture capture;
    EXPECT_EQ(nullptr, ORVS_AllocateString(0xFFFFFFFF));
    EXPECT_REPORTS(capture, {{"ORVS_AllocateString", "pAlloc == nullptr", "", "orvstralloc"}});
}

TEST(OrvStrAlloc, OnlyTheSingleHolderWritesInPlace)
{
    WCHAR* const s = ORVS_AllocateString(42);
    std::vector<WCHAR*> others = {s, ORVS_AllocateSingleUsed(s, 42)};
    ORVS_AddrefString(s);
    EXPECT_EQ(s, ORVS_AllocateSingleUsed(s, 42));
    others.push_back(ORVS_AllocateSingleUsed(s, 43));
    ORVS_AddrefString(s);
    others.push_back(ORVS_AllocateSingleUsed(s, 3));
    others.push_back(ORVS_AllocateSingleUsed(nullptr, 3));
    ORVS_ReleaseString(s);
    EXPECT_EQ(others.size(), std::set(others.begin(), others.end()).size());
    for (WCHAR* const sOther : others)
    {
        OCT::StrHeader(sOther).iRC = 1;
        ORVS_ReleaseString(sOther);
    }
}

TEST(OrvStrAlloc, WrongCountsAreReportedAndFreeNothing)
{
    CReportCapture capture;
    WCHAR* const s = ORVS_AllocateString(100);
    s[0] = ORVTEXT('x');
    ORVS_ReleaseString(s);
    EXPECT_EQ(ORVTEXT('x'), s[0]);
    ORVS_AddrefString(s);
    const auto reports = capture.Take();
    EXPECT_TRUE(ReportsMatch(reports, {{"ORVS_ReleaseString", "iRC >= 0", nullptr, "orvstralloc"},
                                       {"ORVS_AddrefString", "iRC >= 1", nullptr, "orvstralloc"}}));
    for (const CapturedReport& report : reports) // the low half of the handle
        EXPECT_EQ(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(s)),
                  std::stoul(report.m_sValue, nullptr, 0));
    ORVS_AddrefString(s);
    ORVS_ReleaseString(s);
    EXPECT_NO_REPORTS(capture);
}

TEST(OrvStrAlloc, NullHandles)
{
    CReportCapture capture;
    ORVS_ReleaseString(nullptr);
    ORVS_ReleaseString(reinterpret_cast<WCHAR*>(sizeof(OrvStrHeader)));
    EXPECT_FALSE(ORVS_ValidString(nullptr));
    EXPECT_NO_REPORTS(capture);
    ORVS_AddrefString(nullptr);
    EXPECT_EQ(0u, ORVS_GetStrLen(nullptr));
    ORVS_SetStrLen(nullptr, 1);
    const ExpectedReport null = {"ORVS_GetOrvStrBuffer", "s == nullptr", "", "orvstralloc"};
    EXPECT_EQ(0u, OrvStringCchCopy(nullptr, 4, ORVTEXT("x")));
    EXPECT_REPORTS(capture, {null, null, null, {"OrvStringCchCopy", "sTrg == nullptr", "", "orvstr"}});
}

TEST(OrvStrAlloc, BuffersOfNoKindAreReportedAndDropped)
{
    CReportCapture capture;
    OrvStrBuffer<1> empty{{0}, {2, 0, 0}, {0}};
    OrvStrBuffer<5> odd{{0}, {10, 0, 0}, {0}};
    ORVS_FreeString(&g_DefEmptyString);
    ORVS_FreeString(&empty);
    ORVS_FreeString(&odd);
    EXPECT_REPORTS(capture, {{"ORVS_FreeString", "p == &g_DefEmptyString"}, {"ORVS_FreeString", ""}});
}

/// Texts of a program's static objects, which are released after everything else.
ORV_CHILD(ReleaseAfterTheEnd)
{
    static std::vector<WCHAR*>& held = *new std::vector<WCHAR*>; // what is released too late is never freed
    for (const unsigned nLen : {20u, 40u, 150u, 400u, 900u})
        for (int i = 0; i < 3; ++i)
            held.push_back(OCT::NewStr(nLen));
    SetFinalRelease();
    for (const std::size_t i : {0u, 3u, 6u, 9u})
        ORVS_ReleaseString(held[i]); // marks the chain free, though others of it are in use
    UninitOrvComTypes();
    for (const std::size_t i : {1u, 4u, 7u, 10u, 13u})
        ORVS_ReleaseString(held[i]);
    ORVS_ReleaseString(OCT::NewStr(20)); // a pool anew
    for (const std::size_t i : {2u, 5u, 8u, 11u})
        OCT::ReleaseStrRef(held[i]);
    return 0;
}

TEST(OrvStrAlloc, ReleasesAfterTheFinalTeardownTouchNothing)
{
    CReportCapture capture;
    const ChildResult result = CChildProcess("ReleaseAfterTheEnd").Wait();
    EXPECT_EQ(0, result.m_iExitCode) << result.m_sOutput;
}

TEST(OrvStrAlloc, OfTwoReleasesAtOnceOneIsTooMany)
{
    CReportCapture capture;
    constexpr int nRounds = 50;
    for (int i = 0; i < nRounds; ++i)
    {
        WCHAR* const s = OCT::NewStr(20);
        CMeeting start(2);
        const auto release = [&] {
            start.ArriveAndWait();
            ORVS_ReleaseString(s);
        };
        const std::jthread other(release);
        release();
    }
    const auto reports = capture.Take();
    EXPECT_EQ(std::size_t{nRounds}, reports.size());
    std::set<WCHAR*> taken;
    for (int i = 0; i < 100; ++i)
        taken.insert(OCT::NewStr(20));
    EXPECT_EQ(100u, taken.size()) << "no buffer is handed out twice";
    for (WCHAR* const s : taken)
        ORVS_ReleaseString(s);
}

/// Texts that go from thread to thread: what one allocates the other frees.
TEST(OrvStrAlloc, ThreadsHandTextsToEachOther)
{
    for (int nRound = 0; nRound < 20; ++nRound)
    {
        std::vector<std::vector<WCHAR*>> texts(4);
        const auto inFour = [&](auto&& body) {
            std::vector<std::jthread> threads;
            for (unsigned i = 0; i < 4; ++i)
                threads.emplace_back([&, i] { body(i); });
        };
        inFour([&](unsigned i) {
            for (unsigned n = 0; n < 300; ++n)
                std::fill_n(texts[i].emplace_back(OCT::NewStr(20 + n % 100)), 20,
                            static_cast<WCHAR>('a' + i));
        });
        inFour([&](unsigned i) {
            for (WCHAR* const s : texts[(i + 1) % 4])
            {
                EXPECT_EQ('a' + (i + 1) % 4, unsigned{s[19]});
                ORVS_ReleaseString(s);
            }
        });
    }
    CReportCapture capture;
    UninitOrvComTypes();
    EXPECT_NO_REPORTS(capture) << "the stores of ended threads and of this one have given everything back";
}

/// Teardowns while another thread goes on making texts: nothing is handed out twice, nothing is reported.
TEST(OrvStrAlloc, StoresOfOtherThreadsAreEmptiedByTheTeardown)
{
    CReportCapture capture;
    CMeeting filled(2), torn(2);
    const std::jthread other([&] {
        for (int i = 0; i < 100; ++i)
            ORVS_ReleaseString(OCT::NewStr(20));
        filled.ArriveAndWait();
        torn.ArriveAndWait();
        ORVS_ReleaseString(OCT::NewStr(20));
    });
    filled.ArriveAndWait();
    UninitOrvComTypes();
    EXPECT_NO_REPORTS(capture);
    torn.ArriveAndWait();
}

TEST(OrvStrAlloc, BuffersOutliveTheirPool)
{
    UninitOrvComTypes();
    CReportCapture capture;
    // Chains in use stay allocated for good; what is static keeps them in reach of leak checkers.
    static auto& kept = *new std::deque<std::array<WCHAR*, 5>>;
    const auto& held = kept.emplace_back(std::array<WCHAR*, 5>{
        OCT::NewStr(20), OCT::NewStr(40), OCT::NewStr(150), OCT::NewStr(400), OCT::NewStr(505)});
    UninitOrvComTypes();
    const ExpectedReport used = {"::FreeDataChain", "!IsChainUsed(p)"};
    const char* const sName =
        "OCT::CPlexAlloc<class OrvStrBuffer<21>,1024,class OCT::CCritSect>::FreeDataChain";
    EXPECT_REPORTS(capture, {{sName, "!IsChainUsed(p)"}, used, used, used});
    // Dropped while there is no pool, and again while there is a new one.
    ORVS_ReleaseString(held[0]);
    WCHAR* const sNew = OCT::NewStr(40);
    ORVS_ReleaseString(held[1]);
    WCHAR* const sNext = OCT::NewStr(40);
    EXPECT_NE(held[1], sNext);
    for (WCHAR* const s : {held[2], held[3], held[4], sNew, sNext})
        ORVS_ReleaseString(s);
    UninitOrvComTypes();
    EXPECT_NO_REPORTS(capture);
}
