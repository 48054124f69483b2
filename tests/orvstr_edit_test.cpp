// Search, changes and paths: a row an edge.
#include "orvcomtypes/orvstr.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <gtest/gtest.h>

namespace
{

/// Runs \p change on a sole owner, on a sharer and on attached text: all three
/// must end as \p expected.
template <class Change>
void ExpectChange(const WCHAR* sBefore, const WCHAR* sExpected, Change change)
{
    SCOPED_TRACE(testing::PrintToString(TextOf(sBefore)));
    const Text foreign = sBefore;
    COrvStr sole(sBefore);
    const COrvStr source(sBefore);
    COrvStr shared = source;
    COrvStr attached(foreign.c_str(), false);
    for (COrvStr* const p : {&sole, &shared, &attached})
    {
        change(*p);
        EXPECT_EQ(Text(sExpected), TextOf(*p));
        EXPECT_EQ(Text(sExpected).size(), p->GetLength());
    }
    EXPECT_EQ(Text(sBefore), TextOf(source));
    EXPECT_EQ(Text(sBefore), foreign);
}

} // namespace

TEST(OrvStrEdit, Find)
{
    const COrvStr str(ORVTEXT("abcabc"));
    const WCHAR b = ORVTEXT('b');
    EXPECT_EQ(1, str.Find(b));
    EXPECT_EQ(1, str.Find(b, 1));
    EXPECT_EQ(4, str.Find(b, 2));
    EXPECT_EQ(-1, str.Find(b, 5));
    EXPECT_EQ(-1, str.Find(b, 6));
    EXPECT_EQ(-1, str.Find(b, -1));
    EXPECT_EQ(-1, str.Find(0, 0));
    EXPECT_EQ(4, str.ReverseFind(b));
    EXPECT_EQ(-1, str.ReverseFind(ORVTEXT('x')));
    EXPECT_EQ(2, str.FindSubStr(ORVTEXT("ca")));
    EXPECT_EQ(0, str.FindSubStr(ORVTEXT("")));
    EXPECT_EQ(-1, str.FindSubStr(ORVTEXT("abcabcd")));
    CReportCapture capture;
    EXPECT_EQ(-1, COrvStr().Find(b));
    EXPECT_EQ(-1, COrvStr().ReverseFind(b));
    EXPECT_EQ(-1, COrvStr().FindSubStr(nullptr));
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(-1, str.FindSubStr(nullptr));
    EXPECT_REPORTS(capture, {{"COrvStr::FindSubStr", "sToFind == nullptr", "", "orvstr"}});
}

TEST(OrvStrEdit, ReplaceText)
{
    constexpr struct
    {
        const WCHAR* sBefore;
        const WCHAR* sFind;
        const WCHAR* sWith;
        const WCHAR* sAfter;
    } rows[] = {{ORVTEXT("aaaa"), ORVTEXT("aa"), ORVTEXT("b"), ORVTEXT("bb")},
                {ORVTEXT("aaa"), ORVTEXT("aa"), ORVTEXT("b"), ORVTEXT("ba")},
                {ORVTEXT("x.x"), ORVTEXT("x"), ORVTEXT("longer"), ORVTEXT("longer.longer")},
                {ORVTEXT("abab"), ORVTEXT("ab"), ORVTEXT(""), ORVTEXT("")},
                {ORVTEXT("xax"), ORVTEXT("a"), ORVTEXT("a"), ORVTEXT("xax")},
                {ORVTEXT("xax"), ORVTEXT(""), ORVTEXT("y"), ORVTEXT("xax")},
                {ORVTEXT("xax"), ORVTEXT("xaxx"), ORVTEXT("y"), ORVTEXT("xax")},
                {ORVTEXT(""), ORVTEXT("a"), ORVTEXT("b"), ORVTEXT("")}};
    for (const auto& row : rows)
        ExpectChange(row.sBefore, row.sAfter, [&](COrvStr& str) { str.Replace(row.sFind, row.sWith); });
    CReportCapture capture;
    COrvStr().Replace(nullptr, nullptr);
    EXPECT_NO_REPORTS(capture);
    const ExpectedReport null = {"COrvStr::Replace", "sToFind == nullptr || sReplaceTo == nullptr", "",
                                 "orvstr"};
    COrvStr str(ORVTEXT("a"));
    str.Replace(nullptr, ORVTEXT("x"));
    str.Replace(ORVTEXT("a"), nullptr);
    EXPECT_REPORTS(capture, {null, null});
    EXPECT_EQ(Text(ORVTEXT("a")), TextOf(str));
}

TEST(OrvStrEdit, ReplaceUnit)
{
    const auto replace = [](WCHAR cFrom, WCHAR cTo) {
        return [=](COrvStr& str) { str.Replace(cFrom, cTo); };
    };
    ExpectChange(ORVTEXT("a-b-"), ORVTEXT("a+b+"), replace(ORVTEXT('-'), ORVTEXT('+')));
    ExpectChange(ORVTEXT("a-b-"), ORVTEXT("a-b-"), replace(0, ORVTEXT('+')));
    ExpectChange(ORVTEXT(""), ORVTEXT(""), replace(ORVTEXT('-'), ORVTEXT('+')));
}

TEST(OrvStrEdit, CutAndErase)
{
    const auto truncate = [](unsigned n) { return [=](COrvStr& str) { str.Truncate(n); }; };
    ExpectChange(ORVTEXT("abc"), ORVTEXT("ab"), truncate(2));
    ExpectChange(ORVTEXT("abc"), ORVTEXT(""), truncate(0));
    ExpectChange(ORVTEXT("abc"), ORVTEXT("abc"), truncate(3));
    ExpectChange(ORVTEXT("abc"), ORVTEXT("abc"), truncate(0xFFFFFFFF));

    const COrvStr abc(ORVTEXT("abc"));
    EXPECT_EQ(Text(ORVTEXT("bc")), TextOf(abc.SubStr(1, 0xFFFFFFFF)));
    EXPECT_EQ(Text(ORVTEXT("a")), TextOf(abc.SubStr(0, 1)));
    for (const COrvStr& sub : {abc.SubStr(3, 1), abc.SubStr(0xFFFFFFFF, 0xFFFFFFFF), abc.SubStr(1, 0)})
        EXPECT_EQ(ORVS_GetDefaultEmptyString(), static_cast<const WCHAR*>(sub));

    COrvStr str(ORVTEXT("abcdef"));
    str.Erase(6, 1);
    str.Erase(1, 2);
    EXPECT_EQ(Text(ORVTEXT("adef")), TextOf(str));
    str.Erase(2, 0xFFFFFFFF);
    EXPECT_EQ(Text(ORVTEXT("ad")), TextOf(str));
    EXPECT_EQ(2u, str.GetLength());
}

TEST(OrvStrEdit, EraseWritesWhereTheTextStands)
{
    COrvStr a(ORVTEXT("abcdef"));
    const COrvStr b = a;
    a.Erase(0, 4);
    EXPECT_EQ(Text(ORVTEXT("ef")), TextOf(b));
    EXPECT_EQ(2u, b.GetLength());
    WCHAR sForeign[] = {ORVTEXT('x'), ORVTEXT('y'), ORVTEXT('z'), 0};
    COrvStr attached(sForeign, false);
    attached.Erase(1, 1);
    EXPECT_EQ(Text(ORVTEXT("xz")), sForeign);
    EXPECT_EQ(2u, attached.GetLength());
}

TEST(OrvStrEdit, Case)
{
    ExpectChange(ORVTEXT("aZ\x00E9\x0131z"), ORVTEXT("AZ\x00E9\x0131Z"),
                 [](COrvStr& str) { str.MakeUpper(); });
    ExpectChange(ORVTEXT("AzZ\x00C9"), ORVTEXT("azz\x00C9"), [](COrvStr& str) { str.MakeLower(); });
    const auto capitalize = [](COrvStr& str) { str.CapitalizeFirstChar(); };
    ExpectChange(ORVTEXT("\x00E9t\x00E9"), ORVTEXT("\x00C9t\x00E9"), capitalize);
    ExpectChange(ORVTEXT("1a"), ORVTEXT("1a"), capitalize);
    ExpectChange(ORVTEXT(""), ORVTEXT(""), capitalize);
}

TEST(OrvStrEdit, Trim)
{
    constexpr struct
    {
        const WCHAR* sBefore;
        const WCHAR* sLeft;
        const WCHAR* sRight;
        const WCHAR* sBoth;
    } rows[] = {{ORVTEXT(" \t\n\v\f\ra b "), ORVTEXT("a b "), ORVTEXT(" \t\n\v\f\ra b"), ORVTEXT("a b")},
                {ORVTEXT("\x00A0x\x3000"), ORVTEXT("x\x3000"), ORVTEXT("\x00A0x"), ORVTEXT("x")},
                {ORVTEXT("x"), ORVTEXT("x"), ORVTEXT("x"), ORVTEXT("x")},
                {ORVTEXT("   "), ORVTEXT(""), ORVTEXT(""), ORVTEXT("")},
                {ORVTEXT(""), ORVTEXT(""), ORVTEXT(""), ORVTEXT("")}};
    for (const auto& row : rows)
    {
        ExpectChange(row.sBefore, row.sLeft, [](COrvStr& str) { str.TrimLeft(); });
        ExpectChange(row.sBefore, row.sRight, [](COrvStr& str) { str.TrimRight(); });
        ExpectChange(row.sBefore, row.sBoth, [](COrvStr& str) { str.Trim(); });
    }
    COrvStr blank(ORVTEXT("   "));
    blank.TrimRight();
    EXPECT_EQ(ORVS_GetDefaultEmptyString(), static_cast<const WCHAR*>(blank));
}

TEST(OrvStrEdit, PathEnds)
{
    const auto add = [](COrvStr& str) { str.AddBackslashToEnd(); };
    ExpectChange(ORVTEXT(""), ORVTEXT("\\"), add);
    ExpectChange(ORVTEXT("a"), ORVTEXT("a\\"), add);
    ExpectChange(ORVTEXT("a/"), ORVTEXT("a/"), add);
    const auto remove = [](COrvStr& str) { str.RemoveBackslashFromEnd(); };
    ExpectChange(ORVTEXT("a\\/"), ORVTEXT("a\\"), remove);
    ExpectChange(ORVTEXT("a"), ORVTEXT("a"), remove);
    ExpectChange(ORVTEXT("/"), ORVTEXT(""), remove);
    const auto removeExt = [](COrvStr& str) { str.RemoveExt(ORVTEXT('.')); };
    ExpectChange(ORVTEXT("a.b.c"), ORVTEXT("a.b"), removeExt);
    ExpectChange(ORVTEXT("a.b\\c"), ORVTEXT("a"), removeExt);
    ExpectChange(ORVTEXT("abc"), ORVTEXT("abc"), removeExt);
}

TEST(OrvStrEdit, AddPath)
{
    constexpr struct
    {
        const WCHAR* sBefore;
        const WCHAR* sPath;
        const WCHAR* sAfter;
    } rows[] = {{ORVTEXT("dir"), ORVTEXT("file"), ORVTEXT("dir\\file")},
                {ORVTEXT("dir\\"), ORVTEXT("\\file"), ORVTEXT("dir\\file")},
                {ORVTEXT("dir/"), ORVTEXT("\\file"), ORVTEXT("dir/file")},
                {ORVTEXT("dir/"), ORVTEXT("file"), ORVTEXT("dir/file")},
                {ORVTEXT("dir"), ORVTEXT("/file"), ORVTEXT("dir/file")},
                {ORVTEXT(" dir "), ORVTEXT(" file "), ORVTEXT("dir \\file ")},
                {ORVTEXT("  "), ORVTEXT(" file"), ORVTEXT(" file")},
                {ORVTEXT(""), ORVTEXT("file"), ORVTEXT("file")},
                {ORVTEXT(" dir"), ORVTEXT(" \t"), ORVTEXT(" dir")},
                {ORVTEXT(" dir"), ORVTEXT(""), ORVTEXT(" dir")},
                {ORVTEXT(" dir"), nullptr, ORVTEXT(" dir")}};
    for (const auto& row : rows)
        ExpectChange(row.sBefore, row.sAfter, [&](COrvStr& str) { str.AddPath(row.sPath, ORVTEXT('\\')); });
    COrvStr str(ORVTEXT("a"));
    str.AddPath(ORVTEXT("b"), ORVTEXT(':'));
    str.AddPath(ORVTEXT("c"), 0);
    EXPECT_EQ(Text(ORVTEXT("a:bc")), TextOf(str));
}
