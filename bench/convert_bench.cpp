// Conversions beside ICU's, Qt's and the C library's, for text of 32 bytes, 1 KB and 1 MB.
#include "orvcomtypes/stringutils.h"

#include "second_thread.h"

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <string>
#include <vector>

#include <iconv.h>

#ifdef ORV_BENCH_QT
#include <QString>
#endif

namespace
{

struct CScript
{
    const char* m_sName;
    std::u16string m_sText;
};

const CScript kScripts[] = {
    {"ascii", u"INSERT INTO packages (name, version, status) VALUES ('libc6', '2.36-9', 'installed'); "},
    {"european",
     u"Minden emberi lény szabadon születik és egyenlő méltósága és joga van. Alle Menschen sind frei und "
     u"gleich an Würde und Rechten geboren. Tous les êtres humains naissent libres et égaux en dignité "
     u"et en droits. Wszyscy ludzie rodzą się wolni i równi w godności i prawach. Todos los seres humanos "
     u"nacen libres e iguales en dignidad y derechos, dotados como están de razón y conciencia. "},
    {"cjk", u"漢字とかな交じり文の変換を測ります。中文字符转换测试，文本应当保持不变。"},
    {"emoji", u"😀👍🏽🎉🚀🌍💾🔥✨📦🧪"},
};
const CScript kAnsiScripts[] = {
    kScripts[0],
    {"european",
     u"Alle Menschen sind frei und gleich an Würde und Rechten geboren. Tous les êtres humains naissent "
     u"libres et égaux en dignité et en droits. Todos los seres humanos nacen libres e iguales en "
     u"dignidad y derechos, dotados como están de razón y conciencia – für 20 €. "},
};

// The script repeated to about so many bytes, without cutting a pair.
std::u16string TextOf(const CScript& script, std::size_t cb, std::size_t cbUnit)
{
    std::u16string sText;
    while (sText.size() * cbUnit < cb)
        sText += script.m_sText;
    std::size_t n = cb / cbUnit;
    if (n && sText[n - 1] >= 0xD800 && sText[n - 1] <= 0xDBFF)
        --n;
    return sText.substr(0, n);
}

std::string Utf8Of(const std::u16string& sText)
{
    std::string sBytes(sText.size() * 3 + 1, 0);
    int n = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(sBytes.data(), static_cast<int>(sBytes.size()), &n, sText.data(),
                static_cast<int>(sText.size()), &status);
    sBytes.resize(static_cast<std::size_t>(n));
    return sBytes;
}

// What one benchmark converts, in all forms, with room for any result.
struct CInput
{
    std::u16string m_sWide;
    std::string m_sUtf8;
    std::string m_sAnsi;
    std::vector<char> m_vNarrow;
    std::vector<char16_t> m_vWide;
    std::size_t m_nResult = 0; // units of the last conversion in m_vNarrow or m_vWide

    explicit CInput(std::u16string sWide)
        : m_sWide(std::move(sWide)),
          m_sUtf8(Utf8Of(m_sWide)),
          m_sAnsi(m_sWide.size() + 1, 0),
          m_vNarrow(m_sWide.size() * 3 + 16),
          m_vWide(m_sUtf8.size() + 16)
    {
        m_sAnsi.resize(static_cast<std::size_t>(
            UnicodeToANSI(m_sWide.c_str(), m_sAnsi.data(), static_cast<unsigned>(m_sAnsi.size()), 1252)));
    }

    void Put(int n) { m_nResult = static_cast<std::size_t>(n); }

    unsigned NarrowRoom() const { return static_cast<unsigned>(m_vNarrow.size()); }
    unsigned WideRoom() const { return static_cast<unsigned>(m_vWide.size()); }
};

using Convert = void (*)(CInput&);

void OursUtf8ToWide(CInput& in)
{
    in.Put(UTF8ToUnicodeEx(in.m_sUtf8.data(), in.m_sUtf8.data() + in.m_sUtf8.size(), in.m_vWide.data(),
                           in.WideRoom()));
}

void IcuUtf8ToWide(CInput& in)
{
    UErrorCode status = U_ZERO_ERROR;
    int n;
    u_strFromUTF8WithSub(in.m_vWide.data(), static_cast<int>(in.WideRoom()), &n, in.m_sUtf8.data(),
                         static_cast<int>(in.m_sUtf8.size()), 0xFFFD, nullptr, &status);
    in.Put(n);
}

void OursWideToUtf8(CInput& in)
{
    in.Put(UnicodeToUTF8Ex(in.m_sWide.data(), in.m_sWide.data() + in.m_sWide.size(), in.m_vNarrow.data(),
                           in.NarrowRoom()));
}

void IcuWideToUtf8(CInput& in)
{
    UErrorCode status = U_ZERO_ERROR;
    int n;
    u_strToUTF8WithSub(in.m_vNarrow.data(), static_cast<int>(in.NarrowRoom()), &n, in.m_sWide.data(),
                       static_cast<int>(in.m_sWide.size()), 0xFFFD, nullptr, &status);
    in.Put(n);
}

void OursAnsiToWide(CInput& in)
{
    in.Put(ANSIToUnicodeEx(in.m_sAnsi.data(), in.m_sAnsi.data() + in.m_sAnsi.size(), in.m_vWide.data(),
                           in.WideRoom(), 1252));
}

void OursWideToAnsi(CInput& in)
{
    in.Put(UnicodeToANSIEx(in.m_sWide.data(), in.m_sWide.data() + in.m_sWide.size(), in.m_vNarrow.data(),
                           in.NarrowRoom(), 1252));
}

UConverter* Windows1252()
{
    static UErrorCode s_status = U_ZERO_ERROR;
    static UConverter* const s_pConverter = ucnv_open("windows-1252", &s_status);
    return s_pConverter;
}

void IcuAnsiToWide(CInput& in)
{
    UErrorCode status = U_ZERO_ERROR;
    in.Put(ucnv_toUChars(Windows1252(), in.m_vWide.data(), static_cast<int>(in.WideRoom()), in.m_sAnsi.data(),
                         static_cast<int>(in.m_sAnsi.size()), &status));
}

void IcuWideToAnsi(CInput& in)
{
    UErrorCode status = U_ZERO_ERROR;
    in.Put(ucnv_fromUChars(Windows1252(), in.m_vNarrow.data(), static_cast<int>(in.NarrowRoom()),
                           in.m_sWide.data(), static_cast<int>(in.m_sWide.size()), &status));
}

// Without a word on what does not fit or is damaged: the texts here do and are not.
std::size_t RunIconv(iconv_t converter, const void* pSrc, std::size_t cbSrc, void* pDest, std::size_t cbDest)
{
    auto* pFrom = static_cast<char*>(const_cast<void*>(pSrc));
    auto* pTo = static_cast<char*>(pDest);
    const std::size_t cbRoom = cbDest;
    iconv(converter, &pFrom, &cbSrc, &pTo, &cbDest);
    return cbRoom - cbDest;
}

void IconvUtf8ToWide(CInput& in)
{
    static const iconv_t s_converter = iconv_open("UTF-16LE", "UTF-8");
    in.m_nResult = RunIconv(s_converter, in.m_sUtf8.data(), in.m_sUtf8.size(), in.m_vWide.data(),
                            2 * in.m_vWide.size()) /
                   2;
}

void IconvWideToUtf8(CInput& in)
{
    static const iconv_t s_converter = iconv_open("UTF-8", "UTF-16LE");
    in.m_nResult = RunIconv(s_converter, in.m_sWide.data(), 2 * in.m_sWide.size(), in.m_vNarrow.data(),
                            in.m_vNarrow.size());
}

#ifdef ORV_BENCH_QT
// Qt makes texts of its own, of which only the length is looked at.
void QtUtf8ToWide(CInput& in)
{
    const auto sText = QString::fromUtf8(in.m_sUtf8.data(), static_cast<int>(in.m_sUtf8.size()));
    in.Put(sText.size());
}

void QtWideToUtf8(CInput& in)
{
    const auto sText = QString::fromRawData(reinterpret_cast<const QChar*>(in.m_sWide.data()),
                                            static_cast<int>(in.m_sWide.size()));
    in.Put(sText.toUtf8().size());
}
#endif

struct CContender
{
    const char* m_sName;
    Convert m_pfnConvert;
    bool m_bInBuffer = true; // whether the result is in the input's buffer
};

struct CDirection
{
    const char* m_sName;
    bool m_bToWide;
    std::vector<CContender> m_vContenders;
};

const CDirection kUtf8ToWide{"utf8_to_wide",
                             true,
                             {
                                 {"ours", OursUtf8ToWide},
                                 {"icu", IcuUtf8ToWide},
                                 {"iconv", IconvUtf8ToWide},
#ifdef ORV_BENCH_QT
                                 {"qt", QtUtf8ToWide, false},
#endif
                             }};
const CDirection kWideToUtf8{"wide_to_utf8",
                             false,
                             {
                                 {"ours", OursWideToUtf8},
                                 {"icu", IcuWideToUtf8},
                                 {"iconv", IconvWideToUtf8},
#ifdef ORV_BENCH_QT
                                 {"qt", QtWideToUtf8, false},
#endif
                             }};
const CDirection kAnsiToWide{"1252_to_wide", true, {{"ours", OursAnsiToWide}, {"icu", IcuAnsiToWide}}};
const CDirection kWideToAnsi{"wide_to_1252", false, {{"ours", OursWideToAnsi}, {"icu", IcuWideToAnsi}}};

template <class Char>
bool IsResult(const CInput& in, const CContender& contender, const std::vector<Char>& vBuffer,
              const std::basic_string<Char>& sExpected)
{
    return in.m_nResult == sExpected.size() &&
           (!contender.m_bInBuffer || std::equal(sExpected.begin(), sExpected.end(), vBuffer.begin()));
}

// Ours converts the halves of a pair one by one.
std::string WithoutPairs(const std::u16string& sWide)
{
    std::u16string sText = sWide;
    std::replace_if(
        sText.begin(), sText.end(), [](char16_t c) { return (c & 0xF800) == 0xD800; }, u'\uFFFD');
    return Utf8Of(sText);
}

bool IsRight(const CDirection& direction, const CContender& contender, CInput& in)
{
    contender.m_pfnConvert(in);
    if (direction.m_bToWide)
        return IsResult(in, contender, in.m_vWide, in.m_sWide);
    if (&direction == &kWideToAnsi)
        return IsResult(in, contender, in.m_vNarrow, in.m_sAnsi);
    return IsResult(in, contender, in.m_vNarrow,
                    contender.m_pfnConvert == OursWideToUtf8 ? WithoutPairs(in.m_sWide) : in.m_sUtf8);
}

void Register(const CDirection& direction, const CScript& script, std::size_t cb, std::size_t cbUnit)
{
    for (const CContender& contender : direction.m_vContenders)
    {
        const std::string sName = std::string(direction.m_sName) + '/' + script.m_sName + '/' +
                                  std::to_string(cb) + '/' + contender.m_sName;
        benchmark::RegisterBenchmark(
            sName.c_str(), [&direction, &script, cb, cbUnit, &contender](benchmark::State& state) {
                CInput input(TextOf(script, cb, cbUnit));
                if (!IsRight(direction, contender, input))
                    return state.SkipWithError("wrong result");
                for (auto _ : state)
                {
                    contender.m_pfnConvert(input);
                    benchmark::ClobberMemory();
                }
                state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * cb));
            });
    }
}

// The bytes that a script takes for a unit in UTF-8, so that sizes mean the same for every script.
std::size_t Utf8BytesPerUnit(const CScript& script)
{
    return std::max<std::size_t>(1, Utf8Of(script.m_sText).size() / script.m_sText.size());
}

} // namespace

int main(int argc, char** argv)
{
    for (const std::size_t cb : {std::size_t{32}, std::size_t{1024}, std::size_t{1} << 20})
    {
        for (const CScript& script : kScripts)
        {
            Register(kUtf8ToWide, script, cb, Utf8BytesPerUnit(script));
            Register(kWideToUtf8, script, cb, Utf8BytesPerUnit(script));
        }
        for (const CScript& script : kAnsiScripts)
        {
            Register(kAnsiToWide, script, cb, 1);
            Register(kWideToAnsi, script, cb, 1);
        }
    }
    return RunBenches(argc, argv);
}
