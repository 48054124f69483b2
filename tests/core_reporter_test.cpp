#include "orvcomtypes/octassert.h"
#include "support/debug_capture.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"
#include "support/wine.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace
{

/// The text of the one report that \p report makes, without its time stamp.
template <class Report>
std::string TextOf(const Report& report)
{
    const CReportCapture capture;
    const auto nBefore = ReadBytes(capture.Path()).size();
    report();
    const std::string sLine = ReadBytes(capture.Path()).substr(nBefore);
    static const std::regex s_stamp(R"(\d{4}-\d\d-\d\d [ 1-2]\d:\d\d:\d\d )");
    EXPECT_TRUE(std::regex_search(sLine, s_stamp, std::regex_constants::match_continuous)) << sLine;
    return sLine.substr(20);
}

/// Sets a text value of the settings root; \p sText need not be terminated.
void SetMachineValue(const WCHAR* sName, const std::basic_string<WCHAR>& sText, bool bTerminated = true)
{
    HKEY hKey = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_LOCAL_MACHINE, ORVTEXT("Software\\Orvanex\\Lumatrek"), 0,
                                             nullptr, 0, KEY_SET_VALUE, nullptr, &hKey, nullptr));
    RegSetValueExW(hKey, sName, 0, REG_SZ, reinterpret_cast<const BYTE*>(sText.c_str()),
                   static_cast<DWORD>((sText.size() + (bTerminated ? 1 : 0)) * sizeof(WCHAR)));
    RegCloseKey(hKey);
}

std::basic_string<WCHAR> Wide(const std::filesystem::path& path)
{
    const std::string sNarrow = path.string();
    return {sNarrow.begin(), sNarrow.end()};
}

void ExpectReportIn(const std::filesystem::path& folder)
{
    CReportCapture capture(folder);
    ORV_REPORT("CFoo::Bar", "x > 0");
    EXPECT_REPORTS(capture, {{"CFoo::Bar", "x > 0"}});
}

} // namespace

TEST(Reporter, FormatsTheValueByItsSize)
{
    const struct
    {
        std::uint32_t m_nValue;
        const char* m_sText;
    } cases[] = {{0, "src(7) $$$ in function 'A::B'!\r\n"},
                 {1, "src(7) $$$ in function 'A::B', 1!\r\n"},
                 {999999, "src(7) $$$ in function 'A::B', 999999!\r\n"},
                 {1000000, "src(7) $$$ in function 'A::B', 0x000F4240!\r\n"},
                 {0xFFFFFFFFu, "src(7) $$$ in function 'A::B', 0xFFFFFFFF!\r\n"}};
    for (const auto& c : cases)
        EXPECT_EQ(c.m_sText, TextOf([&] { OrvReportAssertion("src", 7, "A::B", nullptr, c.m_nValue); }));
    EXPECT_EQ("src(7) $$$ in function 'A::B', 5! Message: x > 0\r\n",
              TextOf([] { OrvReportAssertion("src", 7, "A::B", "x > 0", 5); }));
}

TEST(Reporter, PrintsTheFileNameOfAPath)
{
    EXPECT_EQ("b.cpp(-3) $$$ in function ''!\r\n",
              TextOf([] { OrvReportAssertion("C:\\x/a\\b.cpp", -3, "", nullptr, 0); }));
    EXPECT_EQ("(0) $$$ in function ''!\r\n",
              TextOf([] { OrvReportAssertion(nullptr, 0, nullptr, nullptr, 0); }));
}

TEST(Reporter, CutsAnOverlongTextBeforeTheLineEnd)
{
    const std::string sCondition(3000, 'c');
    const std::string sText = TextOf([&] { OrvReportAssertion("src", 7, "A::B", sCondition.c_str(), 0); });
    EXPECT_EQ(2100u - 20, sText.size());
    EXPECT_TRUE(sText.ends_with("ccc\r\n"));
}

TEST(Reporter, KeepsTheLastError)
{
    SetLastError(ERROR_DISK_FULL);
    ORV_REPORT("A::B", "x");
    EXPECT_EQ(static_cast<DWORD>(ERROR_DISK_FULL), GetLastError());

    const CVariableGuard nowhere("ALLUSERSPROFILE", (TestRoot() / "no\"where?").string().c_str());
    ORV_REPORT("A::B", "x");
    EXPECT_EQ(static_cast<DWORD>(ERROR_DISK_FULL), GetLastError());
}

TEST(Reporter, SendsTheLineToTheDebugger)
{
    CDebugCapture debugger;
    const std::string sText = TextOf([] { ORV_REPORT("A::B", "x"); });
    const std::string sSent = debugger.Take();
    ASSERT_LT(20u, sSent.size());
    EXPECT_EQ(sText, sSent.substr(20));
}

TEST(Reporter, PrefersTheConfiguredFolders)
{
    const CTestRegistry registry;
    const CTempDir dir;
    ExpectReportIn(TestReportFolder());

    SetMachineValue(ORVTEXT("DataPath"), Wide(dir / "data"));
    ExpectReportIn(dir / "data" / "Log");
    SetMachineValue(ORVTEXT("LocalDataPath"), Wide(dir / "local") + ORVTEXT("\\"));
    ExpectReportIn(dir / "local" / "Log");
    SetMachineValue(ORVTEXT("DefaultLogPath"), Wide(dir / "logs" / "deep"));
    ExpectReportIn(dir / "logs" / "deep");

    SetMachineValue(ORVTEXT("DefaultLogPath"), Wide(dir / "unterminated"), false);
    ExpectReportIn(dir / "unterminated");
    SetMachineValue(ORVTEXT("DefaultLogPath"), {});
    ExpectReportIn(dir / "local" / "Log");
}

TEST(Reporter, FallsBackToTheEnvironment)
{
    const CTempDir dir;
    {
        const CVariableGuard profile("ALLUSERSPROFILE", ((dir / "all").string() + "\\").c_str());
        ExpectReportIn(dir / "all" / "Application Data" / "Lumatrek" / "Log");
    }
    const CVariableGuard noProfile("ALLUSERSPROFILE", nullptr);
    {
        const CVariableGuard temp("TEMP", (dir / "tmp").string().c_str());
        ExpectReportIn(dir / "tmp" / "Lumatrek" / "Log");
    }
    const CVariableGuard noTemp("TEMP", nullptr);
    CDebugCapture debugger;
    ORV_REPORT("A::B", "debugger only");
    EXPECT_NE(std::string::npos, debugger.Take().find("debugger only\r\n"));
}

TEST(Reporter, TellsTheDebuggerWhenTheFileCannotBeOpened)
{
    const CTempDir dir;
    WriteBytes(dir / "file", "not a folder");
    const CVariableGuard profile("ALLUSERSPROFILE", (dir / "file").string().c_str());
    CDebugCapture debugger;
    ORV_REPORT("A::B", "x");
    const std::string sSent = debugger.Take();
    static const std::regex s_failure(R"(^Failed to open log file '.*file\\Application Data\\Lumatrek\\Log)"
                                      R"(\\LQErrors_3\.8\.2_core_reporter_test\.log'\. Code \d+\n$)");
    const auto nSecond = sSent.find("\r\n") + 2;
    ASSERT_LT(nSecond, sSent.size()) << sSent;
    EXPECT_TRUE(std::regex_match(sSent.substr(nSecond), s_failure)) << sSent;
}

TEST(Reporter, LosesNoLineOfManyThreads)
{
    ORV_SKIP_WINE("finds a file's end and writes there in two steps, between which another thread may write");
    constexpr int kThreads = 4;
    constexpr int kReports = 50;
    CReportCapture capture;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([] {
            for (int n = 0; n < kReports; ++n)
                ORV_REPORT("A::B",
                           "a text that is long enough to be torn in pieces when it is not written at once");
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(static_cast<std::size_t>(kThreads * kReports), capture.Take().size());
}
