// Comparing texts as the locale orders them, beside ICU's collator and Qt.
#include "orvcomtypes/orvstr.h"

#include "second_thread.h"

#include <unicode/ucol.h>
#include <unicode/unistr.h>

#include <string>
#include <vector>

#ifdef ORV_BENCH_QT
#include <QLocale>
#include <QString>
#endif

namespace
{

struct CPair
{
    const char* m_sName;
    int m_nSign; // who comes first; the peers tell a sharp s from two s
    std::u16string m_sA;
    std::u16string m_sB;
};

const CPair kPairs[] = {
    {"ascii_short", -1, u"linux-image", u"linux-libc"},
    {"ascii_late", -1, u"status installed libreoffice-core-nogui 4:7.4.7",
     u"status installed libreoffice-core-nogui 4:7.4.8"},
    {"ascii_case", 1, u"The Quick Brown Fox", u"the quick brown fox"},
    {"equal_short", 0, u"libc6:amd64", u"libc6:amd64"},
    {"equal_long", 0,
     u"status half-configured libreoffice-core-nogui:amd64 4:7.4.7-1+deb12u5 by the package manager",
     u"status half-configured libreoffice-core-nogui:amd64 4:7.4.7-1+deb12u5 by the package manager"},
    {"european_primary", -1, u"Árvíztűrő tükörfúrógép", u"Árvíztűrő ütvefúrógép"},
    {"european_accent", 1, u"côté péché pâté", u"coté pêche pate"},
    {"european_case", 1, u"Größere Flüsse führen", u"größere flüsse führen"},
    {"european_sharp_s", 0, u"größere Straßen", u"größere Strassen"},
    {"cyrillic", -1, u"Привет, мир и люди", u"Привет, мир и река"},
    {"cjk", -1, u"漢字とかな交じり文", u"漢字とカナ交じり文"},
};

template <class Compare>
void Measure(benchmark::State& state, const CPair& pair, bool bOurs, Compare compare)
{
    const int nResult = compare();
    if ((nResult > 0) - (nResult < 0) != pair.m_nSign && (bOurs || pair.m_nSign != 0))
        return state.SkipWithError("wrong result");
    for (auto _ : state)
        benchmark::DoNotOptimize(compare());
}

void CompareOurs(benchmark::State& state, const CPair& pair)
{
    Measure(state, pair, true, [&] { return CompareOrvString(pair.m_sA.c_str(), pair.m_sB.c_str(), false); });
}

void CompareIcu(benchmark::State& state, const CPair& pair)
{
    UErrorCode status = U_ZERO_ERROR;
    UCollator* const pCollator = ucol_open("en_US", &status);
    Measure(state, pair, false, [&] {
        return static_cast<int>(ucol_strcoll(pCollator, pair.m_sA.data(), static_cast<int>(pair.m_sA.size()),
                                             pair.m_sB.data(), static_cast<int>(pair.m_sB.size())));
    });
    ucol_close(pCollator);
}

#ifdef ORV_BENCH_QT
void CompareQt(benchmark::State& state, const CPair& pair)
{
    const QString sA = QString::fromUtf16(pair.m_sA.c_str());
    const QString sB = QString::fromUtf16(pair.m_sB.c_str());
    Measure(state, pair, false, [&] { return QString::localeAwareCompare(sA, sB); });
}
#endif

} // namespace

int main(int argc, char** argv)
{
#ifdef ORV_BENCH_QT
    // In the C locale Qt compares code units.
    QLocale::setDefault(QLocale("en_US"));
#endif
    for (const CPair& pair : kPairs)
    {
        const auto Register = [&](const char* sContender, void (*pfnRun)(benchmark::State&, const CPair&)) {
            benchmark::RegisterBenchmark((std::string("collate/") + pair.m_sName + '/' + sContender).c_str(),
                                         [&pair, pfnRun](benchmark::State& state) { pfnRun(state, pair); });
        };
        Register("ours", CompareOurs);
        Register("icu", CompareIcu);
#ifdef ORV_BENCH_QT
        Register("qt", CompareQt);
#endif
    }
    return RunBenches(argc, argv);
}
