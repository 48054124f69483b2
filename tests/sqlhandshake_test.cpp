// The handshake of hosts with their database: which damage it finds, and what it says of it.
#include "orvcomtypes/sqlhandshake.h"
#include "orvcomtypes/strconvert.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <functional>

namespace
{

std::string Fault(const Text& sReturned)
{
    return CToUTF8(CheckSQLHandshakeText(sReturned.c_str())).operator const char*();
}

/// The text with each unit replaced by what \p map gives.
Text Each(const std::function<Text(WCHAR)>& map)
{
    Text sAll;
    for (const WCHAR c : Text(GetSQLHandshakeText()))
        sAll += map(c);
    return sAll;
}

Text Replaced(const Text& sFrom, const Text& sTo)
{
    Text s(GetSQLHandshakeText());
    const auto n = s.find(sFrom);
    return n == s.npos ? s : s.replace(n, sFrom.size(), sTo);
}

std::string Hex(const std::string& sBytes)
{
    std::string sHex;
    for (const char c : sBytes)
        for (const int nNibble : {c >> 4 & 15, c & 15})
            sHex += "0123456789abcdef"[nNibble];
    return sHex;
}

} // namespace

TEST(SqlHandshake, AcceptsNothingButItsOwnText)
{
    const Text sText(GetSQLHandshakeText());
    EXPECT_EQ("", Fault(sText));
    const struct
    {
        const char* m_sDamage;
        Text m_sReturned;
    } rows[] = {
        {"nothing came", {}},
        {"cut by one", sText.substr(0, sText.size() - 1)},
        {"one more", sText + ORVTEXT(" ")},
        {"high bytes dropped", Each([](WCHAR c) { return Text(1, c & 0xFF); })},
        {"not in the code page", Each([](WCHAR c) { return Text(1, c < 0x100 ? c : ORVTEXT('?')); })},
        {"best fit of apostrophes", Each([](WCHAR c) { return Text(1, c == 0xFF07 ? ORVTEXT('\'') : c); })},
        {"no emoji", Each([](WCHAR c) { return c >= 0xD800 && c < 0xE000 ? Text() : Text(1, c); })},
        {"one control character", Each([](WCHAR c) { return c == 0x1A ? Text() : Text(1, c); })},
        {"escapes read", Replaced(ORVTEXT("\\\\"), ORVTEXT("\\"))},
        {"line continued", Replaced(ORVTEXT("\\\n"), Text())},
        {"line ends unified", Replaced(ORVTEXT("\r\n"), ORVTEXT("\n"))},
        {"decomposed", Replaced(ORVTEXT("\u00E1"), ORVTEXT("a\u0301"))},
    };
    for (const auto& row : rows)
        EXPECT_NE("", Fault(row.m_sReturned)) << row.m_sDamage;
}

TEST(SqlHandshake, SaysWhatCameBack)
{
    EXPECT_EQ("the text was changed on its way: at character 2 of " +
                  std::to_string(GetSQLHandshakeText().GetLength()) +
                  " U+0027 U+0042 U+0072 U+0069 U+0065 U+006E U+0020 U+0022 was sent, U+005C end came back",
              Fault(ORVTEXT("O\\")));
}

TEST(SqlHandshake, ComparesTheServersBytes)
{
    const COrvStr sText = GetSQLHandshakeText();
    const std::string sBytes = CToUTF8(sText).operator const char*();
    EXPECT_TRUE(CheckSQLHandshakeHex(COrvStr(Hex(sBytes).c_str()), false).IsEmpty());
    std::string sWide;
    for (const WCHAR c : Text(sText))
        sWide += {static_cast<char>(c & 0xFF), static_cast<char>(c >> 8)};
    EXPECT_TRUE(CheckSQLHandshakeHex(COrvStr(Hex(sWide).c_str()), true).IsEmpty());

    std::string sTwice; // each byte taken for a character of Latin-1
    for (const char c : sBytes)
        sTwice += c & 0x80 ? std::string{'\xC3', c} : std::string{c};
    EXPECT_FALSE(CheckSQLHandshakeHex(COrvStr(Hex(sTwice).c_str()), false).IsEmpty());
    EXPECT_STREQ(
        "the server holds other bytes than were meant: from byte 1 on 50 instead of 4F27427269656E20",
        CToUTF8(CheckSQLHandshakeHex(ORVTEXT("50"), false)));
}
