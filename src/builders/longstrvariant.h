/// How a long builder appends what Automation passes about.
#pragma once

#include "builders/valueat.h"

#include <windows.h>
#include <oleauto.h>

namespace OCT
{

/// A text that the system makes.
class CSystemText
{
public:
    CSystemText() noexcept { VariantInit(&m_text); }
    CSystemText(const CSystemText&) = delete;
    CSystemText& operator=(const CSystemText&) = delete;
    ~CSystemText() { VariantClear(&m_text); }

    /// The text stays empty when the system cannot convert the value.
    HRESULT Set(const DECIMAL& dec)
    {
        DECIMAL decCopy = dec; // the parameter is not constant everywhere
        const HRESULT hr = VarBstrFromDec(&decCopy, LOCALE_INVARIANT, 0, &m_text.bstrVal);
        if (SUCCEEDED(hr))
            m_text.vt = VT_BSTR;
        return hr;
    }
    HRESULT Set(const VARIANT& var)
    {
        return VariantChangeType(&m_text, const_cast<VARIANT*>(&var), 0, VT_BSTR);
    }

    operator const WCHAR*() const noexcept { return m_text.vt == VT_BSTR ? m_text.bstrVal : nullptr; }

private:
    VARIANT m_text;
};

/// Appends what the system makes of a value, nothing when it cannot; returns why.
template <class Value, class Builder>
HRESULT AppendSystemText(Builder& builder, const Value& value)
{
    CSystemText text;
    const HRESULT hr = text.Set(value);
    builder.Append(static_cast<const WCHAR*>(text));
    return hr;
}

template <class Builder>
void AppendVariant(Builder& builder, const VARIANT& var)
{
    constexpr VARTYPE vtVariantReference = VT_VARIANT | VT_BYREF;
    constexpr int nDigits = 15;
    const bool bReference = (var.vt & VT_BYREF) != 0;
    const void* const pValue = bReference ? var.byref : &var.llVal; // all values but DECIMAL begin there
    if (pValue == nullptr)
        return;
    switch (var.vt & ~VT_BYREF)
    {
    case VT_EMPTY:
    case VT_NULL: return;
    case VT_I2:
    case VT_BOOL: return builder.Append(int{ValueAt<SHORT>(pValue)});
    case VT_I4:
    case VT_INT: return builder.Append(ValueAt<int>(pValue));
    case VT_I1: return builder.Append(int{ValueAt<signed char>(pValue)});
    case VT_UI1: return builder.Append(int{ValueAt<BYTE>(pValue)});
    case VT_UI2: return builder.Append(int{ValueAt<USHORT>(pValue)});
    case VT_UI4:
    case VT_UINT: return builder.Append(ValueAt<unsigned>(pValue));
    case VT_R4: return builder.Append(double{ValueAt<float>(pValue)}, nDigits);
    case VT_R8:
    case VT_DATE: return builder.Append(ValueAt<double>(pValue), nDigits);
    case VT_BSTR: return builder.Append(static_cast<const WCHAR*>(ValueAt<BSTR>(pValue)));
    case VT_DECIMAL: return builder.Append(bReference ? *var.pdecVal : var.decVal);
    case VT_VARIANT:
        // One step: a variant that refers to another by way of a third is an error, or a circle.
        if (bReference && var.pvarVal->vt != vtVariantReference)
            return AppendVariant(builder, *var.pvarVal);
        break;
    default: break;
    }
    AppendSystemText(builder, var);
}

} // namespace OCT
