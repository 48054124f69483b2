#include "support/report_capture.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

TEST(ReportCapture, ReadsWhatWasAddedSinceTheLastLook)
{
    const CTempDir dir;
    CReportCapture capture(dir.Path());
    WriteBytes(capture.Path(),
               "2026-01-02  3:04:05 memarray(12) $$$ in function 'A<B::C>::D'! Message: x > 0\r\n");
    EXPECT_REPORTS(capture, {{"A<B::C>::D", "x > 0", "", "memarray"}});
    WriteBytes(capture.Path(), ReadBytes(capture.Path()) +
                                   "2026-01-02 13:04:05 s(1) $$$ in function 'A<B::C>::D', 0x000F4240!\r\n");
    EXPECT_REPORTS(capture, {{"::D", "", "0x000F4240"}});
    EXPECT_NO_REPORTS(capture);
}

TEST(ReportCapture, DoesNotMatchOtherReports)
{
    const std::vector<CapturedReport> made{{"", "src", "Cls::Fn", "7", "cond"}};
    EXPECT_TRUE(ReportsMatch(made, {{"Cls::Fn", "cond"}}) && ReportsMatch(made, {{"::Fn", nullptr}}));
    EXPECT_FALSE(ReportsMatch(made, {}));
    EXPECT_FALSE(ReportsMatch(made, {{"Cls::Fn", "cond"}, {"Cls::Fn", "cond"}}));
    EXPECT_FALSE(ReportsMatch(made, {{"Fn", "cond"}}));
    EXPECT_FALSE(ReportsMatch(made, {{"::n", "cond"}}));
    EXPECT_FALSE(ReportsMatch(made, {{"Cls::Fn"}}));
    EXPECT_FALSE(ReportsMatch(made, {{"Cls::Fn", "cond", "8"}}));
    EXPECT_FALSE(ReportsMatch(made, {{"Cls::Fn", "cond", "7", "other"}}));
}
