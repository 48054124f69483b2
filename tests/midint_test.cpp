#include "orvcomtypes/midintarray.h"

#include "support/random.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <algorithm>
#include <set>

namespace
{

CMIDINTArray Ids(std::initializer_list<unsigned> values)
{
    CMIDINTArray ids;
    ids.AddIds(static_cast<unsigned>(values.size()), values.begin());
    return ids;
}

using CValues = std::vector<unsigned>;

CValues Values(const CMIDINTArray& ids)
{
    return {ids.begin(), ids.end()};
}

TEST(MidIntArray, OneFormOfAddIdsAppendsAndTheOtherReplaces)
{
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
    CMIDINTArray from = Ids({1, 2});
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
        CMIDINTArray narrow;
        CMIDINTArray wide;
        narrow.Split(c.m_sText, ',');
        wide.Split(std::basic_string<WCHAR>(c.m_sText, c.m_sText + strlen(c.m_sText)).c_str(), ORVTEXT(','));
        EXPECT_EQ(Values(narrow), c.m_expected);
        EXPECT_EQ(Values(wide), c.m_expected);
    }
    CMIDINTArray ids = Ids({5});
    ids.Split(ORVTEXT("\x2003"
                      "6\xFF0C"
                      "7"),
              0xFF0C);
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
                       {Ids({}), ORVTEXT("x"), ORVTEXT("x")},
                       {Ids({4294967295, 0}), nullptr, ORVTEXT("4294967295,0")}};
    for (const auto& c : cases)
        EXPECT_EQ(std::basic_string<WCHAR>(c.m_ids.Join(ORVTEXT(','), c.m_sAppend)), c.m_sExpected);
    CMIDINTArray many;
    const CValues values(1000, 4294967295);
    many.AddIds(1000, values.data());
    EXPECT_EQ(many.Join(ORVTEXT(','), nullptr).GetLength(), 1000U * 11 - 1) << "fills its buffer";
}

TEST(MidIntArray, SortAndUniqueAgreeWithTheStandardOnes)
{
    CTestRandom random;
    for (const unsigned nCount : {0U, 1U, 2U, 95U, 96U, 1024U, 1025U, 65536U, 65537U, 150000U})
        for (const unsigned nMask :
             {0xFFFFFFFFU, 0xFFU, 0xFF00FF00U, 0xFF000000U, 0x00FFFF00U, 0U, 0x80000001U})
        {
            SCOPED_TRACE(testing::Message() << nCount << " under " << std::hex << nMask);
            CMIDINTArray ids;
            for (unsigned i = 0; i < nCount; ++i)
                ids.AddId(random.UpTo(9) == 0 ? nMask : random() & nMask);
            CValues model = Values(ids);
            std::sort(model.begin(), model.end());
            CMIDINTArray copy = ids;
            ids.SortIds();
            ASSERT_TRUE(Values(ids) == model);
            model.erase(std::unique(model.begin(), model.end()), model.end());
            copy.Unique();
            ASSERT_TRUE(Values(copy) == model);
            ids.Unique();
            ASSERT_TRUE(ids.IsEqual(copy)) << "sorted before";
        }
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
    CMIDINTArray ids = Ids({77});
    other.CopyTo(ids);
    EXPECT_EQ(Values(ids), (CValues{3, 4, 9})) << "what it held is gone";
    set.CopyTo(ids);
    EXPECT_TRUE(ids.IsEmpty());
}

TEST(MidIntSet, BulkInsertionKeepsWhatIsThere)
{
    CTestRandom random;
    CMIDINTSet set;
    std::set<unsigned> model;
    CMIDINTArray ids;
    for (const unsigned nCount : {10U, 100U, 20000U, 7U, 50000U})
    {
        ids.Clear();
        for (unsigned i = 0; i < nCount; ++i)
            ids.AddId(1 + random.UpTo(1000000));
        set.AddIds(ids);
        model.insert(ids.begin(), ids.end());
    }
    set.CopyTo(ids);
    ids.SortIds();
    EXPECT_TRUE(Values(ids) == CValues(model.begin(), model.end()));

    CMIDINTSet growing(Ids({1}));
    for (unsigned id = 2; id <= 1000; ++id)
        growing.Add(id);
    growing.CopyTo(ids);
    EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end())) << "there are more buckets than IDs";
}

} // namespace
