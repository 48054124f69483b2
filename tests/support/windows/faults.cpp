// The imports of the library, and of the C++ library that it shares with us, are pointed at functions of
// ours.
#include "support/faults.h"

#include <windows.h>
#include <oleauto.h>
#include <process.h>

#include <cstdlib>
#include <cstring>

namespace
{

void* Counted(void* p)
{
    if (p != nullptr)
        CountBlock(1);
    return p;
}

void* __cdecl Malloc(std::size_t nBytes)
{
    return FailsNow(FaultyCall::Allocation) ? nullptr : Counted(std::malloc(nBytes));
}

void* __cdecl Calloc(std::size_t nCount, std::size_t nBytes)
{
    return FailsNow(FaultyCall::Allocation) ? nullptr : Counted(std::calloc(nCount, nBytes));
}

void* __cdecl Realloc(void* p, std::size_t nBytes)
{
    if (FailsNow(FaultyCall::Allocation))
        return nullptr;
    void* const pNew = std::realloc(p, nBytes);
    if (p == nullptr)
        return Counted(pNew);
    if (pNew == nullptr && nBytes == 0)
        CountBlock(-1);
    return pNew;
}

void __cdecl Free(void* p)
{
    if (p != nullptr)
        CountBlock(-1);
    std::free(p);
}

LPVOID WINAPI TaskMemAlloc(SIZE_T nBytes)
{
    return FailsNow(FaultyCall::Allocation) ? nullptr : CoTaskMemAlloc(nBytes);
}

BSTR WINAPI AllocString(const OLECHAR* s)
{
    return FailsNow(FaultyCall::Allocation) ? nullptr : SysAllocString(s);
}

BSTR WINAPI AllocStringLen(const OLECHAR* s, UINT nLen)
{
    return FailsNow(FaultyCall::Allocation) ? nullptr : SysAllocStringLen(s, nLen);
}

BOOL WINAPI Flush(HANDLE hFile)
{
    if (!FailsNow(FaultyCall::Sync))
        return FlushFileBuffers(hFile);
    SetLastError(ERROR_GEN_FAILURE);
    return FALSE;
}

std::uintptr_t __cdecl BeginThread(void* pSecurity, unsigned nStack, unsigned(__stdcall* pfn)(void*),
                                   void* pArgument, unsigned nFlags, unsigned* pnId)
{
    return FailsNow(FaultyCall::ThreadStart)
               ? 0
               : _beginthreadex(pSecurity, nStack, pfn, pArgument, nFlags, pnId);
}

void WINAPI Pause(DWORD dwMilliseconds)
{
    if (SleepsNow())
        Sleep(dwMilliseconds);
}

template <class Function>
void* Address(Function* pfn)
{
    return reinterpret_cast<void*>(pfn);
}

const struct
{
    const char* m_sName;
    void* m_pOurs;
} kImports[] = {{"malloc", Address(Malloc)},
                {"calloc", Address(Calloc)},
                {"realloc", Address(Realloc)},
                {"free", Address(Free)},
                {"CoTaskMemAlloc", Address(TaskMemAlloc)},
                {"SysAllocString", Address(AllocString)},
                {"SysAllocStringLen", Address(AllocStringLen)},
                {"FlushFileBuffers", Address(Flush)},
                {"_beginthreadex", Address(BeginThread)},
                {"Sleep", Address(Pause)}};

void Point(void** ppImport, const char* sName)
{
    for (const auto& import : kImports)
    {
        if (std::strcmp(import.m_sName, sName) != 0)
            continue;
        DWORD dwBefore = 0;
        VirtualProtect(ppImport, sizeof *ppImport, PAGE_READWRITE, &dwBefore);
        *ppImport = import.m_pOurs;
        VirtualProtect(ppImport, sizeof *ppImport, dwBefore, &dwBefore);
    }
}

void PointImports(HMODULE hModule)
{
    auto* const pBase = reinterpret_cast<char*>(hModule);
    if (pBase == nullptr)
        return;
    const auto* pHeaders =
        reinterpret_cast<IMAGE_NT_HEADERS*>(pBase + reinterpret_cast<IMAGE_DOS_HEADER*>(pBase)->e_lfanew);
    const auto& folder = pHeaders->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* p = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(pBase + folder.VirtualAddress); p->Name != 0;
         ++p)
    {
        const auto* pName = reinterpret_cast<IMAGE_THUNK_DATA*>(pBase + p->OriginalFirstThunk);
        auto* pImport = reinterpret_cast<void**>(pBase + p->FirstThunk);
        for (; pName->u1.AddressOfData != 0; ++pName, ++pImport)
            if (!IMAGE_SNAP_BY_ORDINAL(pName->u1.Ordinal))
                Point(pImport,
                      reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(pBase + pName->u1.AddressOfData)->Name);
    }
}

const bool g_bPointed = [] {
    for (const WCHAR* sModule :
         {L"OrvComTypes.dll", L"libstdc++-6.dll", L"libgcc_s_dw2-1.dll", L"libgcc_s_seh-1.dll"})
        PointImports(GetModuleHandleW(sModule));
    return true;
}();

} // namespace
