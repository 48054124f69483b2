#include "dialect.h"

#include <algorithm>

namespace
{

#define INGEST_COLUMNS \
    "log_name, event_time, event_order, action, state, package, arch, version_from, version_to"
#define INGEST_INSERT " INTO package_event (" INGEST_COLUMNS ")\nVALUES ("
// A package always has a name: what the table does not believe it refuses.
#define INGEST_CONSTRAINTS \
    " PRIMARY KEY (log_name, event_time, event_order),\n CONSTRAINT package_has_a_name CHECK (package <> " \
    "''))"
#define INGEST_TABLE(log, text) \
    "package_event\n(log_name " log \
    " NOT NULL, event_time INTEGER NOT NULL, event_order INTEGER NOT NULL,\n action " text \
    " NOT NULL, state " text " NOT NULL, package " text " NOT NULL,\n arch " text \
    " NOT NULL, version_from " text " NOT NULL, version_to " text " NOT NULL,\n" INGEST_CONSTRAINTS

void BindPlain(COrvSQLStr& sql, const COrvStr& sText)
{
    (sql & VARCHAR{sText, 0, 0});
}

/// SQL Server drops a backslash and the line break behind it inside a literal, so none holds both: the text
/// is put together from several.
void BindNational(COrvSQLStr& sql, const COrvStr& sText)
{
    std::basic_string_view<WCHAR> sRest(sText, sText.GetLength());
    const auto findBreak = [&] {
        for (std::size_t i = 0; i + 1 < sRest.size(); ++i)
            if (sRest[i] == '\\' && (sRest[i + 1] == '\n' || sRest[i + 1] == '\r'))
                return i + 1;
        return std::size_t{0};
    };
    std::size_t nBreak = findBreak();
    if (nBreak == 0)
    {
        (sql & NVARCHAR{sText, 0, 0});
        return;
    }
    (sql & ORVTEXT("(CAST(N'' AS NVARCHAR(MAX))")); // shorter ones are cut at 4000 when they are joined
    for (; nBreak != 0; nBreak = findBreak())
    {
        (sql & ORVTEXT(" + ") & NVARCHAR{sRest.data(), 0, static_cast<unsigned>(nBreak)});
        sRest.remove_prefix(nBreak);
    }
    (sql & ORVTEXT(" + ") & NVARCHAR{sRest.data(), 0, 0} & ORVTEXT(")"));
}

const CDialect kDialects[] = {
    {"sqlite",
     {"SQLite"},
     {},
     ORVTEXT("CREATE TABLE IF NOT EXISTS " INGEST_TABLE("TEXT", "TEXT")),
     ORVTEXT("INSERT" INGEST_INSERT),
     ORVTEXT(") ON CONFLICT (log_name, event_time, event_order) DO NOTHING"),
     ORVTEXT("hex("),
     ORVTEXT(")"),
     false,
     BindPlain},
    {"postgresql",
     {"PostgreSQL"},
     {ORVTEXT("SET standard_conforming_strings = on"), ORVTEXT("SET client_encoding = 'UTF8'")},
     ORVTEXT("CREATE TABLE IF NOT EXISTS " INGEST_TABLE("TEXT", "TEXT")),
     ORVTEXT("INSERT" INGEST_INSERT),
     ORVTEXT(") ON CONFLICT (log_name, event_time, event_order) DO NOTHING"),
     ORVTEXT("encode(convert_to("),
     ORVTEXT(", 'UTF8'), 'hex')"),
     false,
     BindPlain},
    {"mariadb",
     {"MariaDB", "MySQL"},
     {ORVTEXT("SET SESSION sql_mode = CONCAT(@@sql_mode, ',NO_BACKSLASH_ESCAPES')")},
     // The server's own collation may take two names for one.
     ORVTEXT(
         "CREATE TABLE IF NOT EXISTS " INGEST_TABLE("VARCHAR(255)", "TEXT") " CHARACTER SET utf8mb4 COLLATE "
                                                                            "utf8mb4_bin"),
     ORVTEXT("INSERT" INGEST_INSERT),
     // INSERT IGNORE would also ignore what the table refuses.
     ORVTEXT(") ON DUPLICATE KEY UPDATE event_order = VALUES(event_order)"),
     ORVTEXT("hex(convert("),
     ORVTEXT(" USING utf8mb4))"),
     false,
     BindPlain},
    {"mssql",
     {"Microsoft SQL Server"},
     {},
     ORVTEXT("IF OBJECT_ID('package_event') IS NULL CREATE TABLE " INGEST_TABLE(
         "NVARCHAR(255) COLLATE Latin1_General_BIN2", "NVARCHAR(MAX)")),
     ORVTEXT("MERGE INTO package_event WITH (HOLDLOCK) AS stored\nUSING (VALUES ("),
     ORVTEXT(")) AS event (" INGEST_COLUMNS ")\nON stored.log_name = event.log_name AND stored.event_time = "
             "event.event_time AND stored.event_order = "
             "event.event_order\nWHEN NOT MATCHED THEN INSERT (" INGEST_COLUMNS
             ")\nVALUES (event.log_name, event.event_time, event.event_order, event.action, event.state, "
             "event.package, "
             "event.arch, event.version_from, event.version_to);"),
     ORVTEXT("CONVERT(VARCHAR(MAX), CONVERT(VARBINARY(MAX), "),
     ORVTEXT("), 2)"),
     true,
     BindNational},
};

} // namespace

const CDialect* FindDialect(std::string_view sName)
{
    for (const CDialect& dialect : kDialects)
        if (dialect.m_sName == sName)
            return &dialect;
    return nullptr;
}

const CDialect* FindDialectOfServer(std::string_view sServer)
{
    for (const CDialect& dialect : kDialects)
        if (!sServer.empty() && std::ranges::count(dialect.m_Servers, sServer) > 0)
            return &dialect;
    return nullptr;
}

void BuildCountStatement(COrvSQLStr& sql, const CDialect& dialect, const COrvStr& sLog,
                         const CPackageEvent& event)
{
    sql = ORVTEXT("SELECT COUNT(*) FROM package_event WHERE log_name = ");
    dialect.m_pfnBindText(sql, sLog);
    (sql & ORVTEXT(" AND event_time = ") & SQLORVTIME{event.m_Time.GetOrvTime()} &
     ORVTEXT(" AND event_order = ") & event.m_nOrder);
    const struct
    {
        const WCHAR* m_sColumn;
        const COrvStr& m_sText;
    } columns[] = {{ORVTEXT(" AND action = "), event.m_sAction},
                   {ORVTEXT(" AND state = "), event.m_sState},
                   {ORVTEXT(" AND package = "), event.m_sPackage},
                   {ORVTEXT(" AND version_to = "), event.m_sVersionTo}};
    for (const auto& column : columns)
    {
        (sql & column.m_sColumn);
        dialect.m_pfnBindText(sql, column.m_sText);
    }
}

void BuildStoreStatement(COrvSQLStr& sql, const CDialect& dialect, const COrvStr& sLog,
                         const CPackageEvent& event)
{
    sql = dialect.m_sStoreOpen;
    dialect.m_pfnBindText(sql, sLog);
    (sql & ORVTEXT(", ") & SQLORVTIME{event.m_Time.GetOrvTime()} & ORVTEXT(", ") & event.m_nOrder);
    for (const COrvStr* pText : {&event.m_sAction, &event.m_sState, &event.m_sPackage, &event.m_sArchitecture,
                                 &event.m_sVersionFrom, &event.m_sVersionTo})
    {
        (sql & ORVTEXT(", "));
        dialect.m_pfnBindText(sql, *pText);
    }
    (sql & dialect.m_sStoreClose);
}
