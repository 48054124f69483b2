#include "orders.h"

#include <orvcomtypes/orvtime.h>
#include <orvcomtypes/stdbridge.h>

#include <algorithm>
#include <charconv>
#include <string>

namespace
{

/// Takes what stands before the separator off \p sText, and the separator; all of it where there is none.
std::string_view TakeUntil(char cSeparator, std::string_view& sText)
{
    const std::string_view sTaken = sText.substr(0, sText.find(cSeparator));
    sText.remove_prefix(std::min(sTaken.size() + 1, sText.size()));
    return sTaken;
}

bool ReadNumber(std::string_view sText, unsigned& nNumber)
{
    const char* const pEnd = sText.data() + sText.size();
    const auto [pStop, error] = std::from_chars(sText.data(), pEnd, nNumber);
    return error == std::errc() && pStop == pEnd;
}

/// Exactly "2026-11-22 10:30:00Z": the library reads more forms, those without a zone as local times.
bool ReadTime(const std::string& sText, COrvTime& time)
{
    char sBack[32] = "";
    if (sText.size() == 20 && time.SetFromString(sText.c_str()))
        time.DebugFormat(COrvTime::dftISO, sBack, sizeof(sBack));
    return sText == sBack;
}

std::optional<EMessage> AppendOrder(const COrvStr& sJob, unsigned nLine, std::string_view sLine,
                                    COrvSQLStr& sql)
{
    if (std::ranges::count(sLine, '\t') != 3 || sLine.find('\0') != sLine.npos)
        return kFieldsMissing;
    const std::string sTime(TakeUntil('\t', sLine));
    const COrvStr sCustomer = OCT::FromStdText(TakeUntil('\t', sLine));
    const COrvStr sArticle = OCT::FromStdText(TakeUntil('\t', sLine));
    unsigned nQuantity = 0;
    COrvTime time;
    if (!ReadTime(sTime, time))
        return kNoTime;
    if (!ReadNumber(sLine, nQuantity))
        return kNoQuantity;
    (sql & ORVTEXT("INSERT INTO Orders (Job, Line, Ordered, Customer, Article, Quantity) VALUES (") &
     NVARCHAR{sJob, 0, 0} & ORVTEXT(", ") & nLine & ORVTEXT(", CAST(") & MSQLDATE{time.GetDATE()} &
     ORVTEXT(" AS DATETIME), ") & NVARCHAR{sCustomer, 0, 0} & ORVTEXT(", ") & NVARCHAR{sArticle, 0, 0} &
     ORVTEXT(", ") & nQuantity & ORVTEXT(");\n"));
    return std::nullopt;
}

} // namespace

std::optional<CRefusal> BuildStatements(const COrvStr& sJob, std::string_view sText, COrvSQLStr& sql,
                                        unsigned& nOrders)
{
    sql.SetSize(static_cast<unsigned>(4 * sText.size()));
    sql.Append(ORVTEXT("BEGIN TRANSACTION;\n"));
    nOrders = 0;
    for (unsigned nLine = 1; !sText.empty(); ++nLine)
    {
        std::string_view sLine = TakeUntil('\n', sText);
        if (sLine.ends_with('\r'))
            sLine.remove_suffix(1);
        if (sLine.empty())
            continue;
        if (const auto reason = AppendOrder(sJob, nLine, sLine, sql))
            return CRefusal{nLine, *reason};
        ++nOrders;
    }
    sql.Append(ORVTEXT("COMMIT;\n"));
    return std::nullopt;
}
