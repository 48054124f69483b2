// The life of short texts and their collation, against the strings that other C++ programs would use.
//
// A second thread exists all the time, as in every program that the library is made for, so that locks take
// the instructions that they need there; with the environment variable ORV_BENCH_ALONE there is none.
#include "orvcomtypes/orvstr.h"

#include <benchmark/benchmark.h>

#include <unicode/coll.h>
#include <unicode/unistr.h>

#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <thread>

#ifdef ORV_BENCH_QT
#include <QString>
#endif

namespace
{

struct COurs
{
    using Value = COrvStr;
    static Value Make(const char16_t* s) { return COrvStr(s); }
    static void Append(Value& value, char16_t c) { value.AppendChar(c); }
    static int Compare(const Value& a, const Value& b) { return CompareOrvString(a, b, false); }
};

struct CStd
{
    using Value = std::u16string;
    static Value Make(const char16_t* s) { return Value(s); }
    static void Append(Value& value, char16_t c) { value.push_back(c); }
};

struct CIcu
{
    using Value = icu::UnicodeString;
    static Value Make(const char16_t* s) { return Value(s); }
    static void Append(Value& value, char16_t c) { value.append(c); }
    static int Compare(const Value& a, const Value& b)
    {
        static const std::unique_ptr<icu::Collator> s_pCollator = [] {
            UErrorCode code = U_ZERO_ERROR;
            return std::unique_ptr<icu::Collator>(icu::Collator::createInstance(code));
        }();
        return s_pCollator->compare(a, b);
    }
};

#ifdef ORV_BENCH_QT
struct CQt
{
    using Value = QString;
    static Value Make(const char16_t* s) { return QString::fromUtf16(s); }
    static void Append(Value& value, char16_t c) { value.append(QChar(c)); }
};
#define ORV_QT(bench, ...) BENCHMARK_TEMPLATE(bench, CQt) __VA_ARGS__
#else
#define ORV_QT(...) static_assert(true)
#endif

std::u16string TextOfLength(benchmark::State& state)
{
    std::u16string text;
    for (int i = 0; i < state.range(0); ++i)
        text += static_cast<char16_t>(u'a' + i % 26);
    return text;
}

template <class String>
void Construct(benchmark::State& state)
{
    const std::u16string text = TextOfLength(state);
    for (auto _ : state)
    {
        auto value = String::Make(text.c_str());
        benchmark::DoNotOptimize(value);
    }
}

template <class String>
void CopyShared(benchmark::State& state)
{
    const auto source = String::Make(TextOfLength(state).c_str());
    for (auto _ : state)
    {
        auto value = source;
        benchmark::DoNotOptimize(value);
    }
}

/// Builds a text one character at a time; items are characters.
template <class String>
void AppendOne(benchmark::State& state)
{
    const std::u16string text = TextOfLength(state);
    for (auto _ : state)
    {
        typename String::Value value;
        for (const char16_t c : text)
            String::Append(value, c);
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

constexpr const char16_t* g_pairs[][2] = {
    {u"Inventory transfer order, line 17", u"Inventory transfer order, line 18"},
    {u"Inventory transfer order, line 17", u"Inventory transfer order, line 17"},
    {u"\u00C1rv\u00EDzt\u0171r\u0151 t\u00FCk\u00F6rf\u00FAr\u00F3g\u00E9p",
     u"\u00C1rv\u00EDzt\u0171r\u0151 t\u00FCk\u00F6rf\u00FAr\u00F3g\u00E9pek"},
};

/// 0: ASCII texts that differ at the end; 1: equal texts; 2: European texts.
template <class String>
void Compare(benchmark::State& state)
{
    const auto a = String::Make(g_pairs[state.range(0)][0]);
    const auto b = String::Make(g_pairs[state.range(0)][1]);
    for (auto _ : state)
        benchmark::DoNotOptimize(String::Compare(a, b));
}

} // namespace

BENCHMARK_TEMPLATE(Construct, COurs)->Arg(12)->Arg(60)->Arg(120)->Arg(350);
BENCHMARK_TEMPLATE(Construct, CStd)->Arg(12)->Arg(60)->Arg(120)->Arg(350);
BENCHMARK_TEMPLATE(Construct, CIcu)->Arg(12)->Arg(60)->Arg(120)->Arg(350);
ORV_QT(Construct, ->Arg(12)->Arg(60)->Arg(120)->Arg(350));

BENCHMARK_TEMPLATE(CopyShared, COurs)->Arg(60)->Arg(350);
BENCHMARK_TEMPLATE(CopyShared, CStd)->Arg(60)->Arg(350);
BENCHMARK_TEMPLATE(CopyShared, CIcu)->Arg(60)->Arg(350);
ORV_QT(CopyShared, ->Arg(60)->Arg(350));

BENCHMARK_TEMPLATE(AppendOne, COurs)->Arg(60)->Arg(1000);
BENCHMARK_TEMPLATE(AppendOne, CStd)->Arg(60)->Arg(1000);
BENCHMARK_TEMPLATE(AppendOne, CIcu)->Arg(60)->Arg(1000);
ORV_QT(AppendOne, ->Arg(60)->Arg(1000));

BENCHMARK_TEMPLATE(Compare, COurs)->DenseRange(0, 2);
BENCHMARK_TEMPLATE(Compare, CIcu)->DenseRange(0, 2);

int main(int argc, char** argv)
{
    std::promise<void> end;
    std::thread other;
    if (std::getenv("ORV_BENCH_ALONE") == nullptr)
        other = std::thread([&] { end.get_future().wait(); });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    end.set_value();
    if (other.joinable())
        other.join();
    return 0;
}
