// What a value holds, shares and copies, and what it does with arguments it
// cannot use.
#include "orvcomtypes/orvdbstr.h"
#include "orvcomtypes/orvstr.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <utility>

namespace
{

const WCHAR* const g_sEmpty = ORVS_GetDefaultEmptyString();

/// Equal to the unit, and with the right length.
testing::AssertionResult Holds(const COrvStr& str, TextView expected)
{
    if (str.GetLength() == expected.size() && TextOf(str) == expected && str.IsEmpty() == expected.empty())
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "length " << str.GetLength() << " text " << testing::PrintToString(TextOf(str)) << ", not "
           << testing::PrintToString(Text(expected));
}

const WCHAR* Handle(const COrvStr& str)
{
    return str;
}

const Text g_sText = ORVTEXT("some text");

/// A size that no target can allocate.
constexpr unsigned nTooLong = 0x7FFFFFFF;

} // namespace

TEST(OrvStr, EmptyValuesShareTheEmptyText)
{
    const WCHAR* const sNull = nullptr;
    const char* const sNarrowNull = nullptr;
    for (const COrvStr& str : {COrvStr(), COrvStr(sNull), COrvStr(ORVTEXT("")), COrvStr(ORVTEXT(""), false),
                               COrvStr(sNarrowNull), COrvStr(""), COrvStr(COrvStr())})
        EXPECT_EQ(g_sEmpty, Handle(str));
    COrvStr str(ORVTEXT("x"));
    str.Empty();
    EXPECT_EQ(g_sEmpty, Handle(str));
    str = ORVTEXT("y");
    str.Clear();
    EXPECT_EQ(g_sEmpty, Handle(str));
    EXPECT_TRUE(str.Attach(sNull));
    EXPECT_EQ(g_sEmpty, Handle(str));
}

TEST(OrvStr, CopiesShareUntilOneChanges)
{
    COrvStr a(g_sText.c_str());
    COrvStr b = a;
    COrvStr c;
    c = b;
    EXPECT_EQ(Handle(a), Handle(b));
    EXPECT_EQ(Handle(a), Handle(c));
    b.MakeUpper();
    c.AppendChar(ORVTEXT('!'));
    EXPECT_TRUE(Holds(a, g_sText));
    EXPECT_TRUE(Holds(b, ORVTEXT("SOME TEXT")));
    EXPECT_TRUE(Holds(c, ORVTEXT("some text!")));
    const WCHAR* const sBefore = Handle(a);
    a.MakeUpper();
    EXPECT_EQ(sBefore, Handle(a)) << "the only holder writes in place";
}

TEST(OrvStr, CopyNeverShares)
{
    const COrvStr a(g_sText.c_str());
    COrvStr b;
    b.Copy(a);
    EXPECT_NE(Handle(a), Handle(b));
    EXPECT_TRUE(Holds(b, g_sText));
}

TEST(OrvStr, AttachedTextIsCopiedByCopiesAndBeforeChanges)
{
    const Text foreign = g_sText;
    COrvStr attached(foreign.c_str(), false);
    EXPECT_EQ(foreign.c_str(), Handle(attached));
    const COrvStr copy = attached;
    COrvStr assigned(ORVTEXT("old"));
    assigned = attached;
    EXPECT_NE(foreign.c_str(), Handle(copy));
    EXPECT_TRUE(Holds(copy, g_sText));
    EXPECT_TRUE(Holds(assigned, g_sText));
    COrvStr same;
    same.Attach(attached);
    EXPECT_EQ(foreign.c_str(), Handle(same));
    COrvStr moved = std::move(same);
    EXPECT_EQ(foreign.c_str(), Handle(moved));
    EXPECT_EQ(g_sEmpty, Handle(same));
    attached.Replace(ORVTEXT('e'), ORVTEXT('E'));
    moved.Trim();
    EXPECT_TRUE(Holds(attached, ORVTEXT("somE tExt")));
    EXPECT_EQ(g_sText, foreign);
    EXPECT_NE(foreign.c_str(), Handle(moved));
}

TEST(OrvStr, SelfAssignmentKeepsTheText)
{
    COrvStr a(g_sText.c_str());
    COrvStr& same = a;
    a = same;
    a.Attach(same);
    a = std::move(same);
    EXPECT_TRUE(Holds(a, g_sText));
    COrvStr attached(g_sText.c_str(), false);
    attached.Attach(static_cast<const COrvStr&>(attached));
    EXPECT_EQ(g_sText.c_str(), Handle(attached));
    // The source looks at the text that the target gives up.
    const COrvStr view(Handle(a) + 5, false);
    a = view;
    EXPECT_TRUE(Holds(a, ORVTEXT("text")));
    a = COrvStr(Handle(a) + 1, false);
    EXPECT_TRUE(Holds(a, ORVTEXT("ext")));
    Text foreign = g_sText;
    a = COrvStr(foreign.c_str(), false);
    foreign.front() = ORVTEXT('x');
    EXPECT_TRUE(Holds(a, g_sText));
}

TEST(OrvStr, DatabaseStringsAreShared)
{
    CReportCapture capture;
    WCHAR* const s = ORVS_AllocateSingleUsed(nullptr, 8);
    ORVS_AddrefString(s);
    const COrvDBStr db{s};
    {
        const COrvStr constructed(db);
        COrvStr assigned(ORVTEXT("old"));
        assigned = db;
        COrvStr attached;
        attached.Attach(db);
        EXPECT_EQ(s, Handle(constructed));
        EXPECT_EQ(s, Handle(assigned));
        EXPECT_EQ(s, Handle(attached));
        EXPECT_NE(s, ORVS_AllocateSingleUsed(s, 2)) << "shared";
    }
    EXPECT_EQ(s, ORVS_AllocateSingleUsed(s, 2)) << "held once again";
    ORVS_ReleaseString(s);
    EXPECT_NO_REPORTS(capture);
}

TEST(OrvStr, NarrowLengthsCountSourceBytes)
{
    COrvStr str;
    str.SetUTF8("a\xC3\xA9z", 3);
    EXPECT_TRUE(Holds(str, ORVTEXT("a\x00E9")));
    str.AppendUTF8("\xF0\x9F\x98\x80!");
    EXPECT_TRUE(Holds(str, ORVTEXT("a\x00E9\xD83D\xDE00!")));
    str.Copy("abc", 2);
    str.Append("xyz", 1);
    str.Append("", 5);
    EXPECT_TRUE(Holds(str, ORVTEXT("abx")));
    str = "narrow";
    EXPECT_TRUE(Holds(str, ORVTEXT("narrow")));
    str.SetUTF8(nullptr);
    EXPECT_TRUE(Holds(str, ORVTEXT("")));
}

TEST(OrvStr, TextEndsAtItsTerminatorBeforeTheGivenLength)
{
    COrvStr str;
    str.Copy(ORVTEXT("ab\0cd"), 5);
    str.Append(ORVTEXT("x\0y"), 3);
    str.Append("n\0m", 3);
    EXPECT_TRUE(Holds(str, ORVTEXT("abxn")));
    str.AppendChar(0);
    str << ORVTEXT("1") << ORVTEXT("") << nullptr;
    str += str;
    EXPECT_TRUE(Holds(str, ORVTEXT("abxn1abxn1")));
}

TEST(OrvStr, CopyOutIsCutAndTerminated)
{
    CReportCapture capture;
    const COrvStr str(ORVTEXT("abcdef"));
    WCHAR sWide[8];
    EXPECT_EQ(Text(ORVTEXT("abcdef")), str.CopyTo(sWide, 8));
    EXPECT_EQ(Text(ORVTEXT("abc")), str.CopyTo(sWide, 4));
    EXPECT_EQ(Text(ORVTEXT("abc")), str.CopyTo(sWide, 0));
    EXPECT_EQ(Text(), str.CopyTo(sWide, 0x80000000u));
    char sNarrow[8];
    EXPECT_STREQ("abcdef", str.GetANSI(sNarrow, 8));
    EXPECT_STREQ("abc", str.GetANSI(sNarrow, 4));
    EXPECT_STREQ("", str.GetANSI(sNarrow, 1));
    EXPECT_STREQ("", COrvStr().GetANSI(sNarrow, 8));
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(nullptr, str.CopyTo(nullptr, 4));
    EXPECT_EQ(nullptr, str.GetANSI(nullptr, 4));
    EXPECT_EQ(sNarrow, str.GetANSI(sNarrow, 0));
    EXPECT_REPORTS(capture, {{"COrvStr::CopyTo", "sDest != nullptr", "", "orvstr"},
                             {"COrvStr::GetANSI", "dest == nullptr || cbDest < 1", "", "orvstr"},
                             {"COrvStr::GetANSI", "dest == nullptr || cbDest < 1"}});
}

TEST(OrvStr, SizesOutOfReachLeaveAValueThatCanBeUsedAgain)
{
    const ExpectedReport noMemory = {"ORVS_AllocateString", "pAlloc == nullptr"};
    CReportCapture capture;
    COrvStr copied(g_sText.c_str());
    COrvStr appended(g_sText.c_str());
    copied.Copy(g_sText.c_str(), nTooLong);
    appended.Append("x", 0xFFFFFFFF);
    EXPECT_REPORTS(capture, {noMemory, noMemory});
    EXPECT_EQ(nullptr, Handle(copied));
    EXPECT_TRUE(copied.IsEmpty());
    EXPECT_EQ(0u, appended.GetLength());
    EXPECT_REPORTS(capture, {{"ORVS_GetOrvStrBuffer", "s == nullptr"}});
    // Whatever is done to such a value, it stands it.
    copied.Trim();
    EXPECT_TRUE(Holds(copied, ORVTEXT("")));
    EXPECT_TRUE(appended == nullptr);
    appended.Replace(ORVTEXT("a"), ORVTEXT("b"));
    appended.RemoveExt(ORVTEXT('.'));
    appended.Erase(0, 1);
    appended.AppendChar(ORVTEXT('y'));
    EXPECT_TRUE(Holds(appended, ORVTEXT("y")));
}

TEST(OrvStr, Collation)
{
    constexpr struct
    {
        const WCHAR* a;
        const WCHAR* b;
        int iCase;
        int iNoCase;
    } rows[] = {{nullptr, ORVTEXT(""), 0, 0},
                {nullptr, ORVTEXT("a"), -1, -1},
                {ORVTEXT("a"), ORVTEXT("A"), -1, 0},
                {ORVTEXT("b"), ORVTEXT("A"), 1, 1},
                {ORVTEXT("co-op"), ORVTEXT("coop"), -1, -1},
                {ORVTEXT("\x00E9"), ORVTEXT("e\x0301"), 0, 0},
                {ORVTEXT("\x00E9"), ORVTEXT("f"), -1, -1},
                {ORVTEXT("\x00C9"), ORVTEXT("\x00E9"), 1, 0},
                {ORVTEXT("10"), ORVTEXT("9"), -1, -1}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::PrintToString(TextOf(row.a)) + " " + testing::PrintToString(TextOf(row.b)));
        EXPECT_EQ(row.iCase, CompareOrvString(row.a, row.b, false));
        EXPECT_EQ(-row.iCase, CompareOrvString(row.b, row.a, false));
        EXPECT_EQ(row.iNoCase, CompareOrvString(row.a, row.b, true));
        const COrvStr a(row.a);
        const COrvStr b(row.b);
        EXPECT_EQ(row.iCase, COrvStrCmp::Compare(a, b, nullptr));
        EXPECT_EQ(row.iNoCase, COrvStrCmpNoCase::Compare(a, b, nullptr));
        EXPECT_EQ(row.iCase < 0, a < b);
        EXPECT_EQ(row.iCase > 0, a > row.b);
        EXPECT_EQ(row.iCase == 0, a == b);
        EXPECT_EQ(row.iCase == 0, a == row.b);
        EXPECT_EQ(row.iCase != 0, a != row.b);
    }
}
