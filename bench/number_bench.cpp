// Numbers to text and back beside what other C++ programs would use for the same text. What a writer gives is
// compared with the standard library's text of every value before it is measured.
#include "core/numtext.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/stringutils.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#ifdef ORV_HAS_FMT
#include <fmt/compile.h>
#include <fmt/format.h>
#define ORV_FMT(...) __VA_ARGS__
#else
#define ORV_FMT(...)
#endif
#ifdef ORV_HAS_DOUBLE_CONVERSION
#include <double-conversion/double-conversion.h>
#define ORV_DOUBLE_CONVERSION(...) __VA_ARGS__
#else
#define ORV_DOUBLE_CONVERSION(...)
#endif

namespace
{

constexpr std::size_t kCount = 4096;
constexpr std::size_t kRoom = 400;

template <class Value>
using CValues = std::array<Value, kCount>;

template <class Value, class Make>
CValues<Value> Generate(Make make)
{
    std::mt19937_64 random(20061);
    CValues<Value> values;
    std::generate(values.begin(), values.end(), [&] { return make(random); });
    return values;
}

// ---- What is written ----

/// Numbers of all lengths alike.
template <class Int>
CValues<Int> AnyLength()
{
    return Generate<Int>([](std::mt19937_64& random) {
        return static_cast<Int>(static_cast<Int>(random()) >> (random() % (8 * sizeof(Int))));
    });
}

/// Record numbers of a large table.
template <class Int>
CValues<Int> Ids()
{
    return Generate<Int>(
        [](std::mt19937_64& random) { return static_cast<Int>(1000000 + random() % 9000000); });
}

/// Amounts with a number of decimals.
template <int Decimals>
CValues<double> Amounts()
{
    return Generate<double>([](std::mt19937_64& random) {
        double dPower = 1;
        for (int i = 0; i < Decimals; ++i)
            dPower *= 10;
        return static_cast<double>(random() % (100000 * static_cast<std::uint64_t>(dPower))) / dPower;
    });
}

/// Measurements: every binary place is used.
CValues<double> Measurements()
{
    return Generate<double>(
        [](std::mt19937_64& random) { return std::uniform_real_distribution<double>(0, 100000)(random); });
}

/// Every magnitude that a double can have.
CValues<double> AnyMagnitude()
{
    return Generate<double>(
        [](std::mt19937_64& random) { return std::bit_cast<double>(random() & 0x7FEFFFFFFFFFFFFF); });
}

// ---- Writers ----

struct COurInt
{
    static constexpr const char* kName = "ours";
    template <class Char, class Int>
    static Char* Put(Char* p, Int n)
    {
        return OCT::PutDecimal(p, n);
    }
};

struct CStdInt
{
    static constexpr const char* kName = "std";
    template <class Int>
    static char* Put(char* p, Int n)
    {
        return std::to_chars(p, p + kRoom, n).ptr;
    }
    template <class Int>
    static char16_t* Put(char16_t* p, Int n)
    {
        char sText[kRoom];
        return std::copy(sText, Put(sText, n), p);
    }
};

#ifdef ORV_HAS_FMT
struct CFmtInt
{
    static constexpr const char* kName = "fmt";
    template <class Int>
    static char* Put(char* p, Int n)
    {
        return fmt::format_to(p, FMT_COMPILE("{}"), n);
    }
    template <class Int>
    static char16_t* Put(char16_t* p, Int n)
    {
        const fmt::format_int text(n);
        return std::copy_n(text.data(), text.size(), p);
    }
};
#endif

template <int Decimals>
struct COurFixed
{
    static constexpr const char* kName = "ours";
    static char* Put(char* p, double d) { return OCT::PutFixed(p, d, Decimals); }
};

template <int Digits>
struct COurGeneral
{
    static constexpr const char* kName = "ours";
    static char* Put(char* p, double d) { return OCT::PutDouble(p, d, Digits); }
};

template <int Decimals>
struct CStdFixed
{
    static constexpr const char* kName = "std";
    static char* Put(char* p, double d)
    {
        return std::to_chars(p, p + kRoom, d, std::chars_format::fixed, Decimals).ptr;
    }
};

template <int Digits>
struct CStdGeneral
{
    static constexpr const char* kName = "std";
    static char* Put(char* p, double d)
    {
        return std::to_chars(p, p + kRoom, d, std::chars_format::general, Digits).ptr;
    }
};

#ifdef ORV_HAS_FMT
template <int Decimals>
struct CFmtFixed
{
    static constexpr const char* kName = "fmt";
    static char* Put(char* p, double d) { return fmt::format_to(p, FMT_COMPILE("{:.{}f}"), d, Decimals); }
};

template <int Digits>
struct CFmtGeneral
{
    static constexpr const char* kName = "fmt";
    static char* Put(char* p, double d) { return fmt::format_to(p, FMT_COMPILE("{:.{}g}"), d, Digits); }
};
#endif

#ifdef ORV_HAS_DOUBLE_CONVERSION
using CConverter = double_conversion::DoubleToStringConverter;

template <int Decimals>
struct CDoubleConversionFixed
{
    static constexpr const char* kName = "double-conversion";
    static char* Put(char* p, double d)
    {
        static const CConverter s_converter(CConverter::NO_FLAGS, "inf", "nan", 'e', -5, 21, 6, 0);
        double_conversion::StringBuilder builder(p, kRoom);
        s_converter.ToFixed(d, Decimals, &builder);
        return p + builder.position();
    }
};

template <int Digits>
struct CDoubleConversionGeneral
{
    static constexpr const char* kName = "double-conversion";
    static char* Put(char* p, double d)
    {
        static const CConverter s_converter(CConverter::EMIT_POSITIVE_EXPONENT_SIGN |
                                                CConverter::NO_TRAILING_ZERO,
                                            "inf", "nan", 'e', -5, 21, 3, 0, 2);
        double_conversion::StringBuilder builder(p, kRoom);
        s_converter.ToPrecision(d, Digits, &builder);
        return p + builder.position();
    }
};
#endif

// ---- Benchmarks ----

template <class Writer, class Expected, class Char, class Value>
void WriteNumbers(benchmark::State& state, const CValues<Value>& values)
{
    Char sText[kRoom];
    for (const Value value : values)
    {
        char sExpected[kRoom];
        const std::string expected(sExpected, Expected::Put(sExpected, value));
        const std::string text(sText, Writer::Put(sText, value));
        if (text != expected)
            return state.SkipWithError(("writes " + text + " for " + expected).c_str());
    }
    std::size_t i = 0;
    for ([[maybe_unused]] auto _ : state)
    {
        benchmark::DoNotOptimize(Writer::Put(sText, values[i++ % kCount]));
        benchmark::ClobberMemory();
    }
}

template <class Writer, class Expected, class Char, class Value>
void Register(const std::string& sName, const CValues<Value>& values)
{
    benchmark::RegisterBenchmark((sName + "/" + Writer::kName).c_str(), [values](benchmark::State& state) {
        WriteNumbers<Writer, Expected, Char>(state, values);
    });
}

template <class Char, class Int>
void IntToText(const char* sName, const CValues<Int>& values)
{
    Register<COurInt, CStdInt, Char>(sName, values);
    Register<CStdInt, CStdInt, Char>(sName, values);
    ORV_FMT(Register<CFmtInt, CStdInt, Char>(sName, values);)
}

template <int Decimals>
void FixedToText(const char* sName, const CValues<double>& values)
{
    using Expected = CStdFixed<Decimals>;
    Register<COurFixed<Decimals>, Expected, char>(sName, values);
    Register<Expected, Expected, char>(sName, values);
    ORV_FMT(Register<CFmtFixed<Decimals>, Expected, char>(sName, values);)
    ORV_DOUBLE_CONVERSION(Register<CDoubleConversionFixed<Decimals>, Expected, char>(sName, values);)
}

template <int Digits>
void DoubleToText(const char* sName, const CValues<double>& values)
{
    using Expected = CStdGeneral<Digits>;
    Register<COurGeneral<Digits>, Expected, char>(sName, values);
    Register<Expected, Expected, char>(sName, values);
    ORV_FMT(Register<CFmtGeneral<Digits>, Expected, char>(sName, values);)
    // Its texts of small numbers are others.
    const bool bSame = *std::min_element(values.begin(), values.end()) >= 0.001;
    ORV_DOUBLE_CONVERSION(if (bSame)
                              Register<CDoubleConversionGeneral<Digits>, Expected, char>(sName, values);)
    (void)bSame;
}

// ---- Lists ----

struct COurList
{
    static constexpr const char* kName = "ours";
    void Clear() { m_sText.Truncate(0); }
    void Add(unsigned n)
    {
        m_sText.AppendNum(n);
        m_sText.AppendChar(u',');
    }
    std::u16string Text() const { return std::u16string(m_sText); }

    COrvStr m_sText;
};

template <class Writer>
struct CStdList
{
    static constexpr const char* kName = Writer::kName;
    void Clear() { m_sText.clear(); }
    void Add(unsigned n)
    {
        char16_t sText[24];
        m_sText.append(sText, Writer::Put(sText, n));
        m_sText.push_back(u',');
    }
    std::u16string Text() const { return m_sText; }

    std::u16string m_sText;
};

template <class List>
void AppendIds(benchmark::State& state)
{
    constexpr std::size_t nIds = 50;
    const CValues<unsigned> ids = Ids<unsigned>();
    List list;
    CStdList<CStdInt> expected;
    for (std::size_t i = 0; i < nIds; ++i)
        expected.Add(ids[i]);
    for ([[maybe_unused]] auto _ : state)
    {
        list.Clear();
        for (std::size_t i = 0; i < nIds; ++i)
            list.Add(ids[i]);
        benchmark::ClobberMemory();
    }
    if (list.Text() != expected.Text())
        state.SkipWithError("appends another text");
    state.SetItemsProcessed(state.iterations() * nIds);
}

template <class List>
void RegisterList()
{
    benchmark::RegisterBenchmark((std::string("append50ids_utf16/") + List::kName).c_str(), AppendIds<List>);
}

// ---- Text to numbers ----

// The library's parsers are called through pointers, as a program calls the shared library.
template <class Int, class Char>
using Parser = Int(ORVCALL*)(const Char* p);

template <class Int>
struct CText
{
    explicit CText(Int n) : m_sNarrow(std::to_string(n)), m_sWide(m_sNarrow.begin(), m_sNarrow.end()) {}

    std::string m_sNarrow;
    std::u16string m_sWide;
};

template <class Int, class Parse>
void RegisterParser(const std::string& sName, const CValues<Int>& values, Parse parse)
{
    benchmark::RegisterBenchmark(sName.c_str(), [values, parse](benchmark::State& state) {
        const std::vector<CText<Int>> texts(values.begin(), values.end());
        for (std::size_t i = 0; i < kCount; ++i)
            if (parse(texts[i]) != values[i])
                return state.SkipWithError(("misreads " + texts[i].m_sNarrow).c_str());
        std::size_t i = 0;
        for ([[maybe_unused]] auto _ : state)
            benchmark::DoNotOptimize(parse(texts[i++ % kCount]));
    });
}

template <class Int>
void TextToInt(const std::string& sName, const CValues<Int>& values, Parser<Int, char> pfnNarrow,
               Parser<Int, WCHAR> pfnWide)
{
    RegisterParser(sName + "/ours", values,
                   [=](const CText<Int>& text) { return pfnNarrow(text.m_sNarrow.c_str()); });
    RegisterParser(sName + "_utf16/ours", values,
                   [=](const CText<Int>& text) { return pfnWide(text.m_sWide.c_str()); });
    RegisterParser(sName + "/std", values, [](const CText<Int>& text) {
        Int n = 0;
        std::from_chars(text.m_sNarrow.data(), text.m_sNarrow.data() + text.m_sNarrow.size(), n);
        return n;
    });
}

// ---- Hexadecimal ----

struct COurHex
{
    static constexpr const char* kName = "ours";
    template <class Char>
    static void Put(Char* p, const std::vector<unsigned char>& bytes)
    {
        OCT::PutHexBytes(p, bytes.data(), bytes.size());
    }
};

struct CByteLoop
{
    static constexpr const char* kName = "byte-loop";
    template <class Char>
    static void Put(Char* p, const std::vector<unsigned char>& bytes)
    {
        for (const unsigned char byte : bytes)
        {
            *p++ = static_cast<Char>("0123456789ABCDEF"[byte >> 4]);
            *p++ = static_cast<Char>("0123456789ABCDEF"[byte & 0xF]);
        }
    }
};

template <class Writer, class Char>
void BytesToHex(benchmark::State& state)
{
    const CValues<std::uint64_t> values = AnyLength<std::uint64_t>();
    std::vector<unsigned char> bytes(8192);
    std::memcpy(bytes.data(), values.data(), bytes.size());
    std::vector<Char> text(2 * bytes.size());
    std::vector<Char> expected(text.size());
    CByteLoop::Put(expected.data(), bytes);
    Writer::Put(text.data(), bytes);
    if (text != expected)
        return state.SkipWithError("writes other digits");
    for ([[maybe_unused]] auto _ : state)
    {
        Writer::Put(text.data(), bytes);
        benchmark::ClobberMemory();
    }
}

template <class Char>
void RegisterHex(const std::string& sName)
{
    benchmark::RegisterBenchmark((sName + "/ours").c_str(), BytesToHex<COurHex, Char>);
    benchmark::RegisterBenchmark((sName + "/byte-loop").c_str(), BytesToHex<CByteLoop, Char>);
}

const bool g_bRegistered = [] {
    IntToText<char>("int32", AnyLength<int>());
    IntToText<char>("uint64", AnyLength<std::uint64_t>());
    IntToText<char>("ids", Ids<unsigned>());
    IntToText<char16_t>("int32_utf16", AnyLength<int>());
    IntToText<char16_t>("uint64_utf16", AnyLength<std::uint64_t>());
    IntToText<char16_t>("ids_utf16", Ids<unsigned>());
    FixedToText<2>("fixed2", Amounts<2>());
    FixedToText<6>("fixed6", Amounts<6>());
    FixedToText<6>("fixed6_measured", Measurements());
    DoubleToText<6>("digits6", Measurements());
    DoubleToText<15>("digits15_decimals2", Amounts<2>());
    DoubleToText<15>("digits15_decimals6", Amounts<6>());
    DoubleToText<15>("digits15_measured", Measurements());
    DoubleToText<15>("digits15_magnitudes", AnyMagnitude());
    RegisterList<COurList>();
    RegisterList<CStdList<CStdInt>>();
    ORV_FMT(RegisterList<CStdList<CFmtInt>>();)
    TextToInt<LONG>("parse_int32", AnyLength<LONG>(), naive_atol, naive_wtol);
    TextToInt<LONGLONG>("parse_int64", AnyLength<LONGLONG>(), naive_atoll, naive_wtoll);
    TextToInt<LONG>("parse_ids", Ids<LONG>(), naive_atol, naive_wtol);
    RegisterHex<char>("hex8k");
    RegisterHex<char16_t>("hex8k_utf16");
    return true;
}();

} // namespace

BENCHMARK_MAIN();
