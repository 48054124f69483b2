#include "support/text.h"
#include "support/wine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace
{

constexpr DWORD kNoWorkDone = 235; // not every SDK has a name for it

/// Formats into a buffer of this size; where that fails the last error in the place of the text.
Text Formatted(const WCHAR* sFormat, std::initializer_list<DWORD_PTR> given = {}, DWORD nSize = 1000,
               DWORD dwInserts = FORMAT_MESSAGE_ARGUMENT_ARRAY)
{
    DWORD_PTR arguments[99];
    std::fill(std::begin(arguments), std::end(arguments), reinterpret_cast<DWORD_PTR>(ORVTEXT("")));
    std::copy(given.begin(), given.end(), arguments);
    WCHAR sBuffer[1000] = {};
    const DWORD nLength = FormatMessageW(FORMAT_MESSAGE_FROM_STRING | dwInserts, sFormat, 0, 0, sBuffer,
                                         nSize, reinterpret_cast<va_list*>(arguments));
    if (nLength == 0)
        return Text(1, static_cast<WCHAR>(GetLastError()));
    EXPECT_EQ(TextOf(sBuffer).size(), nLength);
    return sBuffer;
}

Text Error(DWORD dwError)
{
    return Text(1, static_cast<WCHAR>(dwError));
}

DWORD_PTR A(const WCHAR* s)
{
    return reinterpret_cast<DWORD_PTR>(s);
}

} // namespace

TEST(FormatMessage, FormatsInserts)
{
    const std::tuple<const WCHAR*, DWORD_PTR, const WCHAR*> cases[] = {
        {ORVTEXT("%1!d!"), static_cast<DWORD_PTR>(-5), ORVTEXT("-5")},
        {ORVTEXT("%1!u!|"), 0xFFFFFFFFu, ORVTEXT("4294967295|")},
        {ORVTEXT("%1!05d!"), 42, ORVTEXT("00042")},
        {ORVTEXT("%1!-5d!|"), 42, ORVTEXT("42   |")},
        {ORVTEXT("%1!+d!"), 42, ORVTEXT("+42")},
        {ORVTEXT("%1!x!"), 0xBEEF, ORVTEXT("beef")},
        {ORVTEXT("%1!#010X!"), 0xBEEF, ORVTEXT("0X0000BEEF")},
        {ORVTEXT("%1!.0d!|%1!#.0X!|%1!+.0i!|%1!3.0u!|"), 0, ORVTEXT("||+|   |")},
        {ORVTEXT("%1!.0d!|%1!.3d!|%1!6.3d!|"), 5, ORVTEXT("5|005|   005|")},
        {ORVTEXT("%1!#o!|%1!#.3o!|%1!#.1o!|"), 5, ORVTEXT("05|005|05|")},
        {ORVTEXT("%1!06d!|%1!-06d!|%1!06x!"), static_cast<DWORD_PTR>(-5), ORVTEXT("-00005|-5    |fffffffb")},
        {ORVTEXT("%1!c!%1!3c!"), 'z', ORVTEXT("z  z")},
        {ORVTEXT("%1!5s!|"), A(ORVTEXT("abc")), ORVTEXT("  abc|")},
        {ORVTEXT("%1!-5.2s!|"), A(ORVTEXT("abc")), ORVTEXT("ab   |")},
        {ORVTEXT("%1!hs!%1!S!"), reinterpret_cast<DWORD_PTR>("abc"), ORVTEXT("abcabc")},
        {ORVTEXT("%1!ls!%1!ws!"), A(ORVTEXT("abc")), ORVTEXT("abcabc")},
        {ORVTEXT("%1 stays %%1"), A(ORVTEXT("%1")), ORVTEXT("%1 stays %1")},
        {ORVTEXT("a%nb%%c.%!d% e%tf%rg\nh\r\ni%0j"), 0, ORVTEXT("a\r\nb%c.!d e\tf\rg\r\nh\r\ni")}};
    for (const auto& [sFormat, nValue, sText] : cases)
        EXPECT_EQ(sText, Formatted(sFormat, {nValue}));
    EXPECT_EQ(ORVTEXT("b-a-b[]"), Formatted(ORVTEXT("%2-%1-%2[%99]"), {A(ORVTEXT("a")), A(ORVTEXT("b"))}));
    EXPECT_EQ(ORVTEXT("   ab|"), Formatted(ORVTEXT("%1!*.*s!|"), {5, 2, A(ORVTEXT("abc"))}));
}

TEST(FormatMessage, FillsUpWithZerosUnlessDigitsAreCounted)
{
    ORV_SKIP_WINE("fills up with zeros all the same");
    EXPECT_EQ(ORVTEXT("     005"), Formatted(ORVTEXT("%1!08.3d!"), {5}));
    EXPECT_EQ(ORVTEXT("  0x0005"), Formatted(ORVTEXT("%1!#08.4x!"), {5}));
}

TEST(FormatMessage, KeepsInsertsForLater)
{
    const auto Kept = [](const WCHAR* sFormat) {
        return Formatted(sFormat, {A(ORVTEXT("x"))}, 1000, FORMAT_MESSAGE_IGNORE_INSERTS);
    };
    EXPECT_EQ(ORVTEXT("%1 %99!d! %% %. %! %x"), Kept(ORVTEXT("%1 %99!d! %% %. %! %x")));
    EXPECT_EQ(ORVTEXT("a\r\nb\tc\rd\r\n"), Kept(ORVTEXT("a%nb%tc%rd\n%0e")));
    EXPECT_EQ(Error(ERROR_INVALID_PARAMETER), Kept(ORVTEXT("a%")));
}

TEST(FormatMessage, TellsWhyThereIsNoText)
{
    for (const WCHAR* sFormat : {ORVTEXT("a%"), ORVTEXT("%1!"), ORVTEXT("%1!d")})
        EXPECT_EQ(Error(ERROR_INVALID_PARAMETER), Formatted(sFormat, {1}));
    EXPECT_EQ(Error(kNoWorkDone), Formatted(ORVTEXT("%1"), {A(ORVTEXT(""))}));
    EXPECT_EQ(Error(kNoWorkDone), Formatted(ORVTEXT("")));
    EXPECT_EQ(Error(ERROR_INSUFFICIENT_BUFFER), Formatted(ORVTEXT("abc"), {}, 3));
    EXPECT_EQ(ORVTEXT("abc"), Formatted(ORVTEXT("abc"), {}, 4));
}
