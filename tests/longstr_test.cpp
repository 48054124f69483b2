#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/orvlongstrbase.h"
#include "orvcomtypes/stringutils.h"
#include "support/random.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <limits>
#include <type_traits>

namespace
{

/// A text class that has what the builders need of those of the Windows class library, and its conversion.
template <class Char>
struct CStringLookAlike
{
    const Char* GetString() const { return m_s.c_str(); }
    int GetLength() const { return static_cast<int>(m_s.size()); }
    operator const Char*() const { return m_s.c_str(); }
    std::basic_string<Char> m_s;
};

template <class Builder>
class LongStr : public testing::Test
{
public:
    static constexpr bool kIsWide = std::is_same_v<Builder, COrvLongStr>;
    using Own = std::conditional_t<kIsWide, WCHAR, char>;
    using Other = std::conditional_t<kIsWide, char, WCHAR>;
    using OwnText = std::basic_string<Own>;
    using OtherText = std::basic_string<Other>;

    static OwnText Of(std::string_view s) { return OwnText(s.begin(), s.end()); }
    static OwnText Of(const Builder& builder)
    {
        const OwnText text = static_cast<const Own*>(builder);
        EXPECT_EQ(text.size(), builder.Length());
        EXPECT_EQ(text.empty(), builder.IsEmpty());
        return text;
    }
};
using Builders = testing::Types<COrvLongStr, COrvLongAStr>;
TYPED_TEST_SUITE(LongStr, Builders);

constexpr auto kMinInt64 = std::numeric_limits<std::int64_t>::min();

} // namespace

TYPED_TEST(LongStr, AppendsEveryTypeOfValue)
{
    using Unit = typename TestFixture::Own;
    using OtherUnit = typename TestFixture::Other;
    TypeParam s;
    const Unit* const sNull = nullptr;
    const OtherUnit* const sOtherNull = nullptr;
    s + sNull + sOtherNull + Unit{};
    EXPECT_EQ(TestFixture::Of(""), TestFixture::Of(s));
    s + TestFixture::Of("own ").c_str() + typename TestFixture::OtherText(3, 'x').c_str() + Unit{'|'};
    s + std::numeric_limits<int>::min() + std::numeric_limits<unsigned>::max() + kMinInt64 +
        ~std::uint64_t{0};
    EXPECT_EQ(TestFixture::Of("own xxx|-21474836484294967295-922337203685477580818446744073709551615"),
              TestFixture::Of(s));
    s.Clear();
    s + 2.50 + Unit{' '} + 100.0 + Unit{' '} - 255u - std::uint64_t{0xABCDEF} - Unit{0x0A};
    EXPECT_EQ(TestFixture::Of("2.5 100 000000FF0000000000ABCDEF0A"), TestFixture::Of(s));
    s = Unit{'='};
    s + CStringLookAlike<Unit>{TestFixture::Of("own")} +
        CStringLookAlike<OtherUnit>{typename TestFixture::OtherText(2, 'y')} + CStringLookAlike<char>{""};
    s.Append(TestFixture::Of("a\0b").c_str(), 3);
    s.Append(1234.5, 2);
    EXPECT_EQ(TestFixture::Of("=ownyya1.2e+03"), TestFixture::Of(s));
    s = typename TestFixture::OtherText(1, 'o').c_str();
    EXPECT_EQ(TestFixture::Of("o"), TestFixture::Of(s));
    s = sNull;
    EXPECT_TRUE(s.IsEmpty());
}

TEST(LongStrOfUnits, OnlyTheLowByteIsHexadecimal)
{
    COrvLongStr s;
    s - static_cast<WCHAR>(0x1234) - static_cast<WCHAR>(0xFF05);
    EXPECT_EQ(ORVTEXT("3405"), TextOf(s));
    COrvLongAStr sNarrow;
    sNarrow - static_cast<char>(0xE9);
    EXPECT_STREQ("E9", sNarrow);
}

TYPED_TEST(LongStr, AppendsVariantsByTheirTag)
{
    const auto Appended = [](const VARIANT& var) {
        TypeParam s;
        s + var;
        return TestFixture::Of(s);
    };
    // The value itself, and what refers to it.
    const auto Check = [&](VARTYPE vt, auto VARIANT::*pField, auto value, const char* sExpected) {
        VARIANT var;
        VariantInit(&var);
        var.*pField = value;
        var.vt = vt;
        EXPECT_EQ(TestFixture::Of(sExpected), Appended(var)) << vt;
        VARIANT reference;
        VariantInit(&reference);
        reference.byref = &value;
        reference.vt = static_cast<VARTYPE>(vt | VT_BYREF);
        EXPECT_EQ(TestFixture::Of(sExpected), Appended(reference)) << vt;
        VARIANT outer;
        VariantInit(&outer);
        outer.pvarVal = &reference;
        outer.vt = VT_VARIANT | VT_BYREF;
        EXPECT_EQ(TestFixture::Of(sExpected), Appended(outer)) << vt;
        reference.byref = nullptr;
        EXPECT_EQ(TestFixture::Of(""), Appended(reference)) << vt;
    };
    DECIMAL dec = {};
    dec.Lo64 = 12345;
    dec.scale = 3;
    dec.sign = DECIMAL_NEG;
    Check(VT_NULL, &VARIANT::lVal, LONG{7}, "");
    Check(VT_I2, &VARIANT::iVal, SHORT{-32768}, "-32768");
    Check(VT_BOOL, &VARIANT::boolVal, VARIANT_BOOL{VARIANT_TRUE}, "-1");
    Check(VT_I4, &VARIANT::lVal, LONG{-5}, "-5");
    Check(VT_INT, &VARIANT::intVal, INT{-5}, "-5");
    Check(VT_I1, &VARIANT::cVal, static_cast<CHAR>(-128), "-128");
    Check(VT_UI1, &VARIANT::bVal, BYTE{200}, "200");
    Check(VT_UI2, &VARIANT::uiVal, USHORT{0xFFFF}, "65535");
    Check(VT_UI4, &VARIANT::ulVal, ULONG{0xFFFFFFFF}, "4294967295");
    Check(VT_UINT, &VARIANT::uintVal, UINT{0xFFFFFFFF}, "4294967295");
    Check(VT_R4, &VARIANT::fltVal, FLOAT{0.25f}, "0.25");
    Check(VT_R8, &VARIANT::dblVal, DOUBLE{1.0 / 3}, "0.333333333333333");
    Check(VT_DATE, &VARIANT::date, DATE{36526.25}, "36526.25");
    Check(VT_DECIMAL, &VARIANT::decVal, dec, "-12.345");
    Check(VT_I8, &VARIANT::llVal, LONGLONG{kMinInt64}, "-9223372036854775808");
    Check(VT_UI8, &VARIANT::ullVal, ULONGLONG{~0ull}, "18446744073709551615");
    Check(VT_ERROR, &VARIANT::scode, SCODE{5}, "");
    Check(VT_UNKNOWN, &VARIANT::punkVal, static_cast<IUnknown*>(nullptr), "");
    const BSTR sText = SysAllocString(ORVTEXT("text"));
    Check(VT_BSTR, &VARIANT::bstrVal, sText, "text");
    SysFreeString(sText);
    VARIANT circle;
    VariantInit(&circle);
    circle.pvarVal = &circle;
    circle.vt = VT_VARIANT | VT_BYREF;
    EXPECT_EQ(TestFixture::Of(""), Appended(circle));
}

TYPED_TEST(LongStr, RandomSequencesAgreeWithPlainText)
{
    CTestRandom random;
    TypeParam builders[3];
    typename TestFixture::OwnText texts[3];
    for (int i = 0; i < 4000; ++i)
    {
        const unsigned iTarget = random.UpTo(2), iSource = random.UpTo(2);
        TypeParam& s = builders[iTarget];
        typename TestFixture::OwnText& text = texts[iTarget];
        // Any place of any builder, of the target too.
        const typename TestFixture::OwnText source = texts[iSource];
        const unsigned nAt = random.UpTo(static_cast<unsigned>(source.size()));
        const auto* const sPlace = static_cast<const typename TestFixture::Own*>(builders[iSource]) + nAt;
        const unsigned nLen = random.UpTo(1) * random.UpTo(3000);
        const auto part = source.substr(nAt, nLen != 0 ? nLen : source.npos);
        const typename TestFixture::OwnText filling(random.UpTo(1) * random.UpTo(2500) + 1, 'f');
        switch (random.UpTo(9))
        {
        case 0: s.Append(sPlace, nLen), text += part; break;
        case 1: s = sPlace, text = source.substr(nAt); break;
        case 2: s = builders[iSource], text = source; break;
        case 3: s + filling.c_str(), text += filling; break;
        case 4: s + static_cast<int>(nLen), text += TestFixture::Of(std::to_string(nLen)); break;
        case 5: s - 0xFEDCBA98u, text += TestFixture::Of("FEDCBA98"); break;
        case 6: s + typename TestFixture::OtherText(nLen, 'o').c_str(), text.append(nLen, 'o'); break;
        case 7: s.SetSize(nLen), nLen == 0 ? text.clear() : void(); break;
        case 8: std::swap(s, builders[iSource]), std::swap(text, texts[iSource]); break;
        default: s + 0.5 + typename TestFixture::Own{'c'}, text += TestFixture::Of("0.5c"); break;
        }
        for (int j = 0; j < 3; ++j)
        {
            ASSERT_TRUE(texts[j] == TestFixture::Of(builders[j])) << "step " << i;
            if (texts[j].size() > 30000)
                builders[j].Clear(), texts[j].clear();
        }
    }
}

TEST(LongStrWide, GrowsToTheNeedButNotBelow2000)
{
    COrvLongStr s;
    EXPECT_EQ(ORVS_GetDefaultEmptyString(), static_cast<const WCHAR*>(s));
    s + ORVTEXT('x');
    const WCHAR* const sFirst = s;
    EXPECT_LE(2 * 2000 + 2u, ORVS_GetAllocLen(s));
    s + Text(1999, ORVTEXT('y')).c_str();
    EXPECT_EQ(sFirst, static_cast<const WCHAR*>(s));
    const COrvLongStr copy = s;
    EXPECT_EQ(sFirst, static_cast<const WCHAR*>(copy));
    s.SetSize(1);
    EXPECT_NE(sFirst, static_cast<const WCHAR*>(s)) << "shared text is not reserved in place";
    EXPECT_TRUE(TextOf(copy) == TextOf(s));
    EXPECT_LE(2 * 5000 + 2u, ORVS_GetAllocLen(COrvLongStr(5000)));
    EXPECT_THROW(s.SetSize(0xFFFFFFFF), CLQMemoryExcept);
    EXPECT_TRUE(TextOf(copy) == TextOf(s));
    s.SetSize(0);
    EXPECT_EQ(ORVS_GetDefaultEmptyString(), static_cast<const WCHAR*>(s));
}

TEST(LongStrNarrow, GrowsInStepsOf4KiB)
{
    const auto Capacity = [](const COrvLongAStr& s) {
        return CLongStrWrite<char>::GetFromCHR(s)->m_nCapacity + unsigned{sizeof(CLongStrWrite<char>)};
    };
    COrvLongAStr s;
    EXPECT_LE(CLongStrWrite<char>::GetFromCHR(s)->m_nCapacity, 1u);
    s.Clear();
    s + ORVTEXT("") + "";
    EXPECT_TRUE(s.IsEmpty());
    s + 'x';
    EXPECT_EQ(4096u, Capacity(s));
    const unsigned nFull = 4096 - sizeof(CLongStrWrite<char>) - 1;
    s + std::string(nFull - 1 - 16, 'y').c_str() + 1;
    EXPECT_EQ(4096u, Capacity(s)) << "16 bytes are enough for a number";
    s + 2;
    EXPECT_EQ(8192u, Capacity(s)) << "and 15 are not";
    s.SetSize(3 * 4096 - 1024);
    EXPECT_EQ(4 * 4096u, Capacity(s));
    const char* const sBlock = s;
    s.Clear();
    s = std::string(1000, 'a').c_str();
    s = static_cast<const char*>(s) + 600;
    EXPECT_EQ(sBlock, static_cast<const char*>(s)) << "the block is kept";
    EXPECT_EQ(400u, s.Length());
    EXPECT_EQ(sBlock + 400, CLongStrWrite<char>::GetFromCHR(s)->m_pEnd);
    EXPECT_THROW(s.SetSize(0xFFFFFFFF), CLQMemoryExcept);
    EXPECT_EQ(std::string(400, 'a'), static_cast<const char*>(s));
}

TEST(LongStrNarrow, NullHasNoBlock)
{
    CReportCapture capture;
    EXPECT_THROW(CLongStrWrite<char>::GetFromCHR(nullptr), CLQInvalidargExcept);
    EXPECT_REPORTS(capture, {{"::GetFromCHR", "s == nullptr", "", "orvlongstrbase"}});
}

TEST(LongStrNarrow, TextOfTheOtherWidthIsConvertedLikeAWhole)
{
    Text text;
    for (int i = 0; i < 700; ++i)
        text += i % 7 == 0 ? ORVTEXT("\u00E9\xD83D\xDE00") : ORVTEXT("a\u0105");
    text += ORVTEXT('\xD83D');
    std::string expected(4 * text.size(), 0);
    expected.resize(static_cast<std::size_t>(
        UnicodeToANSI(text.c_str(), expected.data(), static_cast<unsigned>(expected.size()), CP_THREAD_ACP)));
    COrvLongAStr s;
    s + text.c_str();
    EXPECT_TRUE(expected == static_cast<const char*>(s));
    COrvLongStr sWide;
    sWide + expected.c_str() + static_cast<const char*>(s);
    EXPECT_TRUE(Wide(expected + expected) == TextOf(sWide));
}
