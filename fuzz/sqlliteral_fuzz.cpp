// Texts bound to a statement: each literal reads back as its text, and none ends before its end.
#include "fuzzing.h"
#include "orvcomtypes/orvsqlstr.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

namespace
{

/// Takes a literal off the front of \p sql as the server does, which ends it at the first quote that is not
/// doubled.
Text TakeLiteral(TextView& sql)
{
    Text text;
    Require(!sql.empty() && sql[0] == '\'');
    for (std::size_t i = 1; i < sql.size(); ++i)
    {
        if (sql[i] == '\'' && (i + 1 == sql.size() || sql[++i] != '\''))
        {
            sql.remove_prefix(sql[i] == '\'' ? i + 1 : i);
            return text;
        }
        text += sql[i];
    }
    Require(false);
    return text;
}

void Take(TextView& sql, TextView sExpected)
{
    Require(sql.starts_with(sExpected));
    sql.remove_prefix(sExpected.size());
}

/// Binds \p text both ways behind \p nBefore units, with much room or with none to spare.
void Check(const Text& text, unsigned nMaxLen, std::size_t nBefore, bool bRoom)
{
    const Text before(nBefore, ORVTEXT('-'));
    COrvSQLStr sql(before.c_str());
    if (bRoom)
        sql.SetSize(100000);
    (sql & ORVTEXT('=') & VARCHAR{text.c_str(), 0, nMaxLen} & ORVTEXT(",") &
     NVARCHAR{text.c_str(), 0, nMaxLen});
    (sql & ORVTEXT(';'));

    const Text expected = nMaxLen != 0 ? text.substr(0, nMaxLen) : text;
    TextView rest(sql, sql.Length());
    Require(rest.size() == TextView(static_cast<const WCHAR*>(sql)).size());
    Take(rest, before);
    Take(rest, ORVTEXT("="));
    Require(TakeLiteral(rest) == expected);
    Take(rest, ORVTEXT(",N"));
    Require(TakeLiteral(rest) == expected);
    Require(rest == ORVTEXT(";"));
}

} // namespace

/// Two bytes are the greatest length and what stands before; the others the text, as units of one and of two
/// bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    if (nSize < 2)
        return 0;
    const unsigned nMaxLen = pData[0];
    // The shortest buffer of a builder has 400 units.
    const std::size_t nBefore = pData[1] < 128 ? pData[1] : 400u - (pData[1] - 128u);
    pData += 2, nSize -= 2;
    Text narrow(pData, pData + nSize);
    Text wide(nSize / sizeof(WCHAR), 0);
    if (!wide.empty())
        std::memcpy(wide.data(), pData, wide.size() * sizeof(WCHAR));
    for (Text* const pText : {&narrow, &wide})
    {
        // Exact copies up to the terminator, so that a read past it is seen.
        *pText = Text(pText->c_str());
        pText->shrink_to_fit();
        for (const bool bRoom : {false, true})
            Check(*pText, nMaxLen, nBefore, bRoom);
    }
    return 0;
}
