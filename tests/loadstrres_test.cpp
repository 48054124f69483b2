#include "orvcomtypes/loadstrres.h"
#include "orvcomtypes/orvstr.h"
#include "support/report_capture.h"
#include "support/test_strings.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <cstring>

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
    EXPECT_EQ(nullptr, LoadStringResImage(nullptr, 1, &nLength));
    EXPECT_EQ(0u, nLength);
    EXPECT_REPORTS(capture, {{"LoadStringResImage", "hInstance == nullptr", "", "loadstrres"}});
    {
        const CCurrentTestResources current;
        EXPECT_EQ(LoadStringResImage(current, 1, nullptr), LoadStringResImage(nullptr, 1, &nLength));
        EXPECT_EQ(5u, nLength);
    }
    EXPECT_EQ(nullptr, CResourceHandler::GetHandle());
    const CTestResources ofThread;
    CResourceHandler::SetThreadHandle(ofThread);
    EXPECT_EQ(ofThread, CResourceHandler::GetHandle());
    CResourceHandler::DestroyThreadLocal();
    EXPECT_EQ(nullptr, CResourceHandler::GetHandle());
    EXPECT_NO_REPORTS(capture);
}

TEST(LoadDBStringRes, TokensAtTheBeginning)
{
    const CCurrentTestResources current;
    constexpr struct
    {
        std::string_view sSource;
        const char* sText; ///< null: no token
    } rows[] = {{"##7##", "seven"},
                {"##000000007## and more", "seven"},
                {"##8##", "Error: Resource string could not be loaded!"},
                {"##999999999##", "Error: Resource string could not be loaded!"},
                {"#7##", nullptr},
                {"##7#", nullptr},
                {"##7", nullptr},
                {"####", nullptr},
                {"##0##", nullptr},
                {"##-7##", nullptr},
                {"##0000000007##", nullptr},
                {" ##7##", nullptr},
                {"", nullptr}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.sSource);
        const Text source(row.sSource.begin(), row.sSource.end());
        const std::string text = row.sText != nullptr ? row.sText : "?";
        WCHAR sWide[50] = {ORVTEXT('?'), 0};
        EXPECT_EQ(row.sText != nullptr, LoadDBStringResW(source.c_str(), sWide, 1));
        EXPECT_EQ(Text(text.begin(), text.end()), sWide);
        char sNarrow[50] = "?";
        EXPECT_EQ(row.sText != nullptr, LoadDBStringResA(row.sSource.data(), sNarrow, 50));
        EXPECT_EQ(text, sNarrow);
    }
    char sText[50] = "##1000##";
    EXPECT_FALSE(LoadDBStringResA(sText, sText, 0));
    EXPECT_FALSE(LoadDBStringResA(nullptr, sText, 50));
    EXPECT_FALSE(LoadDBStringResA(sText, nullptr, 50));
    EXPECT_FALSE(LoadDBStringResW(nullptr, nullptr, 0));
    EXPECT_TRUE(LoadDBStringResA(sText, sText, 50));
    EXPECT_STREQ("\xE1rv\xEDz \x80", sText);
}

TEST(ReplaceToken, EveryTokenOfAText)
{
    const CCurrentTestResources current;
    constexpr struct
    {
        const WCHAR* sSource;
        unsigned nBufferChars;
        const WCHAR* sText;
    } rows[] = {{ORVTEXT("<##7##|##1##>"), 100, ORVTEXT("<seven|first>")},
                {ORVTEXT("##7####1##"), 100, ORVTEXT("sevenfirst")},
                {ORVTEXT("a##0##b##x#7##c##"), 100, ORVTEXT("a##0##b##x#7##c##")},
                {ORVTEXT("###7##"), 100, ORVTEXT("#seven")},
                {ORVTEXT("plain"), 3, ORVTEXT("pl")},
                {ORVTEXT("plain"), 1, ORVTEXT("")},
                {ORVTEXT("a##7##b"), 7, ORVTEXT("aseven")},
                {ORVTEXT("a##7##b"), 6, ORVTEXT("ab")},
                {ORVTEXT(""), 100, ORVTEXT("")}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::PrintToString(Text(row.sSource)));
        WCHAR sBuffer[100];
        unsigned nLength = 77;
        EXPECT_EQ(sBuffer, ReplaceTokenW(row.sSource, &nLength, sBuffer, row.nBufferChars));
        EXPECT_EQ(Text(row.sText), sBuffer);
        EXPECT_EQ(Text(sBuffer).size(), nLength);
    }
    WCHAR cBuffer = ORVTEXT('?');
    EXPECT_EQ(&cBuffer, ReplaceTokenW(ORVTEXT("a##7##b"), nullptr, &cBuffer, 0));
    EXPECT_EQ(ORVTEXT('?'), cBuffer) << "no room, no terminator";
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
