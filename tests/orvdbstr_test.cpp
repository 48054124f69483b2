// The buffer of a text column and the strings that share it.
#include "orvcomtypes/orvdbstr.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

/// What a driver does: writes as much of \p sValue as there is room for, terminates and says how long it is.
std::int64_t Fetch(WCHAR* pBuffer, std::int64_t cbBuffer, const Text& sValue)
{
    const auto nRoom = static_cast<std::size_t>(cbBuffer) / sizeof(WCHAR) - 1;
    const std::size_t nLen = std::min(nRoom, sValue.size());
    *std::copy_n(sValue.data(), nLen, pBuffer) = 0;
    return static_cast<std::int64_t>(sizeof(WCHAR) * sValue.size());
}

bool FetchInto(COrvDBStr& column, const Text& sValue, unsigned nCch = 10)
{
    WCHAR* const pBuffer = column.GetBuffer(nCch);
    return column.SetLength(Fetch(pBuffer, column.GetBufferBytes(), sValue));
}

} // namespace

TEST(OrvDbStr, SharesItsBufferWithStringsBothWays)
{
    CReportCapture capture;
    COrvDBStr column;
    ASSERT_TRUE(FetchInto(column, ORVTEXT("value")));
    const COrvStr constructed(column);
    COrvStr assigned(ORVTEXT("old"));
    assigned = column;
    COrvStr attached;
    attached.Attach(column);
    for (const COrvStr& str : {constructed, assigned, attached})
        EXPECT_EQ(column.GetText(), static_cast<const WCHAR*>(str));
    const COrvDBStr parameter(constructed);
    EXPECT_EQ(column.GetText(), parameter.GetText());
    // The next value goes elsewhere: strings keep theirs.
    ASSERT_TRUE(FetchInto(column, ORVTEXT("other")));
    EXPECT_EQ(ORVTEXT("value"), TextOf(constructed));
    EXPECT_EQ(ORVTEXT("other"), TextOf(column.GetText()));
    WCHAR sForeign[] = {ORVTEXT('a'), ORVTEXT('b'), 0};
    const COrvDBStr copied(COrvStr(sForeign, false));
    EXPECT_NE(static_cast<const WCHAR*>(sForeign), copied.GetText());
    EXPECT_EQ(ORVTEXT("ab"), TextOf(copied.GetText()));
    EXPECT_NO_REPORTS(capture);
}

TEST(OrvDbStr, KeepsItsBufferWhileNobodySharesIt)
{
    COrvDBStr column;
    const WCHAR* const pBuffer = column.GetBuffer(1000);
    EXPECT_TRUE(column.IsEmpty() && column.GetBufferBytes() >= 2002);
    EXPECT_TRUE(FetchInto(column, Text(1000, ORVTEXT('x')), 1000));
    EXPECT_EQ(pBuffer, column.GetBuffer(500));
    EXPECT_EQ(0u, column.Length());
    const auto nRoom = static_cast<unsigned>(column.GetBufferBytes() / 2 - 1);
    EXPECT_EQ(pBuffer, column.GetBuffer(nRoom));
    column.GetBuffer(nRoom + 1);
    EXPECT_GE(column.GetBufferBytes(), 2 * (nRoom + 2));
}

TEST(OrvDbStr, EndsWhereTheDriverSays)
{
    COrvDBStr column;
    EXPECT_TRUE(column.IsNull());
    EXPECT_TRUE(FetchInto(column, Text()) && !column.IsNull() && column.IsEmpty());
    column.GetBuffer(10);
    const auto nRoom = static_cast<unsigned>(column.GetBufferBytes() / 2 - 1);
    EXPECT_FALSE(FetchInto(column, Text(nRoom + 1, ORVTEXT('x'))));
    EXPECT_EQ(Text(nRoom, ORVTEXT('x')), TextOf(column.GetText()));
    EXPECT_TRUE(FetchInto(column, Text(nRoom, ORVTEXT('x'))));
    const auto EndAt = [&](std::int64_t cb, bool bWhole, const WCHAR* sExpected) {
        Fetch(column.GetBuffer(10), column.GetBufferBytes(), Text(ORVTEXT("ab\0d"), 4));
        EXPECT_EQ(bWhole, column.SetLength(cb)) << cb;
        EXPECT_EQ(TextOf(sExpected), TextOf(column.GetText())) << cb;
        EXPECT_EQ(TextOf(sExpected).size(), column.Length()) << cb;
    };
    EndAt(0, true, ORVTEXT(""));
    EndAt(3, true, ORVTEXT("a"));
    EndAt(8, true, ORVTEXT("ab"));
    EndAt(COrvDBStr::kTerminated, true, ORVTEXT("ab"));
    EndAt(-4, false, ORVTEXT("ab"));
    EndAt(std::numeric_limits<std::int64_t>::max(), false, ORVTEXT("ab"));
    EXPECT_TRUE(column.SetLength(COrvDBStr::kNullValue) && column.IsNull() && column.IsEmpty());
}

TEST(OrvDbStr, TellsNullFromEmpty)
{
    EXPECT_TRUE(COrvDBStr(nullptr).IsNull());
    EXPECT_FALSE(COrvDBStr(ORVTEXT("")).IsNull() || COrvDBStr(COrvStr()).IsNull());
    COrvDBStr column(ORVTEXT("a"));
    const COrvDBStr copy = column;
    column.SetNull();
    EXPECT_TRUE(column.IsNull() && COrvDBStr(column).IsNull() && COrvStr(column).IsEmpty());
    EXPECT_EQ(ORVTEXT("a"), TextOf(copy.GetText()));
}

TEST(OrvDbStr, DoesNotEndWhatOthersHold)
{
    CReportCapture capture;
    COrvDBStr column(ORVTEXT("abc"));
    const COrvStr str(column);
    EXPECT_FALSE(column.SetLength(2) || COrvDBStr().SetLength(2));
    EXPECT_EQ(ORVTEXT("abc"), TextOf(str));
    const ExpectedReport report = {"COrvDBStr::SetLength", "bPrivate", "", "orvdbstr"};
    EXPECT_REPORTS(capture, {report, report});
}
