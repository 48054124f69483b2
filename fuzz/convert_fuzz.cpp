// Conversions of every code page and of text files: whatever the room, a result fits and is terminated, less
// room gives the beginning of what more room gives, and UTF-8 and UTF-16 go into each other as a slow reader
// of them says.
#include "fuzzing.h"
#include "orvcomtypes/stringutils.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace
{

constexpr UINT kPages[] = {CP_ACP, 437,   737,  775,   850,   852,   855,   857,   860,   861,   862,
                           863,    865,   866,  874,   932,   936,   949,   950,   1250,  1251,  1252,
                           1253,   1254,  1255, 1256,  1257,  1258,  20127, 20866, 708,   720,   864,
                           869,    10000, 1361, 21866, 28591, 28592, 28593, 28594, 28595, 28596, 28597,
                           28598,  28599, 858,  28603, 28605, 54936, 50220, 65000, 1200,  12345};

/// Exactly that much room, so that a sanitizer sees a step beyond.
template <class Char, class Convert>
std::basic_string<Char> Converted(unsigned nRoom, Convert&& convert)
{
    std::vector<Char> buffer(nRoom, Char{'~'});
    const int n = convert(buffer.data(), nRoom);
    Require(n >= 0 && static_cast<unsigned>(n) < nRoom && buffer[static_cast<unsigned>(n)] == 0);
    return std::basic_string<Char>(buffer.data(), static_cast<unsigned>(n));
}

/// A conversion of a whole range, and into less room. Those that go on behind a character that does not fit
/// want two bytes for each; what they leave out is not known here.
template <class Char, class Convert>
std::basic_string<Char> CheckRooms(std::size_t nMost, unsigned nRoom, bool bEndsAtCut, Convert&& convert)
{
    const auto sWhole = Converted<Char>(static_cast<unsigned>(nMost) + 1, convert);
    const auto sPart = Converted<Char>(nRoom, convert);
    Require(sPart.size() <= sWhole.size());
    Require(sWhole.size() + !bEndsAtCut < nRoom ? sPart == sWhole : !bEndsAtCut || sWhole.starts_with(sPart));
    return sWhole;
}

/// The first character of what is left, by the table of well-formed sequences; damaged parts are as long as
/// they could still have become a character.
char32_t TakeUTF8(std::string_view& s)
{
    const auto Byte = [&s](std::size_t i) { return static_cast<unsigned char>(s[i]); };
    const unsigned char c = Byte(0);
    const std::size_t nTail = c < 0xC2 ? 0 : c < 0xE0 ? 1 : c < 0xF0 ? 2 : c < 0xF5 ? 3 : 0;
    char32_t cResult = nTail == 0 ? c : c & (0x3Fu >> nTail);
    std::size_t n = 1;
    for (; n <= nTail && n < s.size(); ++n)
    {
        const unsigned char nLeast = n == 1 && c == 0xE0 ? 0xA0 : n == 1 && c == 0xF0 ? 0x90 : 0x80;
        const unsigned char nLast = n == 1 && c == 0xED ? 0x9F : n == 1 && c == 0xF4 ? 0x8F : 0xBF;
        if (Byte(n) < nLeast || Byte(n) > nLast)
            break;
        cResult = cResult << 6 | (Byte(n) & 0x3Fu);
    }
    const bool bWhole = n == nTail + 1 && (nTail > 0 || c < 0x80);
    s.remove_prefix(n);
    return bWhole ? cResult : 0xFFFD;
}

Text SlowWide(std::string_view s)
{
    Text sResult;
    while (!s.empty())
    {
        const char32_t c = TakeUTF8(s);
        if (c >= 0x10000)
            sResult += static_cast<WCHAR>(0xD7C0 + (c >> 10));
        sResult += static_cast<WCHAR>(c >= 0x10000 ? 0xDC00 + (c & 0x3FF) : c);
    }
    return sResult;
}

/// Unit by unit, halves of pairs too.
std::string SlowUTF8(TextView s)
{
    std::string sResult;
    for (const WCHAR cUnit : s)
    {
        const unsigned c = (cUnit & 0xF800) == 0xD800 ? 0xFFFD : cUnit;
        if (c >= 0x800)
            sResult += {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 0x3F))};
        else if (c >= 0x80)
            sResult += static_cast<char>(0xC0 | c >> 6);
        sResult += static_cast<char>(c < 0x80 ? c : 0x80 | (c & 0x3F));
    }
    return sResult;
}

void CheckWide(const Text& s, UINT nPage, unsigned nRoom)
{
    const WCHAR* const pEnd = s.data() + s.size();
    // UTF-7 has marks around each run that was converted.
    CheckRooms<char>(8 * s.size() + 1, nRoom, nPage != 65000,
                     [&](char* p, unsigned n) { return UnicodeToANSIEx(s.data(), pEnd, p, n, nPage); });
    const auto sBytes = CheckRooms<char>(3 * s.size() + 1, nRoom, false, [&](char* p, unsigned n) {
        return UnicodeToUTF8Ex(s.data(), pEnd, p, n);
    });
    Require(sBytes == SlowUTF8(s));
}

void CheckNarrow(const std::string& s, UINT nPage, unsigned nRoom)
{
    const char* const pEnd = s.data() + s.size();
    CheckRooms<WCHAR>(2 * s.size() + 1, nRoom, true,
                      [&](WCHAR* p, unsigned n) { return ANSIToUnicodeEx(s.data(), pEnd, p, n, nPage); });
    const auto sWide = CheckRooms<WCHAR>(s.size() + 1, nRoom, true, [&](WCHAR* p, unsigned n) {
        return UTF8ToUnicodeEx(s.data(), pEnd, p, n);
    });
    Require(sWide == SlowWide(s));
    CheckRooms<char>(4 * s.size() + 1, nRoom, false,
                     [&](char* p, unsigned n) { return ANSIToUTF8Ex(s.data(), pEnd, p, n, nPage); });
    CheckRooms<char>(8 * s.size() + 1, nRoom, false,
                     [&](char* p, unsigned n) { return UTF8ToANSIEx(s.data(), pEnd, p, n, nPage); });
    Converted<WCHAR>(nRoom,
                     [&](WCHAR* p, unsigned n) { return UCNToUnicode(s.c_str(), p, static_cast<int>(n)); });
}

void CheckFile(const std::string& s)
{
    std::vector<WCHAR> buffer(s.size() + 1, WCHAR{'~'});
    const unsigned n = GetTextFileContents(s.data(), static_cast<unsigned>(s.size()), buffer.data());
    Require(n <= s.size() && buffer[n] == 0);
    if (s.starts_with("\xEF\xBB\xBF"))
        Require(Text(buffer.data(), n) == SlowWide(s.substr(3).c_str()) ||
                static_cast<std::size_t>(std::count(s.begin(), s.end(), '\0')) > s.size() / 3);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    if (nSize < 3)
        return 0;
    const UINT nPage = kPages[pData[0] % std::size(kPages)];
    const unsigned nRoom = 2u + pData[1];
    const std::string sBytes(reinterpret_cast<const char*>(pData + 2), nSize - 2);
    if (!sBytes.empty())
        CheckFile(sBytes);
    // The plain forms read up to a terminator, so a text has none inside.
    CheckNarrow(sBytes.c_str(), nPage, nRoom);
    Text sWide(sBytes.size() / sizeof(WCHAR), 0);
    std::memcpy(sWide.data(), sBytes.data(), sWide.size() * sizeof(WCHAR));
    CheckWide(sWide.c_str(), nPage, nRoom);
    return 0;
}
