#include "orvcomtypes/lqexcept.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <msoledbsql.h>

#include <cstring>
#include <vector>

namespace
{

constexpr IID kErrorInfo = {0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
constexpr IID kErrorRecords = {0x0C733A67, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
constexpr IID kSQLErrorInfo = {0x0C733A74, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
constexpr IID kSQLServerErrorInfo = {
    0x5CF4CA12, 0xEF21, 0x11D0, {0x97, 0xE7, 0x00, 0xC0, 0x4F, 0xC2, 0xAD, 0x98}};

/// An object on the stack of a test that counts its references and has some interfaces.
template <class... Interfaces>
class CFake : public Interfaces...
{
public:
    /// The ids of the interfaces, in the same order.
    explicit CFake(const std::vector<IID>& ids) : m_ids(ids) {}
    virtual ~CFake() { EXPECT_EQ(0, m_nReferences) << "references that were not given back"; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppObject) override
    {
        void* const interfaces[] = {static_cast<Interfaces*>(this)...};
        *ppObject = nullptr;
        for (std::size_t i = 0; i < m_ids.size(); ++i)
            if (m_ids[i] == riid)
                *ppObject = interfaces[i];
        return *ppObject != nullptr ? AddRef(), S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++m_nReferences); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--m_nReferences); }

private:
    std::vector<IID> m_ids;
    int m_nReferences = 0;
};

/// An error with its details.
class CFakeError : public CFake<IErrorInfo, ISQLErrorInfo, ISQLServerErrorInfo>
{
public:
    /// The call that fails, if one does; the last has an object that throws.
    enum EFails
    {
        Nothing,
        Description,
        SQLInfo,
        ServerInfo,
        Everything
    };

    explicit CFakeError(const WCHAR* sDescription, EFails fails = Nothing)
        : CFake({kErrorInfo, kSQLErrorInfo, kSQLServerErrorInfo}),
          m_sDescription(sDescription),
          m_fails(fails)
    {
    }
    HRESULT STDMETHODCALLTYPE GetGUID(GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR* psDescription) override
    {
        if (m_fails == Everything)
            throw m_fails;
        *psDescription = SysAllocString(m_sDescription);
        return m_fails == Description ? E_FAIL : S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSQLInfo(BSTR* psState, LONG* piNative) override
    {
        *psState = SysAllocString(ORVTEXT("23000"));
        *piNative = 547;
        return m_fails == SQLInfo ? E_FAIL : S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetErrorInfo(SSERRORINFO** ppInfo, WCHAR** psTexts) override
    {
        if (m_fails == ServerInfo)
            return E_FAIL;
        constexpr WCHAR sMessage[] = ORVTEXT("server text");
        *psTexts = static_cast<WCHAR*>(CoTaskMemAlloc(sizeof(sMessage)));
        std::memcpy(*psTexts, sMessage, sizeof(sMessage));
        *ppInfo = static_cast<SSERRORINFO*>(CoTaskMemAlloc(sizeof(SSERRORINFO)));
        std::memset(static_cast<void*>(*ppInfo), 0, sizeof(SSERRORINFO));
        (*ppInfo)->pwszMessage = *psTexts;
        return S_OK;
    }

private:
    const WCHAR* m_sDescription;
    EFails m_fails;
};

/// Errors, of which every second one has details.
class CFakeRecords : public CFake<IErrorRecords>
{
public:
    explicit CFakeRecords(std::vector<CFakeError*> errors) : CFake({kErrorRecords}), m_errors(errors) {}
    HRESULT STDMETHODCALLTYPE AddErrorRecord(ERRORINFO*, DWORD, DISPPARAMS*, IUnknown*, DWORD) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetBasicErrorInfo(ULONG, ERRORINFO*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCustomErrorObject(ULONG n, REFIID riid, IUnknown** ppObject) override
    {
        *ppObject = nullptr;
        return n % 2 == 0 ? S_OK : m_errors[n]->QueryInterface(riid, reinterpret_cast<void**>(ppObject));
    }
    HRESULT STDMETHODCALLTYPE GetErrorInfo(ULONG n, LCID, IErrorInfo** ppInfo) override
    {
        return m_errors[n]->QueryInterface(kErrorInfo, reinterpret_cast<void**>(ppInfo));
    }
    HRESULT STDMETHODCALLTYPE GetErrorParameters(ULONG, DISPPARAMS*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetRecordCount(ULONG* pnRecords) override
    {
        *pnRecords = static_cast<ULONG>(m_errors.size());
        return S_OK;
    }

private:
    std::vector<CFakeError*> m_errors;
};

Text Message(IUnknown* pError)
{
    return TextOf(GetComErrorString(E_FAIL, pError).m_sMessage);
}

} // namespace

TEST(ComErrorText, JoinsTheDistinctDescriptionsOfRecords)
{
    CFakeError lower(ORVTEXT("x"));
    CFakeError upper(ORVTEXT("X"));
    CFakeError other(ORVTEXT("y"));
    CFakeError none(nullptr);
    CFakeRecords records({&lower, &upper, &other, &none});
    const LQComErrorData data = GetComErrorString(E_FAIL, &records);
    EXPECT_EQ(E_FAIL, data.m_iCode);
    EXPECT_EQ(ORVTEXT("x - y - server text"), TextOf(data.m_sMessage));
    EXPECT_EQ(ORVTEXT("23000"), TextOf(data.m_sSQLState));
    EXPECT_EQ(547, data.m_iNativeCode);
}

TEST(ComErrorText, EndsTheWalkAtAFailingCall)
{
    const struct
    {
        CFakeError::EFails m_fails;
        const WCHAR* m_sDescription;
        const WCHAR* m_sMessage;
    } cases[] = {{CFakeError::Nothing, ORVTEXT("own"), ORVTEXT("first - own - last")},
                 {CFakeError::Nothing, nullptr, ORVTEXT("first - server text - last")},
                 {CFakeError::Description, ORVTEXT("own"), ORVTEXT("first")},
                 {CFakeError::SQLInfo, ORVTEXT("own"), ORVTEXT("first - own")},
                 {CFakeError::ServerInfo, ORVTEXT("own"), ORVTEXT("first - own - last")},
                 {CFakeError::ServerInfo, nullptr, ORVTEXT("first")}};
    for (const auto& c : cases)
    {
        CFakeError first(ORVTEXT("first")), failing(c.m_sDescription, c.m_fails), last(ORVTEXT("last"));
        CFakeRecords records({&first, &failing, &last});
        EXPECT_EQ(c.m_sMessage, Message(&records)) << c.m_fails;
    }
}

TEST(ComErrorText, HasADescriptionForNothing)
{
    const Text sNothing = ORVTEXT("There is no additional COM error info");
    CFakeRecords empty({});
    CFakeError silent(nullptr);
    EXPECT_EQ(sNothing, Message(&empty));
    EXPECT_EQ(sNothing, Message(static_cast<IErrorInfo*>(&silent)));
    EXPECT_EQ(sNothing, Message(nullptr));
}

TEST(ComErrorText, TakesTheThreadsObject)
{
    CFakeError info(ORVTEXT("of the thread"));
    ASSERT_EQ(S_OK, SetErrorInfo(0, &info));
    EXPECT_EQ(ORVTEXT("of the thread"), TextOf(GetComErrorString(E_FAIL, true).m_sMessage));
    EXPECT_EQ(ORVTEXT("of the thread"), TextOf(GetComErrorString(E_FAIL, false).m_sMessage));
    const LQComErrorData data = GetComErrorString(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), false);
    EXPECT_EQ(TextOf(GetWinErrorString(ERROR_ACCESS_DENIED)), TextOf(data.m_sMessage));
    EXPECT_EQ(0, data.m_iNativeCode);
}

TEST(ComErrorText, PutsTheObjectBackWhenItThrows)
{
    CFakeError info(nullptr, CFakeError::Everything);
    ASSERT_EQ(S_OK, SetErrorInfo(0, &info));
    EXPECT_THROW(GetComErrorString(E_FAIL, true), CFakeError::EFails);
    EXPECT_THROW(GetComErrorString(E_FAIL, false), CFakeError::EFails) << "it was there again";
    EXPECT_TRUE(TextOf(GetComErrorString(E_FAIL, false).m_sMessage).ends_with(ORVTEXT('.')));
}
