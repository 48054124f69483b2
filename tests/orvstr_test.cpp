// What a value shares and copies, its paths, and what it does with arguments it cannot use. The changes
// themselves and the search: orvstr_model_test.cpp.
#include "orvcomtypes/orvdbstr.h"
#include "orvcomtypes/orvstr.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

namespace
{

const WCHAR* const kEmpty = ORVS_GetDefaultEmptyString();

/// The text, whose length the value knows.
Text Held(const COrvStr& str)
{
    EXPECT_EQ(TextOf(str).size(), str.GetLength());
    EXPECT_EQ(str.GetLength() == 0, str.IsEmpty());
    return TextOf(str);
}

const WCHAR* Handle(const COrvStr& str)
{
    return str;
}

const Text kText = ORVTEXT("some text");

} // namespace

/// Text in a packed record: its units lie across the borders of units.
TEST(OrvStr, TakesTextAtOddAddresses)
{
    for (const unsigned nLen : {0u, 1u, 7u, 8u, 9u, 40u})
    {
        const Text sText(nLen, ORVTEXT('\u0101'));
        std::vector<char> record(2 * nLen + 3);
        std::memcpy(record.data() + 1, sText.c_str(), 2 * nLen + 2);
        const auto* const s = reinterpret_cast<const WCHAR*>(record.data() + 1);
        COrvStr str(s);
        str.Append(s, 3);
        EXPECT_EQ(sText + sText.substr(0, 3), Held(str));
        EXPECT_EQ(nLen, COrvStr(s, false).GetLength());
    }
}

TEST(OrvStr, EmptyValuesShareTheEmptyText)
{
    const WCHAR* const sNull = nullptr;
    const char* const sNarrowNull = nullptr;
    COrvStr emptied(ORVTEXT("x"));
    COrvStr cleared(emptied);
    COrvStr detached(emptied);
    COrvStr blank(ORVTEXT("   "));
    COrvStr blankToo(blank);
    emptied.Empty();
    cleared = nullptr;
    cleared.Clear();
    EXPECT_TRUE(detached.Attach(sNull));
    blank.TrimRight();
    blankToo.TrimLeft();
    const COrvStr abc(ORVTEXT("abc"));
    for (const COrvStr& str :
         {COrvStr(), COrvStr(sNull), COrvStr(ORVTEXT("")), COrvStr(ORVTEXT(""), false), COrvStr(sNarrowNull),
          COrvStr(0), COrvStr(nullptr), COrvStr(""), COrvStr(COrvStr()), emptied, cleared, detached, blank,
          blankToo, abc.SubStr(3, 1), abc.SubStr(0xFFFFFFFF, 0xFFFFFFFF), abc.SubStr(1, 0)})
        EXPECT_EQ(kEmpty, Handle(str));
}

TEST(OrvStr, CopiesShareUntilOneChanges)
{
    COrvStr a(kText.c_str());
    COrvStr assigned;
    {
        const COrvStr b = a;
        assigned = b;
        EXPECT_EQ(Handle(a), Handle(b));
        EXPECT_EQ(Handle(a), Handle(assigned));
    }
    assigned.Copy(a);
    EXPECT_NE(Handle(a), Handle(assigned));
    for (const unsigned nLen : {1u, 300u, 500u, 5000u})
    {
        COrvStr value(Text(nLen, 'x').c_str());
        const COrvStr shared = value;
        value.MakeUpper();
        EXPECT_EQ(ORVS_GetAllocLen(shared), ORVS_GetAllocLen(value)) << "copies that change do not grow";
    }
    const WCHAR* const sBefore = Handle(a);
    a.MakeUpper();
    a.Copy(Text(ORVS_GetAllocLen(a) / sizeof(WCHAR) - 1, 'x').c_str()); // just fits
    EXPECT_EQ(sBefore, Handle(a)) << "the only holder writes in place";
}

TEST(OrvStr, AttachedTextIsCopiedByCopies)
{
    Text foreign = kText;
    COrvStr attached(foreign.c_str(), false);
    EXPECT_EQ(foreign.c_str(), Handle(attached));
    const COrvStr copy = attached;
    COrvStr assigned(ORVTEXT("old"));
    assigned = attached;
    COrvStr moveAssigned;
    moveAssigned = COrvStr(foreign.c_str(), false);
    COrvStr same;
    same.Attach(attached);
    EXPECT_EQ(foreign.c_str(), Handle(same));
    const COrvStr moved = std::move(same);
    EXPECT_EQ(foreign.c_str(), Handle(moved));
    EXPECT_EQ(kEmpty, Handle(same));
    foreign.front() = ORVTEXT('x');
    EXPECT_EQ(kText, Held(copy));
    EXPECT_EQ(kText, Held(assigned));
    EXPECT_EQ(kText, Held(moveAssigned));
}

TEST(OrvStr, LengthsCountSourceUnitsUpToTheTerminator)
{
    COrvStr str;
    str.SetUTF8("a\xC3\xA9z", 3);
    EXPECT_EQ(ORVTEXT("a\x00E9"), Held(str));
    str.AppendUTF8("\xF0\x9F\x98\x80!");
    EXPECT_EQ(ORVTEXT("a\x00E9\xD83D\xDE00!"), Held(str));
    str.Copy("abc", 2);
    str.Append("xyz", 1);
    str.Append("", 5);
    EXPECT_EQ(ORVTEXT("abx"), Held(str));
    str.Copy(ORVTEXT("ab\0cd"), 5);
    str.Append(ORVTEXT("x\0y"), 3);
    str.Append("n\0m", 3);
    EXPECT_EQ(ORVTEXT("abxn"), Held(str));
    str = Narrow(ORVTEXT("narr\u00F6w")).c_str();
    str.AppendChar(0);
    str << ORVTEXT("1") << ORVTEXT("") << nullptr;
    str += str;
    EXPECT_EQ(ORVTEXT("narr\u00F6w1narr\u00F6w1"), Held(str));
    str.SetUTF8(nullptr);
    EXPECT_EQ(ORVTEXT(""), Held(str));
}

TEST(OrvStr, CopyOutIsCutAndTerminated)
{
    CReportCapture capture;
    const COrvStr str(ORVTEXT("abcdefg"));
    WCHAR sWide[8];
    EXPECT_EQ(Text(ORVTEXT("abcdefg")), str.CopyTo(sWide, 8));
    EXPECT_EQ(Text(), str.CopyTo(sWide, 1));
    EXPECT_EQ(Text(ORVTEXT("abc")), str.CopyTo(sWide, 4));
    EXPECT_EQ(Text(ORVTEXT("abc")), str.CopyTo(sWide, 0));
    EXPECT_EQ(Text(), str.CopyTo(sWide, 0x80000000u));
    char sNarrow[] = "narrow and long";
    EXPECT_STREQ("abcdefg", str.GetANSI(sNarrow, 8));
    EXPECT_STREQ("nd long", sNarrow + 8);
    EXPECT_STREQ("abc", str.GetANSI(sNarrow, 4));
    EXPECT_STREQ("", str.GetANSI(sNarrow, 1));
    EXPECT_EQ(Narrow(ORVTEXT("\u00E9")), COrvStr(ORVTEXT("\u00E9")).GetANSI(sNarrow, 8));
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
    COrvStr copied(kText.c_str());
    COrvStr appended(kText.c_str());
    copied.Copy(kText.c_str(), 0x7FFFFFFF);
    appended.Append("x", 0xFFFFFFFF);
    EXPECT_REPORTS(capture, {noMemory, noMemory});
    EXPECT_EQ(nullptr, Handle(copied));
    EXPECT_TRUE(copied.IsEmpty());
    EXPECT_EQ(0u, appended.GetLength());
    EXPECT_REPORTS(capture, {{"ORVS_GetOrvStrBuffer", "s == nullptr"}});
    // Whatever is done to such a value, it stands it.
    copied.Trim();
    EXPECT_EQ(ORVTEXT(""), Held(copied));
    EXPECT_TRUE(appended == nullptr);
    appended.Replace(ORVTEXT("a"), ORVTEXT("b"));
    appended.RemoveExt(ORVTEXT('.'));
    appended.Erase(0, 1);
    appended.AppendChar(ORVTEXT('y'));
    EXPECT_EQ(ORVTEXT("y"), Held(appended));
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
                {ORVTEXT("co-op"), ORVTEXT("coop"), -1, -1}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::PrintToString(TextOf(row.a)) + " " + testing::PrintToString(TextOf(row.b)));
        EXPECT_EQ(row.iCase, CompareOrvString(row.a, row.b, false));
        EXPECT_EQ(row.iNoCase, CompareOrvString(row.a, row.b, true));
        const COrvStr a(row.a);
        const COrvStr b(row.b);
        EXPECT_EQ(row.iCase, COrvStrCmp::Compare(a, b, nullptr));
        EXPECT_EQ(row.iCase <= 0, a <= b);
        EXPECT_EQ(row.iCase >= 0, a >= row.b);
        EXPECT_EQ(row.iNoCase, COrvStrCmpNoCase::Compare(a, b, nullptr));
        EXPECT_EQ(row.iCase < 0, a < b);
        EXPECT_EQ(row.iCase > 0, a > row.b);
        EXPECT_EQ(row.iCase == 0, a == b);
        EXPECT_EQ(row.iCase == 0, a == row.b);
        EXPECT_EQ(row.iCase != 0, a != row.b);
    }
}

TEST(OrvStr, TextsToFindAreNotNull)
{
    CReportCapture capture;
    EXPECT_EQ(-1, COrvStr().FindSubStr(nullptr));
    COrvStr().Replace(nullptr, nullptr);
    COrvStr str(ORVTEXT("a"));
    str.Replace(0, ORVTEXT('x'));
    EXPECT_EQ(-1, str.Find(0));
    EXPECT_EQ(-1, str.Find(ORVTEXT('a'), -1));
    EXPECT_EQ(0, str.FindSubStr(ORVTEXT("")));
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(-1, str.FindSubStr(nullptr));
    str.Replace(nullptr, ORVTEXT("x"));
    str.Replace(ORVTEXT("a"), nullptr);
    EXPECT_EQ(ORVTEXT("a"), Held(str));
    const ExpectedReport null = {"COrvStr::Replace", "sToFind == nullptr || sReplaceTo == nullptr", "",
                                 "orvstr"};
    EXPECT_REPORTS(capture, {{"COrvStr::FindSubStr", "sToFind == nullptr", "", "orvstr"}, null, null});
}

TEST(OrvStr, EraseWritesWhereTheTextStands)
{
    COrvStr a(ORVTEXT("abcdef"));
    const COrvStr b = a;
    a.Erase(0, 4);
    EXPECT_EQ(ORVTEXT("ef"), Held(b));
    a.Erase(1, 0xFFFFFFFF);
    EXPECT_EQ(ORVTEXT("e"), Held(b));
    WCHAR sForeign[] = {ORVTEXT('x'), ORVTEXT('y'), ORVTEXT('z'), 0};
    COrvStr attached(sForeign, false);
    attached.Erase(1, 1);
    EXPECT_EQ(Text(ORVTEXT("xz")), sForeign);
    EXPECT_EQ(ORVTEXT("xz"), Held(attached));
}

TEST(OrvStr, CapitalizesOneUnit)
{
    const COrvStr before(ORVTEXT("\x00E9t\x00E9"));
    COrvStr str = before;
    str.CapitalizeFirstChar();
    EXPECT_EQ(ORVTEXT("\x00C9t\x00E9"), Held(str));
    EXPECT_EQ(ORVTEXT("\x00E9t\x00E9"), Held(before));
    str.Empty();
    str.CapitalizeFirstChar();
    EXPECT_EQ(ORVTEXT(""), Held(str));
}

TEST(OrvStr, AddPath)
{
    const auto Joined = [](const WCHAR* sText, const WCHAR* sPath, WCHAR cSep = ORVTEXT('\\')) {
        COrvStr str(sText);
        str.AddPath(sPath, cSep);
        return Held(str);
    };
    EXPECT_EQ(ORVTEXT("dir\\file"), Joined(ORVTEXT("dir"), ORVTEXT("file")));
    EXPECT_EQ(ORVTEXT("dir/file"), Joined(ORVTEXT("dir/"), ORVTEXT("\\file")));
    EXPECT_EQ(ORVTEXT("dir/file"), Joined(ORVTEXT("dir/"), ORVTEXT("file")));
    EXPECT_EQ(ORVTEXT("dir/file"), Joined(ORVTEXT("dir"), ORVTEXT("/file")));
    EXPECT_EQ(ORVTEXT("dir \\file "), Joined(ORVTEXT(" dir "), ORVTEXT(" file ")));
    EXPECT_EQ(ORVTEXT(" file"), Joined(ORVTEXT("  "), ORVTEXT(" file")));
    EXPECT_EQ(ORVTEXT(" dir"), Joined(ORVTEXT(" dir"), ORVTEXT(" \t")));
    EXPECT_EQ(ORVTEXT(" dir"), Joined(ORVTEXT(" dir"), nullptr));
    EXPECT_EQ(ORVTEXT("a:b"), Joined(ORVTEXT("a"), ORVTEXT("b"), ORVTEXT(':')));
    EXPECT_EQ(ORVTEXT("ab"), Joined(ORVTEXT("a"), ORVTEXT("b"), 0));
    COrvStr str(ORVTEXT("ext"));
    str.AddPath(Handle(str) + 1, ORVTEXT('\\'));
    EXPECT_EQ(ORVTEXT("ext\\xt"), Held(str)) << "its own text";
}
