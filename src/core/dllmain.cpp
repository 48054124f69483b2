#include "core/lifecycle.h"
#include "core/threadstore.h"
#include "resources/lqresloader.h"

#include <windows.h>

#include <new>

namespace
{

CLQResLoader* g_pResLoader = nullptr;

void OnProcessAttach(HINSTANCE hModule)
{
    RememberOwnModule(hModule);
    g_pResLoader = new (std::nothrow) CLQResLoader;
    if (g_pResLoader != nullptr && hModule != nullptr)
        g_pResLoader->Init(hModule);
}

void OnProcessDetach()
{
    delete g_pResLoader;
    g_pResLoader = nullptr;
    CallHook(g_TeardownHooks.m_fnReleaseProcessLogger);
    OCT::CThreadStore::Disable();
    ClearPlexedAllocUninit();
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE hModule, DWORD dwReason, LPVOID)
{
    if (dwReason == DLL_PROCESS_ATTACH)
        OnProcessAttach(hModule);
    else if (dwReason == DLL_PROCESS_DETACH)
        OnProcessDetach();
    return TRUE;
}
