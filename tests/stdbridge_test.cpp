#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fmt/xchar.h>

#include "orvcomtypes/stdbridge.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <unordered_map>
#include <vector>

namespace
{

using View = std::basic_string_view<WCHAR>;
using Map = OCT::CPrtvHashMap<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>>;

static_assert(std::ranges::contiguous_range<const CSimpleMarray<int>> &&
              std::ranges::sized_range<CMIDINTArray> &&
              std::ranges::contiguous_range<CFixMarray<COrvStr, 8, 4>>);
static_assert(std::ranges::forward_range<OCT::CItems<Map>> && std::ranges::common_range<OCT::CItems<Map>> &&
              std::ranges::sized_range<OCT::CItems<CSimpleByteSet>>);
static_assert(!std::is_default_constructible_v<std::equal_to<COrvStr>>);

TEST(StdBridge, TextsComeBackAndDamagedOnesAreReplaced)
{
    std::string sEuros;
    for (int i = 0; i < 500; ++i)
        sEuros += "\xE2\x82\xAC";
    const struct
    {
        std::u16string sWide;
        std::string sUTF8;
        std::u16string sBack = sWide;
    } rows[] = {
        {{}, ""},
        {{'a', 0x7F, 0x80, 0x7FF, 0x800, 0xFFFF}, "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        {{0xD800, 0xDC00, 0xDBFF, 0xDFFF}, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        {{0xDC00, 'b', 0xD800},
         "\xEF\xBF\xBD"
         "b\xEF\xBF\xBD",
         {0xFFFD, 'b', 0xFFFD}},
        {std::u16string(500, 0x20AC), sEuros},
    };
    for (const auto& row : rows)
    {
        const COrvStr s = OCT::FromStdText(row.sWide);
        EXPECT_EQ(OCT::ToStdText<char16_t>(s), row.sWide);
        EXPECT_EQ(OCT::ToStdText(s), row.sUTF8);
        EXPECT_EQ(OCT::ToStdText<char16_t>(OCT::FromStdText(row.sUTF8)), row.sBack);
        const std::basic_string<WCHAR> sUnits = OCT::ToStdText<WCHAR>(s);
        EXPECT_TRUE(sUnits == OCT::ToStdView(OCT::FromStdText(View(sUnits))));
    }
    EXPECT_TRUE(OCT::FromStdText(std::string_view("abc").substr(1, 0)).IsEmpty())
        << "not up to the terminator";
    EXPECT_EQ(OCT::ToStdText(OCT::FromStdText(std::string_view("ab\0c", 4).substr(1))), "b");
    const COrvStr attached(ORVTEXT("xyz"), false);
    EXPECT_EQ(OCT::ToStdView(attached).size(), 3U);
}

TEST(StdBridge, KeysGoByUnitsOrByCollation)
{
    std::unordered_map<COrvStr, int, std::hash<COrvStr>, OCT::CEqualUnits> counts;
    counts[ORVTEXT("Anna")] = 1;
    counts[ORVTEXT("anna")] = 2;
    EXPECT_EQ(counts.find(View(ORVTEXT("annals"), 4))->second, 2);
    EXPECT_EQ(counts.find(ORVTEXT("Anna"))->second, 1);
    EXPECT_FALSE(counts.contains(COrvStr()) || counts.contains(static_cast<const WCHAR*>(nullptr)));

    const auto names = {COrvStr(ORVTEXT("Zoe")), COrvStr(ORVTEXT("anna")), COrvStr(ORVTEXT("Anna"))};
    const std::set<COrvStr, OCT::CLessUnits> byUnits(names);
    EXPECT_EQ(OCT::ToStdText(*byUnits.begin()), "Anna");
    EXPECT_EQ(OCT::ToStdText(*byUnits.rbegin()), "anna");
    EXPECT_TRUE(byUnits.contains(View(ORVTEXT("Zoe"))));
    const std::set<COrvStr, OCT::CLessCollation> collated(names);
    EXPECT_EQ(collated.size(), 3U);
    EXPECT_EQ(OCT::ToStdText(*collated.rbegin()), "Zoe");
    const std::set<COrvStr, OCT::CLessCollationNoCase> noCase(names);
    EXPECT_EQ(noCase.size(), 2U);
    EXPECT_TRUE(noCase.contains(ORVTEXT("ZOE")));
}

TEST(StdBridge, SetsAreRanges)
{
    Map map;
    EXPECT_TRUE(OCT::Items(map).empty() && OCT::Items(map).begin() == OCT::Items(map).end());
    CMIDINTSet set;
    for (unsigned id = 1; id <= 1000; ++id)
    {
        map.SetItem(id * 977);
        set.Add(id * 977);
    }
    const auto items = OCT::Items(map);
    EXPECT_EQ(static_cast<std::size_t>(std::ranges::distance(items.begin(), items.end())), items.size());
    EXPECT_EQ(std::ranges::max(items), 977000U);
    EXPECT_EQ(*std::ranges::find(items, 977U * 3), 977U * 3);
    const std::vector<unsigned> classic(items.begin(), items.end());
    EXPECT_TRUE(std::ranges::is_permutation(classic, OCT::Items(set)));

    CSimpleByteSet bytes(0x00FF0301);
    EXPECT_TRUE(std::ranges::equal(OCT::Items(bytes), std::vector<ULONG>{1, 3, 255}));
}

TEST(StdBridge, ValuesAreFormattedAsText)
{
    const COrvStr s = OCT::FromStdText(std::string_view("n\xC3\xA4h"));
    const CMIDINTArray ids = {3, 7, 10};
    EXPECT_EQ(fmt::format("[{:>5}|{:.1}|{}]", s, s, COrvStr()), "[  n\xC3\xA4h|n|]");
    EXPECT_EQ(fmt::format("{} {:*<8}{}", COrvTime::FromYMD(2024, 5, 6, 7, 8, 9), ids, CMIDINTArray()),
              "2024-05-06 07:08:09Z 3,7,10**");
    EXPECT_EQ(fmt::format("{} {}{}{}", COrvTimeDiff(-3909), COrvTimeDiff(59), COrvTimeDiff(), COrvTime()),
              "-1:05:09 0:00:59");
    EXPECT_TRUE(fmt::format(View(ORVTEXT("{:>4}{}")), s, ids) == ORVTEXT(" n\u00E4h3,7,10"));
}

} // namespace
