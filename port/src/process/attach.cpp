// Calls the library's entry point: attach after every static constructor, detach before the first static
// destructor, at dlclose and at exit alike. The build links this file last, which makes its static object the
// last to be constructed and the first to be destroyed.
//
// The reserved argument of detach tells which, as on Windows: null at dlclose, not null at exit. There,
// unlike on Windows, the other threads still run.
#include <windows.h>

#include "process/unload.h"
#include "text/codepage.h"
#include "threads/threadhooks.h"

#include <dlfcn.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID lpReserved);

namespace
{

HMODULE OwnModule()
{
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&DllMain), &hModule);
    return hModule;
}

/// Whether the program is linked to the library or it was preloaded: then it stays until the exit. What is
/// loaded by dlopen is not yet among the program's libraries while its static objects are made.
bool CameWithProgram()
{
    void* const hProgram = dlopen(nullptr, RTLD_LAZY);
    const bool bFound = dlsym(hProgram, "OrvPortWakeWaiter") == reinterpret_cast<void*>(&PortWakeWaiter);
    dlclose(hProgram);
    return bFound;
}

/// Of a library that dlopen has loaded: at dlclose the functions of this kind run before the destructors of
/// static objects, at exit behind them.
bool g_bFinishing = false;

[[gnu::destructor]] void BeginFinish()
{
    g_bFinishing = true;
}

struct CAttachment
{
    CAttachment() : m_bStays(CameWithProgram())
    {
        // Narrow text is converted also where memory is missing later, so a legacy code page is read at once.
        CCodePage::Find(CP_ACP);
        DllMain(OwnModule(), DLL_PROCESS_ATTACH, nullptr);
    }
    CAttachment(const CAttachment&) = delete;
    CAttachment& operator=(const CAttachment&) = delete;
    ~CAttachment()
    {
        const bool bUnloading = g_bFinishing && !m_bStays;
        DllMain(OwnModule(), DLL_PROCESS_DETACH, bUnloading ? nullptr : this);
        PortParkThreads();
        if (!bUnloading)
            return;
        PortFreeZoneAtUnload();
        PortFreeLocaleTextsAtUnload();
        PortFreeRegistryAtUnload();
        PortFreeConverterAtUnload();
        PortFreeCollatorAtUnload();
    }

private:
    bool m_bStays;
};

const CAttachment g_attachment;

} // namespace
