// Calls the library's entry point: attach after every static constructor, detach before the first static
// destructor, at dlclose and at exit alike. The build links this file last, which makes its static object the
// last to be constructed and the first to be destroyed.
//
// The reserved argument of detach tells which, as on Windows: null at dlclose, not null at exit. There,
// unlike on Windows, the other threads still run.
#include <windows.h>

#include "text/codepage.h"
#include "threads/threadhooks.h"

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

/// True while the code goes away. At dlclose the functions of this kind run before the destructors of static
/// objects, at exit behind them.
bool g_bUnloading = false;

[[gnu::destructor]] void BeginUnload()
{
    g_bUnloading = true;
}

struct CAttachment
{
    CAttachment()
    {
        // Narrow text is converted also where memory is missing later, so a legacy code page is read at once.
        CCodePage::Find(CP_ACP);
        DllMain(OwnModule(), DLL_PROCESS_ATTACH, nullptr);
    }
    CAttachment(const CAttachment&) = delete;
    CAttachment& operator=(const CAttachment&) = delete;
    ~CAttachment()
    {
        DllMain(OwnModule(), DLL_PROCESS_DETACH, g_bUnloading ? nullptr : this);
        PortParkThreads();
    }
};

const CAttachment g_attachment;

} // namespace
