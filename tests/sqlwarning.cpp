// Compiled by the tests "sql_warning_*": a text object that is bound as it stands warns, nothing else does.
#include "orvcomtypes/orvsqlstr.h"
#include "orvcomtypes/orvstr.h"

void Bind(COrvSQLStr& sql, const COrvStr& sText)
{
#ifdef BIND_A_TEXT_OBJECT
    sql& sText;
#else
    const COrvSQLStr sqlPart;
    const WCHAR* const sPart = sText;
    (sql & ORVTEXT("WHERE A=") & NVARCHAR{sText, 0, 0} & ORVTEXT(' ') & sPart & sqlPart & 1 & 1.5);
    sql.Append(sText);
#endif
}
