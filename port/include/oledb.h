// The values of OLE DB with their types and states, and its error records.
#pragma once

#include <oleauto.h> // IWYU pragma: export

typedef WORD DBTYPE;
typedef DWORD DBSTATUS;

enum DBTYPEENUM
{
    DBTYPE_EMPTY = 0,
    DBTYPE_NULL = 1,
    DBTYPE_I2 = 2,
    DBTYPE_I4 = 3,
    DBTYPE_R4 = 4,
    DBTYPE_R8 = 5,
    DBTYPE_CY = 6,
    DBTYPE_DATE = 7,
    DBTYPE_BSTR = 8,
    DBTYPE_IDISPATCH = 9,
    DBTYPE_ERROR = 10,
    DBTYPE_BOOL = 11,
    DBTYPE_VARIANT = 12,
    DBTYPE_IUNKNOWN = 13,
    DBTYPE_DECIMAL = 14,
    DBTYPE_I1 = 16,
    DBTYPE_UI1 = 17,
    DBTYPE_UI2 = 18,
    DBTYPE_UI4 = 19,
    DBTYPE_I8 = 20,
    DBTYPE_UI8 = 21,
    DBTYPE_GUID = 72,
    DBTYPE_BYTES = 128,
    DBTYPE_STR = 129,
    DBTYPE_WSTR = 130,
    DBTYPE_NUMERIC = 131,
    DBTYPE_UDT = 132,
    DBTYPE_DBDATE = 133,
    DBTYPE_DBTIME = 134,
    DBTYPE_DBTIMESTAMP = 135,
    DBTYPE_VECTOR = 0x1000,
    DBTYPE_ARRAY = 0x2000,
    DBTYPE_BYREF = 0x4000,
    DBTYPE_RESERVED = 0x8000
};

enum DBSTATUSENUM
{
    DBSTATUS_S_OK = 0,
    DBSTATUS_E_CANTCONVERTVALUE = 2,
    DBSTATUS_S_ISNULL = 3,
    DBSTATUS_S_TRUNCATED = 4,
    DBSTATUS_E_DATAOVERFLOW = 6
};

/// A number of 128 bits, the lowest byte first, divided by 10^scale.
typedef struct tagDB_NUMERIC
{
    BYTE precision;
    BYTE scale;
    BYTE sign; // 1 for numbers from 0 on
    BYTE val[16];
} DB_NUMERIC;

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
