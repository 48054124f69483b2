#include "orvcomtypes/octassert.h"
#include "support/debug_capture.h"
#include "support/pattern.h"
#include "support/registry_values.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"
#include "support/wine.h"

#include <algorithm>
#include <thread>

namespace
{

/// The line of one report, without its time.
std::string LineOf(const char* sSource, int iLine, const char* sFunction, const char* sCondition,
                   std::uint32_t nValue)
{
    const CReportCapture capture;
    const auto nBefore = ReadBytes(capture.Path()).size();
    OrvReportAssertion(sSource, iLine, sFunction, sCondition, nValue);
    const std::string sLine = ReadBytes(capture.Path()).substr(nBefore);
    EXPECT_TRUE(Contains(sLine, R"(^\d{4}-\d\d-\d\d [ 1-2]\d:\d\d:\d\d )")) << sLine;
    return sLine.substr(20);
}

/// Sets a value of the settings root.
void Set(const WCHAR* sName, const RegistryValue& value)
{
    const WCHAR* const sRoot = ORVTEXT("Software\\Orvanex\\Lumatrek");
    ASSERT_EQ(ERROR_SUCCESS, StoreValue(HKEY_LOCAL_MACHINE, sRoot, sName, value));
}

void ExpectReportIn(const std::filesystem::path& folder)
{
    CReportCapture capture(folder);
    ORV_REPORT("CFoo::Bar", "x > 0");
    EXPECT_REPORTS(capture, {{"CFoo::Bar", "x > 0"}});
}

} // namespace

TEST(Reporter, FormatsFileFunctionValueAndCondition)
{
    const std::pair<std::uint32_t, const char*> values[] = {
        {0, ""}, {1, ", 1"}, {999999, ", 999999"}, {1000000, ", 0x000F4240"}, {0xFFFFFFFF, ", 0xFFFFFFFF"}};
    for (const auto& [nValue, sText] : values)
        EXPECT_EQ("src(7) $$$ in function 'A::B'" + std::string(sText) + "!\r\n",
                  LineOf("src", 7, "A::B", nullptr, nValue));
    EXPECT_EQ("b.cpp(-3) $$$ in function '', 5! Message: x > 0\r\n",
              LineOf("C:\\x/a\\b.cpp", -3, "", "x > 0", 5));
    EXPECT_EQ("(0) $$$ in function ''!\r\n", LineOf(nullptr, 0, nullptr, nullptr, 0));
    const std::string sLong = LineOf("src", 7, "A::B", std::string(3000, 'c').c_str(), 0);
    EXPECT_EQ(2100u - 20, sLong.size());
    EXPECT_TRUE(sLong.ends_with("ccc\r\n"));
    for (const char* sOdd : {"", "c"}) // a cut leaves whole characters
        EXPECT_TRUE(LineOf("src", 7, "A::B", (sOdd + Narrow(Text(3000, 0xE9))).c_str(), 0)
                        .ends_with(Narrow(ORVTEXT("\u00E9")) + "\r\n"));
}

TEST(Reporter, PrefersTheConfiguredFolders)
{
    const CTestRegistry registry;
    const CTempDir dir;
    const auto Value = [&](const char* sFolder) { return TextValue((dir / sFolder).string<WCHAR>()); };
    ExpectReportIn(TestReportFolder());
    Set(ORVTEXT("DataPath"), Value("data"));
    ExpectReportIn(dir / "data" / "Log");
    Set(ORVTEXT("LocalDataPath"), Value("local/"));
    ExpectReportIn(dir / "local" / "Log");
    Set(ORVTEXT("DefaultLogPath"), Value("logs/deep"));
    ExpectReportIn(dir / "logs" / "deep");
    Set(ORVTEXT("DefaultLogPath"), TextValue({}));
    ExpectReportIn(dir / "local" / "Log");
    RegistryValue unterminated = Value("unterminated");
    unterminated.first = REG_EXPAND_SZ;
    unterminated.second.resize(unterminated.second.size() - sizeof(WCHAR));
    Set(ORVTEXT("DefaultLogPath"), unterminated);
    ExpectReportIn(dir / "unterminated");
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
    EXPECT_TRUE(debugger.Take().ends_with(") $$$ in function 'A::B'! Message: debugger only\r\n"));
}

TEST(Reporter, KeepsTheLastErrorAndTellsWhichFileCannotBeOpened)
{
    SetLastError(ERROR_DISK_FULL);
    ORV_REPORT("A::B", "x");
    EXPECT_EQ(DWORD{ERROR_DISK_FULL}, GetLastError());

    const CTempDir dir;
    WriteBytes(dir / "file", "not a folder");
    const CVariableGuard profile("ALLUSERSPROFILE", (dir / "file").string().c_str());
    CDebugCapture debugger;
    SetLastError(ERROR_DISK_FULL);
    ORV_REPORT("A::B", "x");
    EXPECT_EQ(DWORD{ERROR_DISK_FULL}, GetLastError());
    const std::string sSent = debugger.Take();
    constexpr const char* sFailure =
        R"(.* Message: x\r\nFailed to open log file '.*file\\Application Data\\Lumatrek\\Log)"
        R"(\\LQErrors_3\.8\.2_core_reporter_test\.log'\. Code \d+\n)";
    EXPECT_TRUE(Fits(sSent, sFailure)) << sSent;
}

TEST(Reporter, LosesNoLineOfManyThreads)
{
    ORV_SKIP_WINE("finds a file's end and writes there in two steps, between which another thread may write");
    const std::string sLong(1000, 'c');
    CReportCapture capture;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 50; ++n)
                ORV_REPORT("A::B", sLong.c_str());
        });
    threads.clear();
    const auto reports = capture.Take();
    EXPECT_EQ(200u, reports.size());
    EXPECT_EQ(200, std::ranges::count(reports, sLong, &CapturedReport::m_sCondition));
}
