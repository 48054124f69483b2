// Arrays of IDs beside the standard vector and vectors with inline storage: push, and insert and erase in the
// middle.
#include "orvcomtypes/midintarray.h"

#include <benchmark/benchmark.h>

#include <vector>

#ifdef ORV_HAS_BOOST
#include <boost/container/small_vector.hpp>
#endif
#ifdef ORV_HAS_ABSL
#include <absl/container/inlined_vector.h>
#endif

namespace
{

struct COurs
{
    void Push(unsigned id) { m_ids.Add(id); }
    void Insert(unsigned idx, unsigned id) { m_ids.InsertAt(idx, id); }
    void Erase(unsigned idx) { m_ids.RemoveAt(idx, 1); }
    const unsigned* Data() const { return m_ids.GetData(); }

    CMIDINTArray m_ids;
};

template <class Vector>
struct CPeer
{
    void Push(unsigned id) { m_ids.push_back(id); }
    void Insert(unsigned idx, unsigned id) { m_ids.insert(m_ids.begin() + idx, id); }
    void Erase(unsigned idx) { m_ids.erase(m_ids.begin() + idx); }
    const unsigned* Data() const { return m_ids.data(); }

    Vector m_ids;
};

template <class Array>
void Push(benchmark::State& state)
{
    const auto nCount = static_cast<unsigned>(state.range(0));
    for ([[maybe_unused]] auto _ : state)
    {
        Array array;
        for (unsigned i = 0; i < nCount; ++i)
            array.Push(i);
        benchmark::DoNotOptimize(array.Data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * nCount);
}

template <class Array>
void InsertMiddle(benchmark::State& state)
{
    const auto nCount = static_cast<unsigned>(state.range(0));
    for ([[maybe_unused]] auto _ : state)
    {
        Array array;
        for (unsigned i = 0; i < nCount; ++i)
            array.Insert(i / 2, i);
        benchmark::DoNotOptimize(array.Data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * nCount);
}

template <class Array>
void EraseMiddle(benchmark::State& state)
{
    const auto nCount = static_cast<unsigned>(state.range(0));
    for ([[maybe_unused]] auto _ : state)
    {
        state.PauseTiming();
        Array array;
        for (unsigned i = 0; i < nCount; ++i)
            array.Push(i);
        state.ResumeTiming();
        for (unsigned i = nCount; i > 1; --i)
            array.Erase(i / 2);
        benchmark::DoNotOptimize(array.Data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * nCount);
}

#define ORV_BENCH_ARRAY(type) \
    BENCHMARK_TEMPLATE(Push, type)->Arg(8)->Arg(100)->Arg(1000000); \
    BENCHMARK_TEMPLATE(InsertMiddle, type)->Arg(1000)->Arg(20000); \
    BENCHMARK_TEMPLATE(EraseMiddle, type)->Arg(1000)->Arg(20000)

using StdVector = CPeer<std::vector<unsigned>>;
ORV_BENCH_ARRAY(COurs);
ORV_BENCH_ARRAY(StdVector);
#ifdef ORV_HAS_BOOST
using BoostSmallVector = CPeer<boost::container::small_vector<unsigned, 8>>;
ORV_BENCH_ARRAY(BoostSmallVector);
#endif
#ifdef ORV_HAS_ABSL
using AbslInlinedVector = CPeer<absl::InlinedVector<unsigned, 8>>;
ORV_BENCH_ARRAY(AbslInlinedVector);
#endif

} // namespace

BENCHMARK_MAIN();
