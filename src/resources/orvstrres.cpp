// The members of COrvStr that read string resources. They stand here because the rooms below know none.
#include "orvcomtypes/loadstrres.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>

#include <algorithm>

namespace
{

// Reports name the class's source, not this part of it.
constexpr const char* kSourceName = "orvstr";

} // namespace

COrvStr::COrvStr(unsigned uID, HINSTANCE hInstance) : COrvStr()
{
    if (!Load(uID, hInstance))
        ORV_REPORT_FROM(kSourceName, "COrvStr::COrvStr", "Load(uID, hInstance)", 0);
}

bool COrvStr::Load(unsigned uID, HINSTANCE hInstance)
{
    unsigned nLen = 0;
    const WCHAR* const s = LoadStringResImage(hInstance, uID, &nLen);
    if (s != nullptr)
        Copy(s, nLen);
    else
        Empty();
    return s != nullptr;
}

void COrvStr::Append(unsigned uID, HINSTANCE hInstance)
{
    unsigned nLen = 0;
    if (const WCHAR* const s = LoadStringResImage(hInstance, uID, &nLen))
        Append(s, nLen);
}

int COrvStr::FormatStr(unsigned uID, HINSTANCE hInstance, const WCHAR* p1, const WCHAR* p2, const WCHAR* p3,
                       const WCHAR* p4)
{
    COrvStr sLoaded;
    if (uID != 0)
        sLoaded.Load(uID, hInstance);
    const COrvStr& sFormat = uID != 0 ? sLoaded : *this;
    if (!sFormat.IsEmpty())
        return FormatStr(static_cast<const WCHAR*>(sFormat), p1, p2, p3, p4);
    ORV_REPORT_FROM(kSourceName, "COrvStr::FormatStr", "sFormat.IsEmpty()", 0);
    Copy(ORVTEXT("Missing format string"));
    return static_cast<int>(GetLength());
}

void COrvStr::ReplaceToken()
{
    if (FindSubStr(ORVTEXT("##")) < 0)
        return;
    constexpr unsigned nSize = 4096;
    WCHAR sBuffer[nSize];
    unsigned nLen = 0;
    const WCHAR* const sResult = ReplaceTokenW(m_pStr, &nLen, sBuffer, nSize);
    Copy(sResult, std::min(nLen, nSize - 1)); // a resource itself has no terminator
}
