// Our texts in one program with those of Qt, ICU, Boost and {fmt}: each hands its text to ours and gets it
// back, and the ways over stdbridge.h are measured beside their own.
#include <fmt/format.h>

#include <unicode/unistr.h>

#include <QHash>
#include <QString>

#include "orvcomtypes/stdbridge.h"

#include <benchmark/benchmark.h>
#include <boost/container/flat_set.hpp>
#include <boost/unordered_map.hpp>

#include <cstdlib>
#include <unordered_map>
#include <vector>

namespace
{

const std::u16string kText = u"Tous les êtres humains naissent libres et égaux en dignité 😀. ";

QString ToQt(const COrvStr& s)
{
    const auto text = OCT::ToStdView(s);
    return QString::fromUtf16(text.data(), static_cast<int>(text.size()));
}

icu::UnicodeString ToIcu(const COrvStr& s)
{
    const auto text = OCT::ToStdView(s);
    return {text.data(), static_cast<int>(text.size())};
}

// Ends the program unless every library says the same of one text.
void Check()
{
    const COrvStr s = OCT::FromStdText(kText);
    const icu::UnicodeString icu = ToIcu(s);
    std::string sIcu;
    icu.toUTF8String(sIcu);
    const boost::container::flat_set<COrvStr, OCT::CLessUnits> set{s, COrvStr(u"a")};
    const bool bSame = OCT::FromStdText(ToQt(s).toStdU16String()) == s &&
                       OCT::FromStdText(std::u16string_view(icu.getBuffer(), kText.size())) == s &&
                       ToQt(s).toStdString() == OCT::ToStdText(s) && sIcu == OCT::ToStdText(s) &&
                       fmt::format("{}", s) == sIcu && set.contains(kText);
    if (!bSame)
        std::abort();
}

void ToUtf8Ours(benchmark::State& state)
{
    Check();
    const COrvStr s = OCT::FromStdText(kText);
    for (auto _ : state)
        benchmark::DoNotOptimize(OCT::ToStdText(s));
}
BENCHMARK(ToUtf8Ours);

void ToUtf8Qt(benchmark::State& state)
{
    const QString s = QString::fromStdU16String(kText);
    for (auto _ : state)
        benchmark::DoNotOptimize(s.toStdString());
}
BENCHMARK(ToUtf8Qt);

void ToUtf8Icu(benchmark::State& state)
{
    const icu::UnicodeString s(kText.data(), static_cast<int>(kText.size()));
    for (auto _ : state)
    {
        std::string sBytes;
        benchmark::DoNotOptimize(s.toUTF8String(sBytes));
    }
}
BENCHMARK(ToUtf8Icu);

void FromUtf8Ours(benchmark::State& state)
{
    const std::string sBytes = OCT::ToStdText(OCT::FromStdText(kText));
    for (auto _ : state)
        benchmark::DoNotOptimize(OCT::FromStdText(sBytes));
}
BENCHMARK(FromUtf8Ours);

void FromUtf8Qt(benchmark::State& state)
{
    const std::string sBytes = OCT::ToStdText(OCT::FromStdText(kText));
    for (auto _ : state)
        benchmark::DoNotOptimize(QString::fromStdString(sBytes));
}
BENCHMARK(FromUtf8Qt);

// Looks 1000 keys up in a map of that library's kind.
template <class Map, class Key, class Find>
void LookUp(benchmark::State& state, Key key, Find find)
{
    Map map;
    std::vector<typename Map::key_type> keys;
    for (int i = 0; i < 1000; ++i)
    {
        keys.push_back(
            key(kText.substr(0, 20) + OCT::ToStdText<char16_t>(COrvStr(fmt::to_string(i).c_str()))));
        map[keys.back()] = i;
    }
    for (auto _ : state)
        for (const auto& k : keys)
            benchmark::DoNotOptimize(find(map, k));
    state.SetItemsProcessed(state.iterations() * 1000);
}
const auto kFindStd = [](const auto& map, const auto& k) { return map.find(k)->second; };

void LookUpOurs(benchmark::State& state)
{
    using Map = std::unordered_map<COrvStr, int, std::hash<COrvStr>, OCT::CEqualUnits>;
    LookUp<Map>(state, OCT::FromStdText<std::u16string>, kFindStd);
}
BENCHMARK(LookUpOurs);

void LookUpOursInBoost(benchmark::State& state)
{
    using Map = boost::unordered_map<COrvStr, int, std::hash<COrvStr>, OCT::CEqualUnits>;
    LookUp<Map>(state, OCT::FromStdText<std::u16string>, kFindStd);
}
BENCHMARK(LookUpOursInBoost);

void LookUpQt(benchmark::State& state)
{
    LookUp<QHash<QString, int>>(state, QString::fromStdU16String,
                                [](const auto& map, const QString& k) { return map.find(k).value(); });
}
BENCHMARK(LookUpQt);

} // namespace

BENCHMARK_MAIN();
