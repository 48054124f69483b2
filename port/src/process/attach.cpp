// Calls the library's entry point: attach after every static constructor, detach before the first static
// destructor, at dlclose and at exit alike. The build links this file last, which makes its static object the
// last to be constructed and the first to be destroyed.
//
// The reserved argument of detach is null in both cases. On Windows a non-null one says that all other
// threads were ended by force; here they still run while the process exits, so the library has as much to
// tidy up as at an unload.
#include <windows.h>

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

struct CAttachment
{
    CAttachment() { DllMain(OwnModule(), DLL_PROCESS_ATTACH, nullptr); }
    CAttachment(const CAttachment&) = delete;
    CAttachment& operator=(const CAttachment&) = delete;
    ~CAttachment()
    {
        DllMain(OwnModule(), DLL_PROCESS_DETACH, nullptr);
        PortParkThreads();
    }
};

const CAttachment g_attachment;

} // namespace
