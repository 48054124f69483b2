// The error objects of COM, one per thread.
#pragma once

#include <windows.h>

#include <cstring>

#define STDMETHODCALLTYPE
typedef const IID& REFIID;

inline bool operator==(const GUID& left, const GUID& right) noexcept
{
    return std::memcmp(&left, &right, sizeof(GUID)) == 0;
}

// COM interfaces end with Release, never by delete.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

struct IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

struct IErrorInfo : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetGUID(GUID* pGUID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSource(BSTR* pBstrSource) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pBstrDescription) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* pBstrHelpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* pdwHelpContext) = 0;
};

#pragma GCC diagnostic pop

#pragma GCC visibility push(default)

HRESULT SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo) noexcept;
/// Hands the thread's object over: the next call finds none.
HRESULT GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo) noexcept;

#pragma GCC visibility pop
