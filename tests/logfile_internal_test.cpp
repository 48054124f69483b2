#include "log/loghandler.h"
#include "orvcomtypes/lqsettings.h"
#include "support/faults.h"
#include "support/report_capture.h"
#include "support/test_log.h"
#include "support/test_registry.h"
#include "support/wine.h"

#include <shlobj.h>

#include <iomanip>
#include <thread>

namespace
{

__time64_t g_tNow;

/// Stops the log's clock at a local time such as "2026-03-01 23:59:58"; not while a log is open.
void SetClock(const char* sLocal)
{
    std::tm tm{};
    std::istringstream(sLocal) >> std::get_time(&tm, "%Y-%m-%d %H:%M:%S");
    tm.tm_isdst = -1;
    g_tNow = std::mktime(&tm);
    g_pfnLogTime = [] { return g_tNow; };
}

std::filesystem::path TempFolder()
{
    WCHAR sFolder[MAX_PATH];
    GetTempPathW(MAX_PATH, sFolder);
    return sFolder;
}

/// The name as the tests build names, whichever separators it has.
std::filesystem::path NameFor(const Text& sFormat)
{
    COrvStr sName = GenerateLogFileName(sFormat.c_str());
    sName.Replace('\\', '/');
    return std::filesystem::path(TextOf(sName)).make_preferred();
}

CLogFileOptions g_options;

void PushLine(CLogQueue& queue, const std::string& sText)
{
    queue.Push(CLogMessage::Create(sText.data(), static_cast<std::uint32_t>(sText.size())));
}

using LogFileName = CLogTest;
using LogFile = CLogTest;
using LogWriter = CLogTest;
using LogHandler = CLogTest;

} // namespace

// ---- Names ----

TEST_F(LogFileName, PeriodsPutTheirDateBeforeTheExtension)
{
    SetClock("2026-03-01 07:08:09"); // a Sunday
    const std::pair<const WCHAR*, const char*> formats[] = {{ORVTEXT(""), "test.txt"},
                                                            {ORVTEXT("#MO"), "test_M2603.txt"},
                                                            {ORVTEXT("#mo"), "test_M2603.txt"},
                                                            {ORVTEXT("#WE"), "test_W260223.txt"},
                                                            {ORVTEXT("#DA"), "test_D260301.txt"},
                                                            {ORVTEXT("#AN"), "test_260301_070809.txt"}};
    for (const auto& [sPeriod, sName] : formats)
        EXPECT_EQ(m_dir / sName, NameFor(sPeriod + m_sFile));
    EXPECT_EQ(m_dir / "v1.2" / "app_D260301.log",
              NameFor(ORVTEXT("#DA") + (m_dir / "v1.2" / "app").string<WCHAR>()));
    EXPECT_TRUE(std::filesystem::is_directory(m_dir / "v1.2")) << "folders are made";
    SetClock("2026-01-01 00:00:00");
    EXPECT_EQ(m_dir / "test_W251229.txt", NameFor(ORVTEXT("#WE") + m_sFile)) << "Monday of the year before";
}

TEST_F(LogFileName, TokensAndSettingsNameTheFolders)
{
    const CTestRegistry registry;
    const auto Set = [&](const WCHAR* sName, const char* sFolder) {
        ASSERT_TRUE(SetLQStringSettingW(nullptr, sName, (m_dir / sFolder).string<WCHAR>().c_str(), nullptr));
    };
    EXPECT_EQ(TempFolder() / "app.log", NameFor(ORVTEXT("(TEMP)app")));
    EXPECT_EQ(TextOf(GenerateLogFileName(ORVTEXT("(TEMP)app"))),
              TextOf(GenerateLogFileName(ORVTEXT("(TEMP)\\app"))));
    WCHAR sFolder[MAX_PATH];
    ASSERT_EQ(S_OK, SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, sFolder));
    EXPECT_EQ(sFolder / std::filesystem::path("app.txt"), NameFor(ORVTEXT("(LOCAPP)\\app.txt")));
    EXPECT_EQ(TempFolder() / "bare.log", NameFor(ORVTEXT("bare"))) << "without any setting";
    EXPECT_EQ(TempFolder() / "#XYbare.log", NameFor(ORVTEXT("#XYbare"))) << "no known period";
    Set(ORVTEXT("DataPath"), "data");
    EXPECT_EQ(m_dir / "data" / "Log" / "bare.log", NameFor(ORVTEXT("bare")));
    EXPECT_EQ(m_dir / "data" / "x.log", NameFor(ORVTEXT("$x")));
    EXPECT_EQ(m_dir / "data" / "x.log", NameFor(ORVTEXT("*\\x")));
    Set(ORVTEXT("LocalDataPath"), "local");
    EXPECT_EQ(m_dir / "local" / "Log" / "bare.log", NameFor(ORVTEXT("bare")));
    EXPECT_EQ(m_dir / "local" / "x.log", NameFor(ORVTEXT("$\\x")));
    Set(ORVTEXT("DefaultLogPath"), "log");
    EXPECT_EQ(m_dir / "log" / "bare.log", NameFor(ORVTEXT("bare")));
    EXPECT_EQ(m_dir / "local" / "x.log", NameFor(ORVTEXT("$x")));
}

TEST_F(LogFileName, LongNameGetsNoDate)
{
    for (const std::size_t nLength : {MAX_PATH - 25, MAX_PATH - 24})
    {
        const auto file = m_dir / std::string(nLength - m_dir.Path().native().size() - 5, 'n').append(".txt");
        const bool bDate = file != NameFor(ORVTEXT("#DA") + file.string<WCHAR>());
        EXPECT_EQ(nLength == MAX_PATH - 25, bDate);
    }
}

TEST_F(LogFileName, FormatsWithoutANameOrAFolderAreReported)
{
    CReportCapture capture;
    EXPECT_TRUE(GenerateLogFileName(ORVTEXT("")).IsEmpty());
    EXPECT_EQ(ORVTEXT("c:app.log"), TextOf(GenerateLogFileName(ORVTEXT("c:app"))));
    CLogFileInnerHandler inert(ORVTEXT(""));
    inert.Write("x", 0, nullptr);
    EXPECT_FALSE(inert.BeginStop());
    EXPECT_REPORTS(
        capture,
        {{"CreateLogFileName", "sBuffer == nullptr || STRISEMPTY(sFileNameFormat)", nullptr, "orvlog"},
         {"CreateDirRecursive", "p == nullptr", nullptr, "orvlog"},
         {"CLogFileInnerHandler::CLogFileInnerHandler", "STRISEMPTY(sFileNameFormat)", nullptr, "orvlog"}});
}

// ---- Periods ----

TEST_F(LogFile, ChangesWithItsPeriod)
{
    const struct
    {
        const WCHAR* m_sPeriod;
        const char* m_sFirst;
        const char* m_sSecond;
        bool m_bChanges;
    } cases[] = {{ORVTEXT("#DA"), "2026-03-01 00:00:00", "2026-03-01 23:59:59", false},
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
                 {ORVTEXT(""), "2026-01-05 00:00:00", "2027-02-06 11:00:00", false}};
    for (const auto& c : cases)
    {
        const CTempDir dir;
        CLogFile file(c.m_sPeriod + (dir / "app.txt").string<WCHAR>(), g_options);
        for (const char* sTime : {c.m_sFirst, c.m_sSecond})
        {
            SetClock(sTime);
            ASSERT_TRUE(file.Prepare());
            EXPECT_EQ(2u, file.Append("x\n", 2));
        }
        file.Close();
        const auto last = ReadBytes(file.Name());
        EXPECT_EQ(c.m_bChanges ? "x\n" : "x\nx\n", last)
            << Narrow(c.m_sPeriod) << " from " << c.m_sFirst << " to " << c.m_sSecond;
    }
}

TEST_F(LogFile, KnowsTheFilesOfItsFormat)
{
    SetClock("2019-09-30 12:00:00");
    std::map<std::string, bool> files; // whether they are
    const auto Make = [&](const char* sNames, bool bOwn) {
        std::istringstream names(sNames);
        for (std::string sName; names >> sName; files[sName] = bOwn)
            WriteBytes(m_dir / sName, "x");
    };
    Make("test_D190930.txt test_D190930_2.txt test_D190930_9.txt test_D190930_20.txt test_D000000.txt "
         "test_D999999_45.txt test_D190929_999999999.txt",
         true);
    Make("test.txt test_D190930_.txt test_D190930_1.txt test_D190930_x.txt test_D190930_21x.txt "
         "test_M1909.txt "
         "test_D190930_1000000000.txt test_D19093x.txt tests_D190930.txt test_D190930.log",
         false);
    CLogFileOptions options;
    options.m_nMaxFileBytes = 1;
    options.m_nKeepFiles = 1;
    CLogFile file(ORVTEXT("#DA") + m_sFile, options);
    EXPECT_TRUE(file.Prepare());
    EXPECT_TRUE(file.Name().ends_with(ORVTEXT("test_D190930_21.txt"))) << "behind the last of the day";
    for (const auto& [sName, bOwn] : files)
        EXPECT_EQ(bOwn, !std::filesystem::exists(m_dir / sName)) << sName;
}

TEST_F(LogFile, GoesByNumberAndFindsNoFullFile)
{
    CLogFileOptions options;
    options.m_nMaxFileBytes = 1;
    options.m_nKeepFiles = 2;
    const auto now = std::filesystem::file_time_type::clock::now();
    for (const char* sName : {"test.txt", "Test_2.txt", "test_9.txt", "test_10.txt"})
    {
        WriteBytes(m_dir / sName, "x");
        std::filesystem::last_write_time(m_dir / sName, now);
    }
    {
        CLogFile file(m_sFile, options);
        EXPECT_TRUE(file.Prepare());
    }
    EXPECT_TRUE(std::filesystem::exists(m_dir / "test_10.txt"));
    EXPECT_TRUE(std::filesystem::exists(m_dir / "test_11.txt"));
    EXPECT_FALSE(std::filesystem::exists(m_dir / "test.txt"));
    {
        CLogFileOptions onlyFile;
        onlyFile.m_nKeepFiles = 1;
        CLogFile file(m_sFile, onlyFile);
        EXPECT_TRUE(file.Prepare());
    }
    EXPECT_TRUE(std::filesystem::remove(m_dir / "test_10.txt")) << "none of its own without a limit";
    for (const char* sName : {"test_9.txt", "test_11.txt"})
        std::filesystem::remove(m_dir / sName);
    WriteBytes(m_dir / "test.txt", "x");
    CLogFile file(m_sFile, options);
    EXPECT_TRUE(file.Prepare());
    EXPECT_EQ("", ReadBytes(file.Name())) << "Windows knows Test_2.txt by any case";
}

TEST_F(LogFile, KeepsTheTimeInItsNameWhenItIsOpenedAgain)
{
    SetClock("2026-03-01 07:08:09");
    CLogFile file(ORVTEXT("#AN") + m_sFile, g_options);
    ASSERT_TRUE(file.Prepare());
    file.Close();
    SetClock("2026-03-05 10:11:12");
    ASSERT_TRUE(file.Prepare());
    EXPECT_TRUE(file.Name().ends_with(ORVTEXT("test_260301_070809.txt")));
}

// ---- Lines into the file ----

TEST_F(LogFile, LinesShowTheLocalTime)
{
    std::string sExpected;
    for (const char* sTime : {"2026-03-01 07:07:53", "2026-03-01 07:08:09", "2026-03-01 07:08:25",
                              "2026-03-01 07:08:09", "2026-03-01 07:07:53", "2027-12-31 23:59:00"})
    {
        SetClock(sTime);
        Init(lqlErrors);
        m_log.LogErr(ORVTEXT("x"));
        m_log.ReleaseLog();
        sExpected += Replaced(sTime, "20(..)-(..)-(..) (..):(..):(..)", "=E> $1$2$3_$4$5$6 x\r\n");
    }
    EXPECT_EQ(sExpected, ReadBytes(m_file));
}

TEST(LogQueue, KeepsLinesOfAnyLengthInOrder)
{
    CLogQueue first;
    CLogQueue second;
    std::string sExpected;
    first.Append(second);
    EXPECT_TRUE(CLogMessage::IsPooled(478));
    EXPECT_FALSE(CLogMessage::IsPooled(479));
    for (const std::size_t nLength : {1, 478, 479, 480, 478, 100000, 477, 476})
    {
        const std::string sLine(nLength, static_cast<char>('a' + sExpected.size() % 26));
        PushLine(nLength % 2 ? first : second, sLine);
        first.Append(second);
        sExpected += sLine;
    }
    std::string sActual;
    for (const CLogMessage* p = first.First(); p != nullptr; p = CLogQueue::Next(p))
        sActual.append(p->Text(), p->Length());
    std::uint64_t nBytes = 1 + 478 + 478; // two lines and a part of the third
    first.DropWhole(nBytes);
    EXPECT_EQ(478u, nBytes);
    EXPECT_EQ(sExpected.size() - 479, first.Bytes());
    second.Push(first.TakeOther()); // the one behind the first
    EXPECT_EQ(sExpected.size() - 959, first.Bytes());
    EXPECT_EQ(6u, first.Lines() + second.Lines());
    second.Clear();
    first.Clear();
    EXPECT_TRUE(first.IsEmpty());
    EXPECT_EQ(sExpected, sActual);
    EXPECT_TRUE(second.IsEmpty());
}

TEST_F(LogWriter, BatchesBeyondTheBufferAreWhole)
{
    CLogWriter writer(m_sFile, g_options);
    CLogQueue lines;
    CLogLoss untold;
    CLogLoss lost;
    std::string sExpected;
    // Lines do not end where the buffer does; the last one alone exceeds it.
    for (int i = 0; i < 61; ++i)
    {
        const std::string sLine(i < 60 ? 99991 : 5000000, static_cast<char>('a' + i % 26));
        PushLine(lines, sLine);
        sExpected += sLine;
    }
    SetClock("2026-03-01 07:00:00");
    {
        const CFault fault(FaultyCall::Sync);
        EXPECT_TRUE(writer.Flush(lines, untold, lost));
    }
    EXPECT_TRUE(lines.IsEmpty());
    untold.Add(lost);
    CLogLoss other;
    other.Add(2, 20, g_tNow - 3600);
    other.Add(1, 10, g_tNow - 60);
    untold.Add(other);
    untold.Add(CLogLoss());
    EXPECT_TRUE(writer.Flush(lines, untold, lost));
    sExpected += "\r\n=W> 260301_070000 Lost log lines: 64 (10999490 bytes), logged between 260301_060000 "
                 "and 260301_070000\r\n";
    EXPECT_TRUE(sExpected == ReadBytes(m_file));
}

TEST_F(LogWriter, WritesOnlyTheRestAfterAThreadThatEndedInItsWrite)
{
    static const std::string s_sLong(9999, '1'); // "1" in what is expected; compared in several parts
    const struct
    {
        const char* m_sName;
        void (*m_pfnFault)(const std::filesystem::path& file); // what became of the write
        const char* m_sExpected;
    } cases[] = {
        {"whole", [](const auto&) {}, "0\n1\n2\n3\n"},
        {"half", [](const auto& file) { std::filesystem::resize_file(file, 9000); }, "0\n1\n2\n3\n"},
        {"not at all", [](const auto& file) { std::filesystem::resize_file(file, 2); }, "0\n1\n2\n3\n"},
        {"another's", [](const auto& file) { WriteBytes(file, "0\nx\n2\n"); }, "0\nx\n2\n1\n2\n3\n"},
        {"behind another's", [](const auto& file) { WriteBytes(file, "0\n" + s_sLong + "\nx\n"); },
         "0\n1\nx\n1\n2\n3\n"},
    };
    CLogLoss none;
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.m_sName);
        const auto file = m_dir / (std::string(c.m_sName) + ".txt");
        CLogWriter writer(file.string<WCHAR>(), g_options);
        CLogQueue lines;
        PushLine(lines, "0\n");
        ASSERT_TRUE(writer.Drain(lines, none, none));
        PushLine(lines, s_sLong + "\n");
        PushLine(lines, "2\n");
        const CFault fault(FaultyCall::CutOffWrite, 1, false);
        EXPECT_TRUE(RunUntilCutOff([&] { writer.Drain(lines, none, none); }));
        c.m_pfnFault(file);
        PushLine(lines, "3\n");
        EXPECT_TRUE(writer.Drain(lines, none, none));
        writer.File().Close();
        EXPECT_EQ(Replaced(c.m_sExpected, "1", s_sLong.c_str()), ReadBytes(file));
    }
}

TEST_F(LogWriter, GoesOnInsideALineThatWasCutOff)
{
    const std::string sHuge = std::string(4999998, 'a') + "z\n";
    const struct
    {
        const char* m_sThere;
        std::string m_sLine;
        std::size_t m_nLeft; // of the file when the thread had ended
        unsigned m_nUntold;
        std::string m_sExpected;
    } cases[] = {
        {"", sHuge, 5000000, 1, sHuge + "3\n"},  {"", sHuge, 3000000, 1, sHuge + "3\n"},
        {"half", "1\n", 4, 0, "half\r\n1\n3\n"}, {"half", "1\n", 5, 0, "half\r\n1\n3\n"},
        {"half", "1\n", 6, 0, "half\r\n1\n3\n"},
    };
    for (const auto& c : cases)
    {
        WriteBytes(m_file, c.m_sThere);
        CLogWriter writer(m_sFile, g_options);
        CLogQueue lines;
        CLogLoss none;
        PushLine(lines, c.m_sLine);
        {
            const CFault fault(FaultyCall::CutOffWrite, 1, false);
            EXPECT_TRUE(RunUntilCutOff([&] { writer.Drain(lines, none, none); }));
        }
        std::filesystem::resize_file(m_file, c.m_nLeft);
        PushLine(lines, "3\n");
        CLogLoss untold;
        untold.Add(c.m_nUntold, 1, g_pfnLogTime());
        EXPECT_TRUE(writer.Drain(lines, untold, none));
        EXPECT_TRUE(c.m_sExpected == ReadBytes(m_file)) << c.m_nLeft;
        EXPECT_EQ(c.m_nUntold, untold.m_nLines) << "told inside the line";
    }
}

TEST_F(LogWriter, LeavesLinesWholeBesideAnotherWriter)
{
    ORV_SKIP_WINE("finds the end of a file and writes there in two steps");
    CLogWriter writers[2] = {{m_sFile, g_options}, {m_sFile, g_options}};
    for (CLogWriter& writer : writers)
        ASSERT_TRUE(writer.File().Prepare());
    const auto Write = [&](char c) {
        CLogWriter& writer = writers[c - 'a'];
        CLogQueue lines;
        CLogLoss untold;
        CLogLoss lost;
        for (int i = 0; i < 200; ++i)
            PushLine(lines, std::string(99990, c) + '\n');
        EXPECT_TRUE(writer.Drain(lines, untold, lost));
    };
    std::thread other(Write, 'a');
    Write('b');
    other.join();
    std::istringstream text(ReadBytes(m_file));
    int nLines = 0;
    for (std::string sLine; std::getline(text, sLine); ++nLines)
        ASSERT_EQ(std::string(99990, sLine[0]), sLine);
    EXPECT_EQ(400, nLines);
}

// ---- The handler ----

TEST_F(LogHandler, DoneEventTellsThatItsLineIsWritten)
{
    const auto IsSet = [](HANDLE h) { return WaitForSingleObject(h, 0) == WAIT_OBJECT_0; };
    const HANDLE hFirst = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE hSecond = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    WriteBytes(m_dir / "sub", ""); // where the folder is to be
    const auto file = m_dir / "sub" / "late.txt";
    CLogFileInnerHandler handler(file.string<WCHAR>().c_str());
    handler.Write("1\n", 0, hFirst);
    EXPECT_FALSE(handler.WaitUntilDone(60000, true)) << "one try";
    EXPECT_FALSE(IsSet(hFirst));
    handler.Write(nullptr, 0, hSecond);
    EXPECT_TRUE(IsSet(hSecond)) << "while another one is pending";
    std::filesystem::remove(m_dir / "sub");
    handler.Wake();
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hFirst, 60000));
    EXPECT_EQ("1\n", ReadBytes(file));
    EXPECT_TRUE(handler.BeginStop());
    handler.FinishStop(GetTickCount() + 60000, false);
    handler.Write("2\n", 0, nullptr);
    EXPECT_EQ("1\n", ReadBytes(file));
    CloseHandle(hFirst);
    CloseHandle(hSecond);
}

// Those with an event take another way than those without, and one may find the thread asleep.
TEST_F(LogHandler, LinesKeepTheirOrderAndWakeTheThread)
{
    const HANDLE hDone = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    CLogFileInnerHandler handler(m_sFile.c_str());
    std::string sExpected;
    const auto Write = [&](int i, HANDLE hEvent) {
        const std::string sLine = std::to_string(i) + '\n';
        handler.Write(sLine.c_str(), 0, hEvent);
        sExpected += sLine;
    };
    for (int i = 0; i < 1000; ++i)
        Write(i, i % 3 == 0 ? hDone : nullptr);
    EXPECT_TRUE(handler.WaitUntilDone(60000, false));
    ASSERT_EQ(sExpected, ReadBytes(m_file));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hDone, 0)); // and is not signalled any more
    handler.Write(nullptr, 0, hDone);                        // a round without lines
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hDone, 60000));
    Write(1000, nullptr);
    const DWORD dwStart = GetTickCount();
    while (ReadBytes(m_file) != sExpected && GetTickCount() - dwStart < 60000)
        std::this_thread::yield();
    EXPECT_EQ(sExpected, ReadBytes(m_file));
    CloseHandle(hDone);
}
