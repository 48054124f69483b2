#include "orvcomtypes/simplebyteset.h"

#include "support/report_capture.h"
#include "support/text.h"

namespace
{

std::vector<ULONG> Items(const CSimpleByteSet& set)
{
    std::vector<ULONG> items;
    for (ULONG nPos = 0, nItem; (nItem = set.GetNext(nPos)) != 0;)
        items.push_back(nItem);
    return items;
}

using CItems = std::vector<ULONG>;

TEST(ByteSet, PackedArgumentsNameUpToFourItems)
{
    CSimpleByteSet set(0x00030201);
    EXPECT_EQ(Items(set), (CItems{1, 2, 3}));
    set.AddItem(0x0200FF02);
    EXPECT_EQ(Items(set), (CItems{1, 2, 3, 255}));
    EXPECT_EQ(set.GetCount(), 4U);
    set.RemoveItem(0x0200);
    set.RemoveItem(0x0200);
    set.RemoveItem(0);
    EXPECT_EQ(Items(set), (CItems{1, 3, 255}));
    EXPECT_TRUE(set.GetCount() == 3 && set.IsAnyItemSet() && !set.IsAllItemsSet());
    set.RemoveItem(0xFFFFFFFF);
    EXPECT_FALSE(set.IsAnyItemSet());
    EXPECT_TRUE(set.IsEqual(CSimpleByteSet(0)));
    EXPECT_TRUE(CSimpleByteSet::Contains(0x10B, 0x0A0B0C0D) && CSimpleByteSet::Contains(0x0A, 0x0A000000));
    EXPECT_FALSE(CSimpleByteSet::Contains(0x0E, 0x0A0B0C0D) || CSimpleByteSet::Contains(0x100, 0x0A0B0C00));
}

TEST(ByteSet, AllItemsIncludeTheFlagOfZero)
{
    CSimpleByteSet all;
    all.SetAllItem();
    CSimpleByteSet packed(0xFFFFFFFF);
    CSimpleByteSet single;
    for (ULONG n = 1; n <= 255; ++n)
        single.AddItem(n);
    EXPECT_TRUE(all.IsAllItemsSet() && single.IsAllItemsSet());
    EXPECT_TRUE(all.IsEqual(packed) && !all.IsEqual(single));
    EXPECT_TRUE(all.IsExists(0x105) && !all.IsExists(0));
    EXPECT_EQ(Items(all), Items(single));
    ULONG nPos = 255;
    EXPECT_EQ(all.GetNext(nPos), 0U);
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
        {0x103, 0xF04, true, true, ORVTEXT("3;4")}, {10, 20, false, false, ORVTEXT("")},
        {10, 5, true, false, ORVTEXT("")},          {0, 0, true, false, ORVTEXT("")},
        {200, 200, true, true, ORVTEXT("200")}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.m_nFrom << " to " << c.m_nTo);
        EXPECT_EQ(set.IsAllItemsIntervalSet(c.m_nFrom, c.m_nTo), c.m_bAll);
        EXPECT_EQ(set.IsAnyItemIntervalSet(c.m_nFrom, c.m_nTo), c.m_bAny);
        EXPECT_EQ(std::basic_string<WCHAR>(set.JoinInterval(c.m_nFrom, c.m_nTo, ORVTEXT(';'))), c.m_sJoined);
    }
    EXPECT_EQ(CSimpleByteSet(0xFFFFFFFF).JoinInterval(0, 255, ORVTEXT(',')).GetLength(), 657U + 254);
}

TEST(ByteSet, AddFromString)
{
    struct
    {
        const WCHAR* m_sText;
        CItems m_expected;
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
        EXPECT_EQ(Items(set), c.m_expected);
        if (c.m_sReported != nullptr)
            EXPECT_REPORTS(capture, {{"CSimpleByteSet::AddFromString", "invalid character", c.m_sReported,
                                      "midintarray"}});
        else
            EXPECT_NO_REPORTS(capture);
    }
    CSimpleByteSet set;
    set.AddFromString(ORVTEXT("1 2 3"), ORVTEXT(' '));
    EXPECT_EQ(Items(set), (CItems{1, 2, 3})) << "a separator comes before white space";
}

} // namespace
