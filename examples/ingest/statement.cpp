#include "statement.h"

namespace
{

/// Binds a text as the dialect writes it; SQLite knows no N prefix.
void BindText(COrvSQLStr& sql, ESqlDialect dialect, const COrvStr& sText, unsigned nMaxLength)
{
    const WCHAR* const pText = sText;
    if (dialect == ESqlDialect::SQLServer)
        sql& NVARCHAR{pText, 0, nMaxLength};
    else
        sql& VARCHAR{pText, 0, nMaxLength};
}

} // namespace

void BuildCreateStatement(COrvSQLStr& sql, ESqlDialect dialect)
{
    const bool bServer = dialect == ESqlDialect::SQLServer;
    sql = bServer ? ORVTEXT("IF OBJECT_ID('package_event') IS NULL CREATE TABLE package_event\n")
                  : ORVTEXT("CREATE TABLE IF NOT EXISTS package_event\n");
    sql& ORVTEXT(
        "(source NVARCHAR(200) NOT NULL, line_no INT NOT NULL, event_time INT NOT NULL,\n"
        " action NVARCHAR(20) NOT NULL, state NVARCHAR(40) NOT NULL, package NVARCHAR(200) NOT NULL,\n"
        " arch NVARCHAR(20) NOT NULL, version_from NVARCHAR(100) NOT NULL, version_to NVARCHAR(100) NOT "
        "NULL,\n"
        " PRIMARY KEY (source, line_no))");
}

void BuildInsertStatement(COrvSQLStr& sql, ESqlDialect dialect, const COrvStr& sSource,
                          const CPackageEvent& event)
{
    sql = ORVTEXT(
        "INSERT INTO package_event (source, line_no, event_time, action, state, package, arch, version_from, "
        "version_to)\nVALUES (");
    BindText(sql, dialect, sSource, 200);
    sql& ORVTEXT(", ") & static_cast<unsigned>(event.m_nLine) & ORVTEXT(", ") &
        SQLORVTIME{event.m_Time.GetOrvTime()};
    const struct
    {
        const COrvStr& m_sText;
        unsigned m_nMaxLength;
    } columns[] = {{event.m_sAction, 20},       {event.m_sState, 40},        {event.m_sPackage, 200},
                   {event.m_sArchitecture, 20}, {event.m_sVersionFrom, 100}, {event.m_sVersionTo, 100}};
    for (const auto& column : columns)
    {
        sql& ORVTEXT(", ");
        BindText(sql, dialect, column.m_sText, column.m_nMaxLength);
    }
    sql& ORVTEXT(")");
}
