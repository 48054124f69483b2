// The ID hash map beside chained and open-addressing sets: insert, hit, miss, iterate and erase of random
// IDs.
#include "orvcomtypes/orvhashmap.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <random>
#include <unordered_set>
#include <vector>

#ifdef ORV_HAS_BOOST
#include <boost/unordered_set.hpp>
#endif
#ifdef ORV_HAS_ABSL
#include <absl/container/flat_hash_set.h>
#endif
#ifdef ORV_HAS_TSL
#include <tsl/robin_set.h>
#endif

namespace
{

struct COurs
{
    void Insert(unsigned id) { m_set.SetItem(id); }
    bool Contains(unsigned id) const { return m_set.IsExists(id); }
    void Erase(unsigned id) { m_set.RemoveItem(id); }
    unsigned Sum() const
    {
        unsigned nSum = 0;
        m_set.ForEach([&nSum](unsigned id) { nSum += id; });
        return nSum;
    }

    OCT::CPrtvHashMap<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>> m_set;
};

/// Iterates by value, as callers of the interface do.
struct COursNextItem : COurs
{
    unsigned Sum() const
    {
        unsigned nSum = 0;
        for (unsigned id = m_set.GetNextItem(0); id != 0; id = m_set.GetNextItem(id))
            nSum += id;
        return nSum;
    }
};

template <class Set>
struct CPeer
{
    void Insert(unsigned id) { m_set.insert(id); }
    bool Contains(unsigned id) const { return m_set.find(id) != m_set.end(); }
    void Erase(unsigned id) { m_set.erase(id); }
    unsigned Sum() const
    {
        unsigned nSum = 0;
        for (const unsigned id : m_set)
            nSum += id;
        return nSum;
    }

    Set m_set;
};

/// The same IDs for every container; the second half of them is never inserted.
struct CIds
{
    explicit CIds(std::size_t nCount)
    {
        std::mt19937 random(12345);
        std::unordered_set<unsigned> all;
        while (all.size() < 2 * nCount)
            if (const auto id = static_cast<unsigned>(random()); id != 0)
                all.insert(id);
        std::vector<unsigned> ids(all.begin(), all.end());
        std::shuffle(ids.begin(), ids.end(), random);
        m_present.assign(ids.begin(), ids.begin() + static_cast<std::ptrdiff_t>(nCount));
        m_absent.assign(ids.begin() + static_cast<std::ptrdiff_t>(nCount), ids.end());
        m_shuffled = m_present;
        std::shuffle(m_shuffled.begin(), m_shuffled.end(), random);
    }

    std::vector<unsigned> m_present;
    std::vector<unsigned> m_shuffled;
    std::vector<unsigned> m_absent;
};

const CIds& Ids(const benchmark::State& state)
{
    static std::map<std::int64_t, CIds> s_ids;
    return s_ids.try_emplace(state.range(0), static_cast<std::size_t>(state.range(0))).first->second;
}

template <class Set>
void Fill(Set& set, const std::vector<unsigned>& ids)
{
    for (const unsigned id : ids)
        set.Insert(id);
}

template <class Set>
void Insert(benchmark::State& state)
{
    const CIds& ids = Ids(state);
    for ([[maybe_unused]] auto _ : state)
    {
        Set set;
        Fill(set, ids.m_present);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Set>
void LookUp(benchmark::State& state, std::vector<unsigned> CIds::*pLookedUp)
{
    const CIds& ids = Ids(state);
    Set set;
    Fill(set, ids.m_present);
    for ([[maybe_unused]] auto _ : state)
    {
        unsigned nFound = 0;
        for (const unsigned id : ids.*pLookedUp)
            nFound += set.Contains(id) ? 1 : 0;
        benchmark::DoNotOptimize(nFound);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Set>
void Hit(benchmark::State& state)
{
    LookUp<Set>(state, &CIds::m_shuffled);
}

template <class Set>
void Miss(benchmark::State& state)
{
    LookUp<Set>(state, &CIds::m_absent);
}

template <class Set>
void Iterate(benchmark::State& state)
{
    const CIds& ids = Ids(state);
    Set set;
    Fill(set, ids.m_present);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(set.Sum());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Set>
void Erase(benchmark::State& state)
{
    const CIds& ids = Ids(state);
    for ([[maybe_unused]] auto _ : state)
    {
        state.PauseTiming();
        Set set;
        Fill(set, ids.m_present);
        state.ResumeTiming();
        for (const unsigned id : ids.m_shuffled)
            set.Erase(id);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

#define ORV_BENCH_CASE(name, type) BENCHMARK_TEMPLATE(name, type)->Arg(1000)->Arg(100000)->Arg(1000000)
#define ORV_BENCH_SET(type) \
    ORV_BENCH_CASE(Insert, type); \
    ORV_BENCH_CASE(Hit, type); \
    ORV_BENCH_CASE(Miss, type); \
    ORV_BENCH_CASE(Iterate, type); \
    ORV_BENCH_CASE(Erase, type)

using StdUnorderedSet = CPeer<std::unordered_set<unsigned>>;
ORV_BENCH_SET(COurs);
ORV_BENCH_CASE(Iterate, COursNextItem);
ORV_BENCH_SET(StdUnorderedSet);
#ifdef ORV_HAS_BOOST
using BoostUnorderedSet = CPeer<boost::unordered_set<unsigned>>;
ORV_BENCH_SET(BoostUnorderedSet);
#endif
#ifdef ORV_HAS_ABSL
using AbslFlatHashSet = CPeer<absl::flat_hash_set<unsigned>>;
ORV_BENCH_SET(AbslFlatHashSet);
#endif
#ifdef ORV_HAS_TSL
using TslRobinSet = CPeer<tsl::robin_set<unsigned>>;
ORV_BENCH_SET(TslRobinSet);
#endif

} // namespace

BENCHMARK_MAIN();
