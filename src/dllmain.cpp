// The library's entry point. It stands above all rooms: it makes and ends what they own.
#include "core/lifecycle.h"
#include "core/threadstore.h"
#include "resources/languagetable.h"

#include <windows.h>

namespace
{

void OnProcessAttach(HINSTANCE hModule)
{
    RememberOwnModule(hModule);
    CLanguageTable::Instance().CreateLoader(hModule);
}

void OnProcessDetach()
{
    CLanguageTable::Instance().DestroyLoader();
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
