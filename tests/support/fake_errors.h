// Error objects of COM and OLE DB on the stack of a test.
#pragma once

#include "support/text.h"

#include <gtest/gtest.h>

#include <msoledbsql.h>

#include <cstring>
#include <vector>

inline constexpr IID kErrorInfo = {
    0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr IID kErrorRecords = {
    0x0C733A67, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
inline constexpr IID kSQLErrorInfo = {
    0x0C733A74, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
inline constexpr IID kSQLServerErrorInfo = {
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
        *ppInfo = static_cast<SSERRORINFO*>(CoTaskMemAlloc(sizeof(SSERRORINFO)));
        if (*psTexts == nullptr || *ppInfo == nullptr)
            return E_OUTOFMEMORY;
        std::memcpy(*psTexts, sMessage, sizeof(sMessage));
        std::memset(static_cast<void*>(*ppInfo), 0, sizeof(SSERRORINFO));
        (*ppInfo)->pwszMessage = *psTexts;
        return S_OK;
    }

private:
    const WCHAR* m_sDescription;
    EFails m_fails;
};

/// Errors, of which every second one has details; the others say so in either way.
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
        return n % 2 != 0   ? m_errors[n]->QueryInterface(riid, reinterpret_cast<void**>(ppObject))
               : n % 4 == 0 ? S_OK
                            : E_NOINTERFACE;
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
