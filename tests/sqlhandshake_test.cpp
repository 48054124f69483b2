// The handshake of hosts with their database: which damage it finds, and what it says of it.
#include "orvcomtypes/sqlhandshake.h"
#include "orvcomtypes/stdbridge.h"
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
                  " U+0027 U+0042 U+0072 U+0069 U+0065 U+006E U+0020 U+0022 was sent,"
                  " U+005C U+0031 U+0032 U+0033 U+0034 U+0035 U+0036 U+0037 end came back",
              Fault(ORVTEXT("O\\1234567")));
}

TEST(SqlHandshake, ComparesTheServersBytes)
{
    const Text sText(GetSQLHandshakeText());
    const std::string sBytes = OCT::ToStdText(GetSQLHandshakeText());
    std::string sTwice; // each byte taken for a character of Latin-1
    std::string sUnits; // surrogates encoded each by itself
    std::string sWide;
    const auto append = [](std::string& sTo, unsigned c) {
        if (c >= 0x800)
            sTo += {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 63))};
        else if (c >= 0x80)
            sTo += static_cast<char>(0xC0 | c >> 6);
        sTo += static_cast<char>(c < 0x80 ? c : 0x80 | (c & 63));
    };
    for (const WCHAR c : sText)
    {
        append(sUnits, c);
        sWide += {static_cast<char>(c & 0xFF), static_cast<char>(c >> 8)};
    }
    for (const char c : sBytes)
        append(sTwice, static_cast<unsigned char>(c));
    const struct
    {
        const std::string& m_sBytes;
        bool m_bUTF16;
        bool m_bGood;
    } rows[] = {{sBytes, false, true},
                {sWide, true, true},
                {sTwice, false, false},
                {sUnits, false, false},
                {sBytes, true, false}};
    for (const auto& row : rows)
        EXPECT_EQ(row.m_bGood,
                  CheckSQLHandshakeHex(COrvStr(Hex(row.m_sBytes).c_str()), row.m_bUTF16).IsEmpty())
            << Hex(row.m_sBytes);
    const Text sIgnorable = ORVTEXT("\x200B") + Text(COrvStr(Hex(sBytes).c_str()));
    EXPECT_FALSE(CheckSQLHandshakeHex(sIgnorable.c_str(), false).IsEmpty()) << "equal to readers only";
    EXPECT_STREQ(
        "the server holds other bytes than were meant: from byte 4 on 73 instead of 7269656E20222060",
        CToUTF8(CheckSQLHandshakeHex(ORVTEXT("4F274273"), false)));
}
