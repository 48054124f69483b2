#include <windows.h>

// The contract tests run the port without the library, whose entry point the port calls.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID)
{
    return TRUE;
}
