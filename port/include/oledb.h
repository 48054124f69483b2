// The date and time structures and the error records of OLE DB.
#pragma once

#include <oleauto.h>

typedef struct tagDBDATE
{
    SHORT year;
    USHORT month;
    USHORT day;
} DBDATE;

typedef struct tagDBTIME
{
    USHORT hour;
    USHORT minute;
    USHORT second;
} DBTIME;

typedef struct tagDBTIMESTAMP
{
    SHORT year;
    USHORT month;
    USHORT day;
    USHORT hour;
    USHORT minute;
    USHORT second;
    ULONG fraction;
} DBTIMESTAMP;

struct ERRORINFO;
struct DISPPARAMS;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

struct IErrorRecords : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE AddErrorRecord(ERRORINFO* pErrorInfo, DWORD dwLookupID,
                                                     DISPPARAMS* pdispparams, IUnknown* punkCustomError,
                                                     DWORD dwDynamicErrorID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBasicErrorInfo(ULONG ulRecordNum, ERRORINFO* pErrorInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCustomErrorObject(ULONG ulRecordNum, REFIID riid,
                                                           IUnknown** ppObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetErrorInfo(ULONG ulRecordNum, LCID lcid,
                                                   IErrorInfo** ppErrorInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetErrorParameters(ULONG ulRecordNum, DISPPARAMS* pdispparams) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRecordCount(ULONG* pcRecords) = 0;
};

struct ISQLErrorInfo : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetSQLInfo(BSTR* pbstrSQLState, LONG* plNativeError) = 0;
};

#pragma GCC diagnostic pop
