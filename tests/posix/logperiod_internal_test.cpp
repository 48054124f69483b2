// Periods in zones whose days do not begin at a whole hour of UTC, begin late, or come twice.
#include "log/logfile.h"
#include "log/logwriter.h"
#include "support/faults.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <ctime>

static __time64_t g_tNow;

TEST(LogPeriod, FollowsTheLocalDay)
{
    const struct
    {
        const WCHAR* m_sPeriod;
        const char* m_sZone;
        __time64_t m_tFirst; // UTC
        __time64_t m_tSecond;
        const char* m_sFirst;
        const char* m_sSecond;
    } cases[] = {
        // 0:00 is skipped
        {ORVTEXT("#DA"), "Asia/Beirut", 1648331999, 1648332000, "app_D220326.txt", "app_D220327.txt"},
        {ORVTEXT("#WE"), "Asia/Beirut", 1648331999, 1648332000, "app_W220321.txt", "app_W220321.txt"},
        {ORVTEXT("#WE"), "Asia/Beirut", 1648414799, 1648414800, "app_W220321.txt", "app_W220328.txt"},
        // The clock is set back over it
        {ORVTEXT("#DA"), "Asia/Beirut", 1648332000, 1648331999, "app_D220327.txt", "app_D220326.txt"},
        {ORVTEXT("#DA"), "Asia/Kolkata", 1772303399, 1772303400, "app_D260228.txt", "app_D260301.txt"},
        // 0:00 comes twice
        {ORVTEXT("#DA"), "America/Havana", 1793509200, 1793512800, "app_D261101.txt", "app_D261101.txt"},
        // There is no 30th
        {ORVTEXT("#DA"), "Pacific/Apia", 1325239199, 1325239200, "app_D111229.txt", "app_D111231.txt"},
    };
    const CVariableGuard zone("TZ", "UTC");
    g_pfnLogTime = [] { return g_tNow; };
    CLogFileOptions options;
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.m_sZone);
        SetTestVariable("TZ", c.m_sZone);
        tzset();
        const CTempDir dir;
        CLogFile file(c.m_sPeriod + (dir / "app.txt").string<WCHAR>(), options);
        for (const auto& [tNow, sName] :
             {std::pair(c.m_tFirst, c.m_sFirst), std::pair(c.m_tSecond, c.m_sSecond)})
        {
            g_tNow = tNow;
            ASSERT_TRUE(file.Prepare());
            EXPECT_TRUE(file.Name().ends_with(std::filesystem::path(sName).string<WCHAR>())) << sName;
        }
    }
    tzset();
}

TEST(LogPeriod, WhatAFullDiskCutIsSyncedBeforeTheNextFile)
{
    const CTempDir dir;
    CLogFileOptions options;
    CLogWriter writer((dir / "app.txt").string<WCHAR>(), options);
    CLogQueue lines;
    for (const char* sLine : {"1\n", "2\n"})
        lines.Push(CLogMessage::Create(sLine, 2));
    CLogLoss none;
    CLogLoss lost;
    const CFileLimit full(3);
    const CFault fault(FaultyCall::Sync);
    EXPECT_FALSE(writer.Flush(lines, none, lost));
    EXPECT_EQ(1u, lost.m_nLines);
    lines.Clear();
}

TEST(LogPeriod, OnlyTheOwnRestOfALineGoesOn)
{
    for (const bool bOwnFirst : {true, false})
    {
        const CTempDir dir;
        CLogFileOptions options;
        CLogWriter own((dir / "app.txt").string<WCHAR>(), options);
        CLogWriter other((dir / "app.txt").string<WCHAR>(), options);
        CLogQueue ownLines;
        CLogQueue otherLines;
        CLogLoss none;
        otherLines.Push(CLogMessage::Create("1\n", 2));
        EXPECT_TRUE(other.Drain(otherLines, none, none));
        ownLines.Push(CLogMessage::Create("own\n", 4));
        otherLines.Push(CLogMessage::Create("2\n", 2));
        {
            const CFileLimit full(4);
            for (int i = 0; i < 2; ++i)
            {
                EXPECT_FALSE(own.Drain(ownLines, none, none));
                EXPECT_FALSE(other.Drain(otherLines, none, none));
            }
        }
        EXPECT_TRUE(!bOwnFirst || own.Drain(ownLines, none, none));
        EXPECT_TRUE(other.Drain(otherLines, none, none));
        EXPECT_TRUE(own.Drain(ownLines, none, none));
        EXPECT_EQ(bOwnFirst ? "1\nown\n2\n" : "1\now\r\n2\nown\n", ReadBytes(dir / "app.txt"));
    }
}
