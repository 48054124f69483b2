#include "orvcomtypes/octalloc.h"

#include "core/charclass.h"
#include "core/lifecycle.h"
#include "core/ownlock.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/plexalloc.h"
#include "orvcomtypes/smartcls.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
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
OCT::CLastingLock<OCT::COwnLock> g_registryLock;

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

/// A module and its full path, which is empty when it cannot be read whole.
struct CModule
{
    HMODULE m_hModule = nullptr;
    WCHAR m_sPath[kPathSize] = {};

    void Set(HMODULE hModule)
    {
        m_hModule = hModule;
        const DWORD dw = GetModuleFileNameW(hModule, m_sPath, kPathSize);
        if (dw == 0 || dw >= kPathSize)
            m_sPath[0] = 0;
    }

    /// The module that contains a function, without taking a reference; null when there is none. Asks the
    /// loader, whose lock may be held by a thread that registers a pool and waits for the registry's. So
    /// whoever registers asks before it takes that one; only a teardown must ask under it.
    void Find(OCT::PlexUninit fnUninit)
    {
        HMODULE hModule = nullptr;
        const DWORD dwFlags =
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
        if (GetModuleHandleExW(dwFlags, reinterpret_cast<LPCWSTR>(fnUninit), &hModule))
            Set(hModule);
    }
};

/// The library itself; unknown before its attach.
constinit CModule g_ownModule;

/// Under the lock.
void Record(OCT::PlexUninit fnUninit, const CModule& module)
{
    if (g_PlReg == nullptr && !CreateTable())
        return ORV_REPORT("RegisterPlexedAlloc", "g_PlReg != nullptr");
    CPlexRegistration* pFree = FindRegistration(nullptr);
    if (pFree == nullptr)
        return ORV_REPORT("RegisterPlexedAlloc", "i < 1024");
    *pFree = {fnUninit, module.m_hModule, nullptr};
    ++g_PlexedObjectRefCnt;
    if (module.m_hModule == nullptr)
        return;
    if (module.m_sPath[0] != 0)
        pFree->sModulePath = SysAllocString(module.m_sPath);
    else
        ORV_REPORT("RegisterPlexedAlloc", "dw > 0 && dw < arrsize(buffer)");
}

/// Decides for one teardown after the other whether it may be called, and calls it.
class CUninitCaller
{
public:
    void Call(const CPlexRegistration& entry)
    {
        if (entry.hModule == nullptr || entry.hModule != m_module.m_hModule)
            LookUp(entry);
        const bool bFound = m_module.m_hModule != nullptr;
        if (bFound && IsPathKept(entry) && (entry.hModule == nullptr || entry.hModule == m_module.m_hModule))
            entry.fnUninit();
    }

private:
    void LookUp(const CPlexRegistration& entry)
    {
        m_module = entry.hModule == g_ownModule.m_hModule ? g_ownModule : CModule();
        if (m_module.m_hModule == nullptr)
            m_module.Find(entry.fnUninit);
    }

    /// False when another module was loaded where the one that registered used to be.
    bool IsPathKept(const CPlexRegistration& entry) const
    {
        return SysStringLen(entry.sModulePath) == 0 || OCT::IsSameText(entry.sModulePath, m_module.m_sPath);
    }

    CModule m_module; ///< looked up last
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

void RememberOwnModule(HMODULE hModule) noexcept
{
    g_ownModule.Set(hModule);
}

void ORVCALL OCT::CreatePlexed(bool (*fnCreate)(), PlexUninit fnUninit, bool bLibraryPool)
{
    CModule found;
    const bool bKnown = bLibraryPool && g_ownModule.m_hModule != nullptr;
    if (!bKnown)
        found.Find(fnUninit);
    CCritSectGuard guard(&g_registryLock.m_lock);
    if (fnCreate())
        Record(fnUninit, bKnown ? g_ownModule : found);
}

void ORVCALL RegisterPlexedAlloc(OCT::PlexUninit fnUninit) noexcept
{
    if (fnUninit == nullptr)
        return;
    CModule module;
    module.Find(fnUninit);
    OCT::CCritSectGuard guard(&g_registryLock.m_lock);
    Record(fnUninit, module);
}

void ORVCALL UnregisterPlexedAlloc(OCT::PlexUninit fnUninit) noexcept
{
    if (fnUninit == nullptr)
        return;
    OCT::CCritSectGuard guard(&g_registryLock.m_lock);
    if (CPlexRegistration* pEntry = FindRegistration(fnUninit))
        ForgetRegistration(*pEntry);
}

void ORVCALL CallPlexedAllocUninit(HMODULE hModule) noexcept
{
    OCT::CCritSectGuard guard(&g_registryLock.m_lock);
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

void ClearPlexedAllocUninit(bool bUnloading) noexcept
{
    OCT::CCritSectGuard guard(&g_registryLock.m_lock);
    if (g_PlexedObjectRefCnt != 0)
        ORV_REPORT("ClearPlexedAllocUninit", "g_PlexedObjectRefCnt == 0");
    if (g_PlReg == nullptr)
        return;
    ORV_REPORT("ClearPlexedAllocUninit", "g_PlReg != nullptr");
    // In final release a chain may look free that is in use.
    const bool bFree = bUnloading && !IsFinalRelease();
    OCT::g_bQuietTakeDown = true;
    for (CPlexRegistration& entry : Registrations())
    {
        if (bFree && entry.hModule != nullptr && entry.hModule == g_ownModule.m_hModule)
            entry.fnUninit();
        SysFreeString(entry.sModulePath);
    }
    FreeTable();
    g_PlexedObjectRefCnt = 0;
}

void ORVCALL UninitOrvComTypes() noexcept
{
    CallHook(g_TeardownHooks.m_fnFlushLogs);
    CallPlexedAllocUninit(nullptr);
    CallHook(g_TeardownHooks.m_fnForgetSourceLocations);
    if (!g_bResourceHandlerDestroyed.exchange(true))
        CallHook(g_TeardownHooks.m_fnDestroyResourceHandler);
}
