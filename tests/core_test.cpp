#include "orvcomtypes/octassert.h"
#include "orvcomtypes/octalloc.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>

TEST(Reporter, WritesTheProcessErrorFile)
{
    CReportCapture capture;
    ORV_REPORT("CFoo::Bar", "x > 0");
    ORV_REPORT_VALUE("CFoo::Bar", nullptr, 1000000);
    EXPECT_REPORTS(capture, {{"CFoo::Bar", "x > 0", "", "core_test"}, {"CFoo::Bar", "", "0x000F4240"}});
}
