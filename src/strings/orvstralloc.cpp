#include "orvcomtypes/orvstralloc.h"

#include "core/threadstore.h"
#include "orvcomtypes/octalloc.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/plexalloc.h"
#include "strings/strbuffer.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

static_assert(sizeof(OrvStrBorder) + sizeof(OrvStrHeader) == 16, "characters stand on a 16-byte border");

constinit OrvStrBuffer<1> g_DefEmptyString{{0}, {sizeof(WCHAR), 0, 0}, {0}};

template <unsigned L>
struct OCT::CPlexTypeName<OrvStrBuffer<L>>
{
    static constexpr auto kText = JoinTexts("class OrvStrBuffer<", kDecimalText<L>.m_sText, ">");
};
template <>
constexpr int OCT::kPlexShelf<OrvStrBuffer<21>> = 0;
template <>
constexpr int OCT::kPlexShelf<OrvStrBuffer<41>> = 1;
template <>
constexpr int OCT::kPlexShelf<OrvStrBuffer<151>> = 2;
template <>
constexpr int OCT::kPlexShelf<OrvStrBuffer<401>> = 3;

namespace
{

/// The buffers of \p L code units, \p N in a chain.
template <unsigned L, unsigned N>
struct CSizeClass
{
    using Pool = OCT::CStoredPool<OrvStrBuffer<L>, N>;
    static constexpr std::uint32_t kAllocLen = sizeof(WCHAR) * L;

    static OrvStrHeader* Take()
    {
        OrvStrHeader* const p = Pool::AllocateItem();
        if (p != nullptr)
            p->nAllocLen = kAllocLen;
        return p;
    }

    /// After the teardown of the pool the buffer is dropped: its chain is gone or is left as it is.
    static void Free(OrvStrHeader* p) { Pool::ReleaseItem(static_cast<OrvStrBuffer<L>*>(p)); }

    static bool IsOver() { return Pool::Pool::IsOver(); }
};

using CTiny = CSizeClass<21, 1024>;
using CSmall = CSizeClass<41, 1024>;
using CMiddle = CSizeClass<151, 256>;
using CLarge = CSizeClass<401, 128>;

// Blocks of the heap are aligned for two pointers.
constexpr std::size_t kBlockAlignment = 16;
constexpr bool kHeapIsAligned = 2 * sizeof(void*) >= kBlockAlignment;

void* NewBlock(std::size_t nBytes)
{
    return kHeapIsAligned ? ::operator new(nBytes, std::nothrow)
                          : ::operator new (nBytes, std::align_val_t{kBlockAlignment}, std::nothrow);
}

void DeleteBlock(void* p)
{
    if constexpr (kHeapIsAligned)
        ::operator delete(p);
    else
        ::operator delete (p, std::align_val_t{kBlockAlignment});
}

/// True once the memory of pooled buffers may be gone, whoever holds references.
bool ArePoolsOver()
{
    return CTiny::IsOver() || CSmall::IsOver() || CMiddle::IsOver() || CLarge::IsOver();
}

/// The size of a heap block, header included, that holds \p nTotal bytes: the next 256-byte step, from 1024
/// bytes on a power of two with a tenth to spare, so that appending seldom moves the text.
constexpr std::uint64_t HeapBlockSize(std::uint64_t nTotal)
{
    if (nTotal < 1024)
        return nTotal / 256 * 256 + 256;
    const auto nWanted = static_cast<std::uint64_t>(static_cast<double>(nTotal) * 1.1);
    std::uint64_t nBlock = 2048;
    while (nBlock < nWanted)
        nBlock *= 2;
    return nBlock;
}

/// A buffer with room for \p nAllocLen bytes.
OrvStrHeader* TakeFromHeap(std::uint64_t nAllocLen)
{
    const std::uint64_t nBlock = nAllocLen + sizeof(OrvStrHeader);
    if (nAllocLen > std::numeric_limits<std::uint32_t>::max() ||
        nBlock + sizeof(OrvStrBorder) > std::numeric_limits<std::size_t>::max())
        return nullptr;
    void* const pBlock = NewBlock(static_cast<std::size_t>(nBlock + sizeof(OrvStrBorder)));
    if (pBlock == nullptr)
        return nullptr;
    auto* const p = reinterpret_cast<OrvStrHeader*>(static_cast<OrvStrBorder*>(pBlock) + 1);
    p->nAllocLen = static_cast<std::uint32_t>(nAllocLen);
    return p;
}

OrvStrHeader* TakeBuffer(std::uint64_t nBytes)
{
    if (nBytes <= CTiny::kAllocLen)
        return CTiny::Take();
    if (nBytes <= CSmall::kAllocLen)
        return CSmall::Take();
    if (nBytes <= CMiddle::kAllocLen)
        return CMiddle::Take();
    if (nBytes <= CLarge::kAllocLen)
        return CLarge::Take();
    if (nBytes > std::numeric_limits<std::uint32_t>::max())
        return nullptr;
    return TakeFromHeap(HeapBlockSize(nBytes + sizeof(OrvStrHeader)) - sizeof(OrvStrHeader));
}

WCHAR* StrOf(OrvStrHeader* p)
{
    return reinterpret_cast<WCHAR*>(p + 1);
}

/// An empty text without a reference in the new buffer \p p, or null and a report.
WCHAR* Begin(OrvStrHeader* p)
{
    if (p == nullptr)
    {
        ORV_REPORT("ORVS_AllocateString", "pAlloc == nullptr");
        return nullptr;
    }
    p->nStrLen = 0;
    p->iRC.store(0, std::memory_order_relaxed);
    WCHAR* const s = StrOf(p);
    s[0] = 0;
    return s;
}

/// A handle as a report shows it.
std::uintptr_t HandleValue(const WCHAR* s)
{
    return reinterpret_cast<std::uintptr_t>(s);
}

} // namespace

WCHAR* ORVS_AllocateString(std::uint64_t nBytes)
{
    return nBytes < 3 ? g_DefEmptyString.StrBuffer : Begin(TakeBuffer(nBytes));
}

WCHAR* ORVS_AllocateAsLarge(const OrvStrHeader& other)
{
    const std::uint32_t nAllocLen = other.nAllocLen;
    return Begin(nAllocLen > CLarge::kAllocLen ? TakeFromHeap(nAllocLen) : TakeBuffer(nAllocLen));
}

void ORVS_FreeString(OrvStrHeader* p)
{
    if (p->nAllocLen == g_DefEmptyString.nAllocLen)
    {
        if (p != &g_DefEmptyString)
            ORV_REPORT("ORVS_FreeString", "p == &g_DefEmptyString");
        return;
    }
    StrOf(p)[0] = 0;
    switch (p->nAllocLen)
    {
    case CTiny::kAllocLen: return CTiny::Free(p);
    case CSmall::kAllocLen: return CSmall::Free(p);
    case CMiddle::kAllocLen: return CMiddle::Free(p);
    case CLarge::kAllocLen: return CLarge::Free(p);
    default:
        if (p->nAllocLen > CLarge::kAllocLen)
            DeleteBlock(reinterpret_cast<OrvStrBorder*>(p) - 1);
        else
            ORV_REPORT("ORVS_FreeString", nullptr);
    }
}

OrvStrHeader* ORVS_GetOrvStrBuffer(const WCHAR* s)
{
    if (s == nullptr)
    {
        ORV_REPORT("ORVS_GetOrvStrBuffer", "s == nullptr");
        return nullptr;
    }
    return &OCT::StrHeader(s);
}

void ORVCALL ORVS_AddrefString(const WCHAR* s)
{
    if (ORVS_GetOrvStrBuffer(s) != nullptr && OCT::IsCountedStr(s))
        OCT::AddStrRef(s);
}

void ORVCALL OCT::ReportAddedStrRef(const WCHAR* s)
{
    ORV_REPORT_VALUE("ORVS_AddrefString", "iRC >= 1", HandleValue(s));
}

void ORVCALL ORVS_ReleaseString(WCHAR* s)
{
    if (HandleValue(s) == sizeof(OrvStrHeader) || (IsFinalRelease() && ArePoolsOver()) ||
        !OCT::IsCountedStr(s))
        return;
    if (const std::int32_t iRC = OCT::StrHeader(s).iRC.fetch_sub(1, std::memory_order_acq_rel) - 1; iRC <= 0)
        OCT::EndStrRefs(s, iRC);
}

void ORVCALL OCT::EndStrRefs(WCHAR* s, std::int32_t iRC)
{
    if (iRC < 0)
        ORV_REPORT_VALUE("ORVS_ReleaseString", "iRC >= 0", HandleValue(s));
    else
        ORVS_FreeString(&StrHeader(s));
}

WCHAR* ORVCALL ORVS_GetDefaultEmptyString() noexcept
{
    return g_DefEmptyString.StrBuffer;
}

WCHAR* ORVCALL ORVS_AllocateSingleUsed(WCHAR* s, unsigned nBytes)
{
    return s != nullptr && OCT::IsSoleStrOwner(s, nBytes) ? s : ORVS_AllocateString(nBytes);
}

unsigned ORVCALL ORVS_GetAllocLen(const WCHAR* s)
{
    return ORVS_GetOrvStrBuffer(s)->nAllocLen;
}

unsigned ORVCALL ORVS_GetStrLen(const WCHAR* s)
{
    const OrvStrHeader* const p = ORVS_GetOrvStrBuffer(s);
    return p != nullptr ? p->nStrLen : 0;
}

void ORVCALL ORVS_SetStrLen(WCHAR* s, unsigned nLen)
{
    OrvStrHeader* const p = ORVS_GetOrvStrBuffer(s);
    // The shared empty text stays empty, and no length reaches past the buffer.
    if (OCT::IsCountedStr(s))
        p->nStrLen = std::min(nLen, p->nAllocLen / static_cast<unsigned>(sizeof(WCHAR)) - 1);
}

bool ORVCALL ORVS_ValidString(const WCHAR* s) noexcept
{
    return s != nullptr;
}
