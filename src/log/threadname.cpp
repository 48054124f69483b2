#include "orvcomtypes/threadname.h"

#include "core/numtext.h"
#include "core/textformat.h"
#include "log/writername.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "threadnaming.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstring>

namespace
{

constexpr DWORD kMaxThreads = 64;
constexpr DWORD kFirstNoId = 0x7FFFFFFF;

/// A slot is written once, by the call that counted it; the id comes last and makes the name visible.
struct CThreadNameSlot
{
    std::atomic<DWORD> m_dwThreadId;
    char m_sName[64];
};

constexpr const char* kWriterName = "CLogFileInnerHandler.Logger";

constinit CThreadNameSlot g_threadNames[kMaxThreads] = {};
constinit std::atomic<DWORD> g_nThreadNames{0};
/// The slots that writers have given back, by their numbers. A name stays in its slot, so the next writer has
/// to write its id only.
constinit std::atomic<std::uint64_t> g_freeWriterSlots{0};
static_assert(kMaxThreads <= 64);

void CopyCut(char* dest, std::size_t cbDest, const char* s)
{
    std::size_t n = std::strlen(s);
    if (n >= cbDest)
        n = OCT::WholeCharacters(s, cbDest - 1, CP_ACP);
    std::memcpy(dest, s, n);
    dest[n] = '\0';
}

/// The number of a new slot; 0, which is never used, when all are taken.
DWORD CountSlot()
{
    const DWORD lIdx = ++g_nThreadNames;
    if (lIdx < kMaxThreads)
        return lIdx;
    ORV_REPORT("SetThreadName", "lIdx >= MaxThreads");
    return 0;
}

/// One that another writer has given back; 0 when there is none.
DWORD TakeWriterSlot()
{
    std::uint64_t nFree = g_freeWriterSlots.load(std::memory_order_acquire);
    while (nFree != 0)
        if (g_freeWriterSlots.compare_exchange_weak(nFree, nFree & (nFree - 1), std::memory_order_acq_rel))
            return static_cast<DWORD>(std::countr_zero(nFree));
    return 0;
}

} // namespace

/// A debugger knows a thread that runs already, so that nothing has to be waited for.
CWriterName::CWriterName() noexcept : m_nSlot(TakeWriterSlot())
{
    const DWORD dwThreadId = ::GetCurrentThreadId();
    PortNameThread(dwThreadId, kWriterName);
    if (m_nSlot == 0)
    {
        m_nSlot = CountSlot();
        if (m_nSlot == 0)
            return;
        CopyCut(g_threadNames[m_nSlot].m_sName, sizeof g_threadNames[m_nSlot].m_sName, kWriterName);
    }
    g_threadNames[m_nSlot].m_dwThreadId.store(dwThreadId, std::memory_order_release);
}

CWriterName::~CWriterName()
{
    if (m_nSlot == 0)
        return;
    g_threadNames[m_nSlot].m_dwThreadId.store(0, std::memory_order_relaxed);
    g_freeWriterSlots.fetch_or(std::uint64_t{1} << m_nSlot, std::memory_order_release);
}

void ORVCALL SetThreadName(DWORD threadId, const char* name)
{
    if (name == nullptr || name[0] == '\0')
    {
        ORV_REPORT("SetThreadName", "pszThreadName == nullptr || pszThreadName[0] == '\\0'");
        return;
    }
    const DWORD lIdx = CountSlot();
    if (lIdx == 0)
        return;
    // A debugger that has just been told of the thread needs a moment before it takes a name.
    ::Sleep(10);
    PortNameThread(threadId, name);
    CThreadNameSlot& slot = g_threadNames[lIdx];
    CopyCut(slot.m_sName, sizeof slot.m_sName, name);
    slot.m_dwThreadId.store(threadId >= kFirstNoId ? ::GetCurrentThreadId() : threadId,
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
    const DWORD nSearched = std::min(g_nThreadNames.load(std::memory_order_acquire), kMaxThreads);
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
