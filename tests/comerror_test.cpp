#include "orvcomtypes/lqexcept.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <msoledbsql.h>

#include <cstring>
#include <vector>

namespace
{

constexpr IID kUnknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr IID kErrorInfo = {0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
constexpr IID kErrorRecords = {0x0C733A67, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
constexpr IID kSQLErrorInfo = {0x0C733A74, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
constexpr IID kSQLServerErrorInfo = {
    0x5CF4CA12, 0xEF21, 0x11D0, {0x97, 0xE7, 0x00, 0xC0, 0x4F, 0xC2, 0xAD, 0x98}};

/// An object on the stack of a test that counts its references and has one interface.
template <class Interface>
class CFake : public Interface
{
public:
    explicit CFake(const IID& iid) : m_iid(iid) {}
    virtual ~CFake() { EXPECT_EQ(0, m_nReferences) << "references that were not given back"; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppObject) override
    {
        *ppObject = nullptr;
        if (!(riid == m_iid) && !(riid == kUnknown))
            return E_NOINTERFACE;
        *ppObject = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++m_nReferences); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--m_nReferences); }

private:
    IID m_iid;
    int m_nReferences = 0;
};

class CFakeInfo : public CFake<IErrorInfo>
{
public:
    explicit CFakeInfo(const WCHAR* sDescription, HRESULT hr = S_OK)
        : CFake(kErrorInfo), m_sDescription(sDescription), m_hr(hr)
    {
    }
    HRESULT STDMETHODCALLTYPE GetGUID(GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR* psDescription) override
    {
        *psDescription = SysAllocString(m_sDescription);
        return m_hr;
    }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD*) override { return E_NOTIMPL; }

private:
    const WCHAR* m_sDescription;
    HRESULT m_hr;
};

class CFakeSQLInfo : public CFake<ISQLErrorInfo>
{
public:
    CFakeSQLInfo() : CFake(kSQLErrorInfo) {}
    HRESULT STDMETHODCALLTYPE GetSQLInfo(BSTR* psState, LONG* piNative) override
    {
        *psState = SysAllocString(ORVTEXT("23000"));
        *piNative = 547;
        return S_OK;
    }
};

class CFakeServerInfo : public CFake<ISQLServerErrorInfo>
{
public:
    CFakeServerInfo() : CFake(kSQLServerErrorInfo) {}
    HRESULT STDMETHODCALLTYPE GetErrorInfo(SSERRORINFO** ppInfo, WCHAR** psTexts) override
    {
        constexpr WCHAR sMessage[] = ORVTEXT("server text");
        *psTexts = static_cast<WCHAR*>(CoTaskMemAlloc(sizeof(sMessage)));
        std::memcpy(*psTexts, sMessage, sizeof(sMessage));
        *ppInfo = static_cast<SSERRORINFO*>(CoTaskMemAlloc(sizeof(SSERRORINFO)));
        std::memset(static_cast<void*>(*ppInfo), 0, sizeof(SSERRORINFO));
        (*ppInfo)->pwszMessage = *psTexts;
        return S_OK;
    }
};

struct CFakeRecord
{
    CFakeInfo* m_pInfo;
    IUnknown* m_pSQL = nullptr;
    IUnknown* m_pServer = nullptr;
};

class CFakeRecords : public CFake<IErrorRecords>
{
public:
    explicit CFakeRecords(std::vector<CFakeRecord> records)
        : CFake(kErrorRecords), m_records(std::move(records))
    {
    }
    HRESULT STDMETHODCALLTYPE AddErrorRecord(ERRORINFO*, DWORD, DISPPARAMS*, IUnknown*, DWORD) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetBasicErrorInfo(ULONG, ERRORINFO*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCustomErrorObject(ULONG n, REFIID riid, IUnknown** ppObject) override
    {
        IUnknown* pObject = riid == kSQLErrorInfo ? m_records[n].m_pSQL : m_records[n].m_pServer;
        *ppObject = nullptr;
        return pObject != nullptr ? pObject->QueryInterface(riid, reinterpret_cast<void**>(ppObject)) : S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetErrorInfo(ULONG n, LCID, IErrorInfo** ppInfo) override
    {
        return m_records[n].m_pInfo->QueryInterface(kErrorInfo, reinterpret_cast<void**>(ppInfo));
    }
    HRESULT STDMETHODCALLTYPE GetErrorParameters(ULONG, DISPPARAMS*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetRecordCount(ULONG* pnRecords) override
    {
        *pnRecords = static_cast<ULONG>(m_records.size());
        return S_OK;
    }

private:
    std::vector<CFakeRecord> m_records;
};

} // namespace

TEST(ComErrorText, JoinsTheDistinctDescriptionsOfRecords)
{
    CFakeInfo lower(ORVTEXT("x"));
    CFakeInfo upper(ORVTEXT("X"));
    CFakeInfo other(ORVTEXT("y"));
    CFakeInfo none(nullptr);
    CFakeSQLInfo sql;
    CFakeServerInfo server;
    CFakeRecords records({{&lower}, {&upper, &sql, &server}, {&other}, {&none, nullptr, &server}});
    const LQComErrorData data = GetComErrorString(E_FAIL, &records);
    EXPECT_EQ(E_FAIL, data.m_iCode);
    EXPECT_EQ(ORVTEXT("x - y - server text"), TextOf(data.m_sMessage));
    EXPECT_EQ(ORVTEXT("23000"), TextOf(data.m_sSQLState));
    EXPECT_EQ(547, data.m_iNativeCode);
}

TEST(ComErrorText, EndsTheWalkAtAFailingCall)
{
    CFakeInfo first(ORVTEXT("first"));
    CFakeInfo failing(ORVTEXT("lost"), E_FAIL);
    CFakeInfo last(ORVTEXT("last"));
    CFakeRecords records({{&first}, {&failing}, {&last}});
    EXPECT_EQ(ORVTEXT("first"), TextOf(GetComErrorString(1, &records).m_sMessage));
}

TEST(ComErrorText, HasADescriptionForNothing)
{
    const Text sNothing = ORVTEXT("There is no additional COM error info");
    CFakeRecords empty({});
    CFakeInfo silent(nullptr);
    EXPECT_EQ(sNothing, TextOf(GetComErrorString(1, &empty).m_sMessage));
    EXPECT_EQ(sNothing, TextOf(GetComErrorString(1, &silent).m_sMessage));
    EXPECT_EQ(sNothing, TextOf(GetComErrorString(1, static_cast<IUnknown*>(nullptr)).m_sMessage));
}

TEST(ComErrorText, TakesTheThreadsObject)
{
    CFakeInfo info(ORVTEXT("of the thread"));
    ASSERT_EQ(S_OK, SetErrorInfo(0, &info));
    EXPECT_EQ(ORVTEXT("of the thread"), TextOf(GetComErrorString(E_FAIL, true).m_sMessage));
    EXPECT_EQ(ORVTEXT("of the thread"), TextOf(GetComErrorString(E_FAIL, false).m_sMessage));
    const LQComErrorData data = GetComErrorString(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), false);
    EXPECT_EQ(TextOf(GetWinErrorString(ERROR_ACCESS_DENIED)), TextOf(data.m_sMessage));
    EXPECT_EQ(0, data.m_iNativeCode);
}
