// Variants and decimals as texts, and the error object of a thread, as the library relies on them.
#include "support/fake_errors.h"
#include "support/text.h"
#include "support/wine.h"

#include <gtest/gtest.h>

#include <oledb.h>

#include <array>
#include <cmath>
#include <limits>
#include <thread>
#include <utility>

namespace
{

class CVariant : public VARIANT
{
public:
    CVariant() { VariantInit(this); }
    template <class Value>
    CVariant(VARTYPE type, Value VARIANT::*pField, Value value) : CVariant()
    {
        this->*pField = value;
        vt = type;
    }
    ~CVariant() { VariantClear(this); }
    CVariant(const CVariant&) = delete;
    CVariant& operator=(const CVariant&) = delete;
};

HRESULT ChangeToText(const VARIANT& var, VARIANT& text)
{
    return VariantChangeType(&text, const_cast<VARIANT*>(&var), 0, VT_BSTR);
}

Text TextOf(const VARIANT& var)
{
    CVariant text;
    if (FAILED(ChangeToText(var, text)))
        return ORVTEXT("(failed)");
    return text.bstrVal != nullptr ? Text(text.bstrVal, SysStringLen(text.bstrVal)) : Text();
}

template <class Value>
Text TextOf(VARTYPE vt, Value VARIANT::*pField, Value value)
{
    return TextOf(CVariant(vt, pField, value));
}

DECIMAL Decimal(ULONG nHigh, ULONGLONG nLow, BYTE nScale, BYTE nSign)
{
    DECIMAL dec = {};
    dec.Hi32 = nHigh;
    dec.Lo64 = nLow;
    dec.scale = nScale;
    dec.sign = nSign;
    return dec;
}

Text TextOf(DECIMAL dec)
{
    CVariant text(VT_BSTR, &VARIANT::bstrVal, BSTR{});
    EXPECT_EQ(S_OK, VarBstrFromDec(&dec, LOCALE_INVARIANT, 0, &text.bstrVal));
    return TextOf(text);
}

HRESULT ChangeToText(const VARIANT& var)
{
    CVariant text;
    return ChangeToText(var, text);
}

TEST(Variant, IntegersOfAllWidths)
{
    EXPECT_EQ(ORVTEXT("-128"), TextOf(VT_I1, &VARIANT::cVal, static_cast<char>(-128)));
    EXPECT_EQ(ORVTEXT("255"), TextOf(VT_UI1, &VARIANT::bVal, BYTE{255}));
    EXPECT_EQ(ORVTEXT("-32768"), TextOf(VT_I2, &VARIANT::iVal, SHORT{-32768}));
    EXPECT_EQ(ORVTEXT("65535"), TextOf(VT_UI2, &VARIANT::uiVal, USHORT{65535}));
    EXPECT_EQ(ORVTEXT("-70000"), TextOf(VT_I4, &VARIANT::lVal, LONG{-70000}));
    EXPECT_EQ(ORVTEXT("4294967295"), TextOf(VT_UI4, &VARIANT::ulVal, static_cast<ULONG>(-1)));
    EXPECT_EQ(ORVTEXT("-3"), TextOf(VT_INT, &VARIANT::intVal, -3));
    EXPECT_EQ(ORVTEXT("4294967295"), TextOf(VT_UINT, &VARIANT::uintVal, 0xFFFFFFFFu));
    EXPECT_EQ(ORVTEXT("-9223372036854775808"),
              TextOf(VT_I8, &VARIANT::llVal, std::numeric_limits<LONGLONG>::min()));
    EXPECT_EQ(ORVTEXT("18446744073709551615"), TextOf(VT_UI8, &VARIANT::ullVal, static_cast<ULONGLONG>(-1)));
    EXPECT_EQ(ORVTEXT("-1"), TextOf(VT_BOOL, &VARIANT::boolVal, VARIANT_TRUE));
    EXPECT_EQ(ORVTEXT("0"), TextOf(VT_BOOL, &VARIANT::boolVal, VARIANT_FALSE));
}

TEST(Variant, RealsHaveSevenAndFifteenDigits)
{
    const auto Real = [](double d) { return TextOf(VT_R8, &VARIANT::dblVal, d); };
    EXPECT_EQ(ORVTEXT("0.333333333333333"), Real(1.0 / 3));
    EXPECT_EQ(ORVTEXT("100"), Real(100.0));
    EXPECT_EQ(ORVTEXT("-2.5"), Real(-2.5));
    EXPECT_EQ(ORVTEXT("0"), Real(-0.0));
    EXPECT_EQ(ORVTEXT("100000000000000"), Real(1e14));
    EXPECT_EQ(ORVTEXT("1E+15"), Real(999999999999999.5));
    EXPECT_EQ(ORVTEXT("1.23456789012346E+17"), Real(123456789012345678.0));
    EXPECT_EQ(ORVTEXT("0.0001"), Real(1e-4));
    EXPECT_EQ(ORVTEXT("1E-05"), Real(1e-5));
    EXPECT_EQ(ORVTEXT("4.94065645841247E-324"), Real(5e-324));
    EXPECT_EQ(ORVTEXT("1.677722E+07"), TextOf(VT_R4, &VARIANT::fltVal, 16777216.0f));
    EXPECT_EQ(ORVTEXT("0.1"), TextOf(VT_R4, &VARIANT::fltVal, 0.1f));
}

TEST(Variant, RealsThatAreNoNumbers)
{
    ORV_SKIP_WINE("infinities are INF, NaN is NAN");
    EXPECT_EQ(ORVTEXT("1.#INF"), TextOf(VT_R8, &VARIANT::dblVal, HUGE_VAL));
    EXPECT_EQ(ORVTEXT("-1.#INF"), TextOf(VT_R8, &VARIANT::dblVal, -HUGE_VAL));
    EXPECT_EQ(ORVTEXT("1.#QNAN"), TextOf(VT_R8, &VARIANT::dblVal, std::numeric_limits<double>::quiet_NaN()));
}

TEST(Variant, Currency)
{
    const auto Currency = [](LONGLONG n) {
        CY cy;
        cy.int64 = n;
        return TextOf(VT_CY, &VARIANT::cyVal, cy);
    };
    EXPECT_EQ(ORVTEXT("1234.5678"), Currency(12345678));
    EXPECT_EQ(ORVTEXT("-1.5"), Currency(-15000));
    EXPECT_EQ(ORVTEXT("-0.0001"), Currency(-1));
    EXPECT_EQ(ORVTEXT("1230"), Currency(12300000));
    EXPECT_EQ(ORVTEXT("-922337203685477.5808"), Currency(std::numeric_limits<LONGLONG>::min()));
}

TEST(Variant, DecimalsLoseZerosAtTheEnd)
{
    EXPECT_EQ(ORVTEXT("12.345"), TextOf(Decimal(0, 123450, 4, 0)));
    EXPECT_EQ(ORVTEXT("-12345"), TextOf(Decimal(0, 123450, 1, DECIMAL_NEG)));
    EXPECT_EQ(ORVTEXT("-0.0000000000000000000000000001"), TextOf(Decimal(0, 1, 28, DECIMAL_NEG)));
    EXPECT_EQ(ORVTEXT("0"), TextOf(Decimal(0, 0, 3, DECIMAL_NEG)));
    EXPECT_EQ(ORVTEXT("18446744073709551616"), TextOf(Decimal(1, 0, 0, 0)));
    EXPECT_EQ(ORVTEXT("7.9228162514264337593543950335"),
              TextOf(Decimal(static_cast<ULONG>(-1), static_cast<ULONGLONG>(-1), 28, 0)));
    EXPECT_EQ(ORVTEXT("12.345"), TextOf(VT_DECIMAL, &VARIANT::decVal, Decimal(0, 12345, 3, 0)));
}

TEST(Variant, DatesAreTheLocalesOwn)
{
    const auto Date = [](double d) { return TextOf(VT_DATE, &VARIANT::date, d); };
    const auto Expected = [](double d, bool bDate, bool bTime) {
        SYSTEMTIME st;
        VariantTimeToSystemTime(d, &st);
        WCHAR sDate[100] = {};
        WCHAR sTime[100] = {};
        if (bDate)
            GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, &st, nullptr, sDate, 100, nullptr);
        if (bTime)
            GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, 0, &st, nullptr, sTime, 100);
        return Text(sDate) + (bDate && bTime ? ORVTEXT(" ") : ORVTEXT("")) + sTime;
    };
    EXPECT_EQ(Expected(45418.29732638889, true, true), Date(45418.29732638889));
    EXPECT_EQ(Expected(45418.0, true, false), Date(45418.0));
    EXPECT_EQ(Expected(0.5, false, true), Date(0.5));
    EXPECT_EQ(Expected(-1.25, true, true), Date(-1.25));
    EXPECT_EQ(ORVTEXT("(failed)"), Date(2958466.0));
}

TEST(VariantTime, BreaksDown)
{
    using Fields = std::array<int, 7>; // year to millisecond
    SYSTEMTIME st;
    for (const auto& [d, expected] : {std::pair(25569.0, Fields{1970, 1, 1}),
                                      {45418.29732638889, Fields{2024, 5, 6, 7, 8, 9}},
                                      {50423.99999999, Fields{2038, 1, 19}}, // rounded
                                      {-1.25, Fields{1899, 12, 29, 6}}})
    {
        ASSERT_TRUE(VariantTimeToSystemTime(d, &st)) << d;
        EXPECT_EQ(expected,
                  (Fields{st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond, st.wMilliseconds}))
            << d;
    }
    EXPECT_FALSE(VariantTimeToSystemTime(2958466.0, &st) || VariantTimeToSystemTime(-657435.0, &st));
}

TEST(Variant, ReferencesAreFollowedOnce)
{
    LONGLONG n = -77;
    DECIMAL dec = Decimal(0, 15, 1, 0);
    EXPECT_EQ(ORVTEXT("-77"), TextOf(VT_I8 | VT_BYREF, &VARIANT::pllVal, &n));
    EXPECT_EQ(ORVTEXT("1.5"), TextOf(VT_DECIMAL | VT_BYREF, &VARIANT::pdecVal, &dec));
    CVariant inner(VT_I2, &VARIANT::iVal, SHORT{9});
    CVariant outer(VT_VARIANT | VT_BYREF, &VARIANT::pvarVal, static_cast<VARIANT*>(&inner));
    EXPECT_EQ(ORVTEXT("9"), TextOf(outer));
    const CVariant outermost(VT_VARIANT | VT_BYREF, &VARIANT::pvarVal, static_cast<VARIANT*>(&outer));
    EXPECT_EQ(E_INVALIDARG, ChangeToText(outermost));
    EXPECT_EQ(DISP_E_TYPEMISMATCH,
              ChangeToText(CVariant(VT_I4 | VT_BYREF, &VARIANT::byref, static_cast<PVOID>(nullptr))));
}

TEST(Variant, TypesWithoutText)
{
    EXPECT_EQ(ORVTEXT(""), TextOf(CVariant()));
    EXPECT_EQ(ORVTEXT(""), TextOf(VT_BSTR, &VARIANT::bstrVal, BSTR{}));
    for (const VARTYPE vt : {VT_NULL, VT_ERROR, VT_UNKNOWN, VT_VARIANT})
        EXPECT_EQ(DISP_E_TYPEMISMATCH, ChangeToText(CVariant(vt, &VARIANT::llVal, LONGLONG{0}))) << vt;
    EXPECT_EQ(DISP_E_TYPEMISMATCH,
              ChangeToText(CVariant(VT_I4 | VT_ARRAY, &VARIANT::parray, static_cast<SAFEARRAY*>(nullptr))));
    for (const int vt :
         {15, 24, VT_I4 | VT_VECTOR, VT_I4 | VT_RESERVED, VT_NULL | VT_BYREF, int{VT_DISPATCH}})
        EXPECT_EQ(DISP_E_BADVARTYPE,
                  ChangeToText(CVariant(static_cast<VARTYPE>(vt), &VARIANT::llVal, LONGLONG{0})))
            << vt;
}

TEST(Variant, ChangesInPlaceAndOnlyOnSuccess)
{
    CVariant var(VT_BSTR, &VARIANT::bstrVal, SysAllocStringLen(ORVTEXT("a\0b"), 3));
    EXPECT_EQ(S_OK, ChangeToText(var, var));
    EXPECT_EQ(3u, SysStringLen(var.bstrVal));
    EXPECT_EQ(DISP_E_TYPEMISMATCH, ChangeToText(CVariant(VT_NULL, &VARIANT::llVal, LONGLONG{0}), var));
    EXPECT_TRUE(var.vt == VT_BSTR && SysStringLen(var.bstrVal) == 3);
    EXPECT_EQ(S_OK, ChangeToText(CVariant(VT_I4, &VARIANT::lVal, LONG{5}), var));
    EXPECT_EQ(ORVTEXT("5"), TextOf(var));
}

TEST(Variant, ClearingLetsGoOfWhatItHolds)
{
    BSTR bstr = SysAllocString(ORVTEXT("kept"));
    CVariant var(VT_BSTR | VT_BYREF, &VARIANT::pbstrVal, &bstr);
    EXPECT_EQ(ORVTEXT("kept"), TextOf(var));
    EXPECT_EQ(S_OK, VariantClear(&var));
    EXPECT_EQ(VT_EMPTY, var.vt);
    SysFreeString(bstr);
    var.vt = 24;
    EXPECT_EQ(DISP_E_BADVARTYPE, VariantClear(&var));
    EXPECT_EQ(24, var.vt);
}

TEST(ErrorInfo, IsKeptForItsThreadUntilItIsTakenOrReplaced)
{
    CFakeError former(nullptr), latter(nullptr); // which check that all references were given back
    EXPECT_EQ(S_OK, SetErrorInfo(0, &former));
    EXPECT_EQ(S_OK, SetErrorInfo(0, &latter));
    IErrorInfo* pInfo = nullptr;
    std::thread([&] {
        EXPECT_EQ(S_FALSE, GetErrorInfo(0, &pInfo));
        EXPECT_EQ(S_OK, SetErrorInfo(0, &former)); // goes with the thread
    }).join();
    EXPECT_EQ(S_OK, GetErrorInfo(0, &pInfo));
    ASSERT_EQ(&latter, pInfo);
    pInfo->Release();
    EXPECT_EQ(S_FALSE, GetErrorInfo(0, &pInfo));
    EXPECT_EQ(nullptr, pInfo);
}

TEST(Variant, LayoutIsTheSystems)
{
    EXPECT_EQ(16u, sizeof(DECIMAL));
    EXPECT_EQ(8u, sizeof(CY));
    EXPECT_EQ(19u, sizeof(DB_NUMERIC));
    EXPECT_EQ(8 + 2 * sizeof(void*), sizeof(VARIANT));
    EXPECT_EQ(8u, offsetof(VARIANT, llVal));
    EXPECT_EQ(8u, offsetof(DECIMAL, Lo64));
}

} // namespace
