// The error object of each thread.
#include <oaidl.h>

#include <utility>

namespace
{

struct CThreadErrorInfo
{
    ~CThreadErrorInfo() { Set(nullptr); }

    void Set(IErrorInfo* pInfo)
    {
        if (pInfo != nullptr)
            pInfo->AddRef();
        if (IErrorInfo* pFormer = std::exchange(m_pInfo, pInfo))
            pFormer->Release();
    }

    IErrorInfo* m_pInfo = nullptr;
};

thread_local CThreadErrorInfo t_errorInfo;

} // namespace

HRESULT SetErrorInfo(ULONG, IErrorInfo* perrinfo) noexcept
{
    t_errorInfo.Set(perrinfo);
    return S_OK;
}

HRESULT GetErrorInfo(ULONG, IErrorInfo** pperrinfo) noexcept
{
    *pperrinfo = std::exchange(t_errorInfo.m_pInfo, nullptr);
    return *pperrinfo != nullptr ? S_OK : S_FALSE;
}
