// Values of OLE DB and variants as texts: whatever the room, a text is whole, or a string that was cut, or
// nothing; it is terminated and nothing is written behind it. Where the system's conversion does the same it
// gives the same text.
#include "fuzzing.h"
#include "orvcomtypes/oledbconvert.h"

#include <cmath>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace
{

constexpr DBTYPE kPlainTypes[] = {DBTYPE_EMPTY,   DBTYPE_I1,
                                  DBTYPE_UI1,     DBTYPE_I2,
                                  DBTYPE_UI2,     DBTYPE_I4,
                                  DBTYPE_UI4,     DBTYPE_I8,
                                  DBTYPE_UI8,     DBTYPE_R4,
                                  DBTYPE_R8,      DBTYPE_CY,
                                  DBTYPE_DECIMAL, DBTYPE_NUMERIC,
                                  DBTYPE_BOOL,    DBTYPE_GUID,
                                  DBTYPE_DATE,    DBTYPE_DBDATE,
                                  DBTYPE_DBTIME,  DBTYPE_DBTIMESTAMP,
                                  DBTYPE_BYTES,   DBTYPE_ARRAY | DBTYPE_I4};
constexpr VARTYPE kVariantTypes[] = {VT_EMPTY, VT_NULL,    VT_I1,   VT_UI1,  VT_I2,   VT_UI2,  VT_I4,
                                     VT_UI4,   VT_INT,     VT_UINT, VT_I8,   VT_UI8,  VT_R4,   VT_R8,
                                     VT_CY,    VT_DECIMAL, VT_BOOL, VT_DATE, VT_BSTR, VT_ERROR};

struct CResult
{
    DBSTATUS nStatus;
    Text sText;
};

CResult ConvertInto(unsigned cch, DBTYPE wType, const void* pData, unsigned cbData)
{
    std::vector<WCHAR> buffer(cch); // exact, so that a write behind it is seen
    unsigned nLen = 0;
    const DBSTATUS nStatus = COLEDBConvert::ConvertToStr(wType, pData, buffer.data(), cch, nLen, cbData);
    Require(cch == 0 ? nLen == 0 : nLen < cch && buffer[nLen] == 0);
    return {nStatus, Text(buffer.data(), nLen)};
}

Text CheckRooms(unsigned cch, DBTYPE wType, const void* pData, unsigned cbData, bool bString)
{
    const CResult whole = ConvertInto(5000, wType, pData, cbData);
    const CResult part = ConvertInto(cch, wType, pData, cbData);
    Require(whole.nStatus == DBSTATUS_S_OK || whole.sText.empty());
    if (whole.nStatus != DBSTATUS_S_OK || part.nStatus == DBSTATUS_S_OK)
        Require(part.sText == whole.sText);
    else if (bString && cch > 0)
        Require(part.nStatus == DBSTATUS_S_TRUNCATED && whole.sText.starts_with(part.sText) &&
                part.sText.size() + 2 >= cch && part.sText.size() < whole.sText.size());
    else
        Require(part.nStatus == DBSTATUS_E_DATAOVERFLOW && part.sText.empty() && whole.sText.size() >= cch);
    return whole.sText;
}

/// Numbers are written alike; the rest is the locale's there.
bool IsNumber(const VARIANT& var)
{
    switch (var.vt)
    {
    case VT_R4: return std::isfinite(var.fltVal);
    case VT_R8: return std::isfinite(var.dblVal);
    case VT_DECIMAL: return var.decVal.scale <= 28;
    case VT_BOOL:
    case VT_ERROR:
    case VT_DATE: return false;
    default: return var.vt >= VT_I2 && var.vt <= VT_UINT && var.vt != VT_BSTR;
    }
}

void CheckVariant(unsigned cch, VARTYPE vt, bool bReference, const std::vector<unsigned char>& data)
{
    VARIANT var = {};
    std::memcpy(reinterpret_cast<char*>(&var) + (vt == VT_DECIMAL ? 0 : 8), data.data(),
                vt == VT_DECIMAL ? 16 : 8);
    if (vt == VT_BSTR)
        var.bstrVal = SysAllocStringLen(reinterpret_cast<const WCHAR*>(data.data()),
                                        static_cast<UINT>(data.size() / 2));
    var.vt = vt;
    VARIANT outer = {};
    outer.vt = VT_VARIANT | VT_BYREF;
    outer.pvarVal = &var;
    const Text sText = CheckRooms(cch, DBTYPE_VARIANT, bReference ? &outer : &var, 0, vt == VT_BSTR);
    VARIANT text = {};
    if (SUCCEEDED(VariantChangeType(&text, bReference ? &outer : &var, 0, VT_BSTR)))
    {
        if (IsNumber(var))
            Require(Text(text.bstrVal, SysStringLen(text.bstrVal)) == sText);
        VariantClear(&text);
    }
    VariantClear(&var);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    if (nSize < 3)
        return 0;
    const unsigned cch = pData[1];
    std::vector<unsigned char> data(pData + 3, pData + nSize);
    CheckRooms(cch, DBTYPE_STR, data.data(), static_cast<unsigned>(data.size()), true);
    CheckRooms(cch, DBTYPE_WSTR, data.data(), static_cast<unsigned>(data.size()), true);
    data.resize(std::max<std::size_t>(data.size(), sizeof(VARIANT)));
    CheckRooms(cch, kPlainTypes[pData[0] % std::size(kPlainTypes)], data.data(), 0, false);
    CheckVariant(cch, kVariantTypes[pData[0] % std::size(kVariantTypes)], pData[2] % 2 != 0, data);
    return 0;
}
