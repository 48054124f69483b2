#include "orvcomtypes/orvsqlstr.h"
#include "support/random.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace
{

/// The text that one binding appends, whatever room there is.
template <class Value>
Text Bound(const Value& value)
{
    COrvSQLStr sql;
    sql& value;
    EXPECT_GE(ORVS_GetAllocLen(sql), sizeof(WCHAR) * (sql.Length() + 1)); // reserved before it was written
    const Text text = TextOf(sql);
    // 400 units are the least room: a text that just fills it stays in it, one that is longer does not.
    for (std::size_t nRoom = text.size() - 1; nRoom <= text.size() && nRoom < 400; ++nRoom)
    {
        const Text before(400 - nRoom, ORVTEXT('-'));
        COrvSQLStr sqlFull(before.c_str());
        const WCHAR* const sFull = sqlFull;
        sqlFull& value;
        EXPECT_EQ(before + text, TextOf(sqlFull));
        EXPECT_EQ(nRoom == text.size(), sFull == static_cast<const WCHAR*>(sqlFull));
    }
    return text;
}

/// Reads a literal as the server does: '…' with doubled quotes. Nothing when the text is no literal, or when
/// it ends early and leaves a rest that the server would run.
std::optional<Text> ReadLiteral(TextView sql)
{
    Text text;
    for (std::size_t i = 1; i < sql.size() && sql[0] == '\''; ++i)
    {
        if (sql[i] == '\'' && i + 1 == sql.size())
            return text;
        if (sql[i] == '\'' && sql[++i] != '\'')
            break;
        text += sql[i];
    }
    return std::nullopt;
}

} // namespace

TEST(OrvSqlStr, NumbersDatesBytesAndGuids)
{
    EXPECT_EQ(ORVTEXT("-2147483648"), Bound(std::numeric_limits<int>::min()));
    EXPECT_EQ(ORVTEXT("4294967295"), Bound(std::numeric_limits<unsigned>::max()));
    EXPECT_EQ(ORVTEXT("-9223372036854775808"), Bound(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(ORVTEXT("18446744073709551615"), Bound(std::numeric_limits<std::uint64_t>::max()));
    EXPECT_EQ(ORVTEXT("-7"), Bound(SQLORVTIME{-7}));
    EXPECT_EQ(ORVTEXT("CAST(18446744073709551615 AS BIGINT)"), Bound(SQLMCOUNT{~std::uint64_t{0}}));
    EXPECT_EQ(ORVTEXT("CONVERT(TIMESTAMP, CAST(5 AS BIGINT))"), Bound(SQLTSTAMP{5}));
    EXPECT_EQ(ORVTEXT("getdate()"), Bound(MSQLDATE{-1.0 + 9e-11}));
    EXPECT_EQ(ORVTEXT("getutcdate()"), Bound(MSQLDATE{-2.0 - 9e-11}));
    EXPECT_EQ(ORVTEXT("-3.000000001"), Bound(MSQLDATE{-1.000000001}));
    EXPECT_EQ(ORVTEXT("0.333333333333333"), Bound(MSQLDATE{7.0 / 3}));
    const unsigned char aBytes[] = {0x00, 0xAB, 0x10};
    EXPECT_EQ(ORVTEXT("0x00AB10"), Bound(BINARY{aBytes, 3}));
    EXPECT_EQ(ORVTEXT("0x"), Bound(BINARY{nullptr, 3}));
    const GUID guid = {0x0123ABCD, 0x0004, 0xFF05, {0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D}};
    EXPECT_EQ(ORVTEXT("'{0123ABCD-0004-FF05-0607-08090A0B0C0D}'"), Bound(guid));
}

TEST(OrvSqlStr, DecimalsAndConvertedValues)
{
    DECIMAL dec = {};
    dec.Lo64 = 12345;
    dec.scale = 3;
    dec.sign = DECIMAL_NEG;
    EXPECT_EQ(ORVTEXT("-12.345"), Bound(dec));
    DB_NUMERIC numeric = {38, 38, 0, {}};
    std::fill_n(numeric.val, 15, static_cast<BYTE>(0xFF));
    EXPECT_EQ(ORVTEXT("-0.01329227995784915872903807060280344575"), Bound(numeric));
    // With room to spare, and with none.
    for (const unsigned nBefore : {0u, 399u})
    {
        const Text before(nBefore, ORVTEXT('-'));
        COrvSQLStr sql(before.c_str());
        sql.AddDataWithStrConversion(DBTYPE_WSTR, ORVTEXT("it's cut"), 4)
            .AddDataWithStrConversion(DBTYPE_WSTR, ORVTEXT("it"), 1);
        sql.AddDataWithStrConversion(DBTYPE_DECIMAL, &dec, 6)
            .AddDataWithStrConversion(DBTYPE_DECIMAL, &dec, 0);
        sql.AddDataWithStrConversion(DBTYPE_NULL, nullptr, 5)
            .AddDataWithStrConversion(DBTYPE_DECIMAL, &dec, 7);
        EXPECT_EQ(before + ORVTEXT("it'si-12.345"), TextOf(sql));
    }
}

TEST(OrvSqlStr, Doubles)
{
    EXPECT_EQ(ORVTEXT("12.5"), Bound(12.5));
    EXPECT_EQ(ORVTEXT("100"), Bound(100.0));
    EXPECT_EQ(ORVTEXT("-0"), Bound(-0.0));
    EXPECT_EQ(ORVTEXT("0.333333333333333"), Bound(1.0 / 3));
    COrvSQLStr sql;
    sql.Append(1234.5, 2).Append(ORVTEXT(' ')).Append(1.25, 0).Append(ORVTEXT(' ')).Append(0.1, 1000);
    EXPECT_EQ(ORVTEXT("1.2e+03 1 0.1000000000000000055511151231257827021182"), TextOf(sql));
}

TEST(OrvSqlStr, DoublesWithoutALiteralAreNull)
{
    CReportCapture capture;
    const double dInfinity = std::numeric_limits<double>::infinity();
    COrvSQLStr sql;
    sql & -dInfinity& std::nan("") & MSQLDATE{dInfinity};
    EXPECT_EQ(ORVTEXT("NULLNULLNULL"), TextOf(sql));
    const ExpectedReport report = {"COrvSQLStr::Append", "isfinite(d)", "", "orvsqlstr"};
    EXPECT_REPORTS(capture, {report, report, report});
}

TEST(OrvSqlStr, IdLists)
{
    CReportCapture capture;
    CMIDINTArray ids;
    EXPECT_EQ(ORVTEXT(" = 0"), Bound(CSQLMIDINTArray(ids, false)));
    EXPECT_EQ(ORVTEXT(" <> 0"), Bound(CSQLMIDINTArray(ids, true)));
    const ExpectedReport empty = {"COrvSQLStr::Append", "", "", "orvsqlstr"};
    EXPECT_REPORTS(capture, {empty, empty, empty, empty, empty, empty}); // three bindings each
    ids.AddId(0xFFFFFFFF);
    EXPECT_EQ(ORVTEXT(" = 4294967295"), Bound(CSQLMIDINTArray(ids, false)));
    EXPECT_EQ(ORVTEXT(" <> 4294967295"), Bound(CSQLMIDINTArray(ids, true)));
    ids.AddId(4000000000);
    EXPECT_EQ(ORVTEXT(" in (4294967295,4000000000)"), Bound(CSQLMIDINTArray(ids, false)));
    EXPECT_EQ(ORVTEXT(" not in (4294967295,4000000000)"), Bound(CSQLMIDINTArray(ids, true)));
}

TEST(OrvSqlStr, NoTextEscapesItsLiteral)
{
    EXPECT_EQ(ORVTEXT("N''"), Bound(NVARCHAR{nullptr, 0, 5}));
    EXPECT_EQ(ORVTEXT("'x'"), Bound(VARCHAR{ORVTEXT("x"), 0, 0xFFFFFFFF}));
    CTestRandom random;
    constexpr TextView units = ORVTEXT("abcdefgh''\\\"-;% N\n\xD83D\x2019\x02BC\xFF07\x0127");
    for (int i = 0; i < 2000; ++i)
    {
        Text text(random.UpTo(1) != 0 ? random.UpTo(60) : random.UpTo(4000), 0);
        for (WCHAR& c : text)
            c = units[random.UpTo(units.size() - 1)];
        const unsigned nMaxLen = random.UpTo(1) * random.UpTo(70);
        const Text literal = Bound(VARCHAR{text.c_str(), 0, nMaxLen});
        EXPECT_EQ(nMaxLen != 0 ? text.substr(0, nMaxLen) : text, ReadLiteral(literal));
        EXPECT_EQ(ORVTEXT("N") + literal, Bound(NVARCHAR{text.c_str(), 0, nMaxLen}));
    }
}

TEST(OrvSqlStr, FragmentsStandAsTheyAre)
{
    COrvSQLStr sql;
    const WCHAR* const sNull = nullptr;
    sql.AddNL().AddSP();
    (sql & ORVTEXT("'") & sNull & ORVTEXT('x') & static_cast<WCHAR>(0) & ORVTEXT("'"));
    sql.Append(ORVTEXT("abc"), 2).Append(ORVTEXT("a\0b"), 3);
    sql.AddNL().AddNL().AddSP().Append(ORVTEXT("b")).AddSP().AddSP();
    bool bFirst = true;
    sql.AddCM(bFirst).Append(1).AddCM(bFirst).Append(2);
    EXPECT_FALSE(bFirst);
    EXPECT_EQ(ORVTEXT("'x'aba\nb 1,2"), TextOf(sql));
    EXPECT_EQ(12u, sql.Length());
}

TEST(OrvSqlStr, SharedTextIsCopiedBeforeItGrows)
{
    COrvSQLStr a;
    (a & ORVTEXT("SELECT "));
    COrvSQLStr b = a;
    EXPECT_EQ(static_cast<const WCHAR*>(a), static_cast<const WCHAR*>(b));
    b & 1;
    EXPECT_EQ(ORVTEXT("SELECT "), TextOf(a));
    EXPECT_EQ(ORVTEXT("SELECT 1"), TextOf(b));
    a = b;
    a = static_cast<const COrvSQLStr&>(a);
    a = std::move(b);
    a = ORVTEXT("x");
    EXPECT_EQ(ORVTEXT("x"), TextOf(a));
    a.Clear();
    EXPECT_EQ(ORVS_GetDefaultEmptyString(), static_cast<const WCHAR*>(a));
}

TEST(OrvSqlStr, ItsOwnTextCanBeAppended)
{
    // Long enough that the buffer moves.
    Text expected(800, ORVTEXT('x'));
    COrvSQLStr sql(expected.c_str());
    sql.Append(sql, 700);
    (sql & static_cast<const WCHAR*>(sql));
    (sql & NVARCHAR{sql, 0, 3});
    expected += expected.substr(0, 700) + expected + expected.substr(0, 700) + ORVTEXT("N'xxx'");
    EXPECT_TRUE(expected == TextOf(sql));
    sql = static_cast<const WCHAR*>(sql) + 2999;
    sql.AddDataWithStrConversion(DBTYPE_WSTR, static_cast<const WCHAR*>(sql) + 2, 100);
    EXPECT_EQ(ORVTEXT("xN'xxx''xxx'"), TextOf(sql));
}

TEST(OrvSqlStr, Reserves)
{
    EXPECT_LE(2 * 1024 + 2u, ORVS_GetAllocLen(COrvSQLStr(7u)));
    EXPECT_EQ(802u, ORVS_GetAllocLen(COrvSQLStr(ORVTEXT("x"))));
    COrvSQLStr sql(5000u);
    const WCHAR* const sBefore = sql;
    (sql & Text(5000, ORVTEXT('x')).c_str());
    EXPECT_EQ(sBefore, static_cast<const WCHAR*>(sql));
    EXPECT_ANY_THROW(sql.SetSize(0xFFFFFFFF));
    EXPECT_EQ(5000u, sql.Length()) << "without memory the text stays";
    COrvSQLStr sqlCut = sql;
    sqlCut.SetSize(600);
    EXPECT_EQ(Text(600, ORVTEXT('x')), TextOf(sqlCut)) << "shared";
    sql.SetSize(0);
    EXPECT_EQ(2u, ORVS_GetAllocLen(sql));
}

TEST(OrvSqlStrArray, BeginsWithOneBlankStatement)
{
    COrvSQLStrArray batch;
    ASSERT_EQ(1u, batch.GetCount());
    EXPECT_LE(524290u, ORVS_GetAllocLen(batch.Last()));
    batch.Last() & ORVTEXT("  \n");
    EXPECT_FALSE(batch.HasStatement());
    EXPECT_TRUE(batch.Last().IsEmpty());
    batch.AddSQL();
    batch.Last() & ORVTEXT("SELECT 1");
    EXPECT_TRUE(batch.HasStatement());
    const COrvSQLStrArray moved(std::move(batch));
    EXPECT_TRUE(moved.HasStatement() && moved.GetCount() == 2 && batch.IsEmpty() && !batch.HasStatement());
}
