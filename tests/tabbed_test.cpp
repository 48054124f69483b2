#include "orvcomtypes/orvtabbedstr.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using Fields = std::vector<Text>;

/// The first fields of a text.
Fields FieldsOf(COrvTabbedWStr reader, std::size_t nCount)
{
    Fields fields;
    for (WCHAR sField[50]; fields.size() < nCount; fields.emplace_back(sField))
        EXPECT_EQ(sField, reader.GetNextStr(sField, 50));
    return fields;
}

COrvTabbedWStr Reader(const WCHAR* sText, WCHAR cSep = 0, WCHAR cTerm = 0)
{
    COrvTabbedWStr reader;
    reader.Init(sText, cSep, cTerm);
    return reader;
}

} // namespace

TEST(TabbedStr, SplitsFields)
{
    const struct
    {
        const WCHAR* m_sText;
        WCHAR m_cSep;
        WCHAR m_cTerm;
        Fields m_fields;
    } rows[] = {{ORVTEXT("a, b ,'c,d' x,\\,e\nz"),
                 0,
                 0,
                 {ORVTEXT("a"), ORVTEXT("b"), ORVTEXT("c,d"), ORVTEXT("e"), ORVTEXT("z"), {}, {}}},
                {ORVTEXT("x;y|z"), ORVTEXT(';'), ORVTEXT('|'), {ORVTEXT("x"), ORVTEXT("y"), {}, {}}},
                {ORVTEXT("x\t\ty\t \tz"), ORVTEXT('\t'), 0, {ORVTEXT("x"), ORVTEXT("y"), ORVTEXT("z"), {}}},
                {ORVTEXT("x,,y,\nz"), 0, 0, {ORVTEXT("x"), {}, ORVTEXT("y"), ORVTEXT("z"), {}}},
                {ORVTEXT(" \" it's \n\" 'x' , it's \"q\" ,''"),
                 0,
                 0,
                 {ORVTEXT(" it's \n"), ORVTEXT("it's \"q\""), {}, {}}},
                {ORVTEXT("'a\\'b'c\\,d,\"e"), 0, 0, {ORVTEXT("ab"), ORVTEXT("d"), ORVTEXT("e"), {}}},
                {ORVTEXT("a \\ \xA0\\"), 0, 0, {ORVTEXT("a"), {}}},
                {ORVTEXT("'a\\"), 0, 0, {ORVTEXT("a"), {}}},
                {ORVTEXT("a'b"), 0, ORVTEXT('\''), {ORVTEXT("a"), {}, {}}},
                {ORVTEXT("  "), 0, 0, {{}, {}}},
                {nullptr, 0, 0, {{}, {}}}};
    for (const auto& row : rows)
        EXPECT_EQ(row.m_fields, FieldsOf(Reader(row.m_sText, row.m_cSep, row.m_cTerm), row.m_fields.size()))
            << testing::PrintToString(TextOf(row.m_sText));
}

TEST(TabbedStr, FillsTheBufferThatIsThere)
{
    COrvTabbedWStr reader = Reader(ORVTEXT("abc def,gh,ij,k,l"));
    WCHAR sField[5];
    EXPECT_EQ(ORVTEXT("abc"), TextOf(reader.GetNextStr(sField, 5))) << "cut, then trimmed";
    EXPECT_EQ(ORVTEXT(""), TextOf(reader.GetNextStr(sField, 1)));
    EXPECT_EQ(nullptr, reader.GetNextStr(sField, 0));
    EXPECT_EQ(nullptr, reader.GetNextStr(nullptr, 5));
    EXPECT_EQ(ORVTEXT("l"), TextOf(reader.GetNextStr(sField, 5)));
}

TEST(TabbedStr, KeepsWhatInitDoesNotGive)
{
    COrvTabbedWStr reader = Reader(ORVTEXT("a;b"), ORVTEXT(';'), ORVTEXT('|'));
    reader.Init(nullptr);
    reader.Init(ORVTEXT(""), 0, ORVTEXT('!'));
    EXPECT_EQ((Fields{ORVTEXT("a"), ORVTEXT("b")}), FieldsOf(reader, 2));
    reader.Init(ORVTEXT("c|;d!e"));
    EXPECT_EQ((Fields{ORVTEXT("c|"), ORVTEXT("d"), {}}), FieldsOf(reader, 3));
}

TEST(TabbedStr, ReadsNumbers)
{
    const struct
    {
        const WCHAR* m_sField;
        int m_iNumber;
        LONGLONG m_nLong;
    } rows[] = {{ORVTEXT(""), 0, 0},
                {ORVTEXT("x1"), 0, 0},
                {ORVTEXT("-"), 0, 0},
                {ORVTEXT("+12x"), 12, 12},
                {ORVTEXT("'  -12 3'"), -12, -12},
                {ORVTEXT("- 1"), 0, 0},
                {ORVTEXT("2147483647"), 2147483647, 2147483647},
                {ORVTEXT("2147483648"), 2147483647, 2147483648},
                {ORVTEXT("-2147483648"), -2147483647 - 1, -2147483648LL},
                {ORVTEXT("-2147483649"), -2147483647 - 1, -2147483649LL},
                {ORVTEXT("9223372036854775807"), 2147483647, 9223372036854775807LL},
                {ORVTEXT("9999999999999999999"), 2147483647, 9223372036854775807LL},
                {ORVTEXT("-999999999999999999"), -2147483647 - 1, -999999999999999999LL},
                // Deliberately nineteen units are looked at.
                {ORVTEXT("-9223372036854775808"), -2147483647 - 1, -922337203685477580LL},
                {ORVTEXT("00000000000000000123"), 12, 12}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::PrintToString(Text(row.m_sField)));
        EXPECT_EQ(row.m_iNumber, Reader(row.m_sField).GetNextInt());
        EXPECT_EQ(row.m_iNumber, Reader(row.m_sField).GetNextLong());
        EXPECT_EQ(row.m_nLong, Reader(row.m_sField).GetNextInt64());
    }
}
