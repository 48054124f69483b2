#include "log/logwriter.h"
#include "orvcomtypes/lqsettings.h"
#include "orvcomtypes/orvlog.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"
#include "support/text.h"
#include "support/wine.h"

#include <gtest/gtest.h>

#include <shlobj.h>

#include <ctime>
#include <sstream>
#include <thread>

namespace
{

__time64_t g_tNow;

__time64_t Now()
{
    return g_tNow;
}

/// Stops the log's clock and sets it.
class CFakeClock
{
public:
    CFakeClock() : m_pfnReal(g_pfnLogTime) { g_pfnLogTime = Now; }
    CFakeClock(const CFakeClock&) = delete;
    CFakeClock& operator=(const CFakeClock&) = delete;
    ~CFakeClock() { g_pfnLogTime = m_pfnReal; }

    /// "2026-03-01 23:59:58", local time.
    static void Set(const char* sLocal)
    {
        std::tm tm{};
        ASSERT_EQ(6, std::sscanf(sLocal, "%d-%d-%d %d:%d:%d", &tm.tm_year, &tm.tm_mon, &tm.tm_mday,
                                 &tm.tm_hour, &tm.tm_min, &tm.tm_sec));
        tm.tm_year -= 1900;
        tm.tm_mon -= 1;
        tm.tm_isdst = -1;
        g_tNow = std::mktime(&tm);
    }

private:
    __time64_t (*m_pfnReal)();
};

Text ToText(const std::filesystem::path& path)
{
    const auto sText = path.u16string();
    return Text(sText.begin(), sText.end());
}

std::filesystem::path ToPath(const COrvStr& s)
{
    return std::filesystem::path(static_cast<const WCHAR*>(s));
}

/// The name as the tests build names, whichever separators it has.
std::filesystem::path NameFor(const Text& sFormat)
{
    COrvStr sName = GenerateLogFileName(sFormat.c_str());
    sName.Replace('\\', '/');
    return ToPath(sName).make_preferred();
}

void PushLine(CLogQueue& queue, const std::string& sText)
{
    queue.Push(CLogMessage::Create(sText.data(), static_cast<std::uint32_t>(sText.size())));
}

} // namespace

// ---- Names ----

TEST(LogFileName, PeriodsPutTheirDateBeforeTheExtension)
{
    const CFakeClock clock;
    const CTempDir dir;
    clock.Set("2026-03-01 07:08:09"); // a Sunday
    const struct
    {
        const WCHAR* m_sPrefix;
        const char* m_sName;
    } cases[] = {{ORVTEXT(""), "app.txt"},
                 {ORVTEXT("#MO"), "app_M2603.txt"},
                 {ORVTEXT("#mo"), "app_M2603.txt"},
                 {ORVTEXT("#WE"), "app_W260223.txt"},
                 {ORVTEXT("#DA"), "app_D260301.txt"},
                 {ORVTEXT("#AN"), "app_260301_070809.txt"}};
    for (const auto& c : cases)
    {
        const std::basic_string<WCHAR> sPrefix = c.m_sPrefix;
        EXPECT_EQ(dir / c.m_sName, NameFor(Text(sPrefix.begin(), sPrefix.end()) + ToText(dir / "app.txt")));
    }
    clock.Set("2026-01-01 00:00:00");
    EXPECT_EQ(dir / "app_W251229.log", NameFor(ORVTEXT("#WE") + ToText(dir / "app")))
        << "Monday of the year before";
}

TEST(LogFileName, ExtensionIsThatOfTheName)
{
    const CTempDir dir;
    EXPECT_EQ(dir / "v1.2" / "app.log", NameFor(ToText(dir / "v1.2" / "app")));
    EXPECT_TRUE(std::filesystem::is_directory(dir / "v1.2")) << "folders are made";
}

TEST(LogFileName, TokensStandForFolders)
{
    const CFakeClock clock;
    clock.Set("2026-03-01 07:08:09");
    WCHAR sFolder[MAX_PATH];
    GetTempPathW(MAX_PATH, sFolder);
    EXPECT_EQ(std::filesystem::path(sFolder) / "app_D260301.log", NameFor(ORVTEXT("#DA(TEMP)app")));
    ASSERT_EQ(S_OK, SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, sFolder));
    EXPECT_EQ((Text(sFolder) + ORVTEXT("\\app.txt")),
              TextOf(GenerateLogFileName(ORVTEXT("(LOCAPP)\\app.txt"))));
}

TEST(LogFileName, SettingsNameTheFolders)
{
    const CTestRegistry registry;
    const CTempDir dir;
    WCHAR sTemp[MAX_PATH];
    GetTempPathW(MAX_PATH, sTemp);
    EXPECT_EQ(std::filesystem::path(sTemp) / "bare.log", NameFor(ORVTEXT("bare"))) << "without any setting";
    EXPECT_EQ(std::filesystem::path(sTemp) / "#XYbare.log", NameFor(ORVTEXT("#XYbare"))) << "no known period";

    const auto Set = [](const WCHAR* sName, const std::filesystem::path& path) {
        ASSERT_TRUE(SetLQStringSettingW(nullptr, sName, ToText(path).c_str(), nullptr));
    };
    Set(ORVTEXT("DataPath"), dir / "data");
    EXPECT_EQ(dir / "data" / "Log" / "bare.log", NameFor(ORVTEXT("bare")));
    EXPECT_EQ(dir / "data" / "x.log", NameFor(ORVTEXT("$x")));
    EXPECT_EQ(dir / "data" / "x.log", NameFor(ORVTEXT("*\\x")));
    Set(ORVTEXT("LocalDataPath"), dir / "local");
    EXPECT_EQ(dir / "local" / "Log" / "bare.log", NameFor(ORVTEXT("bare")));
    EXPECT_EQ(dir / "local" / "x.log", NameFor(ORVTEXT("$\\x")));
    Set(ORVTEXT("DefaultLogPath"), dir / "log");
    EXPECT_EQ(dir / "log" / "bare.log", NameFor(ORVTEXT("bare")));
    EXPECT_EQ(dir / "local" / "x.log", NameFor(ORVTEXT("$x")));
}

TEST(LogFileName, LongNameGetsNoDate)
{
    const CTempDir dir;
    const auto LongPath = [&](std::size_t nLength) {
        return dir / std::string(nLength - dir.Path().native().size() - 5, 'n').append(".txt");
    };
    const auto fits = LongPath(MAX_PATH - 25);
    EXPECT_NE(fits, NameFor(ORVTEXT("#DA") + ToText(fits)));
    const auto longer = LongPath(MAX_PATH - 24);
    EXPECT_EQ(longer, NameFor(ORVTEXT("#DA") + ToText(longer)));
}

TEST(LogFileName, EmptyFormatIsReported)
{
    CReportCapture capture;
    EXPECT_TRUE(GenerateLogFileName(ORVTEXT("")).IsEmpty());
    EXPECT_REPORTS(capture, {{"CreateLogFileName", "sBuffer == nullptr || STRISEMPTY(sFileNameFormat)",
                              nullptr, "orvlog"}});
}

// ---- Periods ----

TEST(LogFile, ChangesWithItsPeriod)
{
    const struct
    {
        const WCHAR* m_sPeriod;
        const char* m_sFirst;
        const char* m_sSecond;
        bool m_bChanges;
    } cases[] = {
        {ORVTEXT("#DA"), "2026-03-01 00:00:00", "2026-03-01 23:59:59", false},
        {ORVTEXT("#DA"), "2026-03-01 23:59:59", "2026-03-02 00:00:00", true},
        {ORVTEXT("#DA"), "2026-03-02 00:00:00", "2026-03-01 23:59:59", true},
        {ORVTEXT("#WE"), "2026-03-01 23:59:59", "2026-03-02 00:00:00", true},
        {ORVTEXT("#WE"), "2026-03-02 00:00:00", "2026-03-08 23:59:59", false},
        {ORVTEXT("#WE"), "2025-12-31 12:00:00", "2026-01-01 12:00:00", false},
        {ORVTEXT("#WE"), "2026-03-04 12:00:00", "2026-03-11 12:00:00", true},
        {ORVTEXT("#MO"), "2026-01-31 23:59:59", "2026-02-01 00:00:00", true},
        {ORVTEXT("#MO"), "2026-01-01 00:00:00", "2026-01-31 23:59:59", false},
        {ORVTEXT("#MO"), "2026-01-05 00:00:00", "2027-01-05 00:00:00", true},
        {ORVTEXT("#AN"), "2026-01-05 00:00:00", "2027-02-06 11:00:00", false},
        {ORVTEXT(""), "2026-01-05 00:00:00", "2027-02-06 11:00:00", false},
    };
    const CFakeClock clock;
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.m_sFirst) + " to " + c.m_sSecond);
        const CTempDir dir;
        CLogFile file(COrvStr((c.m_sPeriod + ToText(dir / "app.txt")).c_str()));
        clock.Set(c.m_sFirst);
        ASSERT_TRUE(file.Prepare());
        const auto first = ToPath(file.Name());
        EXPECT_EQ(1u, file.Write("1", 1));
        clock.Set(c.m_sSecond);
        ASSERT_TRUE(file.Prepare());
        EXPECT_EQ(1u, file.Write("2", 1));
        file.Close();
        EXPECT_EQ(c.m_bChanges ? "1" : "12", ReadBytes(first));
        EXPECT_EQ(c.m_bChanges ? "2" : "12", ReadBytes(ToPath(file.Name())));
    }
}

TEST(LogFile, FileOfAStartKeepsItsNameWhenItIsOpenedAgain)
{
    const CFakeClock clock;
    const CTempDir dir;
    CLogFile file(COrvStr((ORVTEXT("#AN") + ToText(dir / "app.txt")).c_str()));
    clock.Set("2026-03-01 07:08:09");
    ASSERT_TRUE(file.Prepare());
    file.Close();
    clock.Set("2026-03-05 10:11:12");
    ASSERT_TRUE(file.Prepare());
    EXPECT_EQ("app_260301_070809.txt", ToPath(file.Name()).filename().string());
}

// ---- Lines into the file ----

TEST(LogMessage, PoolTakesUpTo478Bytes)
{
    EXPECT_TRUE(CLogMessage::IsPooled(478));
    EXPECT_FALSE(CLogMessage::IsPooled(479));
    for (const std::uint32_t nLength : {1u, 478u, 479u, 480u, 100000u})
    {
        const std::string sText(nLength, 'x');
        CLogMessage* pMessage = CLogMessage::Create(sText.data(), nLength);
        EXPECT_EQ(nLength, pMessage->Length());
        EXPECT_EQ(sText, pMessage->Text());
        CLogMessage::Destroy(pMessage);
    }
}

TEST(LogQueue, KeepsTheOrderAcrossAppending)
{
    CLogQueue first;
    CLogQueue second;
    first.Append(second);
    EXPECT_TRUE(first.IsEmpty());
    PushLine(second, "1");
    first.Append(second);
    PushLine(second, "2");
    PushLine(first, "x");
    first.Append(second);
    PushLine(first, "3");
    std::string sOrder;
    for (; !first.IsEmpty(); first.DropFirst())
        sOrder += first.First()->Text();
    EXPECT_EQ("1x23", sOrder);
    EXPECT_TRUE(second.IsEmpty());
}

TEST(LogWriter, BatchesBeyondTheBufferAreWhole)
{
    const CTempDir dir;
    CLogWriter writer(COrvStr(ToText(dir / "big.txt").c_str()));
    CLogQueue lines;
    std::string sExpected;
    // The odd length puts borders of the buffer inside lines; the last line alone exceeds the buffer.
    for (int i = 0; i < 60; ++i)
    {
        const std::string sLine(99991, static_cast<char>('a' + i % 26));
        PushLine(lines, sLine);
        sExpected += sLine;
    }
    sExpected += std::string(5000000, 'z');
    PushLine(lines, std::string(5000000, 'z'));
    EXPECT_TRUE(writer.Flush(lines));
    EXPECT_FALSE(writer.HasBacklog());
    EXPECT_TRUE(sExpected == ReadBytes(dir / "big.txt"));
}

TEST(LogWriter, LeavesLinesWholeBesideAnotherWriter)
{
    ORV_SKIP_WINE("finds the end of a file and writes there in two steps");
    const CTempDir dir;
    const auto Write = [&](char c) {
        CLogWriter writer(COrvStr(ToText(dir / "two.txt").c_str()));
        CLogQueue lines;
        for (int i = 0; i < 200; ++i)
            PushLine(lines, std::string(99990, c) + '\n');
        EXPECT_TRUE(writer.Write(lines));
    };
    std::thread other(Write, 'a');
    Write('b');
    other.join();
    std::istringstream text(ReadBytes(dir / "two.txt"));
    int nLines = 0;
    for (std::string sLine; std::getline(text, sLine); ++nLines)
        ASSERT_EQ(std::string(99990, sLine[0]), sLine);
    EXPECT_EQ(400, nLines);
}

TEST(LogWriter, KeepsLinesUntilTheFileCanBeOpened)
{
    const CTempDir dir;
    WriteBytes(dir / "sub", "");
    CLogWriter writer(COrvStr(ToText(dir / "sub" / "x.txt").c_str()));
    CLogQueue lines;
    PushLine(lines, "1");
    EXPECT_FALSE(writer.Flush(lines));
    EXPECT_TRUE(lines.IsEmpty());
    EXPECT_TRUE(writer.HasBacklog());
    PushLine(lines, "2");
    EXPECT_FALSE(writer.Flush(lines));
    std::filesystem::remove(dir / "sub");
    PushLine(lines, "3");
    EXPECT_TRUE(writer.Flush(lines));
    EXPECT_EQ("123", ReadBytes(dir / "sub" / "x.txt"));
}
