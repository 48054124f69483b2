#include "support/faults.h"

#include <atomic>
#include <cstddef>
#include <thread>

namespace
{

/// Constant-initialised: allocations come before everything else.
struct CallState
{
    std::atomic<unsigned> m_nUntil = 0; ///< calls up to the first that fails; 0: none does
    std::atomic<bool> m_bLasts = false, m_bHappened = false;
    std::atomic<unsigned> m_nFault = 0; ///< how many there were
};

constinit CallState g_states[static_cast<std::size_t>(FaultyCall::Count)];
constinit std::atomic<long long> g_nFrozen = 0;
constinit std::atomic<long long> g_nBlocks = 0;

CallState& State(FaultyCall call)
{
    return g_states[static_cast<std::size_t>(call)];
}

} // namespace

CFault::CFault(FaultyCall call, unsigned nFirst, bool bLasts) : m_call(call)
{
    CallState& state = State(call);
    state.m_bLasts = bLasts;
    state.m_bHappened = false;
    ++state.m_nFault;
    state.m_nUntil = nFirst;
}

CFault::~CFault()
{
    State(m_call).m_nUntil = 0;
}

bool CFault::Happened() const
{
    return State(m_call).m_bHappened;
}

void CFrozenClock::Set(std::chrono::nanoseconds sinceStart)
{
    g_nFrozen = sinceStart.count();
}

long long BlocksInUse()
{
    return g_nBlocks;
}

bool FailsNow(FaultyCall call)
{
    CallState& state = State(call);
    unsigned nUntil = state.m_nUntil.load(std::memory_order_relaxed);
    while (nUntil > 1 && !state.m_nUntil.compare_exchange_weak(nUntil, nUntil - 1))
    {
    }
    if (nUntil != 1)
        return false;
    if (!state.m_bLasts)
        state.m_nUntil = 0;
    state.m_bHappened = true;
    return true;
}

unsigned FaultThatLasts(FaultyCall call)
{
    const CallState& state = State(call);
    const bool bLasts = state.m_bLasts && state.m_nUntil.load(std::memory_order_relaxed) == 1;
    return bLasts && state.m_bHappened ? state.m_nFault.load() : 0;
}

void HangNow()
{
    if (!FailsNow(FaultyCall::HangingSync))
        return;
    for (;;)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

std::jmp_buf g_cutOff;

void CutOffNow()
{
    if (FailsNow(FaultyCall::CutOffWrite))
        std::longjmp(g_cutOff, 1);
}

long long FrozenClock()
{
    return g_nFrozen;
}

void CountBlock(int nDifference)
{
    g_nBlocks.fetch_add(nDifference, std::memory_order_relaxed);
}
