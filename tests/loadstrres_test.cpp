#include "orvcomtypes/loadstrres.h"
#include "orvcomtypes/orvstr.h"
#include "support/report_capture.h"
#include "support/test_strings.h"
#include "support/text.h"

#include <gtest/gtest.h>

TEST(LoadStringRes, FindsWhatTheTablesHold)
{
    constexpr struct
    {
        unsigned uID;
        const WCHAR* sText;
    } rows[] = {{1, ORVTEXT("first")},
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
    const CTestResources library;
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.uID);
        unsigned nLength = 77;
        const WCHAR* const s = LoadStringResImage(library, row.uID, &nLength);
        EXPECT_EQ(row.sText == nullptr, s == nullptr);
        EXPECT_EQ(row.sText != nullptr ? row.sText : Text(), TextView(s, nLength));
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
    {
        const CCurrentTestResources current;
        EXPECT_EQ(ORVTEXT("first"), TextView(LoadStringResImage(nullptr, 1, &nLength), 5));
        EXPECT_EQ(5u, nLength);
    }
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(nullptr, LoadStringResImage(nullptr, 1, &nLength));
    EXPECT_EQ(0u, nLength);
    EXPECT_REPORTS(capture, {{"LoadStringResImage", "hInstance == nullptr", "", "loadstrres"}});
}

TEST(LoadDBStringRes, TokensAtTheBeginning)
{
    const CCurrentTestResources current;
    const auto Load = [](const std::string& sSource) {
        char sNarrow[50] = "(none)";
        WCHAR sWide[50] = ORVTEXT("(none)");
        const bool bLoaded = LoadDBStringResA(sSource.c_str(), sNarrow, 50);
        EXPECT_EQ(bLoaded, LoadDBStringResW(Text(sSource.begin(), sSource.end()).c_str(), sWide, 1));
        const std::string sText = sNarrow;
        EXPECT_EQ(Text(sText.begin(), sText.end()), sWide);
        EXPECT_EQ(bLoaded, sText != "(none)");
        return sText;
    };
    EXPECT_EQ("seven", Load("##7##"));
    EXPECT_EQ("seven", Load("##000000007## and more"));
    EXPECT_EQ("Error: Resource string could not be loaded!", Load("##8##"));
    EXPECT_EQ("Error: Resource string could not be loaded!", Load("##999999999##"));
    for (const char* sSource :
         {"#7##", "##7#", "##7", "####", "##0##", "##-7##", "##0000000007##", " ##7##", ""})
        EXPECT_EQ("(none)", Load(sSource)) << sSource;
    char sText[50] = "##1000##";
    EXPECT_FALSE(LoadDBStringResA(sText, sText, 0));
    EXPECT_FALSE(LoadDBStringResA(nullptr, sText, 50));
    EXPECT_FALSE(LoadDBStringResA(sText, nullptr, 50));
    EXPECT_FALSE(LoadDBStringResW(nullptr, nullptr, 0));
    EXPECT_TRUE(LoadDBStringResA(sText, sText, 50));
    EXPECT_EQ(Narrow(ORVTEXT("\u00E1rv\u00EDz \u20AC")), sText);
}

// Which tokens of a text are replaced, and what fits, is checked against a model by fuzz/restoken_fuzz.cpp,
// whose inputs are replayed on every target.
TEST(ReplaceToken, WithoutRoomNothingIsWritten)
{
    const CCurrentTestResources current;
    unsigned nLength = 77;
    WCHAR cBuffer = ORVTEXT('?');
    EXPECT_EQ(&cBuffer, ReplaceTokenW(ORVTEXT("a##7##b"), &nLength, &cBuffer, 0));
    EXPECT_EQ(0u, nLength);
    EXPECT_EQ(ORVTEXT('?'), cBuffer);
    EXPECT_EQ(&cBuffer, ReplaceTokenW(ORVTEXT("plain"), nullptr, &cBuffer, 1));
    EXPECT_EQ(WCHAR(0), cBuffer);
}

TEST(ReplaceToken, ASingleTokenIsTheResourceItself)
{
    const CCurrentTestResources current;
    CReportCapture capture;
    WCHAR sBuffer[40] = {ORVTEXT('?'), 0};
    unsigned nLength = 0;
    EXPECT_EQ(LoadStringResImage(nullptr, 7, nullptr), ReplaceTokenW(ORVTEXT("##7##"), &nLength, sBuffer, 1));
    EXPECT_EQ(5u, nLength);
    EXPECT_NO_REPORTS(capture);
    const Text missing = ORVTEXT("!Resource does not exist!");
    const WCHAR* const sMissing = ReplaceTokenW(ORVTEXT("##8##"), &nLength, sBuffer, 40);
    EXPECT_EQ(missing, Text(sMissing, nLength));
    EXPECT_EQ(Text(ORVTEXT("?")), sBuffer);
    EXPECT_EQ(missing + ORVTEXT("."), ReplaceTokenW(ORVTEXT("##8##."), nullptr, sBuffer, 40));
    EXPECT_EQ(nullptr, ReplaceTokenW(nullptr, &nLength, sBuffer, 40));
    EXPECT_EQ(nullptr, ReplaceTokenW(ORVTEXT("x"), &nLength, nullptr, 40));
    const ExpectedReport noText = {"ReplaceTokenW", "sRes == nullptr", "8", "loadstrres"};
    const ExpectedReport null = {"ReplaceTokenW", "sSrc == nullptr || sBuffer == nullptr", "", "loadstrres"};
    EXPECT_REPORTS(capture, {noText, noText, null, null});
}
