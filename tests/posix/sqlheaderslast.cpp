// The headers of unixODBC after ours.
#include "orvcomtypes/orvcomtypes.h"

#include <type_traits>

#include <sql.h>
#include <sqlext.h>

static_assert(std::is_same_v<WCHAR, char16_t> && sizeof(ULONG) == 4 && std::is_same_v<BOOL, int>);
static_assert(sizeof(SQLWCHAR) == sizeof(WCHAR) && sizeof(SQLLEN) == 8);

COrvStr TakeTypesOfSqlHeadersLast(ULONG nValue, HINSTANCE hInstance, HWND hWindow, BOOL bValue, LPCWSTR sText)
{
    return COrvStr(nValue == 1 && hInstance == nullptr && hWindow == nullptr && bValue ? sText : nullptr);
}
