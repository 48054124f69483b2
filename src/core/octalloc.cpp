#include "orvcomtypes/octalloc.h"

#include "core/lifecycle.h"
#include "orvcomtypes/octassert.h"
#include "strings/charclass.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <span>

namespace
{

struct CPlexRegistration
{
    OCT::PlexUninit fnUninit; ///< null in a free slot
    HMODULE hModule;
    BSTR sModulePath;
};

constexpr DWORD kRegistrations = 1024;
constexpr DWORD kPathSize = 1024;

CPlexRegistration* g_PlReg = nullptr;
std::uint32_t g_PlexedObjectRefCnt = 0;
OCT::CCritSect g_registryLock;

std::atomic<std::uint32_t> g_nAllocCnt = 0;
std::atomic<bool> g_bResourceHandlerDestroyed = false;

/// The table's entries; none when there is no table.
std::span<CPlexRegistration> Registrations()
{
    return {g_PlReg, g_PlReg != nullptr ? kRegistrations : 0};
}

/// The first entry of \p fnUninit, or null.
CPlexRegistration* FindRegistration(OCT::PlexUninit fnUninit)
{
    const auto entries = Registrations();
    const auto it = std::ranges::find(entries, fnUninit, &CPlexRegistration::fnUninit);
    return it != entries.end() ? &*it : nullptr;
}

void ForgetRegistration(CPlexRegistration& entry)
{
    SysFreeString(entry.sModulePath);
    entry = {};
    --g_PlexedObjectRefCnt;
}

void FreeTable()
{
    CoTaskMemFree(g_PlReg);
    g_PlReg = nullptr;
}

bool CreateTable()
{
    g_PlReg = static_cast<CPlexRegistration*>(CoTaskMemAlloc(kRegistrations * sizeof(CPlexRegistration)));
    std::ranges::fill(Registrations(), CPlexRegistration{});
    return g_PlReg != nullptr;
}

/// The module that contains a function, without taking a reference; null when there is none.
HMODULE ModuleOf(OCT::PlexUninit fnUninit)
{
    HMODULE hModule = nullptr;
    const DWORD dwFlags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    return GetModuleHandleExW(dwFlags, reinterpret_cast<LPCWSTR>(fnUninit), &hModule) ? hModule : nullptr;
}

/// Reads a module's full path; false, with an empty text, when that fails or the path is cut.
bool ReadModulePath(HMODULE hModule, WCHAR (&sPath)[kPathSize])
{
    const DWORD dw = GetModuleFileNameW(hModule, sPath, kPathSize);
    if (dw > 0 && dw < kPathSize)
        return true;
    sPath[0] = 0;
    return false;
}

/// Decides for one teardown after the other whether it may be called, and calls it.
class CUninitCaller
{
public:
    void Call(const CPlexRegistration& entry)
    {
        HMODULE hModule = m_hLast;
        if (entry.hModule != m_hLast)
        {
            hModule = ModuleOf(entry.fnUninit);
            if (hModule == nullptr)
                return;
            ReadModulePath(hModule, m_sPath);
        }
        if (!IsPathKept(entry) || (entry.hModule != nullptr && entry.hModule != hModule))
            return;
        entry.fnUninit();
        m_hLast = hModule;
    }

private:
    /// False when another module was loaded where the one that registered used to be.
    bool IsPathKept(const CPlexRegistration& entry) const
    {
        return SysStringLen(entry.sModulePath) == 0 || OCT::IsSameText(entry.sModulePath, m_sPath);
    }

    HMODULE m_hLast = nullptr;
    WCHAR m_sPath[kPathSize] = {};
};

} // namespace

constinit CTeardownHooks g_TeardownHooks;

constinit std::atomic<bool> OCT::g_bFinalRelease = false;

void* ORVFASTCALL OCTMalloc(std::uint32_t nSize) noexcept
{
    return std::malloc(nSize);
}

void ORVFASTCALL OCTFree(void* p) noexcept
{
    std::free(p);
}

void* ORVFASTCALL OCTRealloc(void* p, std::uint32_t nSize) noexcept
{
    return std::realloc(p, nSize);
}

void ORVCALL SetFinalRelease() noexcept
{
    if (OCT::g_bFinalRelease.exchange(true, std::memory_order_relaxed))
        ORV_REPORT("SetFinalRelease", "g_bFinalRelease");
}

bool ORVCALL IsFinalRelease() noexcept
{
    return OCT::g_bFinalRelease.load(std::memory_order_relaxed);
}

std::uint32_t ORVCALL GetNextAllocCnt() noexcept
{
    return ++g_nAllocCnt;
}

void ORVCALL OCT::CreatePlexed(bool (*fnCreate)(), PlexUninit fnUninit)
{
    CCritSectGuard guard(&g_registryLock);
    if (fnCreate())
        RegisterPlexedAlloc(fnUninit);
}

void ORVCALL RegisterPlexedAlloc(OCT::PlexUninit fnUninit) noexcept
{
    if (fnUninit == nullptr)
        return;
    OCT::CCritSectGuard guard(&g_registryLock);
    if (g_PlReg == nullptr && !CreateTable())
        return ORV_REPORT("RegisterPlexedAlloc", "g_PlReg != nullptr");
    CPlexRegistration* pFree = FindRegistration(nullptr);
    if (pFree == nullptr)
        return ORV_REPORT("RegisterPlexedAlloc", "i < 1024");

    *pFree = {fnUninit, ModuleOf(fnUninit), nullptr};
    ++g_PlexedObjectRefCnt;
    if (pFree->hModule == nullptr)
        return;
    WCHAR sPath[kPathSize];
    if (ReadModulePath(pFree->hModule, sPath))
        pFree->sModulePath = SysAllocString(sPath);
    else
        ORV_REPORT("RegisterPlexedAlloc", "dw > 0 && dw < arrsize(buffer)");
}

void ORVCALL UnregisterPlexedAlloc(OCT::PlexUninit fnUninit) noexcept
{
    if (fnUninit == nullptr)
        return;
    OCT::CCritSectGuard guard(&g_registryLock);
    if (CPlexRegistration* pEntry = FindRegistration(fnUninit))
        ForgetRegistration(*pEntry);
}

void ORVCALL CallPlexedAllocUninit(HMODULE hModule) noexcept
{
    OCT::CCritSectGuard guard(&g_registryLock);
    if (g_PlReg == nullptr)
        return;
    CUninitCaller caller;
    for (CPlexRegistration& entry : Registrations())
    {
        if (entry.fnUninit == nullptr || (hModule != nullptr && entry.hModule != hModule))
            continue;
        caller.Call(entry);
        ForgetRegistration(entry);
    }
    if (hModule == nullptr && g_PlexedObjectRefCnt != 0)
        ORV_REPORT("CallPlexedAllocUninit", "g_PlexedObjectRefCnt == 0");
    if (g_PlexedObjectRefCnt == 0)
        FreeTable();
}

void ClearPlexedAllocUninit() noexcept
{
    OCT::CCritSectGuard guard(&g_registryLock);
    if (g_PlexedObjectRefCnt != 0)
        ORV_REPORT("ClearPlexedAllocUninit", "g_PlexedObjectRefCnt == 0");
    if (g_PlReg == nullptr)
        return;
    ORV_REPORT("ClearPlexedAllocUninit", "g_PlReg != nullptr");
    for (CPlexRegistration& entry : Registrations())
        SysFreeString(entry.sModulePath);
    FreeTable();
    g_PlexedObjectRefCnt = 0;
}

void ORVCALL UninitOrvComTypes() noexcept
{
    CallPlexedAllocUninit(nullptr);
    CallHook(g_TeardownHooks.m_fnDestroySourceLocations);
    if (!g_bResourceHandlerDestroyed.exchange(true))
        CallHook(g_TeardownHooks.m_fnDestroyResourceHandler);
}
