// OLE Automation: variants as text. (Strings are declared with the rest in windows.h.)
#pragma once

#include <oaidl.h> // IWYU pragma: export

#define LOCALE_INVARIANT 0x007Fu

#define DISP_E_TYPEMISMATCH (static_cast<HRESULT>(0x80020005u))
#define DISP_E_BADVARTYPE (static_cast<HRESULT>(0x80020008u))

// Sources are not const, as in the headers of some Windows tool chains: nothing changes them.
void VariantInit(VARIANTARG* pvarg) noexcept ORVPORT_SHARED(VariantInit);
HRESULT VariantClear(VARIANTARG* pvarg) noexcept ORVPORT_SHARED(VariantClear);
/// To `VT_BSTR` without flags, in the user's locale: nothing else is there.
HRESULT VariantChangeType(VARIANTARG* pvargDest, VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt) noexcept;

HRESULT VarBstrFromDec(DECIMAL* pdecIn, LCID lcid, ULONG dwFlags, BSTR* pbstrOut) noexcept;
