#include "orvcomtypes/sqlhandshake.h"

#include "core/numtext.h"
#include "core/textformat.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"
#include "strings/textlen.h"
#include "strings/wholetext.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace
{

using CText = std::basic_string_view<WCHAR>;

constexpr std::size_t kShownAround = 8;

// The characters beyond ASCII: h and u with marks as in the code page of Central Europe; apostrophes and a
// backslash that Windows' best fit makes ASCII of; ideographs whose low byte, or second byte in a code page
// of East Asia, is a quote or a backslash; an emoji, which is two units.
constexpr WCHAR kHandshake[] =
    ORVTEXT("O'Brien \" ` '' \\ \\\\ \\' '\\ \\n\\0 ? {fn X()} :a @b $1 % _ -- /* # ")
        ORVTEXT("\\\n \\\r\n \u00E1rv\u00EDzt\u0171r\u0151 \u0127 \u2019 \u02BC \uFF07 \uFF3C ")
            ORVTEXT("\u6F22\u5B57 \u2227 \u535C \u8868 \u7E17 \U0001F600 \1\2\3\4\5\6\7\b\t\v\f\16\17\20\21")
                ORVTEXT("\22\23\24\25\26\27\30\31\32\33\34\35\36\37\177 \\");

CText HandshakeText()
{
    return {kHandshake, std::size(kHandshake) - 1};
}

/// Characters from \p n on as code units: what came back may not be printable.
void AppendUnits(COrvStr& sTo, CText sText, std::size_t n)
{
    char sUnit[16];
    for (const WCHAR c : sText.substr(std::min(n, sText.size()), kShownAround))
    {
        OCT::FormatTo(sUnit, " U+%04X", static_cast<unsigned>(c));
        sTo.Append(sUnit);
    }
    if (n + kShownAround >= sText.size())
        sTo.Append(" end");
}

std::size_t FirstDifference(CText a, CText b)
{
    const std::size_t n = std::min(a.size(), b.size());
    return static_cast<std::size_t>(std::mismatch(a.begin(), a.begin() + n, b.begin()).first - a.begin());
}

COrvStr HexOf(const void* pBytes, std::size_t nBytes)
{
    WCHAR sHex[2 * 3 * std::size(kHandshake) + 1];
    *OCT::PutHexBytes(sHex, static_cast<const unsigned char*>(pBytes), nBytes) = 0;
    return OCT::Whole(COrvStr(sHex));
}

COrvStr HandshakeHex(bool bUTF16)
{
    const CText s = HandshakeText();
    if (bUTF16)
        return HexOf(s.data(), s.size() * sizeof(WCHAR));
    // The library's own conversion takes units one by one and would damage the emoji.
    char sBytes[3 * std::size(kHandshake)];
    const int nBytes = WideCharToMultiByte(CP_UTF8, 0, s.data(), static_cast<int>(s.size()), sBytes,
                                           static_cast<int>(sizeof(sBytes)), nullptr, nullptr);
    return HexOf(sBytes, static_cast<std::size_t>(nBytes));
}

} // namespace

COrvStr ORVCALL GetSQLHandshakeText()
{
    return COrvStr(kHandshake);
}

COrvStr ORVCALL CheckSQLHandshakeText(const WCHAR* sReturned)
{
    const CText sSent = HandshakeText();
    const CText sBack = sReturned != nullptr ? CText(sReturned, OCT::TextLength(sReturned)) : CText();
    COrvStr sFault;
    if (sBack == sSent)
        return sFault;
    const std::size_t n = FirstDifference(sSent, sBack);
    char sWhere[100];
    OCT::FormatTo(sWhere, "the text was changed on its way: at character %u of %u",
                  static_cast<unsigned>(n + 1), static_cast<unsigned>(sSent.size()));
    sFault.Append(sWhere);
    AppendUnits(sFault, sSent, n);
    sFault.Append(" was sent,");
    AppendUnits(sFault, sBack, n);
    sFault.Append(" came back");
    return sFault;
}

COrvStr ORVCALL CheckSQLHandshakeHex(const WCHAR* sReturned, bool bUTF16)
{
    COrvStr sBack = OCT::Whole(COrvStr(sReturned));
    sBack.MakeUpper();
    const COrvStr sSent = HandshakeHex(bUTF16);
    const CText sSentView(sSent, sSent.GetLength());
    const CText sBackView(sBack, sBack.GetLength());
    COrvStr sFault;
    if (sBackView == sSentView)
        return sFault;
    const std::size_t n = FirstDifference(sSentView, sBackView) / 2 * 2;
    char sWhere[100];
    OCT::FormatTo(sWhere, "the server holds other bytes than were meant: from byte %u on ",
                  static_cast<unsigned>(n / 2 + 1));
    sFault.Append(sWhere);
    const auto append = [&](CText sText) {
        const CText sPart = sText.substr(std::min(n, sText.size()), 2 * kShownAround);
        if (!sPart.empty())
            sFault.Append(sPart.data(), static_cast<unsigned>(sPart.size()));
    };
    append(sBackView);
    sFault.Append(" instead of ");
    append(sSentView);
    return sFault;
}
