#include "log/loglocation.h"

#include "core/lifecycle.h"
#include "threadslot.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <utility>

namespace
{

// Slots and no `thread_local`: that takes memory at a thread's first use on some targets, and ends the
// process where there is none.
enum ESlot
{
    File,
    Line,
    Age, ///< the one in which the position was set
    Slots
};

using CSlots = std::array<DWORD, Slots>;
constexpr CSlots kNoSlots{TLS_OUT_OF_INDEXES, TLS_OUT_OF_INDEXES, TLS_OUT_OF_INDEXES};
constinit CSlots g_dwSlots = kNoSlots; ///< all or none

/// 0 until somebody sets a position: up to then no line looks for one. Each teardown begins another
/// age, in which no thread has one.
constinit std::atomic<std::uint32_t> g_nAge = 0;

std::uint32_t NumberIn(ESlot eSlot)
{
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(PortTlsValue(g_dwSlots[eSlot])));
}

bool SetNumber(ESlot eSlot, std::uint32_t n)
{
    return TlsSetValue(g_dwSlots[eSlot], reinterpret_cast<void*>(std::uintptr_t{n})) != FALSE;
}

/// Begins the first one if need be.
std::uint32_t CurrentAge()
{
    std::uint32_t nAge = g_nAge.load(std::memory_order_relaxed);
    if (nAge == 0 && g_nAge.compare_exchange_strong(nAge, 1, std::memory_order_relaxed))
        nAge = 1;
    return nAge;
}

void ForgetAll()
{
    g_nAge.fetch_add(1, std::memory_order_relaxed);
}

void Free(const CSlots& dwSlots)
{
    std::ranges::for_each(dwSlots, TlsFree);
}

bool TakeSlots()
{
    CSlots dwSlots;
    std::ranges::generate(dwSlots, TlsAlloc);
    const bool bAll = std::ranges::find(dwSlots, TLS_OUT_OF_INDEXES) == dwSlots.end();
    if (bAll)
    {
        g_dwSlots = dwSlots;
        g_TeardownHooks.m_fnForgetSourceLocations.store(ForgetAll, std::memory_order_release);
    }
    else
        Free(dwSlots);
    return bAll;
}

// At load, when there is only one thread.
[[maybe_unused]] const bool g_bTaken = TakeSlots();

} // namespace

void CThreadLogFileLineHandler::Set(const char* sFile, int iLine) noexcept
{
    if (g_dwSlots == kNoSlots)
        return;
    // The age comes last: it makes the others hold.
    if (TlsSetValue(g_dwSlots[File], const_cast<char*>(sFile)) &&
        SetNumber(Line, static_cast<std::uint32_t>(iLine)))
        SetNumber(Age, CurrentAge());
}

bool CThreadLogFileLineHandler::Get(const char*& sFile, int& iLine) noexcept
{
    sFile = nullptr;
    iLine = 0;
    const std::uint32_t nAge = g_nAge.load(std::memory_order_relaxed);
    if (nAge == 0 || NumberIn(Age) != nAge)
        return false;
    sFile = static_cast<const char*>(PortTlsValue(g_dwSlots[File]));
    iLine = static_cast<int>(NumberIn(Line));
    return sFile != nullptr || iLine != 0;
}

void CThreadLogFileLineHandler::FreeAtUnload() noexcept
{
    if (g_dwSlots != kNoSlots)
        Free(std::exchange(g_dwSlots, kNoSlots));
}
