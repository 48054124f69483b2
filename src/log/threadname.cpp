#include "orvcomtypes/threadname.h"

#include "core/numtext.h"
#include "threadnaming.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace
{

constexpr DWORD MaxThreads = 64;
constexpr DWORD g_dwFirstNoId = 0x7FFFFFFF;

/// A slot is written once, by the call that counted it; the id comes last and makes the name visible.
struct CThreadNameSlot
{
    std::atomic<DWORD> m_dwThreadId;
    char m_sName[64];
};

constinit CThreadNameSlot g_threadNames[MaxThreads] = {};
constinit std::atomic<DWORD> g_nThreadNames{0};

void CopyCut(char* dest, std::size_t cbDest, const char* s)
{
    const std::size_t n = std::min(std::strlen(s), cbDest - 1);
    std::memcpy(dest, s, n);
    dest[n] = '\0';
}

} // namespace

void ORVCALL SetThreadName(DWORD threadId, const char* name)
{
    if (name == nullptr || name[0] == '\0')
    {
        ORV_REPORT("SetThreadName", "pszThreadName == nullptr || pszThreadName[0] == '\\0'");
        return;
    }
    const DWORD lIdx = ++g_nThreadNames;
    if (lIdx >= MaxThreads)
    {
        ORV_REPORT("SetThreadName", "lIdx >= MaxThreads");
        return;
    }
    // A debugger that has just been told of the thread needs a moment before it takes a name.
    ::Sleep(10);
    PortNameThread(threadId, name);
    CThreadNameSlot& slot = g_threadNames[lIdx];
    CopyCut(slot.m_sName, sizeof slot.m_sName, name);
    slot.m_dwThreadId.store(threadId >= g_dwFirstNoId ? ::GetCurrentThreadId() : threadId,
                            std::memory_order_release);
}

bool ORVCALL GetThreadName(DWORD threadId, char* dest, unsigned cbDest) noexcept
{
    if (threadId == 0xFFFFFFFF || dest == nullptr || cbDest < 2)
    {
        ORV_REPORT("GetThreadName", "dwThreadID == 0xFFFFFFFF || pszDest == nullptr || cbDest < 2");
        return false;
    }
    // Ending one slot below the last one written is deliberate.
    const DWORD nSearched = std::min(g_nThreadNames.load(std::memory_order_acquire), MaxThreads);
    for (DWORD i = 0; i < nSearched; ++i)
        if (g_threadNames[i].m_dwThreadId.load(std::memory_order_acquire) == threadId)
        {
            CopyCut(dest, cbDest, g_threadNames[i].m_sName);
            return true;
        }
    char sId[12] = {};
    OCT::PutDecimal(sId, threadId);
    CopyCut(dest, cbDest, sId);
    return false;
}
