// What the program, the library and the C++ library import is pointed at functions of ours.
#include "support/faults.h"

#include <windows.h>
#include <oleauto.h>
#include <process.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <utility>

namespace
{

/// The system's functions.
struct CReal
{
    decltype(&std::malloc) m_pfnMalloc;
    decltype(&std::calloc) m_pfnCalloc;
    decltype(&std::realloc) m_pfnRealloc;
    decltype(&std::free) m_pfnFree;
    decltype(&CoTaskMemAlloc) m_pfnTaskAlloc;
    decltype(&CoTaskMemFree) m_pfnTaskFree;
    decltype(&SysAllocString) m_pfnAllocString;
    decltype(&SysAllocStringLen) m_pfnAllocStringLen;
    decltype(&SysFreeString) m_pfnFreeString;
    decltype(&FlushFileBuffers) m_pfnFlush;
    decltype(&WriteFile) m_pfnWrite;
    decltype(&_beginthreadex) m_pfnBeginThread;
    decltype(&Sleep) m_pfnSleep;
    decltype(&CreateFileW) m_pfnCreateFile;
    decltype(&GetTickCount) m_pfnTickCount;
    decltype(&QueryPerformanceCounter) m_pfnCounter;
};
constinit CReal g_real = {};

template <class Pointer>
Pointer Counted(Pointer p)
{
    if (p != nullptr)
        CountBlock(1);
    return p;
}

template <class Free, class Pointer>
void FreeCounted(Free pfnFree, Pointer p)
{
    if (p != nullptr)
        CountBlock(-1);
    pfnFree(p);
}

void* __cdecl Malloc(std::size_t nBytes)
{
    return FailsNow(FaultyCall::Allocation) ? nullptr : Counted(g_real.m_pfnMalloc(nBytes));
}

void* __cdecl Calloc(std::size_t nCount, std::size_t nBytes)
{
    return FailsNow(FaultyCall::Allocation) ? nullptr : Counted(g_real.m_pfnCalloc(nCount, nBytes));
}

void* __cdecl Realloc(void* p, std::size_t nBytes)
{
    if (FailsNow(FaultyCall::Allocation))
        return nullptr;
    void* const pNew = g_real.m_pfnRealloc(p, nBytes);
    if (p == nullptr)
        return Counted(pNew);
    if (pNew == nullptr && nBytes == 0)
        CountBlock(-1);
    return pNew;
}

void __cdecl Free(void* p)
{
    FreeCounted(g_real.m_pfnFree, p);
}

LPVOID WINAPI TaskAlloc(SIZE_T nBytes)
{
    return FailsNow(FaultyCall::Allocation) ? nullptr : Counted(g_real.m_pfnTaskAlloc(nBytes));
}

void WINAPI TaskFree(LPVOID p)
{
    FreeCounted(g_real.m_pfnTaskFree, p);
}

BSTR WINAPI AllocString(const OLECHAR* s)
{
    return FailsNow(FaultyCall::Allocation) ? nullptr : Counted(g_real.m_pfnAllocString(s));
}

BSTR WINAPI AllocStringLen(const OLECHAR* s, UINT nLen)
{
    return FailsNow(FaultyCall::Allocation) ? nullptr : Counted(g_real.m_pfnAllocStringLen(s, nLen));
}

void WINAPI FreeString(BSTR s)
{
    FreeCounted(g_real.m_pfnFreeString, s);
}

BOOL WINAPI Flush(HANDLE hFile)
{
    HangNow();
    if (!FailsNow(FaultyCall::Sync))
        return g_real.m_pfnFlush(hFile);
    SetLastError(ERROR_GEN_FAILURE);
    return FALSE;
}

BOOL WINAPI Write(HANDLE hFile, const void* pData, DWORD nBytes, DWORD* pnWritten, OVERLAPPED* pWhere)
{
    const BOOL bWritten = g_real.m_pfnWrite(hFile, pData, nBytes, pnWritten, pWhere);
    if (pWhere != nullptr)
        CutOffNow();
    return bWritten;
}

std::uintptr_t __cdecl BeginThread(void* pSecurity, unsigned nStack, unsigned(__stdcall* pfn)(void*),
                                   void* pArgument, unsigned nFlags, unsigned* pnId)
{
    return FailsNow(FaultyCall::ThreadStart)
               ? 0
               : g_real.m_pfnBeginThread(pSecurity, nStack, pfn, pArgument, nFlags, pnId);
}

void WINAPI Pause(DWORD dwMilliseconds)
{
    if (!FailsNow(FaultyCall::Sleep))
        g_real.m_pfnSleep(dwMilliseconds);
}

HANDLE WINAPI OpenFile(const WCHAR* sFile, DWORD dwAccess, DWORD dwShare, SECURITY_ATTRIBUTES* pSecurity,
                       DWORD dwHow, DWORD dwFlags, HANDLE hTemplate)
{
    if (!FailsNow(FaultyCall::Open))
        return g_real.m_pfnCreateFile(sFile, dwAccess, dwShare, pSecurity, dwHow, dwFlags, hTemplate);
    SetLastError(ERROR_TOO_MANY_OPEN_FILES);
    return INVALID_HANDLE_VALUE;
}

DWORD WINAPI TickCount()
{
    const long long nFrozen = FrozenClock();
    return nFrozen != 0 ? static_cast<DWORD>(nFrozen / 1'000'000) : g_real.m_pfnTickCount();
}

BOOL WINAPI Counter(LARGE_INTEGER* pCount)
{
    const long long nFrozen = FrozenClock();
    LARGE_INTEGER frequency;
    if (nFrozen == 0 || !QueryPerformanceFrequency(&frequency))
        return g_real.m_pfnCounter(pCount);
    pCount->QuadPart = nFrozen / 1'000'000'000 * frequency.QuadPart +
                       nFrozen % 1'000'000'000 * frequency.QuadPart / 1'000'000'000;
    return TRUE;
}

/// Where an import has the name of one of ours it is pointed there, and the system's function is kept.
void Point(void** ppImport, const char* sName)
{
    const auto standIn = [&]<class Function>(const char* sOurs, Function* pfnOurs, Function*& pfnReal) {
        if (std::strcmp(sOurs, sName) != 0)
            return;
        DWORD dwBefore = 0;
        VirtualProtect(ppImport, sizeof *ppImport, PAGE_READWRITE, &dwBefore);
        pfnReal = reinterpret_cast<Function*>(std::exchange(*ppImport, reinterpret_cast<void*>(pfnOurs)));
        VirtualProtect(ppImport, sizeof *ppImport, dwBefore, &dwBefore);
    };
    standIn("malloc", Malloc, g_real.m_pfnMalloc);
    standIn("calloc", Calloc, g_real.m_pfnCalloc);
    standIn("realloc", Realloc, g_real.m_pfnRealloc);
    standIn("free", Free, g_real.m_pfnFree);
    standIn("CoTaskMemAlloc", TaskAlloc, g_real.m_pfnTaskAlloc);
    standIn("CoTaskMemFree", TaskFree, g_real.m_pfnTaskFree);
    standIn("SysAllocString", AllocString, g_real.m_pfnAllocString);
    standIn("SysAllocStringLen", AllocStringLen, g_real.m_pfnAllocStringLen);
    standIn("SysFreeString", FreeString, g_real.m_pfnFreeString);
    standIn("FlushFileBuffers", Flush, g_real.m_pfnFlush);
    standIn("WriteFile", Write, g_real.m_pfnWrite);
    standIn("_beginthreadex", BeginThread, g_real.m_pfnBeginThread);
    standIn("Sleep", Pause, g_real.m_pfnSleep);
    standIn("CreateFileW", OpenFile, g_real.m_pfnCreateFile);
    standIn("GetTickCount", TickCount, g_real.m_pfnTickCount);
    standIn("QueryPerformanceCounter", Counter, g_real.m_pfnCounter);
}

void PointImports(HMODULE hModule)
{
    auto* const pBase = reinterpret_cast<char*>(hModule);
    const auto* pHeaders =
        reinterpret_cast<IMAGE_NT_HEADERS*>(pBase + reinterpret_cast<IMAGE_DOS_HEADER*>(pBase)->e_lfanew);
    const auto& folder = pHeaders->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* p = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(pBase + folder.VirtualAddress); p->Name != 0;
         ++p)
    {
        const auto* pName = reinterpret_cast<IMAGE_THUNK_DATA*>(pBase + p->OriginalFirstThunk);
        auto* ppImport = reinterpret_cast<void**>(pBase + p->FirstThunk);
        for (; pName->u1.AddressOfData != 0; ++pName, ++ppImport)
            if (!IMAGE_SNAP_BY_ORDINAL(pName->u1.Ordinal))
                Point(ppImport,
                      reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(pBase + pName->u1.AddressOfData)->Name);
    }
}

const bool g_bPointed = [] {
    const WCHAR* const sProgram = nullptr;
    for (const WCHAR* sModule : {sProgram, L"OrvComTypes.dll", L"libstdc++-6.dll"})
        if (HMODULE hModule = GetModuleHandleW(sModule)) // tests of internals have the library in themselves
            PointImports(hModule);
    return true;
}();

} // namespace

CDeniedFile::CDeniedFile(const std::filesystem::path& file)
    : m_file(file),
      m_nFormer(reinterpret_cast<std::intptr_t>(
          CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)))
{
}

CDeniedFile::~CDeniedFile()
{
    CloseHandle(reinterpret_cast<HANDLE>(m_nFormer));
}
