// Reports of violated preconditions, read where users find them: in the process error file.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

struct CapturedReport
{
    std::string m_sLine; ///< as it stands in the file
    std::string m_sSource;
    std::string m_sFunction;
    std::string m_sValue;     ///< "12" or "0x000F4240"; empty without a value
    std::string m_sCondition; ///< empty without a condition text
};

/// What a test expects of one report. Of a function that begins with "::" only the end is compared, for
/// templates whose arguments compilers spell differently. A null text matches anything.
struct ExpectedReport
{
    const char* m_sFunction;
    const char* m_sCondition = "";
    const char* m_sValue = nullptr;
    const char* m_sSource = nullptr;
};

/// The reports made since construction or the last Take(), oldest first, also those of child processes that
/// run the same program.
///
///     CReportCapture capture;
///     array.SetItem(7, 1); // it has three
///     EXPECT_REPORTS(capture, {{"CMarrayBase::SetItem", "idx >= m_iSize"}});
class CReportCapture
{
public:
    /// Watches the file that the test environment provides.
    CReportCapture();
    /// Watches the error file of this program in another folder.
    explicit CReportCapture(const std::filesystem::path& folder);

    std::vector<CapturedReport> Take();

    /// The file that is watched.
    const std::filesystem::path& Path() const { return m_file; }

private:
    std::filesystem::path m_file;
    std::size_t m_nTaken;
};

testing::AssertionResult ReportsMatch(const std::vector<CapturedReport>& reports,
                                      std::initializer_list<ExpectedReport> expected);

#define EXPECT_REPORTS(capture, ...) EXPECT_TRUE(ReportsMatch((capture).Take(), __VA_ARGS__))
#define EXPECT_NO_REPORTS(capture) EXPECT_TRUE(ReportsMatch((capture).Take(), {}))
