#include "orvcomtypes/orvexport.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

namespace
{

using CText = std::basic_string<WCHAR>;

constexpr DWORD kNoWorkDone = 235; // not every SDK has a name for it

struct CResult
{
    DWORD m_nLength;
    DWORD m_dwError;
    CText m_sText;
};

CResult FormatInto(DWORD nSize, const WCHAR* sFormat, std::initializer_list<DWORD_PTR> given = {})
{
    DWORD_PTR arguments[99];
    for (auto& n : arguments)
        n = reinterpret_cast<DWORD_PTR>(ORVTEXT(""));
    std::copy(given.begin(), given.end(), arguments);
    WCHAR sBuffer[1000] = {};
    SetLastError(0);
    const DWORD nLength = FormatMessageW(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY, sFormat,
                                         0, 0, sBuffer, nSize, reinterpret_cast<va_list*>(arguments));
    return {nLength, nLength == 0 ? GetLastError() : 0, sBuffer};
}

CText Text(const WCHAR* sFormat, std::initializer_list<DWORD_PTR> given = {})
{
    const CResult result = FormatInto(1000, sFormat, given);
    EXPECT_EQ(result.m_sText.size(), result.m_nLength);
    return result.m_sText;
}

DWORD_PTR A(const WCHAR* s)
{
    return reinterpret_cast<DWORD_PTR>(s);
}

} // namespace

TEST(FormatMessage, PutsTextsIntoPlaces)
{
    EXPECT_EQ(ORVTEXT("b-a-b"), Text(ORVTEXT("%2-%1-%2"), {A(ORVTEXT("a")), A(ORVTEXT("b"))}));
    EXPECT_EQ(ORVTEXT("[]a1"),
              Text(ORVTEXT("[%99]%11"), {A(ORVTEXT("x")), A(ORVTEXT("x")), A(ORVTEXT("x")), A(ORVTEXT("x")),
                                         A(ORVTEXT("x")), A(ORVTEXT("x")), A(ORVTEXT("x")), A(ORVTEXT("x")),
                                         A(ORVTEXT("x")), A(ORVTEXT("x")), A(ORVTEXT("a1"))}));
    EXPECT_EQ(ORVTEXT("%1 stays %2"), Text(ORVTEXT("%1 stays %2"), {A(ORVTEXT("%1")), A(ORVTEXT("%2"))}));
}

TEST(FormatMessage, FormatsInserts)
{
    const struct
    {
        const WCHAR* m_sFormat;
        DWORD_PTR m_nValue;
        const WCHAR* m_sText;
    } cases[] = {{ORVTEXT("%1!d!"), static_cast<DWORD_PTR>(-5), ORVTEXT("-5")},
                 {ORVTEXT("%1!u!|"), 0xFFFFFFFFu, ORVTEXT("4294967295|")},
                 {ORVTEXT("%1!05d!"), 42, ORVTEXT("00042")},
                 {ORVTEXT("%1!-5d!|"), 42, ORVTEXT("42   |")},
                 {ORVTEXT("%1!+d!"), 42, ORVTEXT("+42")},
                 {ORVTEXT("%1!x!"), 0xBEEF, ORVTEXT("beef")},
                 {ORVTEXT("%1!#010X!"), 0xBEEF, ORVTEXT("0X0000BEEF")},
                 {ORVTEXT("%1!c!%1!3c!"), 'z', ORVTEXT("z  z")},
                 {ORVTEXT("%1!5s!|"), A(ORVTEXT("abc")), ORVTEXT("  abc|")},
                 {ORVTEXT("%1!-5.2s!|"), A(ORVTEXT("abc")), ORVTEXT("ab   |")},
                 {ORVTEXT("%1!hs!%1!S!"), reinterpret_cast<DWORD_PTR>("abc"), ORVTEXT("abcabc")},
                 {ORVTEXT("%1!ls!%1!ws!"), A(ORVTEXT("abc")), ORVTEXT("abcabc")}};
    for (const auto& c : cases)
        EXPECT_EQ(c.m_sText, Text(c.m_sFormat, {c.m_nValue}));
    EXPECT_EQ(ORVTEXT("   ab|"), Text(ORVTEXT("%1!*.*s!|"), {5, 2, A(ORVTEXT("abc"))}));
}

TEST(FormatMessage, KnowsEscapes)
{
    EXPECT_EQ(ORVTEXT("a\r\nb%c.!d e"), Text(ORVTEXT("a%nb%%c%.%!d% e")));
    EXPECT_EQ(ORVTEXT("a\tb\rc"), Text(ORVTEXT("a%tb%rc")));
    EXPECT_EQ(ORVTEXT("a"), Text(ORVTEXT("a%0b")));
    EXPECT_EQ(ORVTEXT("a\r\nb\r\nc"), Text(ORVTEXT("a\nb\r\nc")));
}

TEST(FormatMessage, RefusesBrokenFormats)
{
    for (const WCHAR* sFormat : {ORVTEXT("a%"), ORVTEXT("%1!"), ORVTEXT("%1!d")})
    {
        const CResult result = FormatInto(1000, sFormat, {1});
        EXPECT_EQ(0u, result.m_nLength);
        EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER), result.m_dwError);
    }
}

TEST(FormatMessage, TellsEmptyFromTooLong)
{
    EXPECT_EQ(kNoWorkDone, FormatInto(10, ORVTEXT("%1"), {A(ORVTEXT(""))}).m_dwError);
    EXPECT_EQ(kNoWorkDone, FormatInto(10, ORVTEXT("")).m_dwError);
    EXPECT_EQ(3u, FormatInto(4, ORVTEXT("abc")).m_nLength);
    const CResult tooLong = FormatInto(3, ORVTEXT("abc"));
    EXPECT_EQ(0u, tooLong.m_nLength);
    EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), tooLong.m_dwError);
}

TEST(FormatMessage, GivesSystemTextsInABufferOfItsOwn)
{
    constexpr DWORD dwFlags =
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM;
    for (const DWORD dwCode : {static_cast<DWORD>(ERROR_ACCESS_DENIED), static_cast<DWORD>(E_OUTOFMEMORY)})
    {
        WCHAR* sText = nullptr;
        const DWORD nLength =
            FormatMessageW(dwFlags, nullptr, dwCode, 0x400, reinterpret_cast<LPWSTR>(&sText), 0, nullptr);
        ASSERT_LT(3u, nLength);
        EXPECT_TRUE(CText(sText).ends_with(ORVTEXT(".\r\n")));
        LocalFree(sText);
    }
    WCHAR* sText = nullptr;
    EXPECT_EQ(0u, FormatMessageW(dwFlags, nullptr, 0x2FFFFFFF, 0x400, reinterpret_cast<LPWSTR>(&sText), 0,
                                 nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_MR_MID_NOT_FOUND), GetLastError());
    EXPECT_EQ(nullptr, sText);
}
