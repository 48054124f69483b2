#include "orvcomtypes/midintarray.h"
#include "orvcomtypes/simplebyteset.h"

#include "support/random.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <algorithm>
#include <set>

namespace
{

using CValues = std::vector<unsigned>;

CMIDINTArray Ids(const CValues& values)
{
    CMIDINTArray ids;
    ids.AddIds(static_cast<unsigned>(values.size()), values.data());
    return ids;
}

CValues Values(const CMIDINTArray& ids)
{
    return {ids.begin(), ids.end()};
}

CValues Values(const CMIDINTSet& set)
{
    CMIDINTArray ids = Ids({77});
    set.CopyTo(ids);
    return Values(ids);
}

CValues Values(const CSimpleByteSet& set)
{
    CValues values;
    for (ULONG nPos = 0; set.GetNext(nPos) != 0;)
        values.push_back(static_cast<unsigned>(nPos));
    return values;
}

TEST(MidIntArray, OneFormOfAddIdsAppendsAndTheOtherReplaces)
{
    CReportCapture capture;
    CMIDINTArray ids = Ids({1});
    EXPECT_EQ(ids.AddId(2), 1U);
    EXPECT_EQ(ids.AddIds(Ids({5, 6})), 4U);
    EXPECT_EQ(ids.AddIds(CMIDINTArray()), 4U);
    EXPECT_EQ(ids.AddIds(ids), 8U);
    EXPECT_EQ(Values(ids), (CValues{1, 2, 5, 6, 1, 2, 5, 6}));
    ids.AddIds(3, ids.GetData() + 2);
    EXPECT_EQ(Values(ids), (CValues{5, 6, 1})) << "its own IDs";
    ids.AddIds(2, CValues{8, 9}.data());
    EXPECT_EQ(Values(ids), (CValues{8, 9}));
    ids.AddIds(0, ids.GetData());
    EXPECT_TRUE(ids.IsEmpty());
    EXPECT_NO_REPORTS(capture);
}

TEST(MidIntArray, FindsComparesAndRemoves)
{
    CMIDINTArray ids = Ids({4, 7, 4});
    EXPECT_TRUE(ids.IsExists(7) && !ids.IsExists(0));
    EXPECT_TRUE(ids.RemoveId(4) && !ids.RemoveId(5));
    EXPECT_TRUE(ids.IsEqual(Ids({7, 4})));
    EXPECT_FALSE(ids.IsEqual(Ids({4, 7})) || ids.IsEqual(Ids({7})) || ids.IsEqual(Ids({7, 4, 0})));
    EXPECT_TRUE(Ids({0, 3}) && !Ids({0, 0}) && !CMIDINTArray());
}

/// An array as ATL has it.
struct CForeignArray
{
    int GetSize() const { return 3; }
    const unsigned& operator[](int i) const { return m_values[static_cast<std::size_t>(i)]; }
    CValues m_values{8, 0, 9};
};

TEST(MidIntArray, CopiesOnCopyAndOnMove)
{
    CMIDINTArray from = {1, 2};
    CMIDINTArray to(std::move(from));
    EXPECT_TRUE(to.IsEqual(from));
    to.AddId(3);
    from = std::move(to);
    EXPECT_TRUE(to.IsEqual(from) && from.GetSize() == 3);
    from = CForeignArray();
    EXPECT_EQ(Values(from), (CValues{8, 0, 9}));
}

TEST(MidIntArray, Split)
{
    struct
    {
        const char* m_sText;
        CValues m_expected;
    } const cases[] = {{"", {}},
                       {"1,22,333", {1, 22, 333}},
                       {"1,", {1}},
                       {"1,,2", {1}},
                       {",1", {}},
                       {" \t7,+8,-1,- 1", {7, 8, 0xFFFFFFFF, 0}},
                       {"9x,x9, ,3", {9, 0, 0, 3}},
                       {"2147483648,-2147483649,99999999999999999999", {0x7FFFFFFF, 0x80000000, 0x7FFFFFFF}},
                       {"00000000000000000012345,6", {1, 6}}}; // 19 characters
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.m_sText);
        CMIDINTArray narrow, wide;
        narrow.Split(c.m_sText, ',');
        wide.Split(Text(c.m_sText, c.m_sText + strlen(c.m_sText)).c_str(), ORVTEXT(','));
        EXPECT_EQ(Values(narrow), c.m_expected);
        EXPECT_EQ(Values(wide), c.m_expected);
    }
    CMIDINTArray ids = Ids({5});
    ids.Split(ORVTEXT("\x2003") ORVTEXT("6\xFF0C") ORVTEXT("7"), 0xFF0C);
    ids.Split(static_cast<const char*>(nullptr), ',');
    EXPECT_EQ(Values(ids), (CValues{5, 6, 7})) << "it appends";
}

TEST(MidIntArray, Join)
{
    struct
    {
        CMIDINTArray m_ids;
        const WCHAR* m_sAppend;
        const WCHAR* m_sExpected;
    } const cases[] = {{Ids({3, 10, 7}), nullptr, ORVTEXT("3,10,7")},
                       {Ids({3, 10, 7}), ORVTEXT("ids:"), ORVTEXT("ids:,3,10,7")},
                       {Ids({4}), ORVTEXT(""), ORVTEXT("4")},
                       {Ids({4}), ORVTEXT("x"), ORVTEXT("x,4")},
                       {Ids({}), nullptr, ORVTEXT("")},
                       {Ids({}), ORVTEXT("ids"), ORVTEXT("ids")},
                       {Ids({4294967295, 0}), nullptr, ORVTEXT("4294967295,0")}};
    for (const auto& c : cases)
        EXPECT_EQ(Text(c.m_ids.Join(ORVTEXT(','), c.m_sAppend)), c.m_sExpected);
    EXPECT_EQ(Ids(CValues(1000, 4294967295)).Join(ORVTEXT(','), nullptr).GetLength(), 1000U * 11 - 1)
        << "fills its buffer";
}

TEST(MidIntArray, SortAndUniqueAgreeWithTheStandardOnes)
{
    CReportCapture capture;
    CTestRandom random;
    for (const unsigned nCount : {0U, 1U, 2U, 95U, 96U, 1024U, 1025U, 65536U, 65537U, 65539U})
        for (const unsigned nMask :
             {0xFFFFFFFFU, 0xFFU, 0xFF00FF00U, 0xFF000000U, 0x00FFFF00U, 0U, 0x80000001U})
        {
            SCOPED_TRACE(testing::Message() << nCount << " under " << std::hex << nMask);
            CValues model(nCount);
            for (unsigned& n : model)
                n = random.UpTo(9) == 0 ? nMask : random() & nMask;
            if (nCount % 2 != 0)
                model.back() = random(); // alone in its bytes
            CMIDINTArray ids = Ids(model), copy = ids;
            std::sort(model.begin(), model.end());
            ids.SortIds();
            ASSERT_TRUE(Values(ids) == model);
            model.erase(std::unique(model.begin(), model.end()), model.end());
            copy.Unique();
            ASSERT_TRUE(Values(copy) == model);
            ids.Unique();
            ASSERT_TRUE(ids.IsEqual(copy)) << "sorted before";
        }
    EXPECT_NO_REPORTS(capture);
}

TEST(MidIntSet, KeepsEachIdThatIsNotZeroOnce)
{
    CReportCapture capture;
    CMIDINTSet set(Ids({0, 3, 3, 9}));
    set.AddIds(0, nullptr);
    EXPECT_EQ(set.Add(3), 3U);
    EXPECT_EQ(set.Add(4), 0U);
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(set.Add(0), 0U);
    EXPECT_REPORTS(capture, {{"::SetItem", "newItem == TItem(0)"}});
    CMIDINTSet other(std::move(set));
    set = CMIDINTSet(5);
    EXPECT_EQ(Values(other), (CValues{3, 4, 9}));
    EXPECT_EQ(Values(set), CValues());
}

TEST(MidIntSet, BulkInsertionKeepsWhatIsThere)
{
    CTestRandom random;
    CMIDINTSet set;
    std::set<unsigned> model;
    for (const unsigned nCount : {10U, 100U, 20000U, 7U, 60000U})
    {
        CValues values(nCount);
        for (unsigned& n : values)
            n = 1 + random.UpTo(100000000);
        set.AddIds(Ids(values));
        model.insert(values.begin(), values.end());
    }
    CValues values = Values(set);
    std::sort(values.begin(), values.end());
    EXPECT_TRUE(values == CValues(model.begin(), model.end()));

    CMIDINTSet byOne;
    byOne.Add(107);
    byOne.Add(3);
    EXPECT_EQ(Values(byOne), Values(CMIDINTSet(Ids({107, 3}))))
        << "few IDs take few buckets, as their order shows";
}

TEST(ByteSet, PackedArgumentsNameUpToFourItems)
{
    CSimpleByteSet set(0x00030201);
    EXPECT_EQ(Values(set), (CValues{1, 2, 3}));
    set.AddItem(0x0200FF02);
    EXPECT_EQ(Values(set), (CValues{1, 2, 3, 255}));
    EXPECT_EQ(set.GetCount(), 4U);
    set.RemoveItem(0x0200);
    set.RemoveItem(0x0200);
    set.RemoveItem(0);
    EXPECT_EQ(Values(set), (CValues{1, 3, 255}));
    EXPECT_TRUE(set.GetCount() == 3 && set.IsAnyItemSet() && !set.IsAllItemsSet());
    set.RemoveItem(0xFFFFFFFF);
    EXPECT_FALSE(set.IsAnyItemSet());
    EXPECT_TRUE(set.IsEqual(CSimpleByteSet(0)));
    EXPECT_TRUE(CSimpleByteSet::Contains(0x10B, 0x0A0B0C0D) && CSimpleByteSet::Contains(0x0A, 0x0A000000));
    EXPECT_FALSE(CSimpleByteSet::Contains(0x0E, 0x0A0B0C0D) || CSimpleByteSet::Contains(0x100, 0x0A0B0C00));
}

TEST(ByteSet, AllItemsIncludeTheFlagOfZero)
{
    CSimpleByteSet all, single;
    all.SetAllItem();
    for (ULONG n = 1; n <= 255; ++n)
        single.AddItem(n);
    EXPECT_TRUE(all.IsAllItemsSet() && single.IsAllItemsSet());
    EXPECT_TRUE(all.IsEqual(CSimpleByteSet(0xFFFFFFFF)) && !all.IsEqual(single));
    EXPECT_TRUE(all.IsAnyItemIntervalSet(7, 7) && !all.IsExists(0));
    EXPECT_TRUE(CSimpleByteSet(5).IsExists(0x105) && !CSimpleByteSet(5).IsExists(0x115));
    EXPECT_EQ(Values(all), Values(single));
}

TEST(ByteSet, IntervalsUseTheLowBytesOfTheirBounds)
{
    CSimpleByteSet set(0x00050403);
    set.AddItem(200);
    struct
    {
        ULONG m_nFrom, m_nTo;
        bool m_bAll, m_bAny;
        const WCHAR* m_sJoined;
    } const cases[] = {
        {3, 5, true, true, ORVTEXT("3;4;5")},       {0, 255, false, true, ORVTEXT("3;4;5;200")},
        {0x103, 0xF04, true, true, ORVTEXT("3;4")}, {16, 20, false, false, ORVTEXT("")},
        {10, 5, true, false, ORVTEXT("")},          {0, 0, true, false, ORVTEXT("")},
        {200, 200, true, true, ORVTEXT("200")}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.m_nFrom << " to " << c.m_nTo);
        EXPECT_EQ(set.IsAllItemsIntervalSet(c.m_nFrom, c.m_nTo), c.m_bAll);
        EXPECT_EQ(set.IsAnyItemIntervalSet(c.m_nFrom, c.m_nTo), c.m_bAny);
        EXPECT_EQ(Text(set.JoinInterval(c.m_nFrom, c.m_nTo, ORVTEXT(';'))), c.m_sJoined);
    }
    EXPECT_EQ(CSimpleByteSet(0xFFFFFFFF).JoinInterval(0, 255, ORVTEXT(',')).GetLength(), 657U + 254);
}

TEST(ByteSet, AddFromString)
{
    struct
    {
        const WCHAR* m_sText;
        CValues m_expected;
        const char* m_sReported; ///< the character's code
    } const cases[] = {{nullptr, {}, nullptr},
                       {ORVTEXT(""), {}, nullptr},
                       {ORVTEXT("3, 7 ,200"), {3, 7, 200}, nullptr},
                       {ORVTEXT(",,5,"), {5}, nullptr},
                       {ORVTEXT("1 2"), {12}, nullptr},
                       {ORVTEXT("300"), {1, 44}, nullptr},
                       {ORVTEXT("4294967301"), {5}, nullptr}, // wraps
                       {ORVTEXT(" 1, 2 ,x3"), {1, 2}, "120"},
                       {ORVTEXT("1,2\x2003-"), {1}, "45"}};
    CReportCapture capture;
    for (const auto& c : cases)
    {
        CSimpleByteSet set;
        set.AddFromString(c.m_sText, ORVTEXT(','));
        EXPECT_EQ(Values(set), c.m_expected);
        if (c.m_sReported != nullptr)
            EXPECT_REPORTS(capture, {{"CSimpleByteSet::AddFromString", "invalid character", c.m_sReported,
                                      "midintarray"}});
        else
            EXPECT_NO_REPORTS(capture);
    }
    CSimpleByteSet set;
    set.AddFromString(ORVTEXT("1 2 3"), ORVTEXT(' '));
    EXPECT_EQ(Values(set), (CValues{1, 2, 3})) << "a separator comes before white space";
}

} // namespace
