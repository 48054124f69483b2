#include "orvcomtypes/loadstrres.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/resourcehandler.h"
#include "support/report_capture.h"
#include "support/test_strings.h"
#include "support/text.h"

#include <gtest/gtest.h>

namespace
{

/// The strings of tests/resources/test_strings.rc; null where there is none.
constexpr struct
{
    unsigned uID;
    const WCHAR* sText;
} g_rows[] = {{1, ORVTEXT("first")},
              {15, ORVTEXT("last of its block")},
              {16, ORVTEXT("first of its block")},
              {1000, ORVTEXT("\x00E1rv\x00EDz \x20AC")},
              {65519, ORVTEXT("near the end")},
              {0, nullptr},
              {8, nullptr},
              {17, nullptr},
              {500, nullptr},
              {0x10000 + 1, nullptr},
              {0xFFFFFFFF, nullptr}};

} // namespace

TEST(LoadStringRes, FindsWhatTheTablesHold)
{
    const CTestResources library;
    for (const auto& row : g_rows)
    {
        SCOPED_TRACE(row.uID);
        unsigned nLength = 77;
        const WCHAR* const s = LoadStringResImage(library, row.uID, &nLength);
        EXPECT_EQ(row.sText == nullptr, s == nullptr);
        EXPECT_EQ(s != nullptr ? TextOf(row.sText) : Text(), Text(TextView(s, nLength)));
        EXPECT_EQ(s, LoadStringResImage(library, row.uID, nullptr));
        unsigned nCopied = 77;
        const BSTR sCopy = LoadStringRes(library, row.uID, &nCopied);
        EXPECT_EQ(TextOf(row.sText), TextOf(sCopy));
        EXPECT_EQ(nLength, nCopied);
        SysFreeString(sCopy);
    }
}

TEST(LoadStringRes, ValuesTakeThem)
{
    CReportCapture capture;
    const CTestResources library;
    COrvStr str(1, library);
    str.Append(16, library);
    str.Append(8, library);
    EXPECT_EQ(Text(ORVTEXT("firstfirst of its block")), TextOf(str));
    EXPECT_TRUE(str.Load(7, library));
    EXPECT_EQ(Text(ORVTEXT("seven")), TextOf(str));
    EXPECT_FALSE(str.Load(8, library));
    EXPECT_EQ(ORVS_GetDefaultEmptyString(), static_cast<const WCHAR*>(str));
    EXPECT_NO_REPORTS(capture);
    EXPECT_TRUE(COrvStr(8, library).IsEmpty());
    EXPECT_REPORTS(capture, {{"COrvStr::COrvStr", "Load(uID, hInstance)", "", "orvstr"}});
}

TEST(LoadStringRes, AskTheHandlerWhenNoModuleIsGiven)
{
    CReportCapture capture;
    unsigned nLength = 77;
    EXPECT_EQ(nullptr, LoadStringResImage(nullptr, 1, &nLength));
    EXPECT_EQ(0u, nLength);
    EXPECT_REPORTS(capture, {{"LoadStringResImage", "hInstance == nullptr", "", "loadstrres"}});
    const CTestResources library;
    CResourceHandler::SetHandle(library);
    EXPECT_EQ(LoadStringResImage(library, 1, nullptr), LoadStringResImage(nullptr, 1, &nLength));
    EXPECT_EQ(5u, nLength);
    CResourceHandler::DestroyGlobal();
    EXPECT_EQ(nullptr, CResourceHandler::GetHandle());
    EXPECT_NO_REPORTS(capture);
}
