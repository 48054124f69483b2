// Statements beside what other programs build them with: the same text, checked before it is measured.
//
// Peers that write UTF-16 as we do are std::u16string with to_chars and Qt; std::string with to_chars and
// {fmt} write half the bytes.
#include "orvcomtypes/orvsqlstr.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#ifdef ORV_HAS_FMT
#include <fmt/format.h>
#endif
#ifdef ORV_BENCH_QT
#include <QString>
#endif

namespace
{

// ---- What is written ----

struct CRow
{
    int m_nId = 1048577;
    const char16_t* m_sName = u"O'Brien, Patrick and daughters";
    const char16_t* m_sStreet = u"12 Long Acre, Old Harbour";
    unsigned m_nCount = 17;
    std::int64_t m_nTotal = 123456789012;
    double m_dPrice = 1249.5;
    double m_dRate = 0.0725;
    int m_nState = 3;
    const char16_t* m_sCode = u"AX-2210-7";
    std::uint64_t m_nVersion = 18446744073709551615u;
    int m_tChanged = 1700000000;
    const char16_t* m_sNote = u"delivered to the neighbour's door; signed";
};

constexpr char16_t kInsert[] =
    u"INSERT INTO Orders (Id,Name,Street,Cnt,Total,Price,Rate,State,Code,Ver,Changed,Note) VALUES (";

// ---- The builders: each can append text, a literal and numbers, and begin anew ----

struct COurs
{
    COrvSQLStr m_sql;

    void Begin(unsigned nReserve = 1024) { m_sql = COrvSQLStr(nReserve); }
    void Text(const char16_t* s) { m_sql& s; }
    void Literal(const char16_t* s) { m_sql& NVARCHAR{s, 0, 0}; }
    template <class Number>
    void Value(Number n)
    {
        m_sql& n;
    }
    void Binary(const std::vector<unsigned char>& bytes)
    {
        (m_sql & BINARY{bytes.data(), static_cast<unsigned>(bytes.size())});
    }
    void Ids(const CMIDINTArray& ids) { m_sql& CSQLMIDINTArray(ids, false); }
    std::u16string Result() const { return static_cast<const char16_t*>(m_sql); }
};

template <class Char>
struct CStd
{
    using String = std::basic_string<Char>;
    String m_s;

    void Begin(unsigned nReserve = 1024)
    {
        m_s = String();
        m_s.reserve(nReserve);
    }
    void Text(const Char* s) { m_s += s; }
    void Literal(const Char* s)
    {
        const std::basic_string_view<Char> text(s);
        if constexpr (sizeof(Char) == 2)
            m_s += u"N'";
        else
            m_s += "N'";
        std::size_t iFrom = 0;
        for (std::size_t i; (i = text.find('\'', iFrom)) != text.npos; iFrom = i + 1)
        {
            m_s.append(text, iFrom, i + 1 - iFrom);
            m_s += Char('\'');
        }
        m_s.append(text, iFrom);
        m_s += Char('\'');
    }
    template <class Number>
    void Value(Number n)
    {
        char s[40];
        const char* pEnd;
        if constexpr (std::is_floating_point_v<Number>)
            pEnd = std::to_chars(s, s + 40, n, std::chars_format::general, 15).ptr;
        else
            pEnd = std::to_chars(s, s + 40, n).ptr;
        const std::size_t nLen = m_s.size();
        m_s.resize(nLen + static_cast<std::size_t>(pEnd - s));
        std::copy(static_cast<const char*>(s), pEnd, m_s.begin() + static_cast<std::ptrdiff_t>(nLen));
    }
    void Binary(const std::vector<unsigned char>& bytes)
    {
        static constexpr char kDigits[] = "0123456789ABCDEF";
        m_s.reserve(m_s.size() + 2 + 2 * bytes.size());
        m_s += Char('0');
        m_s += Char('x');
        for (const unsigned char b : bytes)
        {
            m_s += Char(kDigits[b >> 4]);
            m_s += Char(kDigits[b & 15]);
        }
    }
    void Ids(const CMIDINTArray& ids)
    {
        for (const char c : {' ', 'i', 'n', ' ', '('})
            m_s += Char(c);
        for (unsigned i = 0; i < ids.GetCount(); ++i)
        {
            if (i > 0)
                m_s += Char(',');
            Value(ids[i]);
        }
        m_s += Char(')');
    }
    std::u16string Result() const { return std::u16string(m_s.begin(), m_s.end()); }
};

#ifdef ORV_HAS_FMT
struct CFmt
{
    fmt::memory_buffer m_s;

    void Begin(unsigned nReserve = 1024)
    {
        m_s = fmt::memory_buffer();
        m_s.reserve(nReserve);
    }
    void Text(const char* s) { m_s.append(std::string_view(s)); }
    void Literal(const char* s)
    {
        const std::string_view text(s);
        m_s.append(std::string_view("N'"));
        std::size_t iFrom = 0;
        for (std::size_t i; (i = text.find('\'', iFrom)) != text.npos; iFrom = i + 1)
        {
            m_s.append(text.substr(iFrom, i + 1 - iFrom));
            m_s.push_back('\'');
        }
        m_s.append(text.substr(iFrom));
        m_s.push_back('\'');
    }
    void Value(double d) { fmt::format_to(fmt::appender(m_s), FMT_STRING("{:.15g}"), d); }
    template <std::integral Int>
    void Value(Int n)
    {
        const fmt::format_int text(n);
        m_s.append(text.data(), text.data() + text.size());
    }
    void Ids(const CMIDINTArray& ids)
    {
        m_s.append(std::string_view(" in ("));
        for (unsigned i = 0; i < ids.GetCount(); ++i)
        {
            if (i > 0)
                m_s.push_back(',');
            Value(ids[i]);
        }
        m_s.push_back(')');
    }
    std::u16string Result() const { return std::u16string(m_s.begin(), m_s.end()); }
};
#endif

#ifdef ORV_BENCH_QT
struct CQt
{
    QString m_s;

    void Begin(unsigned nReserve = 1024)
    {
        m_s = QString();
        m_s.reserve(static_cast<int>(nReserve));
    }
    void Text(const char16_t* s) { m_s += QStringView(s); }
    void Literal(const char16_t* s)
    {
        QString text = QString::fromUtf16(s);
        text.replace(QLatin1Char('\''), QLatin1String("''"));
        m_s += QLatin1String("N'");
        m_s += text;
        m_s += QLatin1Char('\'');
    }
    void Value(double d) { m_s += QString::number(d, 'g', 15); }
    void Value(std::int64_t n) { m_s += QString::number(static_cast<qlonglong>(n)); }
    void Value(std::uint64_t n) { m_s += QString::number(static_cast<qulonglong>(n)); }
    void Value(int n) { m_s += QString::number(n); }
    void Value(unsigned n) { m_s += QString::number(n); }
    void Ids(const CMIDINTArray& ids)
    {
        m_s += QLatin1String(" in (");
        for (unsigned i = 0; i < ids.GetCount(); ++i)
        {
            if (i > 0)
                m_s += QLatin1Char(',');
            Value(ids[i]);
        }
        m_s += QLatin1Char(')');
    }
    std::u16string Result() const { return m_s.toStdU16String(); }
};
#define ORV_QT(bench, ...) BENCHMARK_TEMPLATE(bench, CQt) __VA_ARGS__
#else
#define ORV_QT(...) static_assert(true)
#endif

/// A text in the builder's units.
template <class Builder>
struct CTextOf
{
    static constexpr bool kNarrow = !requires(Builder & builder) { builder.Text(u""); };
    using Char = std::conditional_t<kNarrow, char, char16_t>;

    std::basic_string<Char> m_s;

    CTextOf(const std::u16string& s) : m_s(s.begin(), s.end()) {}
    operator const Char*() const { return m_s.c_str(); }
};

// ---- The work ----

template <class Builder>
struct CInsert
{
    using Text = CTextOf<Builder>;

    CRow m_row;
    Text m_sInsert{kInsert}, m_sComma{u", "}, m_sEnd{u")"};
    Text m_sName{m_row.m_sName}, m_sStreet{m_row.m_sStreet}, m_sCode{m_row.m_sCode}, m_sNote{m_row.m_sNote};

    void operator()(Builder& sql) const
    {
        sql.Begin();
        sql.Text(m_sInsert);
        sql.Value(m_row.m_nId), sql.Text(m_sComma);
        sql.Literal(m_sName), sql.Text(m_sComma);
        sql.Literal(m_sStreet), sql.Text(m_sComma);
        sql.Value(m_row.m_nCount), sql.Text(m_sComma);
        sql.Value(m_row.m_nTotal), sql.Text(m_sComma);
        sql.Value(m_row.m_dPrice), sql.Text(m_sComma);
        sql.Value(m_row.m_dRate), sql.Text(m_sComma);
        sql.Value(m_row.m_nState), sql.Text(m_sComma);
        sql.Literal(m_sCode), sql.Text(m_sComma);
        sql.Value(m_row.m_nVersion), sql.Text(m_sComma);
        sql.Value(m_row.m_tChanged), sql.Text(m_sComma);
        sql.Literal(m_sNote);
        sql.Text(m_sEnd);
    }
};

void Check(const std::u16string& sResult, const std::u16string& sExpected)
{
    if (sResult == sExpected)
        return;
    std::fputs("the peers do not write the same text\n", stderr);
    std::exit(1);
}

/// Measures \p work after comparing its result with ours.
template <class Builder, class Work, class OurWork>
void Run(benchmark::State& state, const Work& work, const OurWork& ourWork)
{
    Builder sql;
    COurs ours;
    work(sql);
    ourWork(ours);
    Check(sql.Result(), ours.Result());
    for (auto _ : state)
    {
        work(sql);
        benchmark::DoNotOptimize(sql);
        benchmark::ClobberMemory();
    }
}

template <class Builder>
void Insert(benchmark::State& state)
{
    Run<Builder>(state, CInsert<Builder>(), CInsert<COurs>());
}

/// Literals of so many units, a quote in each 30, behind each other; an item is a literal.
template <class Builder>
void Literal(benchmark::State& state)
{
    std::u16string s;
    for (int i = 0; i < state.range(0); ++i)
        s += i % 30 == 13 ? u'\'' : static_cast<char16_t>(u'a' + i % 26);
    const CTextOf<Builder> text(s);
    const int iLiterals = static_cast<int>(40000 / state.range(0));
    const auto work = [&](auto& sql, const auto& value) {
        sql.Begin(iLiterals * (static_cast<unsigned>(state.range(0)) + 200));
        for (int i = 0; i < iLiterals; ++i)
            sql.Literal(value);
    };
    Run<Builder>(
        state, [&](Builder& sql) { work(sql, text); }, [&](COurs& sql) { work(sql, s.c_str()); });
    state.SetItemsProcessed(state.iterations() * iLiterals);
}

template <class Builder>
void Binary(benchmark::State& state)
{
    std::vector<unsigned char> bytes(static_cast<std::size_t>(state.range(0)));
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(i * 167);
    const auto work = [&](auto& sql) { sql.Begin(), sql.Binary(bytes); };
    Run<Builder>(state, work, work);
}

template <class Builder>
void IdList(benchmark::State& state)
{
    CMIDINTArray ids;
    unsigned nId = 1;
    for (int i = 0; i < state.range(0); ++i)
        ids.AddId((nId = nId * 1664525 + 1013904223) >> (nId % 24));
    const auto work = [&](auto& sql) { sql.Begin(), sql.Ids(ids); };
    Run<Builder>(state, work, work);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

#ifdef ORV_HAS_FMT
#define ORV_FMT(bench, ...) BENCHMARK_TEMPLATE(bench, CFmt) __VA_ARGS__
#else
#define ORV_FMT(...) static_assert(true)
#endif

#define ORV_ALL(bench, ...) \
    BENCHMARK_TEMPLATE(bench, COurs) __VA_ARGS__; \
    BENCHMARK_TEMPLATE(bench, CStd<char16_t>) __VA_ARGS__; \
    BENCHMARK_TEMPLATE(bench, CStd<char>) __VA_ARGS__; \
    ORV_FMT(bench, __VA_ARGS__); \
    ORV_QT(bench, __VA_ARGS__)

ORV_ALL(Insert);
ORV_ALL(IdList, ->Arg(50)->Arg(50000));
ORV_ALL(Literal, ->Arg(60)->Arg(4096));
BENCHMARK_TEMPLATE(Binary, COurs)->Arg(8192);
BENCHMARK_TEMPLATE(Binary, CStd<char16_t>)->Arg(8192);
BENCHMARK_TEMPLATE(Binary, CStd<char>)->Arg(8192);

BENCHMARK_MAIN();
