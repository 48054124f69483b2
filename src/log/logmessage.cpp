#include "log/logmessage.h"

#include "core/threadstore.h"
#include "core/throwscope.h"
#include "orvcomtypes/fixedtext.h"
#include "orvcomtypes/plexalloc.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

/// An item of the pool. A thread lays its lines there one behind the other, and takes another block when the
/// next line has no room. A block goes back when its thread has left it and all its lines are written.
struct CLogBlock
{
    CLogBlock() : m_nUsed(offsetof(CLogBlock, m_room)) {}

    bool HasRoom(std::uint32_t nBytes) const { return nBytes <= sizeof(CLogBlock) - m_nUsed; }
    CLogMessage* Place(std::uint32_t nBytes)
    {
        auto* const pMessage = reinterpret_cast<CLogMessage*>(reinterpret_cast<char*>(this) + m_nUsed);
        pMessage->m_nInBlock = m_nUsed;
        m_nUsed += nBytes;
        ++m_nLines;
        return pMessage;
    }

    static CLogBlock* Of(CLogMessage* pMessage)
    {
        return reinterpret_cast<CLogBlock*>(reinterpret_cast<char*>(pMessage) - pMessage->m_nInBlock);
    }

    /// Its lines are given back, or its thread leaves it. Both are true when nobody uses it any more.
    bool Release(std::int32_t nUses) { return m_nUses.fetch_sub(nUses, std::memory_order_acq_rel) == nUses; }
    bool LeaveStore() { return Release(kOpen - m_nLines); }

    // The thread counts as more lines than there is room for, so that they need not be counted one by one.
    static constexpr std::int32_t kOpen = 1 << 16;

    std::atomic<std::int32_t> m_nUses = kOpen;
    std::int32_t m_nLines = 0; ///< that were laid here
    std::uint32_t m_nUsed;     ///< bytes
    alignas(CLogMessage) char m_room[CLogMessage::kPooledBytes + sizeof(CLogMessage)];
};

template <>
struct OCT::CPlexTypeName<CLogBlock>
{
    static constexpr OCT::CFixedText kText{"class CLogMessage"};
};
template <>
constexpr int OCT::kPlexShelf<CLogBlock> = 4;

namespace
{

using CBlockPool = OCT::CPlexAlloc<CLogBlock, 64>;
constexpr int kShelf = OCT::kPlexShelf<CLogBlock>;

// Blocks go back by ReleaseItems alone: ReleaseItem would in final release take a whole chain for free, with
// the lines that wait in its other blocks.

void Leave(CLogBlock* pBlock)
{
    if (pBlock->LeaveStore())
        CBlockPool::ReleaseItems(&pBlock, 1);
}

void LeaveAll(void* const* ppBlocks, unsigned nBlocks)
{
    std::for_each_n(ppBlocks, nBlocks, [](void* p) { Leave(static_cast<CLogBlock*>(p)); });
}

/// Leaves the block to the thread's store, for the next line.
void Store(OCT::CThreadStore* pStore, CLogBlock* pBlock)
{
    if (pStore == nullptr || !pStore->Put(kShelf, pBlock, LeaveAll))
        Leave(pBlock);
}

/// A new block, and some for the store; null without memory. What the pool throws is not announced: that
/// would log it, and hold up the caller.
CLogBlock* NewBlock(OCT::CThreadStore* pStore) noexcept
{
    const OCT::CFlagScope quiet(OCT::t_bThrowsQuietly);
    constexpr unsigned nMost = OCT::CThreadShelf::kItems / 2;
    CLogBlock* apBlocks[nMost];
    unsigned nBlocks = 0;
    try
    {
        nBlocks = CBlockPool::AllocateItems(apBlocks, pStore != nullptr ? nMost : 1);
    }
    catch (...)
    {
    }
    for (unsigned i = nBlocks; i > 0; --i)
    {
        new (apBlocks[i - 1]) CLogBlock;
        if (i > 1)
            Store(pStore, apBlocks[i - 1]);
    }
    return nBlocks != 0 ? apBlocks[0] : nullptr;
}

/// A block with room for a line: the one that the thread has begun, another one of its store, or a new one.
CLogBlock* BlockFor(std::uint32_t nBytes, OCT::CThreadStore* pStore) noexcept
{
    while (pStore != nullptr)
    {
        auto* const pBlock = static_cast<CLogBlock*>(pStore->Take(kShelf));
        if (pBlock == nullptr)
            break;
        if (pBlock->HasRoom(nBytes))
            return pBlock;
        if (pBlock->LeaveStore())
            return new (pBlock) CLogBlock; // all is written
    }
    return NewBlock(pStore);
}

CLogMessage* FromPool(std::uint32_t nBytes) noexcept
{
    OCT::CThreadStore* const pStore = OCT::CThreadStore::Mine();
    CLogBlock* const pBlock = BlockFor(nBytes, pStore);
    if (pBlock == nullptr)
        return nullptr;
    CLogMessage* const pMessage = pBlock->Place(nBytes);
    Store(pStore, pBlock);
    return pMessage;
}

} // namespace

CLogMessage* CLogMessage::Create(const char* sText, std::uint32_t nLength) noexcept
{
    const std::size_t nBytes = sizeof(CLogMessage) + std::size_t{nLength} + 1;
    CLogMessage* pMessage;
    if (IsPooled(nLength) && !CBlockPool::IsOver())
    {
        constexpr std::size_t nAlignment = alignof(CLogMessage);
        pMessage = FromPool(static_cast<std::uint32_t>((nBytes + nAlignment - 1) / nAlignment * nAlignment));
    }
    else if ((pMessage = static_cast<CLogMessage*>(std::malloc(nBytes))) != nullptr)
        pMessage->m_nInBlock = 0;
    if (pMessage == nullptr)
        return nullptr;
    pMessage->m_pNext = nullptr;
    pMessage->m_nLength = nLength;
    char* const sOwn = reinterpret_cast<char*>(pMessage + 1);
    std::memcpy(sOwn, sText, nLength);
    sOwn[nLength] = 0;
    return pMessage;
}

CReturnedLines::~CReturnedLines()
{
    EndBlock();
    if (m_nFree != 0)
        ReleaseBlocks();
}

void CReturnedLines::Add(CLogMessage* pMessage)
{
    if (pMessage->m_nInBlock == 0)
        return std::free(pMessage);
    CLogBlock* const pBlock = CLogBlock::Of(pMessage);
    if (pBlock != m_pBlock)
        EndBlock();
    m_pBlock = pBlock;
    ++m_nLines;
}

void CReturnedLines::EndBlock()
{
    if (m_pBlock != nullptr && m_pBlock->Release(std::exchange(m_nLines, 0)))
        m_apFree[m_nFree++] = m_pBlock;
    m_pBlock = nullptr;
    if (m_nFree == kBlocks)
        ReleaseBlocks();
}

void CReturnedLines::ReleaseBlocks()
{
    CBlockPool::ReleaseItems(m_apFree, std::exchange(m_nFree, 0));
}
