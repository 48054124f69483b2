// Typed values of OLE DB as text.
#include "orvcomtypes/oledbconvert.h"

#include "support/text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace
{

using CResult = std::pair<DBSTATUS, Text>;

CResult Failed(DBSTATUS nStatus)
{
    return {nStatus, Text()};
}

/// Into a buffer of exactly \p cch units on the heap, so that a sanitizer sees what is written behind it.
CResult ConvertInto(unsigned cch, DBTYPE wType, const void* pData,
                    unsigned cbData = COLEDBConvert::kTerminated)
{
    std::vector<WCHAR> buffer(cch, ORVTEXT('~'));
    unsigned nLen = 4711;
    const DBSTATUS nStatus = COLEDBConvert::ConvertToStr(wType, pData, buffer.data(), cch, nLen, cbData);
    EXPECT_TRUE(cch == 0 || buffer[nLen] == 0);
    return {nStatus, Text(buffer.data(), nLen)};
}

/// At an odd address, as values in rows may stand.
template <class Value>
CResult Convert(DBTYPE wType, const Value& value)
{
    std::vector<char> row(1 + sizeof value);
    std::memcpy(row.data() + 1, &value, sizeof value);
    return ConvertInto(COLEDBConvert::kMaxNumberText, wType, row.data() + 1);
}

/// The text of a value that has one and, whatever the room, all of it or nothing.
template <class Value>
Text TextOf(DBTYPE wType, const Value& value)
{
    const auto [nStatus, sText] = Convert(wType, value);
    EXPECT_EQ(DBSTATUS_S_OK, nStatus);
    const auto nLen = static_cast<unsigned>(sText.size());
    EXPECT_EQ(CResult(nStatus, sText), ConvertInto(nLen + 1, wType, &value));
    for (unsigned cch = 0; cch <= nLen; ++cch)
        EXPECT_EQ(Failed(DBSTATUS_E_DATAOVERFLOW), ConvertInto(cch, wType, &value)) << cch;
    return sText;
}

DB_NUMERIC Numeric(std::uint64_t nLow, std::uint64_t nHigh, BYTE nScale, BYTE nSign = 1)
{
    DB_NUMERIC numeric = {38, nScale, nSign, {}};
    std::memcpy(numeric.val, &nLow, 8);
    std::memcpy(numeric.val + 8, &nHigh, 8);
    return numeric;
}

DECIMAL Decimal(std::uint64_t n, BYTE nScale, BYTE nSign = 0)
{
    DECIMAL dec = {};
    dec.Lo64 = n;
    dec.scale = nScale;
    dec.sign = nSign;
    return dec;
}

} // namespace

TEST(OleDbConvert, IntegersAtTheirLimits)
{
    EXPECT_EQ(ORVTEXT("-128"), TextOf(DBTYPE_I1, static_cast<signed char>(-128)));
    EXPECT_EQ(ORVTEXT("255"), TextOf(DBTYPE_UI1, BYTE{255}));
    EXPECT_EQ(ORVTEXT("-32768"), TextOf(DBTYPE_I2, SHORT{-32768}));
    EXPECT_EQ(ORVTEXT("65535"), TextOf(DBTYPE_UI2, USHORT{65535}));
    EXPECT_EQ(ORVTEXT("-2147483648"), TextOf(DBTYPE_I4, std::numeric_limits<std::int32_t>::min()));
    EXPECT_EQ(ORVTEXT("4294967295"), TextOf(DBTYPE_UI4, 0xFFFFFFFFu));
    EXPECT_EQ(ORVTEXT("-9223372036854775808"), TextOf(DBTYPE_I8, std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(ORVTEXT("18446744073709551615"), TextOf(DBTYPE_UI8, ~std::uint64_t{0}));
    EXPECT_EQ(ORVTEXT("True"), TextOf(DBTYPE_BOOL, VARIANT_TRUE));
    EXPECT_EQ(ORVTEXT("False"), TextOf(DBTYPE_BOOL, VARIANT_FALSE));
}

TEST(OleDbConvert, Reals)
{
    EXPECT_EQ(ORVTEXT("0.333333333333333"), TextOf(DBTYPE_R8, 1.0 / 3));
    EXPECT_EQ(ORVTEXT("-1.79769313486232E+308"), TextOf(DBTYPE_R8, std::numeric_limits<double>::lowest()));
    EXPECT_EQ(ORVTEXT("0"), TextOf(DBTYPE_R8, -0.0));
    EXPECT_EQ(ORVTEXT("0.3333333"), TextOf(DBTYPE_R4, 1.0f / 3));
    for (const double d : {HUGE_VAL, -HUGE_VAL, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(Failed(DBSTATUS_E_CANTCONVERTVALUE), Convert(DBTYPE_R8, d));
}

TEST(OleDbConvert, ExactNumbers)
{
    EXPECT_EQ(ORVTEXT("-922337203685477.5808"), TextOf(DBTYPE_CY, std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(ORVTEXT("1.5"), TextOf(DBTYPE_CY, std::int64_t{15000}));
    EXPECT_EQ(ORVTEXT("-0.0000000000000000000000000001"), TextOf(DBTYPE_DECIMAL, Decimal(1, 28, 0x80)));
    EXPECT_EQ(ORVTEXT("100"), TextOf(DBTYPE_DECIMAL, Decimal(10000, 2)));
    EXPECT_EQ(ORVTEXT("0"), TextOf(DBTYPE_DECIMAL, Decimal(0, 5, 0x80)));
    EXPECT_EQ(Failed(DBSTATUS_E_CANTCONVERTVALUE), Convert(DBTYPE_DECIMAL, Decimal(1, 29)));
    EXPECT_EQ(ORVTEXT("123.45"), TextOf(DBTYPE_NUMERIC, Numeric(12345, 0, 2)));
    // 10^38 - 1, what a precision of 38 can hold.
    const std::uint64_t nLow = 0x098A223FFFFFFFFF, nHigh = 0x4B3B4CA85A86C47A;
    EXPECT_EQ(Text(38, ORVTEXT('9')), TextOf(DBTYPE_NUMERIC, Numeric(nLow, nHigh, 0)));
    EXPECT_EQ(ORVTEXT("-0.") + Text(38, ORVTEXT('9')), TextOf(DBTYPE_NUMERIC, Numeric(nLow, nHigh, 38, 0)));
    EXPECT_EQ(Failed(DBSTATUS_E_CANTCONVERTVALUE), Convert(DBTYPE_NUMERIC, Numeric(1, 0, 39)));
}

TEST(OleDbConvert, DatesAndGuids)
{
    EXPECT_EQ(ORVTEXT("2024-02-29"), TextOf(DBTYPE_DBDATE, DBDATE{2024, 2, 29}));
    EXPECT_EQ(ORVTEXT("23:59:09"), TextOf(DBTYPE_DBTIME, DBTIME{23, 59, 9}));
    EXPECT_EQ(ORVTEXT("0001-01-01 00:00:00"), TextOf(DBTYPE_DBTIMESTAMP, DBTIMESTAMP{1, 1, 1, 0, 0, 0, 0}));
    EXPECT_EQ(ORVTEXT("9999-12-31 23:59:59.000000001"),
              TextOf(DBTYPE_DBTIMESTAMP, DBTIMESTAMP{9999, 12, 31, 23, 59, 59, 1}));
    EXPECT_EQ(ORVTEXT("2024-05-06 07:08:09.25"),
              TextOf(DBTYPE_DBTIMESTAMP, DBTIMESTAMP{2024, 5, 6, 7, 8, 9, 250000000}));
    for (const DBTIMESTAMP& bad : {DBTIMESTAMP{2023, 2, 29, 0, 0, 0, 0}, DBTIMESTAMP{2024, 13, 1, 0, 0, 0, 0},
                                   DBTIMESTAMP{2024, 258, 1, 0, 0, 0, 0}, DBTIMESTAMP{0, 1, 1, 0, 0, 0, 0},
                                   DBTIMESTAMP{10000, 1, 1, 0, 0, 0, 0}, DBTIMESTAMP{2024, 1, 1, 24, 0, 0, 0},
                                   DBTIMESTAMP{2024, 1, 1, 0, 60, 0, 0}, DBTIMESTAMP{2024, 1, 1, 0, 0, 60, 0},
                                   DBTIMESTAMP{2024, 1, 1, 0, 0, 0, 1000000000}})
        EXPECT_EQ(Failed(DBSTATUS_E_CANTCONVERTVALUE), Convert(DBTYPE_DBTIMESTAMP, bad));
    EXPECT_EQ(ORVTEXT("2024-05-06 07:08:09"), TextOf(DBTYPE_DATE, 45418.29732638889));
    EXPECT_EQ(ORVTEXT("2024-05-06 07:08:09.123"), TextOf(DBTYPE_DATE, 45418 + 25689.123 / 86400));
    EXPECT_EQ(ORVTEXT("1899-12-29 06:00:00"), TextOf(DBTYPE_DATE, -1.25));
    EXPECT_EQ(ORVTEXT("1899-12-30 00:00:00"), TextOf(DBTYPE_DATE, -1.9999999999));
    EXPECT_EQ(ORVTEXT("0100-01-01 00:00:00"), TextOf(DBTYPE_DATE, -657434.0));
    for (const double bad :
         {2958466.0, 2958465.9999999999, -657435.0, -660000.0, 1e300, -1e300, std::nan("")})
        EXPECT_EQ(Failed(DBSTATUS_E_CANTCONVERTVALUE), Convert(DBTYPE_DATE, bad)) << bad;
    EXPECT_EQ(ORVTEXT("{0123ABCD-00FF-1000-8001-02030405060F}"),
              TextOf(DBTYPE_GUID, GUID{0x0123ABCD, 0xFF, 0x1000, {0x80, 1, 2, 3, 4, 5, 6, 15}}));
}

TEST(OleDbConvert, StringsAreCutBetweenCharacters)
{
    const CResult all = {DBSTATUS_S_OK, ORVTEXT("ab\U0001F600")};
    const auto* const sWide = ORVTEXT("ab\U0001F600");
    EXPECT_EQ(all, ConvertInto(5, DBTYPE_WSTR, sWide));
    EXPECT_EQ((CResult{DBSTATUS_S_TRUNCATED, ORVTEXT("ab")}), ConvertInto(4, DBTYPE_WSTR, sWide));
    EXPECT_EQ((CResult{DBSTATUS_S_TRUNCATED, Text()}), ConvertInto(1, DBTYPE_WSTR, sWide));
    EXPECT_EQ((CResult{DBSTATUS_S_TRUNCATED, Text()}), ConvertInto(2, DBTYPE_WSTR, sWide + 2));
    EXPECT_EQ(Failed(DBSTATUS_E_DATAOVERFLOW), ConvertInto(0, DBTYPE_WSTR, sWide));
    EXPECT_EQ((CResult{DBSTATUS_S_OK, ORVTEXT("a")}), ConvertInto(5, DBTYPE_WSTR, sWide, 3));
    EXPECT_EQ((CResult{DBSTATUS_S_OK, Text()}), ConvertInto(5, DBTYPE_WSTR, sWide, 0));
    EXPECT_EQ((CResult{DBSTATUS_S_OK, ORVTEXT("ab")}), ConvertInto(3, DBTYPE_STR, "ab"));
    EXPECT_EQ((CResult{DBSTATUS_S_OK, Text()}), ConvertInto(1, DBTYPE_STR, ""));
    EXPECT_EQ((CResult{DBSTATUS_S_TRUNCATED, ORVTEXT("a")}), ConvertInto(2, DBTYPE_STR, "ab"));
    EXPECT_EQ((CResult{DBSTATUS_S_OK, ORVTEXT("a")}), ConvertInto(2, DBTYPE_STR, "ab", 1));
    EXPECT_EQ((CResult{DBSTATUS_S_TRUNCATED, Text(9, ORVTEXT('x'))}),
              ConvertInto(10, DBTYPE_STR, std::string(100, 'x').c_str()));
    const BSTR bstr = SysAllocString(sWide);
    EXPECT_EQ(all, ConvertInto(5, DBTYPE_BSTR, &bstr));
    EXPECT_EQ((CResult{DBSTATUS_S_TRUNCATED, ORVTEXT("ab")}), ConvertInto(4, DBTYPE_BSTR, &bstr));
    SysFreeString(bstr);
}

TEST(OleDbConvert, ReferencesAndVariantsAreFollowed)
{
    const std::int32_t n = -7;
    const std::int32_t* pn = &n;
    EXPECT_EQ(ORVTEXT("-7"), TextOf(DBTYPE_BYREF | DBTYPE_I4, pn));
    const char* sNarrow = "ab";
    EXPECT_EQ((CResult{DBSTATUS_S_OK, ORVTEXT("a")}), ConvertInto(5, DBTYPE_BYREF | DBTYPE_STR, &sNarrow, 1));
    VARIANT var = {};
    var.decVal = Decimal(15, 1);
    var.vt = VT_DECIMAL;
    EXPECT_EQ(ORVTEXT("1.5"), TextOf(DBTYPE_VARIANT, var));
    VARIANT outer = {};
    outer.vt = VT_VARIANT | VT_BYREF;
    outer.pvarVal = &var;
    EXPECT_EQ(ORVTEXT("1.5"), TextOf(DBTYPE_VARIANT, outer));
    var.vt = VT_UINT | VT_BYREF;
    unsigned nUnsigned = 0xFFFFFFFF;
    var.puintVal = &nUnsigned;
    EXPECT_EQ(ORVTEXT("4294967295"), TextOf(DBTYPE_VARIANT, outer));
    var.vt = VT_INT;
    var.intVal = -7;
    EXPECT_EQ(ORVTEXT("-7"), TextOf(DBTYPE_VARIANT, outer));
    for (const DBTYPE wNoTag : {DBTYPE_WSTR, DBTYPE_GUID, DBTYPE_NUMERIC, DBTYPE_DBTIMESTAMP})
    {
        var.vt = wNoTag;
        EXPECT_EQ(Failed(DBSTATUS_E_CANTCONVERTVALUE), Convert(DBTYPE_VARIANT, outer)) << wNoTag;
    }
    outer.pvarVal = &outer;
    EXPECT_EQ(Failed(DBSTATUS_E_CANTCONVERTVALUE), Convert(DBTYPE_VARIANT, outer));
    outer.pvarVal = nullptr;
    EXPECT_EQ(Failed(DBSTATUS_S_ISNULL), Convert(DBTYPE_VARIANT, outer));
}

TEST(OleDbConvert, NullAndOtherTypesHaveNoText)
{
    for (const DBTYPE wType : {DBTYPE_EMPTY, DBTYPE_NULL})
        EXPECT_EQ(Failed(DBSTATUS_S_ISNULL), Convert(wType, 0));
    EXPECT_EQ(Failed(DBSTATUS_S_ISNULL), ConvertInto(5, DBTYPE_I4, nullptr));
    EXPECT_EQ(Failed(DBSTATUS_S_ISNULL), Convert(DBTYPE_BYREF | DBTYPE_WSTR, static_cast<void*>(nullptr)));
    for (const int wType : {15, 24, int{DBTYPE_BYTES}, DBTYPE_ARRAY | DBTYPE_I4, DBTYPE_VECTOR | DBTYPE_I4})
        EXPECT_EQ(Failed(DBSTATUS_E_CANTCONVERTVALUE), Convert(static_cast<DBTYPE>(wType), 0ull)) << wType;
}
