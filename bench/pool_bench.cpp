// A pair of allocate and free, against malloc, a pool behind a mutex, and the least that a pool behind any
// lock can take.
#include "orvcomtypes/octalloc.h"

#include "second_thread.h"

#include <boost/pool/pool.hpp>

#include <atomic>
#include <mutex>
#include <vector>

namespace
{

template <std::size_t Bytes>
struct CBlock
{
    char m_data[Bytes];
};

} // namespace

template <std::size_t Bytes>
struct OCT::CPlexTypeName<CBlock<Bytes>>
{
    static constexpr CFixedText kText{"struct CBlock"};
};

namespace
{

template <std::size_t Bytes>
struct COurPool
{
    using CPool = OCT::CPlexAlloc<CBlock<Bytes>, 256>;
    static void* Allocate() { return CPool::AllocateItem(); }
    static void Free(void* p) { CPool::ReleaseItem(static_cast<CBlock<Bytes>*>(p)); }
};

template <std::size_t Bytes>
struct CHeap
{
    static void* Allocate() { return std::malloc(Bytes); }
    static void Free(void* p) { std::free(p); }
};

template <std::size_t Bytes>
struct CBoostPool
{
    static inline std::mutex s_mutex;
    static inline boost::pool<> s_pool{Bytes};

    static void* Allocate()
    {
        const std::lock_guard guard(s_mutex);
        return s_pool.malloc();
    }
    static void Free(void* p)
    {
        const std::lock_guard guard(s_mutex);
        s_pool.free(p);
    }
};

/// What any list behind a lock costs at least: the two locked operations of entering it twice, and the list.
template <std::size_t Bytes>
struct CFloor
{
    union CNode
    {
        CNode* m_pNext;
        char m_data[Bytes];
    };

    static inline std::atomic<bool> s_bTaken = false;
    static inline CNode* s_pFree = nullptr;

    static void* Allocate()
    {
        while (s_bTaken.exchange(true, std::memory_order_acquire))
            ;
        CNode* const p = s_pFree != nullptr ? s_pFree : new CNode{nullptr};
        s_pFree = p->m_pNext;
        s_bTaken.store(false, std::memory_order_release);
        return p;
    }
    static void Free(void* pBlock)
    {
        const auto p = static_cast<CNode*>(pBlock);
        while (s_bTaken.exchange(true, std::memory_order_acquire))
            ;
        p->m_pNext = s_pFree;
        s_pFree = p;
        s_bTaken.store(false, std::memory_order_release);
    }
};

/// The block is given back at once: the fastest case of every allocator.
template <class Pool>
void Pair(benchmark::State& state)
{
    for (auto _ : state)
    {
        void* p = Pool::Allocate();
        benchmark::DoNotOptimize(p);
        Pool::Free(p);
    }
}

/// As many blocks are in use as the argument says, as when rows of a result are bound; the time is per block.
template <class Pool>
void Batch(benchmark::State& state)
{
    std::vector<void*> blocks(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
    {
        for (void*& p : blocks)
        {
            p = Pool::Allocate();
            benchmark::ClobberMemory();
        }
        for (void* p : blocks)
            Pool::Free(p);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

#define ORV_POOL_PAIR(bytes, pool, threads) \
    BENCHMARK(Pair<pool<bytes>>)->Name("pair/" #bytes "/" #pool)->Threads(threads)->UseRealTime()
#define ORV_POOL_BATCH(bytes, pool, threads) \
    BENCHMARK(Batch<pool<bytes>>)->Name("batch/" #bytes "/" #pool)->Arg(200)->Threads(threads)->UseRealTime()
#define ORV_POOL_PEERS(bench, bytes, threads) \
    bench(bytes, COurPool, threads); \
    bench(bytes, CHeap, threads); \
    bench(bytes, CBoostPool, threads)

ORV_POOL_PAIR(64, CFloor, 1);
ORV_POOL_PAIR(512, CFloor, 1);

ORV_POOL_PEERS(ORV_POOL_PAIR, 64, 1);
ORV_POOL_PEERS(ORV_POOL_PAIR, 512, 1);
ORV_POOL_PEERS(ORV_POOL_BATCH, 64, 1);
ORV_POOL_PEERS(ORV_POOL_BATCH, 512, 1);
ORV_POOL_PEERS(ORV_POOL_PAIR, 64, 2);
ORV_POOL_PEERS(ORV_POOL_PAIR, 512, 2);
ORV_POOL_PEERS(ORV_POOL_BATCH, 64, 2);
ORV_POOL_PEERS(ORV_POOL_BATCH, 512, 2);

} // namespace

int main(int argc, char** argv)
{
    return RunBenches(argc, argv);
}
