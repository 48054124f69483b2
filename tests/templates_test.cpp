// The templates of COrvStr: places by number, tags that a client fills, tokens.
#include "orvcomtypes/orvstr.h"
#include "support/report_capture.h"
#include "support/test_strings.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <map>
#include <utility>

namespace
{

/// Values by the names of tags, and the names that were asked for.
struct Client
{
    std::map<Text, Text> m_values;
    Text m_asked;

    static void Fill(const WCHAR* sName, void* pData, COrvStr& sValue)
    {
        auto& client = *static_cast<Client*>(pData);
        EXPECT_TRUE(sValue.IsEmpty());
        client.m_asked.append(sName).append(ORVTEXT(";"));
        if (const auto value = client.m_values.find(sName); value != client.m_values.end())
            sValue = value->second.c_str();
    }
};

/// With tags a and b that have a value, and others that have none.
Text Filled(const Text& sTemplate)
{
    Client client{{{ORVTEXT("a"), ORVTEXT("A")}, {ORVTEXT("b"), ORVTEXT(" <x> \\ ")}}, {}};
    COrvStr str(ORVTEXT("old"));
    const int nLength = str.FormatStr(sTemplate.c_str(), Client::Fill, &client);
    EXPECT_EQ(str.GetLength(), static_cast<unsigned>(nLength));
    return TextOf(str);
}

} // namespace

TEST(TagTemplate, FillsTagsAndKeepsOrDropsWhatDependsOnThem)
{
    const std::pair<const WCHAR*, const WCHAR*> rows[] = {
        // Text and values.
        {ORVTEXT(""), ORVTEXT("")},
        {ORVTEXT("a>b<a>c<no>d"), ORVTEXT("a>bAcd")},
        {ORVTEXT("<a>[<b>]"), ORVTEXT("A[ <x> \\ ]")},
        {ORVTEXT(" \\t x \\N\\r\\n\\R\\T  y   z\\T"), ORVTEXT("x \n\r\n\r\t y z")},
        {ORVTEXT("\t x\t\ty\n"), ORVTEXT("x\t\ty")},
        {ORVTEXT("\\<a\\>\\\\\\q\\"), ORVTEXT("<a>\\q")},
        {ORVTEXT("x< a >y<\t&a>z<&no>"), ORVTEXT("xAy Az")},
        {ORVTEXT("x  < $ > y <$a> z<>"), ORVTEXT("x y A z")},
        {ORVTEXT("x<$b>y"), ORVTEXT("x <x> \\y")},
        {ORVTEXT("x<a"), ORVTEXT("x")},
        {ORVTEXT("x<"), ORVTEXT("x")},
        {ORVTEXT("x<+no"), ORVTEXT("x")},
        // Sections.
        {ORVTEXT("x<+a>y<-a>z<+no>y<-no>z"), ORVTEXT("xyzz")},
        {ORVTEXT("x<*a>y<-a>z<*no>y<-no>z"), ORVTEXT("xzyz")},
        {ORVTEXT("<+a><+no>p<-no>q<-a>r<*a>s<+no>t<-no>u<-a>v"), ORVTEXT("qrv")},
        {ORVTEXT("<+no>p<- no>q<-$no>r<-no >s<-n>t\\<-no>u<-no>v"), ORVTEXT("v")},
        {ORVTEXT("<+no>\\\\<-no>v"), ORVTEXT("v")},
        {ORVTEXT("x<+no>y"), ORVTEXT("x")},
        {ORVTEXT("x<+no>y\\"), ORVTEXT("x")},
        {ORVTEXT("x<+*-a>y<*+a>z<-a>"), ORVTEXT("xy")},
        {ORVTEXT("x<-+no>y<+>z<*>"), ORVTEXT("xyz")},
        {ORVTEXT("x <$-no>y <$+no>z<-no>!"), ORVTEXT("xy!")},
        // Back to bookmarks.
        {ORVTEXT("x<#1>y<#d1>z"), ORVTEXT("xz")},
        {ORVTEXT("x<#1>y<#d1 a>z"), ORVTEXT("xz")},
        {ORVTEXT("x<#1>y<a><#e1>z"), ORVTEXT("xyAz")},
        {ORVTEXT("x<#1>y<no><#e1>z"), ORVTEXT("xz")},
        {ORVTEXT("x<#1>y<*a>..<-a><#e1>z"), ORVTEXT("xyz")},
        {ORVTEXT("x<#1a>y<#e1>z"), ORVTEXT("xAyz")},
        {ORVTEXT("x<a><#1>y<#e1>z"), ORVTEXT("xAz")},
        {ORVTEXT("x<#1>y<a><#2>z<#e1><#e2>!"), ORVTEXT("xyA!")},
        // Set anew, it counts anew and forgets its mark.
        {ORVTEXT("x<#1>y<a><#1>z<#e1>!"), ORVTEXT("xyA!")},
        {ORVTEXT("x<#1><a><#e1><#1>y<no>z<a>"), ORVTEXT("xAyzA")},
        // Removed twice; not set; behind the end when it is looked at, and therefore forgotten.
        {ORVTEXT("x<#1>y<#d1>y<#d1>z"), ORVTEXT("xz")},
        {ORVTEXT("x<#d1>y<#e2>z"), ORVTEXT("xyz")},
        {ORVTEXT("x<#1>yy<#2>z<#d1><>yyy<#d2>!"), ORVTEXT("xyyy!")},
        {ORVTEXT("x <#0>y<#9$><#d0$>!"), ORVTEXT("x !")},
        {ORVTEXT("x<#>y<#d>z<#e a>!<#a>"), ORVTEXT("xyzA!A")},
    };
    for (const auto& [sTemplate, sText] : rows)
        EXPECT_EQ(sText, Filled(sTemplate)) << testing::PrintToString(Text(sTemplate));
}

TEST(TagTemplate, CutsLongTextsAndNames)
{
    EXPECT_EQ(Text(1023, 'x'), Filled(Text(1030, 'x') + ORVTEXT("<a>")));
    EXPECT_EQ(Text(1022, 'x') + ORVTEXT("A"), Filled(Text(1022, 'x') + ORVTEXT("<#1>yyy<#d1><a><a>")));
    Client client;
    COrvStr str;
    str.FormatStr(ORVTEXT("<123456789><1 2345678 90>x<+a\"*b><-n>"), Client::Fill, &client);
    EXPECT_EQ(ORVTEXT("123456789;123456789;a\"*b;"), client.m_asked);
    client.m_values.emplace(ORVTEXT("123456789"), ORVTEXT("v"));
    for (const WCHAR* sTemplate :
         {ORVTEXT("<*123456789a>y<-123456789a>z"), ORVTEXT("<*123456789>y<-12345678><-123456789 bc>z")})
        EXPECT_EQ(1, str.FormatStr(sTemplate, Client::Fill, &client)) << testing::PrintToString(Text(str));
}

TEST(TagTemplate, ReplacesTheValueItReads)
{
    CReportCapture capture;
    Client client;
    COrvStr str(ORVTEXT("kept <no>"));
    EXPECT_EQ(4, str.FormatStr(str, Client::Fill, &client));
    EXPECT_EQ(ORVTEXT("kept"), TextOf(str));
    const Text sLong(500, 'x');
    str = (ORVTEXT("<a>") + sLong).c_str();
    const auto replace = [](const WCHAR*, void* pData, COrvStr& sValue) {
        *static_cast<COrvStr*>(pData) = Text(500, 'y').c_str();
        sValue = ORVTEXT("v");
    };
    EXPECT_EQ(501, str.FormatStr(str, replace, &str));
    EXPECT_EQ(ORVTEXT("v") + sLong, TextOf(str)) << "the client replaced it";
    str = ORVTEXT("kept");
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(0, str.FormatStr(nullptr, Client::Fill, &client));
    EXPECT_EQ(0, str.FormatStr(ORVTEXT("x"), COrvStr::TagClient(), &client));
    EXPECT_EQ(0, str.FormatStr(ORVTEXT("x"), Client::Fill, nullptr));
    EXPECT_EQ(ORVTEXT("kept"), TextOf(str));
    const ExpectedReport report = {
        "COrvStr::FormatStr", "ClientFunc == nullptr || pData == nullptr || sFrm == nullptr", "", "orvstr"};
    EXPECT_REPORTS(capture, {report, report, report});
}

TEST(FormatStr, PutsTextsIntoPlaces)
{
    const Text sLong(1023, 'x');
    COrvStr str(ORVTEXT("%4-%2-%5-%99"));
    EXPECT_EQ(6, str.FormatStr(str, str, ORVTEXT("b"), nullptr, ORVTEXT("dd")));
    EXPECT_EQ(ORVTEXT("dd-b--"), TextOf(str));
    EXPECT_EQ(1023, str.FormatStr(ORVTEXT("%1"), sLong.c_str()));
    EXPECT_EQ(sLong, TextOf(str));
    for (const Text& sFormat : {Text(), Text(ORVTEXT("%1!d")), Text(ORVTEXT("%1")), sLong + ORVTEXT("x")})
    {
        str = ORVTEXT("old");
        EXPECT_EQ(0, str.FormatStr(sFormat.c_str(), nullptr, ORVTEXT("b")));
        EXPECT_EQ(ORVTEXT(""), TextOf(str));
    }
    EXPECT_EQ(0, str.FormatStr(static_cast<const WCHAR*>(nullptr), ORVTEXT("a")));
}

TEST(FormatStr, TakesFormatsFromResources)
{
    const CCurrentTestResources current;
    CReportCapture capture;
    COrvStr str;
    EXPECT_EQ(20, str.FormatStr(2000u, CResourceHandler::GetHandle(), ORVTEXT("7"), ORVTEXT("12")));
    EXPECT_EQ(ORVTEXT("Order 7 has 12 lines"), TextOf(str));
    str = ORVTEXT("%1.");
    EXPECT_EQ(3, str.FormatStr(0u, nullptr, ORVTEXT("%1")));
    EXPECT_EQ(ORVTEXT("%1."), TextOf(str));
    EXPECT_EQ(0, str.FormatStr(2001u, nullptr, ORVTEXT("7"))) << "broken";
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(21, str.FormatStr(8u, nullptr));
    EXPECT_EQ(ORVTEXT("Missing format string"), TextOf(str));
    str.Empty();
    EXPECT_EQ(21, str.FormatStr(0u, nullptr));
    const ExpectedReport report = {"COrvStr::FormatStr", "sFormat.IsEmpty()", "", "orvstr"};
    EXPECT_REPORTS(capture, {report, report});
}

TEST(FormatStr, ReplacesTokens)
{
    const CCurrentTestResources current;
    const auto Replaced = [](const Text& sText) {
        COrvStr str(sText.c_str());
        str.ReplaceToken();
        return TextOf(str);
    };
    EXPECT_EQ(ORVTEXT("seven"), Replaced(ORVTEXT("##7##"))) << "a resource has no terminator";
    EXPECT_EQ(ORVTEXT("<first|##x>"), Replaced(ORVTEXT("<##1##|##x>")));
    EXPECT_EQ(Text(4095, 'x'), Replaced(Text(5000, 'x') + ORVTEXT("##")));
    EXPECT_EQ(Text(5000, 'x'), Replaced(Text(5000, 'x')));
}
