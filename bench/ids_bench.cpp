// Sorting of ID arrays beside the standard algorithms on the same IDs.
#include "orvcomtypes/midintarray.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

namespace
{

/// What the IDs are like: any 32-bit number, or record numbers of one table as they are handed out.
enum class EIds
{
    Random,
    Dense
};

std::vector<unsigned> MakeIds(const benchmark::State& state, EIds eIds)
{
    std::mt19937 random(4711);
    std::vector<unsigned> ids(static_cast<std::size_t>(state.range(0)));
    for (unsigned& id : ids)
        id = eIds == EIds::Random ? static_cast<unsigned>(random())
                                  : static_cast<unsigned>(random() % ids.size());
    return ids;
}

struct COurs
{
    explicit COurs(const std::vector<unsigned>& ids)
    {
        m_ids.AddIds(static_cast<unsigned>(ids.size()), ids.data());
    }
    void Sort() { m_ids.SortIds(); }
    void Unique() { m_ids.Unique(); }

    CMIDINTArray m_ids;
};

struct CStd
{
    explicit CStd(const std::vector<unsigned>& ids) : m_ids(ids) {}
    void Sort() { std::sort(m_ids.begin(), m_ids.end()); }
    void Unique()
    {
        Sort();
        m_ids.erase(std::unique(m_ids.begin(), m_ids.end()), m_ids.end());
    }

    std::vector<unsigned> m_ids;
};

template <class Array, EIds Ids>
void Sort(benchmark::State& state)
{
    const auto ids = MakeIds(state, Ids);
    for ([[maybe_unused]] auto _ : state)
    {
        state.PauseTiming();
        Array array(ids);
        state.ResumeTiming();
        array.Sort();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Array, EIds Ids>
void Unique(benchmark::State& state)
{
    const auto ids = MakeIds(state, Ids);
    for ([[maybe_unused]] auto _ : state)
    {
        state.PauseTiming();
        Array array(ids);
        state.ResumeTiming();
        array.Unique();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

#define ORV_BENCH_IDS(type) \
    BENCHMARK_TEMPLATE(Sort, type, EIds::Random)->Arg(1000)->Arg(100000)->Arg(1000000); \
    BENCHMARK_TEMPLATE(Unique, type, EIds::Random)->Arg(1000000); \
    BENCHMARK_TEMPLATE(Unique, type, EIds::Dense)->Arg(1000000)

ORV_BENCH_IDS(COurs);
ORV_BENCH_IDS(CStd);

} // namespace

BENCHMARK_MAIN();
