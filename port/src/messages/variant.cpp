// Variants as texts in the user's locale.
#include <windows.h>
#include <oleauto.h>

#include "text/nlslocale.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>

namespace
{

constexpr int kMaxScale = 28;
constexpr LONG kValueMember = 0;
constexpr WORD kPropertyGet = 2;

// ---- Numbers ----

/// ASCII text with its "." in the manner of \p lcid.
std::u16string Localized(const std::string& sNumber, LCID lcid = LOCALE_USER_DEFAULT)
{
    std::u16string sText(sNumber.begin(), sNumber.end());
    const std::size_t iPoint = sNumber.find('.');
    if (iPoint != sNumber.npos && lcid != LOCALE_INVARIANT)
        sText[iPoint] = UserDecimalSeparator();
    return sText;
}

/// \p sDigits divided by 10^nScale, without zeros at the end of the fraction; no "-0".
std::string ScaledText(bool bNegative, std::string sDigits, std::size_t nScale)
{
    if (sDigits.size() <= nScale)
        sDigits.insert(0, nScale + 1 - sDigits.size(), '0');
    if (nScale > 0)
    {
        sDigits.insert(sDigits.size() - nScale, 1, '.');
        sDigits.resize(sDigits.find_last_not_of('0') + 1);
        if (sDigits.back() == '.')
            sDigits.pop_back();
    }
    return bNegative && sDigits != "0" ? '-' + sDigits : sDigits;
}

std::string kDecimalText(const DECIMAL& dec)
{
    std::uint64_t aWords[] = {dec.Hi32, dec.Mid32, dec.Lo32};
    std::string sDigits;
    do
    {
        std::uint64_t nRest = 0;
        for (std::uint64_t& nWord : aWords)
        {
            nRest = nRest << 32 | nWord;
            nWord = nRest / 10;
            nRest %= 10;
        }
        sDigits.insert(sDigits.begin(), static_cast<char>('0' + nRest));
    }
    while (aWords[0] != 0 || aWords[1] != 0 || aWords[2] != 0);
    return ScaledText(dec.sign != 0, sDigits, dec.scale);
}

std::string CurrencyText(const CY& cy)
{
    const auto nMagnitude = static_cast<std::uint64_t>(cy.int64);
    return ScaledText(cy.int64 < 0, std::to_string(cy.int64 < 0 ? 0 - nMagnitude : nMagnitude), 4);
}

/// \p nDigits significant digits, as a power of ten from 10^nDigits on and below 0.0001.
std::string RealText(double d, int nDigits)
{
    if (std::isnan(d))
        return std::signbit(d) ? "-1.#IND" : "1.#QNAN";
    if (std::isinf(d))
        return d < 0 ? "-1.#INF" : "1.#INF";
    char sText[32];
    const auto [pEnd, error] = std::to_chars(sText, std::end(sText), d == 0 ? 0.0 : d, // no "-0"
                                             std::chars_format::general, nDigits);
    std::replace(sText, pEnd, 'e', 'E');
    return std::string(sText, pEnd);
}

// ---- Dates ----

/// The date, the time, or both: day 0 is no date and midnight no time.
HRESULT DateText(DATE date, std::u16string& sText)
{
    SYSTEMTIME st;
    if (!VariantTimeToSystemTime(date, &st))
        return E_INVALIDARG;
    const double dDay = std::trunc(date);
    WCHAR sPart[128];
    if (dDay != 0.0)
    {
        if (!GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, &st, nullptr, sPart, std::size(sPart),
                             nullptr))
            return E_INVALIDARG;
        sText = sPart;
        if (std::fabs(date - dDay) < 1e-12)
            return S_OK;
        sText += u' ';
    }
    if (!GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, 0, &st, nullptr, sPart, std::size(sPart)))
        return E_INVALIDARG;
    sText += sPart;
    return S_OK;
}

// ---- Variants ----

bool IsKnownType(VARTYPE vt)
{
    const VARTYPE base = vt & VT_TYPEMASK;
    if ((vt & (VT_VECTOR | VT_RESERVED)) != 0)
        return false;
    if ((vt & (VT_ARRAY | VT_BYREF)) != 0 && base <= VT_NULL)
        return false;
    return base <= VT_DECIMAL || (base >= VT_I1 && base <= VT_UINT) || base == VT_RECORD;
}

/// Where the value of type \p vt stands.
const void* ValueOf(const VARIANT& var, VARTYPE vt)
{
    if ((var.vt & VT_BYREF) != 0)
        return var.byref;
    return vt == VT_DECIMAL ? static_cast<const void*>(&var.decVal) : &var.llVal;
}

template <class Value>
Value ReadAs(const void* p)
{
    return *static_cast<const Value*>(p);
}

HRESULT TextOfObject(IDispatch* pObject, std::u16string& sText);

HRESULT TextOfValue(VARTYPE vt, const void* p, std::u16string& sText)
{
    const auto Put = [&](const std::string& s) { return sText = Localized(s), S_OK; };
    switch (vt)
    {
    case VT_EMPTY: return S_OK;
    case VT_I1: return Put(std::to_string(ReadAs<signed char>(p)));
    case VT_UI1: return Put(std::to_string(ReadAs<BYTE>(p)));
    case VT_I2:
    case VT_BOOL: return Put(std::to_string(ReadAs<SHORT>(p)));
    case VT_UI2: return Put(std::to_string(ReadAs<USHORT>(p)));
    case VT_I4:
    case VT_INT: return Put(std::to_string(ReadAs<LONG>(p)));
    case VT_UI4:
    case VT_UINT: return Put(std::to_string(ReadAs<ULONG>(p)));
    case VT_I8: return Put(std::to_string(ReadAs<LONGLONG>(p)));
    case VT_UI8: return Put(std::to_string(ReadAs<ULONGLONG>(p)));
    case VT_R4: return Put(RealText(static_cast<double>(ReadAs<FLOAT>(p)), 7));
    case VT_R8: return Put(RealText(ReadAs<DOUBLE>(p), 15));
    case VT_CY: return Put(CurrencyText(ReadAs<CY>(p)));
    case VT_DECIMAL:
        return ReadAs<DECIMAL>(p).scale > kMaxScale ? E_INVALIDARG : Put(kDecimalText(ReadAs<DECIMAL>(p)));
    case VT_DATE: return DateText(ReadAs<DATE>(p), sText);
    case VT_BSTR:
        if (const BSTR bstr = ReadAs<BSTR>(p))
            sText.assign(bstr, SysStringLen(bstr));
        return S_OK;
    case VT_DISPATCH: return TextOfObject(ReadAs<IDispatch*>(p), sText);
    default: return DISP_E_TYPEMISMATCH;
    }
}

HRESULT TextOf(const VARIANT& var, std::u16string& sText)
{
    const auto vt = static_cast<VARTYPE>(var.vt & ~VT_BYREF);
    if (!IsKnownType(var.vt))
        return DISP_E_BADVARTYPE;
    if ((var.vt & VT_BYREF) != 0 && var.byref == nullptr)
        return DISP_E_TYPEMISMATCH;
    if (var.vt != (VT_VARIANT | VT_BYREF))
        return TextOfValue(vt, ValueOf(var, vt), sText);
    // One step only, so that no ring of variants is followed for ever.
    return var.pvarVal->vt == var.vt ? E_INVALIDARG : TextOf(*var.pvarVal, sText);
}

/// An object has the text of its "Value" property.
HRESULT TextOfObject(IDispatch* pObject, std::u16string& sText)
{
    if (pObject == nullptr)
        return DISP_E_BADVARTYPE;
    const GUID noInterface = {};
    DISPPARAMS noArguments = {};
    VARIANT value;
    VariantInit(&value);
    if (FAILED(pObject->Invoke(kValueMember, noInterface, LOCALE_USER_DEFAULT, kPropertyGet, &noArguments,
                               &value, nullptr, nullptr)))
        return DISP_E_TYPEMISMATCH;
    const HRESULT hr = value.vt == VT_DISPATCH ? DISP_E_TYPEMISMATCH : TextOf(value, sText);
    VariantClear(&value);
    return hr;
}

HRESULT NewBstr(const std::u16string& sText, BSTR& bstr) noexcept
{
    bstr = SysAllocStringLen(sText.data(), static_cast<UINT>(sText.size()));
    return bstr != nullptr ? S_OK : E_OUTOFMEMORY;
}

} // namespace

void VariantInit(VARIANTARG* pvarg) noexcept
{
    *pvarg = VARIANTARG{};
}

HRESULT VariantClear(VARIANTARG* pvarg) noexcept
{
    if (!IsKnownType(pvarg->vt))
        return DISP_E_BADVARTYPE;
    switch (pvarg->vt)
    {
    case VT_BSTR: SysFreeString(pvarg->bstrVal); break;
    case VT_DISPATCH:
    case VT_UNKNOWN:
        if (pvarg->punkVal != nullptr)
            pvarg->punkVal->Release();
        break;
    default: break; // references and plain values; nothing here makes arrays or records
    }
    pvarg->vt = VT_EMPTY;
    return S_OK;
}

HRESULT VariantChangeType(VARIANTARG* pvargDest, VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt) noexcept
try
{
    if (wFlags != 0 || vt != VT_BSTR)
        return E_INVALIDARG;
    std::u16string sText;
    BSTR bstr = nullptr;
    HRESULT hr = TextOf(*pvarSrc, sText);
    if (SUCCEEDED(hr))
        hr = NewBstr(sText, bstr);
    if (SUCCEEDED(hr) && FAILED(hr = VariantClear(pvargDest)))
        SysFreeString(bstr);
    if (FAILED(hr))
        return hr;
    pvargDest->vt = VT_BSTR;
    pvargDest->bstrVal = bstr;
    return S_OK;
}
catch (const std::bad_alloc&)
{
    return E_OUTOFMEMORY;
}

HRESULT VarBstrFromDec(DECIMAL* pdecIn, LCID lcid, ULONG, BSTR* pbstrOut) noexcept
try
{
    if (pdecIn->scale > kMaxScale)
        return E_INVALIDARG;
    return NewBstr(Localized(kDecimalText(*pdecIn), lcid), *pbstrOut);
}
catch (const std::bad_alloc&)
{
    return E_OUTOFMEMORY;
}
