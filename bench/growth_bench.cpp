// How cost grows, beside peers: with elements, with characters, with threads. scripts/bench.sh draws it.
#include "orvcomtypes/midintarray.h"
#include "orvcomtypes/orvhashmap.h"
#include "orvcomtypes/orvlongstrbase.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/stringutils.h"

#include <benchmark/benchmark.h>
#include <unicode/ustring.h>

#include <string>
#include <unordered_set>
#include <vector>

namespace
{

// ---- Elements and characters: time for each ----

/// Numbers that differ and come in no order.
unsigned Id(unsigned i)
{
    return i * 2654435761u | 1u;
}

struct COurSet
{
    void Add(unsigned i) { m_set.SetItem(Id(2 * i)); }
    bool Has(unsigned i) const { return m_set.IsExists(Id(2 * i)); }
    OCT::CPrtvHashMap<unsigned, unsigned, OCT::CPrtvHashCompare<unsigned>> m_set;
};

struct CStdSet
{
    void Add(unsigned i) { m_set.insert(Id(2 * i)); }
    bool Has(unsigned i) const { return m_set.find(Id(2 * i)) != m_set.end(); }
    std::unordered_set<unsigned> m_set;
};

struct COurArray
{
    void Add(unsigned i) { m_array.AddId(i); }
    CMIDINTArray m_array;
};

struct CStdArray
{
    void Add(unsigned i) { m_array.push_back(i); }
    std::vector<unsigned> m_array;
};

struct COurText
{
    void Add(unsigned) { m_text.Append(ORVTEXT("0123456789"), 10); }
    COrvLongStr m_text;
};

struct CStdText
{
    void Add(unsigned) { m_text.append(u"0123456789", 10); }
    std::u16string m_text;
};

/// Makes what holds the given number of elements; each step adds \p Step of them.
template <class Container, unsigned Step>
void Fill(benchmark::State& state)
{
    const auto nSteps = static_cast<unsigned>(state.range(0)) / Step;
    for ([[maybe_unused]] auto _ : state)
    {
        Container container;
        for (unsigned i = 0; i < nSteps; ++i)
            container.Add(i);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Set>
void SetLookUp(benchmark::State& state)
{
    const auto nCount = static_cast<unsigned>(state.range(0));
    Set set;
    for (unsigned i = 0; i < nCount; ++i)
        set.Add(i);
    unsigned i = 0;
    for ([[maybe_unused]] auto _ : state)
    {
        i = (i + 7919) % nCount;
        if (!set.Has(i))
            return state.SkipWithError("not found");
    }
    state.SetItemsProcessed(state.iterations());
}

std::string Sentence(std::size_t cb)
{
    std::string s;
    while (s.size() < cb)
        s += "Minden emberi l\xC3\xA9ny szabadon sz\xC3\xBCletik, ";
    s.resize(cb);
    while (!s.empty() && s.back() < 0)
        s.back() = ' ';
    return s;
}

struct COurDecoder
{
    static void Decode(const std::string& s, std::u16string& sWide)
    {
        UTF8ToUnicodeEx(s.data(), s.data() + s.size(), sWide.data(), static_cast<unsigned>(sWide.size()));
    }
};

struct CIcuDecoder
{
    static void Decode(const std::string& s, std::u16string& sWide)
    {
        UErrorCode status = U_ZERO_ERROR;
        u_strFromUTF8(sWide.data(), static_cast<int>(sWide.size()), nullptr, s.data(),
                      static_cast<int>(s.size()), &status);
    }
};

template <class Decoder>
void TextDecode(benchmark::State& state)
{
    const std::string s = Sentence(static_cast<std::size_t>(state.range(0)));
    std::u16string sWide(s.size() + 1, 0);
    for ([[maybe_unused]] auto _ : state)
    {
        Decoder::Decode(s, sWide);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// ---- Threads: time on the clock for each ----

struct COurString
{
    static COrvStr Make() { return COrvStr(ORVTEXT("a text that has no room inline")); }
};

struct CStdString
{
    static std::u16string Make() { return u"a text that has no room inline"; }
};

template <class String>
void ThreadsMakeTexts(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state)
    {
        auto s = String::Make();
        benchmark::DoNotOptimize(s);
    }
    state.SetItemsProcessed(state.iterations());
}

/// Each thread counts references of the same text.
template <class String>
void ThreadsShareAText(benchmark::State& state)
{
    static const auto s_text = String::Make();
    for ([[maybe_unused]] auto _ : state)
    {
        auto s = s_text;
        benchmark::DoNotOptimize(s);
    }
    state.SetItemsProcessed(state.iterations());
}

#define ORV_GROWTH(bench, from, to, ...) \
    BENCHMARK_TEMPLATE(bench, __VA_ARGS__)->RangeMultiplier(10)->Range(from, to)
#define ORV_FILL(name, type, step, from, to) ORV_GROWTH(Fill, from, to, type, step)->Name(name "<" #type ">")
#define ORV_THREADS(bench, type) BENCHMARK_TEMPLATE(bench, type)->ThreadRange(1, 8)->UseRealTime()

ORV_FILL("SetInsert", COurSet, 1, 1000, 10000000);
ORV_FILL("SetInsert", CStdSet, 1, 1000, 10000000);
ORV_GROWTH(SetLookUp, 1000, 10000000, COurSet);
ORV_GROWTH(SetLookUp, 1000, 10000000, CStdSet);
ORV_FILL("ArrayPush", COurArray, 1, 1000, 10000000);
ORV_FILL("ArrayPush", CStdArray, 1, 1000, 10000000);
ORV_GROWTH(TextDecode, 10, 1000000, COurDecoder);
ORV_GROWTH(TextDecode, 10, 1000000, CIcuDecoder);
ORV_FILL("TextBuild", COurText, 10, 10, 1000000);
ORV_FILL("TextBuild", CStdText, 10, 10, 1000000);
ORV_THREADS(ThreadsMakeTexts, COurString);
ORV_THREADS(ThreadsMakeTexts, CStdString);
ORV_THREADS(ThreadsShareAText, COurString);
ORV_THREADS(ThreadsShareAText, CStdString);

} // namespace

BENCHMARK_MAIN();
