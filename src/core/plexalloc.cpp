#include "orvcomtypes/plexalloc.h"

#include "core/lifecycle.h"
#include "forklock.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/smartcls.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

using OCT::CPlexChain;
using OCT::CPlexLayout;
using OCT::CPlexWrapper;

CPlexWrapper* FirstWrapper(CPlexChain* pChain, const CPlexLayout& layout)
{
    // The heap aligns for pointers at least; the first item moves up to its own border.
    const auto nEarliest = reinterpret_cast<std::uintptr_t>(pChain + 1) + sizeof(CPlexWrapper);
    return reinterpret_cast<CPlexWrapper*>(CPlexLayout::RoundUp(nEarliest, layout.m_nAlignment)) - 1;
}

CPlexWrapper* NextInChain(CPlexWrapper* pWrapper, const CPlexLayout& layout)
{
    return reinterpret_cast<CPlexWrapper*>(reinterpret_cast<std::byte*>(pWrapper) + layout.m_nStride);
}

void LayOutFreeList(CPlexChain* pChain, const CPlexLayout& layout)
{
    CPlexWrapper* pWrapper = FirstWrapper(pChain, layout);
    pChain->pFree = pWrapper;
    CPlexWrapper* pPrevious = nullptr;
    for (std::uint32_t i = 0; i < layout.m_nCount; ++i)
    {
        CPlexWrapper* pNext = NextInChain(pWrapper, layout);
        new (pWrapper) CPlexWrapper{i + 1 < layout.m_nCount ? pNext : nullptr, pPrevious, pChain};
        pPrevious = pWrapper;
        pWrapper = pNext;
    }
}

void UnlinkWrapper(CPlexChain* pHead, CPlexWrapper* pWrapper)
{
    if (pWrapper->PrevWrp != nullptr)
        pWrapper->PrevWrp->NextWrp = pWrapper->NextWrp;
    else
        pHead->pFree = pWrapper->NextWrp;
    if (pWrapper->NextWrp != nullptr)
        pWrapper->NextWrp->PrevWrp = pWrapper->PrevWrp;
}

/// Takes one of several chains out of the list; a head hands the free list to the next chain.
void UnlinkChain(CPlexChain*& pHead, CPlexChain* pChain)
{
    if (pChain == pHead)
    {
        pChain->pNext->pFree = pChain->pFree;
        pHead = pChain->pNext;
    }
    else
        pChain->pPrev->pNext = pChain->pNext;
    if (pChain->pNext != nullptr)
        pChain->pNext->pPrev = pChain->pPrev;
}

} // namespace

constinit std::atomic<bool> OCT::g_bPlexOrphans = false;
constinit bool OCT::g_bQuietTakeDown = false;

void OCT::HoldAtFork(CCritSect& lock) noexcept
{
    PortHoldAtFork(reinterpret_cast<LPCRITICAL_SECTION>(&lock)); // the section is its first member
}

bool ORVCALL OCT::AddPlexChain(CPlexChain*& pHead, const CPlexLayout& layout) noexcept
{
    const std::uint64_t nBytes = sizeof(CPlexChain) + sizeof(CPlexWrapper) + layout.m_nAlignment +
                                 std::uint64_t{layout.m_nCount} * layout.m_nStride;
    void* pBlock = nBytes <= SIZE_MAX ? std::malloc(static_cast<std::size_t>(nBytes)) : nullptr;
    if (pBlock == nullptr)
        return false;
    auto* pChain = new (pBlock) CPlexChain{pHead, nullptr, nullptr, layout.m_nCount, layout.m_nCount, false};
    if (pHead != nullptr)
        pHead->pPrev = pChain;
    pHead = pChain;
    LayOutFreeList(pChain, layout);
    return true;
}

void ORVCALL OCT::GiveBackPlexChain(CPlexChain*& pHead, CPlexChain* pChain,
                                    const CPlexLayout& layout) noexcept
{
    CPlexWrapper* pWrapper = FirstWrapper(pChain, layout);
    for (std::uint32_t i = 0; i < layout.m_nCount; ++i, pWrapper = NextInChain(pWrapper, layout))
        UnlinkWrapper(pHead, pWrapper);
    UnlinkChain(pHead, pChain);
    std::free(pChain);
}

void ORVCALL OCT::TakeDownPlexChains(CPlexChain* pChains, const CPlexLayout& layout,
                                     const char* sFunction) noexcept
{
    for (CPlexChain* pChain = pChains; pChain != nullptr;)
    {
        CPlexChain* pNext = pChain->pNext;
        if (pChain->nFreeCount < layout.m_nCount)
        {
            // Memory that may still be referenced is never freed.
            if (!g_bQuietTakeDown)
                ORV_REPORT(sFunction, "!IsChainUsed(p)");
            pChain->pNext = pChain->pPrev = nullptr;
            pChain->bOrphaned = true;
            g_bPlexOrphans = true;
        }
        else
            std::free(pChain);
        pChain = pNext;
    }
}
