// Long texts of names and values beside what other programs build them with: the same text, checked before it
// is measured. An item is a pair.
#include "orvcomtypes/orvlongstrbase.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#ifdef ORV_HAS_FMT
#include <fmt/format.h>
#endif
#ifdef ORV_BENCH_QT
#include <QString>
#endif

namespace
{

constexpr const char* kNames[] = {"id", "customer", "quantity ordered", "price"};
constexpr const char16_t* kWideNames[] = {u"id", u"customer", u"quantity ordered", u"price"};

struct CWide
{
    COrvLongStr m_s;

    void Pair(unsigned i, int n) { m_s + kWideNames[i % 4] + u'=' + n + u';'; }
    std::string Result() const
    {
        const std::u16string_view text(m_s);
        return std::string(text.begin(), text.end());
    }
};

struct CNarrow
{
    COrvLongAStr m_s;

    void Pair(unsigned i, int n) { m_s + kNames[i % 4] + '=' + n + ';'; }
    std::string Result() const { return static_cast<const char*>(m_s); }
};

template <class Char>
struct CStd
{
    std::basic_string<Char> m_s;

    void Pair(unsigned i, int n)
    {
        if constexpr (sizeof(Char) == 1)
            m_s += kNames[i % 4];
        else
            m_s += kWideNames[i % 4];
        m_s += Char('=');
        char s[16];
        const char* const pEnd = std::to_chars(s, s + 16, n).ptr;
        const std::size_t nLen = m_s.size();
        m_s.resize(nLen + static_cast<std::size_t>(pEnd - s));
        std::copy(static_cast<const char*>(s), pEnd, m_s.begin() + static_cast<std::ptrdiff_t>(nLen));
        m_s += Char(';');
    }
    std::string Result() const { return std::string(m_s.begin(), m_s.end()); }
};

#ifdef ORV_HAS_FMT
struct CFmt
{
    fmt::memory_buffer m_s;

    void Pair(unsigned i, int n)
    {
        fmt::format_to(fmt::appender(m_s), FMT_STRING("{}={};"), kNames[i % 4], n);
    }
    std::string Result() const { return fmt::to_string(m_s); }
};
#endif

#ifdef ORV_BENCH_QT
struct CQt
{
    QString m_s;

    void Pair(unsigned i, int n)
    {
        m_s += QStringView(kWideNames[i % 4]);
        m_s += QLatin1Char('=');
        m_s += QString::number(n);
        m_s += QLatin1Char(';');
    }
    std::string Result() const { return m_s.toStdString(); }
};
#endif

template <class Builder>
std::string Expected(int iPairs)
{
    Builder builder;
    for (int i = 0; i < iPairs; ++i)
        builder.Pair(static_cast<unsigned>(i), i * 7919);
    return builder.Result();
}

template <class Builder>
void Pairs(benchmark::State& state)
{
    const int iPairs = static_cast<int>(state.range(0));
    if (Expected<Builder>(iPairs) != Expected<CStd<char>>(iPairs))
    {
        std::fputs("the peers do not write the same text\n", stderr);
        std::exit(1);
    }
    for (auto _ : state)
    {
        Builder builder;
        for (int i = 0; i < iPairs; ++i)
            builder.Pair(static_cast<unsigned>(i), i * 7919);
        benchmark::DoNotOptimize(builder);
    }
    state.SetItemsProcessed(state.iterations() * iPairs);
}

} // namespace

BENCHMARK_TEMPLATE(Pairs, CWide)->Arg(10000);
BENCHMARK_TEMPLATE(Pairs, CNarrow)->Arg(10000);
BENCHMARK_TEMPLATE(Pairs, CStd<char>)->Arg(10000);
BENCHMARK_TEMPLATE(Pairs, CStd<char16_t>)->Arg(10000);
#ifdef ORV_HAS_FMT
BENCHMARK_TEMPLATE(Pairs, CFmt)->Arg(10000);
#endif
#ifdef ORV_BENCH_QT
BENCHMARK_TEMPLATE(Pairs, CQt)->Arg(10000);
#endif

BENCHMARK_MAIN();
