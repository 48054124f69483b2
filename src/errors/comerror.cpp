#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include "core/charclass.h"
#include "orvcomtypes/memarray.h"
#include "strings/wholetext.h"

#include <windows.h>
#include <msoledbsql.h>
#include <oleauto.h>
#include <oledb.h>

namespace
{

// Not every import library has these.
constexpr IID kErrorInfo = {0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
constexpr IID kErrorRecords = {0x0C733A67, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
constexpr IID kSQLErrorInfo = {0x0C733A74, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
constexpr IID kSQLServerErrorInfo = {
    0x5CF4CA12, 0xEF21, 0x11D0, {0x97, 0xE7, 0x00, 0xC0, 0x4F, 0xC2, 0xAD, 0x98}};

/// Holds one reference.
template <class Interface>
class CComRef
{
public:
    CComRef() = default;
    CComRef(const CComRef&) = delete;
    CComRef& operator=(const CComRef&) = delete;
    ~CComRef()
    {
        if (m_p != nullptr)
            m_p->Release();
    }

    /// Takes the interface of \p pObject; stays null when that has none.
    void Query(IUnknown* pObject, const IID& iid)
    {
        void* p = nullptr;
        if (pObject != nullptr && SUCCEEDED(pObject->QueryInterface(iid, &p)))
            m_p = static_cast<Interface*>(p);
    }
    Interface** Out() { return &m_p; }
    Interface* Get() const { return m_p; }
    Interface* operator->() const { return m_p; }
    explicit operator bool() const { return m_p != nullptr; }

private:
    Interface* m_p = nullptr;
};

class CBstrOwner
{
public:
    CBstrOwner() = default;
    CBstrOwner(const CBstrOwner&) = delete;
    CBstrOwner& operator=(const CBstrOwner&) = delete;
    ~CBstrOwner() { SysFreeString(m_s); }

    BSTR* Out() { return &m_s; }
    COrvStr Text() const { return OCT::Whole(COrvStr(m_s)); }

private:
    BSTR m_s = nullptr;
};

/// The server's structure and the texts it points to.
class CServerError
{
public:
    CServerError() = default;
    CServerError(const CServerError&) = delete;
    CServerError& operator=(const CServerError&) = delete;
    ~CServerError()
    {
        CoTaskMemFree(m_pInfo);
        CoTaskMemFree(m_sTexts);
    }

    /// False when the call failed.
    bool TakeMessage(ISQLServerErrorInfo& server, COrvStr& sMessage)
    {
        if (FAILED(server.GetErrorInfo(&m_pInfo, &m_sTexts)))
            return false;
        if (m_pInfo != nullptr)
            sMessage = OCT::Whole(COrvStr(m_pInfo->pwszMessage));
        return true;
    }

private:
    SSERRORINFO* m_pInfo = nullptr;
    WCHAR* m_sTexts = nullptr;
};

/// Distinct texts in the order in which they came; case does not distinguish.
class CDescriptions
{
public:
    void Add(const COrvStr& sText)
    {
        if (sText.IsEmpty())
            return;
        for (const COrvStr& sKnown : m_texts)
            if (OCT::IsSameText<WCHAR>(sKnown, sText))
                return;
        m_texts.Add(sText);
    }

    COrvStr Joined() const
    {
        if (m_texts.IsEmpty())
            return COrvStr(ORVTEXT("There is no additional COM error info"));
        COrvStr sJoined = m_texts.First();
        for (unsigned i = 1; i < m_texts.GetCount(); ++i)
        {
            OCT::AppendWhole(sJoined, ORVTEXT(" - "));
            OCT::AppendWhole(sJoined, m_texts.Item(i));
        }
        return sJoined;
    }

private:
    CMarray<COrvStr, 4> m_texts;
};

bool GetDescription(IErrorInfo& info, COrvStr& sDescription)
{
    CBstrOwner sText;
    if (FAILED(info.GetDescription(sText.Out())))
        return false;
    sDescription = sText.Text();
    return true;
}

/// The record's own object with an interface, null when it has none; false when the call failed.
template <class Interface>
bool GetCustomObject(IErrorRecords& records, ULONG nRecord, const IID& iid, CComRef<Interface>& object)
{
    CComRef<IUnknown> custom;
    const HRESULT hr = records.GetCustomErrorObject(nRecord, iid, custom.Out());
    if (SUCCEEDED(hr))
        object.Query(custom.Get(), iid);
    return SUCCEEDED(hr) || hr == E_NOINTERFACE;
}

bool TakeSQLInfo(IErrorRecords& records, ULONG nRecord, LQComErrorData& data)
{
    CComRef<ISQLErrorInfo> sql;
    if (!GetCustomObject(records, nRecord, kSQLErrorInfo, sql))
        return false;
    CBstrOwner sState;
    LONG iNativeCode = 0;
    if (sql && FAILED(sql->GetSQLInfo(sState.Out(), &iNativeCode)))
        return false;
    if (sql)
    {
        data.m_sSQLState = sState.Text();
        data.m_iNativeCode = iNativeCode;
    }
    return true;
}

bool TakeServerMessage(IErrorRecords& records, ULONG nRecord, COrvStr& sDescription)
{
    CComRef<ISQLServerErrorInfo> server;
    if (!GetCustomObject(records, nRecord, kSQLServerErrorInfo, server))
        return false;
    return !server || CServerError().TakeMessage(*server.Get(), sDescription);
}

/// What one record says; false when a call failed, which ends the walk.
bool TakeRecord(IErrorRecords& records, ULONG nRecord, LQComErrorData& data, CDescriptions& descriptions)
{
    CComRef<IErrorInfo> info;
    COrvStr sDescription;
    if (FAILED(records.GetErrorInfo(nRecord, GetUserDefaultLCID(), info.Out())) || !info ||
        !GetDescription(*info.Get(), sDescription))
        return false;
    bool bDone = TakeSQLInfo(records, nRecord, data);
    if (bDone && sDescription.IsEmpty())
        bDone = TakeServerMessage(records, nRecord, sDescription);
    descriptions.Add(sDescription);
    return bDone;
}

/// Puts an error object back for others, also when its text could not be made.
class CErrorRestorer
{
public:
    explicit CErrorRestorer(IErrorInfo* pInfo) : m_pInfo(pInfo) {}
    CErrorRestorer(const CErrorRestorer&) = delete;
    CErrorRestorer& operator=(const CErrorRestorer&) = delete;
    ~CErrorRestorer()
    {
        if (m_pInfo != nullptr)
            SetErrorInfo(0, m_pInfo);
    }

private:
    IErrorInfo* m_pInfo;
};

} // namespace

LQComErrorData ORVCALL GetComErrorString(LONG hr, IUnknown* pErrorObject)
{
    LQComErrorData data;
    data.m_iCode = hr;
    CDescriptions descriptions;
    CComRef<IErrorRecords> records;
    records.Query(pErrorObject, kErrorRecords);
    if (records)
    {
        ULONG nRecords = 0;
        if (FAILED(records->GetRecordCount(&nRecords)))
            nRecords = 0;
        for (ULONG i = 0; i < nRecords && TakeRecord(*records.Get(), i, data, descriptions); ++i)
        {
        }
    }
    else
    {
        CComRef<IErrorInfo> info;
        COrvStr sDescription;
        info.Query(pErrorObject, kErrorInfo);
        if (info && GetDescription(*info.Get(), sDescription))
            descriptions.Add(sDescription);
    }
    data.m_sMessage = descriptions.Joined();
    return data;
}

LQComErrorData ORVCALL GetComErrorString(LONG hr, bool bRestore)
{
    CComRef<IErrorInfo> info;
    if (GetErrorInfo(0, info.Out()) == S_OK && info)
    {
        const CErrorRestorer restorer(bRestore ? info.Get() : nullptr);
        return GetComErrorString(hr, static_cast<IUnknown*>(info.Get()));
    }
    LQComErrorData data;
    data.m_iCode = hr;
    data.m_sMessage = GetWinErrorString(static_cast<DWORD>(hr));
    return data;
}
