// What SQL Server's provider says about an error.
#pragma once

#include <oledb.h> // IWYU pragma: export

typedef struct tagSSErrorInfo
{
    LPWSTR pwszMessage;
    LPWSTR pwszServer;
    LPWSTR pwszProcedure;
    LONG lNative;
    BYTE bState;
    BYTE bClass;
    WORD wLineNumber;
} SSERRORINFO;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

struct ISQLServerErrorInfo : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetErrorInfo(SSERRORINFO** ppErrorInfo, WCHAR** ppStringsBuffer) = 0;
};

#pragma GCC diagnostic pop
