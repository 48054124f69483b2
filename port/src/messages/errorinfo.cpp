// The error object of each thread.
#include <windows.h>

#include <oaidl.h>

#include <atomic>
#include <utility>

namespace
{

// A thread-local object with a destructor would need memory that nobody can refuse it, and would keep the
// library loaded while the thread lives. So the object is kept twice: here, and where it is released at the
// thread's end.
thread_local IErrorInfo* t_pErrorInfo = nullptr;

void WINAPI ReleaseErrorInfo(void* pInfo)
{
    static_cast<IErrorInfo*>(pInfo)->Release();
}

class CEndSlot
{
public:
    CEndSlot() : m_dwSlot(FlsAlloc(ReleaseErrorInfo)) {}
    CEndSlot(const CEndSlot&) = delete;
    CEndSlot& operator=(const CEndSlot&) = delete;
    ~CEndSlot() { FlsFree(m_dwSlot.exchange(FLS_OUT_OF_INDEXES)); }

    bool Keep(IErrorInfo* pInfo) noexcept { return FlsSetValue(m_dwSlot, pInfo) != FALSE; }

private:
    std::atomic<DWORD> m_dwSlot;
};

CEndSlot g_endSlot;

} // namespace

HRESULT SetErrorInfo(ULONG, IErrorInfo* perrinfo) noexcept
{
    if (!g_endSlot.Keep(perrinfo))
        return E_OUTOFMEMORY;
    if (perrinfo != nullptr)
        perrinfo->AddRef();
    if (IErrorInfo* const pFormer = std::exchange(t_pErrorInfo, perrinfo))
        pFormer->Release();
    return S_OK;
}

HRESULT GetErrorInfo(ULONG, IErrorInfo** pperrinfo) noexcept
{
    *pperrinfo = std::exchange(t_pErrorInfo, nullptr);
    if (*pperrinfo != nullptr)
        g_endSlot.Keep(nullptr);
    return *pperrinfo != nullptr ? S_OK : S_FALSE;
}
