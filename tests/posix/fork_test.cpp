// What a forked child can count on while other threads are busy with the library.
#include "orvcomtypes/orvcomtypes.h"
#include "support/child_process.h"
#include "support/forked.h"
#include "support/meeting.h"
#include "support/test_environment.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace
{

// Things that are made on first use.
constexpr std::pair<const char*, bool (*)()> kFirstUses[] = {
    {"collation", [] { return CompareOrvString(ORVTEXT("\u4E00"), ORVTEXT("\u4E01"), true) != 0; }},
    {"code page",
     [] {
         char sBytes[8];
         return UnicodeToANSI(ORVTEXT("\u4E00"), sBytes, sizeof sBytes, 932) == 2;
     }},
    {"zone",
     [] {
         WORD wYear, wMonth, wDay;
         return COrvTime(1700000000).GetLocalYMD(&wYear, &wMonth, &wDay, nullptr, nullptr, nullptr);
     }},
    {"locale's times", [] { return !COrvTime(1700000000).FormatLocal().IsEmpty(); }},
    {"settings", [] { return !GetLQStrSetting(nullptr, ORVTEXT("x"), ORVTEXT("d")).IsEmpty(); }},
};

/// Forks while another thread uses the thing for the first time in the process.
ORV_CHILD(ForkAtFirstUse)
{
    static bool (*s_use)() = nullptr;
    s_use = kFirstUses[std::stoi(args.at(0))].second;
    CMeeting start(2);
    std::thread user([&start] {
        start.ArriveAndWait();
        EXPECT_TRUE(s_use());
    });
    start.ArriveAndWait();
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(RunForked([] { return s_use(); }));
    user.join();
    return testing::Test::HasFailure();
}

TEST(Fork, ChildrenUseWhatAnotherThreadWasJustMaking)
{
    ORV_SKIP_SANITIZED("the sanitizers' own locks are not made whole in a forked child");
    for (std::size_t i = 0; i < std::size(kFirstUses); ++i)
        for (int n = 0; n < 10; ++n)
        {
            const ChildResult result = CChildProcess("ForkAtFirstUse", {std::to_string(i)}).Wait();
            ASSERT_EQ(0, result.m_iExitCode) << kFirstUses[i].first << ": " << result.m_sOutput;
        }
}

TEST(Fork, DoesNotWaitForLocksOfThePrograms)
{
    OCT::CCritSect lock;
    CMeeting held(2), done(2);
    std::thread holder([&] {
        const OCT::CCritSectGuard guard(&lock);
        held.ArriveAndWait();
        done.ArriveAndWait();
    });
    held.ArriveAndWait();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(RunForked([] { return true; }));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
    done.ArriveAndWait();
    holder.join();
}

/// A child that ends in the ordinary way waits for nobody who was comparing in the parent.
ORV_CHILD(ForkWhileComparing)
{
    std::atomic<bool> bStop = false;
    const Text aTexts[] = {Text(2000, ORVTEXT('\u4E00')), Text(1999, ORVTEXT('\u4E00')) + ORVTEXT('\u4E01')};
    std::jthread other([&] {
        while (!bStop)
            CompareOrvString(aTexts[0].c_str(), aTexts[1].c_str(), false);
    });
    for (int i = 0; i < 20; ++i)
        EXPECT_TRUE(RunForked([]() -> bool { std::exit(0); }));
    bStop = true;
    return testing::Test::HasFailure();
}

TEST(Fork, ChildrenEndWhileOtherThreadsCompared)
{
    ORV_SKIP_SANITIZED("the sanitizers' own locks are not made whole in a forked child");
    const ChildResult result = CChildProcess("ForkWhileComparing").Wait();
    EXPECT_EQ(0, result.m_iExitCode) << result.m_sOutput;
}

/// Threads that make and drop texts all the time, so that forks fall into that.
TEST(Fork, ChildrenMakeTextsWhileOtherThreadsDid)
{
    ORV_SKIP_SANITIZED("the sanitizers' own locks are not made whole in a forked child");
    std::atomic<bool> bStop = false;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&bStop] {
            while (!bStop)
                for (const unsigned nLen : {10u, 40u, 150u, 400u, 1000u})
                    std::vector<COrvStr>(20, COrvStr(Text(nLen, 'x').c_str()));
        });
    for (int i = 0; i < 50; ++i)
        ASSERT_TRUE(RunForked([] {
            std::vector<COrvStr> texts;
            for (int n = 0; n < 2000; ++n)
                texts.emplace_back(ORVTEXT("in the child"));
            return texts.back().GetLength() == 12;
        }));
    bStop = true;
}

/// What a vanished thread kept for itself is the next thread's: the buffer that it gave back last.
TEST(Fork, ChildrenInheritWhatOtherThreadsKept)
{
    ORV_SKIP_SANITIZED("the sanitizers' own locks are not made whole in a forked child");
    constexpr unsigned nBytes = 82;
    static const WCHAR* s_sKept;
    const auto keep = [] {
        WCHAR* const s = ORVS_AllocateSingleUsed(nullptr, nBytes);
        ORVS_AddrefString(s);
        ORVS_ReleaseString(s);
        return s;
    };
    keep(); // this thread has a store of its own
    CMeeting kept(2), done(2);
    std::jthread other([&] {
        s_sKept = keep();
        kept.ArriveAndWait();
        done.ArriveAndWait();
    });
    kept.ArriveAndWait();
    EXPECT_TRUE(RunForked([] {
        bool bInherited = false;
        std::jthread([&] { bInherited = ORVS_AllocateSingleUsed(nullptr, nBytes) == s_sKept; }).join();
        return bInherited;
    }));
    done.ArriveAndWait();
}

} // namespace
