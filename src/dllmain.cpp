// The library's entry point. It stands above all rooms: it makes and ends what they own.
#include "core/lifecycle.h"
#include "core/threadstore.h"
#include "resources/languagetable.h"
#include "time/localetext.h"
#include "time/namedzone.h"

#include <windows.h>

namespace
{

void OnProcessAttach(HINSTANCE hModule)
{
    RememberOwnModule(hModule);
    CLanguageTable::Instance().CreateLoader(hModule);
}

/// While the process ends other threads, and whoever is destroyed later, may still come: nothing is freed
/// that they could use.
void OnProcessDetach(bool bUnloading)
{
    CLanguageTable::Instance().DestroyLoader();
    CallHook(g_TeardownHooks.m_fnRemoveCrashHandler);
    CallHook(g_TeardownHooks.m_fnReleaseProcessLogger);
    if (bUnloading)
        CallHook(g_TeardownHooks.m_fnFreeLogs);
    OCT::CThreadStore::Disable();
    ClearPlexedAllocUninit(bUnloading);
    if (bUnloading)
    {
        CLanguageTable::Instance().CloseAll();
        OCT::FreeZonesAtUnload();
        OCT::FreeLocaleFormsAtUnload();
    }
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE hModule, DWORD dwReason, LPVOID lpReserved)
{
    if (dwReason == DLL_PROCESS_ATTACH)
        OnProcessAttach(hModule);
    else if (dwReason == DLL_PROCESS_DETACH)
        OnProcessDetach(lpReserved == nullptr);
    return TRUE;
}
