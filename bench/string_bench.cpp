// The life of short texts and their collation, against the strings that other C++ programs would use.
//
// What a case does is looked at before it is measured. Texts and lengths come from the arguments, so that the
// compiler knows no more of them than in a program.
#include "orvcomtypes/orvstr.h"

#include "second_thread.h"

#include <unicode/coll.h>
#include <unicode/unistr.h>

#include <memory>
#include <string>
#include <string_view>

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
    static void Append(Value& value, const char16_t* s, unsigned n) { value.Append(s, n); }
    static void Cut(Value& value, unsigned n) { value.Truncate(n); }
    static void MakePrivate(Value& value) { value.Truncate(value.GetLength()); }
    static int Find(const Value& value, char16_t c) { return value.Find(c); }
    static int Find(const Value& value, const Value& find) { return value.FindSubStr(find); }
    static void Replace(Value& value, const Value& from, const Value& to) { value.Replace(from, to); }
    static int Compare(const Value& a, const Value& b) { return CompareOrvString(a, b, false); }
    static std::u16string_view Text(const Value& value) { return {value, value.GetLength()}; }
};

struct CStd
{
    using Value = std::u16string;
    static Value Make(const char16_t* s) { return Value(s); }
    static void Append(Value& value, char16_t c) { value.push_back(c); }
    static void Append(Value& value, const char16_t* s, unsigned n) { value.append(s, n); }
    static void Cut(Value& value, unsigned n) { value.resize(n); }
    static void MakePrivate(Value&) {} // a copy is private
    static int Find(const Value& value, char16_t c) { return static_cast<int>(value.find(c)); }
    static int Find(const Value& value, const Value& find) { return static_cast<int>(value.find(find)); }
    static std::u16string_view Text(const Value& value) { return value; }
};

struct CIcu
{
    using Value = icu::UnicodeString;
    static Value Make(const char16_t* s) { return Value(s); }
    static void Append(Value& value, char16_t c) { value.append(c); }
    static void Append(Value& value, const char16_t* s, unsigned n)
    {
        value.append(s, 0, static_cast<int>(n));
    }
    static void Cut(Value& value, unsigned n) { value.truncate(static_cast<int>(n)); }
    static void MakePrivate(Value& value)
    {
        const int nLength = value.length();
        value.getBuffer(-1);
        value.releaseBuffer(nLength);
    }
    static int Find(const Value& value, char16_t c) { return value.indexOf(c); }
    static int Find(const Value& value, const Value& find) { return value.indexOf(find); }
    static void Replace(Value& value, const Value& from, const Value& to) { value.findAndReplace(from, to); }
    static std::u16string_view Text(const Value& value)
    {
        return {value.getBuffer(), static_cast<std::size_t>(value.length())};
    }
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
    static std::u16string_view Text(const Value& value)
    {
        return {reinterpret_cast<const char16_t*>(value.utf16()), static_cast<std::size_t>(value.size())};
    }
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

/// Measures what \p make returns, after a look at whether that is \p expected.
template <class String, class Make>
void Measure(benchmark::State& state, std::u16string_view expected, Make make)
{
    if (String::Text(make()) != expected)
        return state.SkipWithError("wrong result");
    for (auto _ : state)
    {
        auto value = make();
        benchmark::DoNotOptimize(value);
    }
}

template <class String>
void Construct(benchmark::State& state)
{
    const std::u16string text = TextOfLength(state);
    Measure<String>(state, text, [&text] { return String::Make(text.c_str()); });
}

template <class String>
void CopyShared(benchmark::State& state)
{
    const std::u16string text = TextOfLength(state);
    const auto source = String::Make(text.c_str());
    Measure<String>(state, text, [&source] { return source; });
}

/// A copy that is then written to.
template <class String>
void CopyPrivate(benchmark::State& state)
{
    const std::u16string text = TextOfLength(state);
    const auto source = String::Make(text.c_str());
    Measure<String>(state, text, [&source] {
        auto value = source;
        String::MakePrivate(value);
        return value;
    });
}

/// Builds a text one character at a time; items are characters.
template <class String>
void AppendOne(benchmark::State& state)
{
    const std::u16string text = TextOfLength(state);
    Measure<String>(state, text, [&text] {
        typename String::Value value;
        for (const char16_t c : text)
            String::Append(value, c);
        return value;
    });
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// Builds a text a piece at a time, growing as each string does; items are pieces.
template <class String>
void AppendPieces(benchmark::State& state)
{
    const std::u16string text = TextOfLength(state);
    const auto nPiece = static_cast<unsigned>(state.range(1));
    Measure<String>(state, text, [&text, nPiece] {
        typename String::Value value;
        for (unsigned i = 0; i < text.size(); i += nPiece)
            String::Append(value, text.data() + i, nPiece);
        return value;
    });
    state.SetItemsProcessed(state.iterations() * state.range(0) / nPiece);
}

/// Appends a piece to a text that has room for it, and takes it away again.
template <class String>
void AppendInRoom(benchmark::State& state)
{
    const std::u16string text = TextOfLength(state);
    const auto nPiece = static_cast<unsigned>(text.size());
    auto value = String::Make(text.c_str());
    for (auto _ : state)
    {
        String::Append(value, text.data(), nPiece);
        benchmark::DoNotOptimize(value);
        String::Cut(value, nPiece);
    }
    String::Append(value, text.data(), nPiece);
    if (String::Text(value) != text + text)
        state.SkipWithError("wrong result");
}

/// A character, or a word, that stands at the end of the text only.
template <class String>
void FindCharacter(benchmark::State& state)
{
    const auto text = String::Make((TextOfLength(state) + u'#').c_str());
    if (String::Find(text, u'#') != state.range(0))
        return state.SkipWithError("not found");
    for (auto _ : state)
        benchmark::DoNotOptimize(String::Find(text, u'#'));
}

template <class String>
void FindWord(benchmark::State& state)
{
    const auto text = String::Make((TextOfLength(state) + u"needle").c_str());
    const auto find = String::Make(u"needle");
    if (String::Find(text, find) != state.range(0))
        return state.SkipWithError("not found");
    for (auto _ : state)
        benchmark::DoNotOptimize(String::Find(text, find));
}

/// Every 26th character becomes two.
template <class String>
void ReplaceWords(benchmark::State& state)
{
    const std::u16string text = TextOfLength(state);
    std::u16string replaced = text;
    for (std::size_t nAt = 0; (nAt = replaced.find(u"xyz", nAt)) != replaced.npos; nAt += 4)
        replaced.insert(nAt, 1, u'w');
    const auto source = String::Make(text.c_str());
    const auto from = String::Make(u"xyz");
    const auto to = String::Make(u"wxyz");
    Measure<String>(state, replaced, [&] {
        auto value = source;
        String::Replace(value, from, to);
        return value;
    });
}

constexpr const char16_t* kPairs[][2] = {
    {u"Inventory transfer order, line 17", u"Inventory transfer order, line 18"},
    {u"Inventory transfer order, line 17", u"Inventory transfer order, line 17"},
    {u"\u00C1rv\u00EDzt\u0171r\u0151 t\u00FCk\u00F6rf\u00FAr\u00F3g\u00E9p",
     u"\u00C1rv\u00EDzt\u0171r\u0151 t\u00FCk\u00F6rf\u00FAr\u00F3g\u00E9pek"},
};

/// 0: ASCII texts that differ at the end; 1: equal texts; 2: European texts.
template <class String>
void Compare(benchmark::State& state)
{
    const auto a = String::Make(kPairs[state.range(0)][0]);
    const auto b = String::Make(kPairs[state.range(0)][1]);
    if ((String::Compare(a, b) == 0) != (state.range(0) == 1))
        return state.SkipWithError("wrong result");
    for (auto _ : state)
        benchmark::DoNotOptimize(String::Compare(a, b));
}

} // namespace

BENCHMARK_TEMPLATE(Construct, COurs)->Arg(12)->Arg(36)->Arg(120)->Arg(350);
BENCHMARK_TEMPLATE(Construct, CStd)->Arg(12)->Arg(36)->Arg(120)->Arg(350);
BENCHMARK_TEMPLATE(Construct, CIcu)->Arg(12)->Arg(36)->Arg(120)->Arg(350);
ORV_QT(Construct, ->Arg(12)->Arg(36)->Arg(120)->Arg(350));
BENCHMARK_TEMPLATE(Construct, COurs)->Arg(36)->Threads(2)->Threads(4);
BENCHMARK_TEMPLATE(Construct, CStd)->Arg(36)->Threads(2)->Threads(4);

BENCHMARK_TEMPLATE(AppendPieces, COurs)->Args({350, 10});
BENCHMARK_TEMPLATE(AppendPieces, CStd)->Args({350, 10});
BENCHMARK_TEMPLATE(AppendPieces, CIcu)->Args({350, 10});
BENCHMARK_TEMPLATE(AppendInRoom, COurs)->Arg(10);
BENCHMARK_TEMPLATE(AppendInRoom, CStd)->Arg(10);
BENCHMARK_TEMPLATE(AppendInRoom, CIcu)->Arg(10);

BENCHMARK_TEMPLATE(CopyPrivate, COurs)->Arg(36)->Arg(1000);
BENCHMARK_TEMPLATE(CopyPrivate, CStd)->Arg(36)->Arg(1000);
BENCHMARK_TEMPLATE(CopyPrivate, CIcu)->Arg(36)->Arg(1000);

BENCHMARK_TEMPLATE(FindCharacter, COurs)->Arg(350);
BENCHMARK_TEMPLATE(FindCharacter, CStd)->Arg(350);
BENCHMARK_TEMPLATE(FindCharacter, CIcu)->Arg(350);
BENCHMARK_TEMPLATE(FindWord, COurs)->Arg(350)->Arg(4000);
BENCHMARK_TEMPLATE(FindWord, CStd)->Arg(350)->Arg(4000);
BENCHMARK_TEMPLATE(FindWord, CIcu)->Arg(350)->Arg(4000);
BENCHMARK_TEMPLATE(ReplaceWords, COurs)->Arg(350);
BENCHMARK_TEMPLATE(ReplaceWords, CIcu)->Arg(350);

BENCHMARK_TEMPLATE(AppendPieces, COurs)->Args({350, 10})->Threads(2);
BENCHMARK_TEMPLATE(AppendPieces, CStd)->Args({350, 10})->Threads(2);
BENCHMARK_TEMPLATE(ReplaceWords, COurs)->Arg(350)->Threads(2);
BENCHMARK_TEMPLATE(ReplaceWords, CIcu)->Arg(350)->Threads(2);

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
    return RunBenches(argc, argv);
}
