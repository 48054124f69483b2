#include "orvcomtypes/orvtabbedstr.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

/// The first fields of a text, each followed by a slash.
Text FieldsOf(COrvTabbedWStr reader, std::ptrdiff_t nCount)
{
    Text sFields;
    for (WCHAR sField[50]; nCount > 0; --nCount)
    {
        EXPECT_EQ(sField, reader.GetNextStr(sField, 50));
        sFields.append(sField).append(ORVTEXT("/"));
    }
    return sFields;
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
        TextView m_sFields;
    } rows[] = {{ORVTEXT("a, b ,'c,d' x,\\,e\nz"), 0, 0, ORVTEXT("a/b/c,d/e/z///")},
                {ORVTEXT("x;y|z"), ORVTEXT(';'), ORVTEXT('|'), ORVTEXT("x/y///")},
                {ORVTEXT("x\t\ty\t \tz"), ORVTEXT('\t'), 0, ORVTEXT("x/y/z//")},
                {ORVTEXT("x,,y,\nz"), 0, 0, ORVTEXT("x//y/z//")},
                {ORVTEXT(" \" it's \n\" 'x' , it's \"q\" ,''"), 0, 0, ORVTEXT(" it's \n/it's \"q\"///")},
                {ORVTEXT("'a\\'b'c\\,d,\"e"), 0, 0, ORVTEXT("ab/d/e//")},
                {ORVTEXT("a \\ \xA0\\"), 0, 0, ORVTEXT("a//")},
                {ORVTEXT("'a\\"), 0, 0, ORVTEXT("a//")},
                {ORVTEXT("a'b"), 0, ORVTEXT('\''), ORVTEXT("a///")},
                {ORVTEXT("  "), 0, 0, ORVTEXT("//")},
                {nullptr, 0, 0, ORVTEXT("//")}};
    for (const auto& row : rows)
        EXPECT_EQ(row.m_sFields, FieldsOf(Reader(row.m_sText, row.m_cSep, row.m_cTerm),
                                          std::ranges::count(row.m_sFields, ORVTEXT('/'))));
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
    EXPECT_EQ(ORVTEXT("a/b/"), FieldsOf(reader, 2));
    reader.Init(ORVTEXT("c|;d!e"));
    EXPECT_EQ(ORVTEXT("c|/d//"), FieldsOf(reader, 3));
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
