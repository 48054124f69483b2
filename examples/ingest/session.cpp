#include "session.h"

#include "utf8.h"

#include <orvcomtypes/sqlhandshake.h>

COrvStr ToText(const CDriverText& sText)
{
    COrvStr sResult;
    if (!sText.m_sWide.empty())
        sResult = std::basic_string<WCHAR>(sText.m_sWide.begin(), sText.m_sWide.end()).c_str();
    else if (!sText.m_sNarrow.empty())
        sResult.SetUTF8(sText.m_sNarrow.data(), static_cast<unsigned>(sText.m_sNarrow.size()));
    return sResult;
}

bool CSession::Open(COrvStr& sError)
{
    m_Database.SetTextPath(ETextPath::Wide);
    const CSqlOutcome connected = m_Database.Connect(m_Settings.m_sConnect);
    if (!connected.m_bOk)
    {
        sError = ToText(connected.m_sMessage);
        return false;
    }
    if (!FindDialect(sError))
        return false;
    const COrvStr sWideFault = ShakeHands(ETextPath::Wide);
    if (sWideFault.IsEmpty())
        return true;
    const COrvStr sNarrowFault = ShakeHands(ETextPath::Narrow);
    if (sNarrowFault.IsEmpty())
        return true;
    sError = ORVTEXT("the server does not return values unchanged. Sent as UTF-16: ");
    sError += sWideFault;
    sError += ORVTEXT(". Sent as UTF-8: ");
    sError += sNarrowFault;
    return false;
}

bool CSession::FindDialect(COrvStr& sError)
{
    const std::string sServer = m_Database.ServerName();
    const CDialect* const pServers = FindDialectOfServer(sServer);
    m_pDialect = m_Settings.m_pDialect != nullptr ? m_Settings.m_pDialect : pServers;
    if (m_pDialect != nullptr && (pServers == nullptr || pServers == m_pDialect))
        return true;
    sError = COrvStr(("the server calls itself '" + sServer + "', whose dialect is ").c_str());
    sError += COrvStr(pServers == nullptr
                          ? "not known: name one with --dialect"
                          : (std::string(pServers->m_sName) + ", not " + m_pDialect->m_sName).c_str());
    return false;
}

/// Empty when texts arrive as they are sent and come back so.
COrvStr CSession::ShakeHands(ETextPath path)
{
    m_Database.SetTextPath(path);
    for (const WCHAR* sStatement : m_pDialect->m_SetUp)
    {
        if (sStatement == nullptr)
            continue;
        const CSqlOutcome outcome = Execute(COrvSQLStr(sStatement));
        if (!outcome.m_bOk)
            return ToText(outcome.m_sMessage);
    }
    COrvStr sValue;
    COrvStr sFault = FetchText(ORVTEXT(""), ORVTEXT(""), sValue);
    if (sFault.IsEmpty())
        sFault = CheckSQLHandshakeText(sValue);
    if (sFault.IsEmpty())
        sFault = FetchText(m_pDialect->m_sHexOpen, m_pDialect->m_sHexClose, sValue);
    if (sFault.IsEmpty())
        sFault = CheckSQLHandshakeHex(sValue, m_pDialect->m_bHexUTF16);
    return sFault;
}

/// Has the handshake's text selected, with something around its literal. Returns the failure's text.
COrvStr CSession::FetchText(const WCHAR* sOpen, const WCHAR* sClose, COrvStr& sValue)
{
    COrvSQLStr sql;
    (sql & ORVTEXT("SELECT ") & sOpen);
    m_pDialect->m_pfnBindText(sql, GetSQLHandshakeText());
    sql& sClose;
    sValue.Empty();
    const CSqlOutcome outcome = Query(sql, 1, [&](const std::vector<COrvStr>& row) { sValue = row[0]; });
    return outcome.m_bOk ? COrvStr() : ToText(outcome.m_sMessage);
}

const char* CSession::TextPathName() const
{
    return m_Database.TextPath() == ETextPath::Wide ? "UTF-16" : "UTF-8";
}

CSqlOutcome CSession::Execute(const COrvSQLStr& sql)
{
    if (m_Database.TextPath() == ETextPath::Wide)
        return m_Database.Execute(static_cast<const WCHAR*>(sql), sql.Length());
    ToUTF8(sql, sql.Length(), m_sBytes);
    return m_Database.Execute(m_sBytes.data(), m_sBytes.size());
}

CSqlOutcome CSession::Query(const COrvSQLStr& sql, unsigned nColumns, const CRowReader& readRow)
{
    const auto readTexts = [&](const std::vector<CDriverText>& texts) {
        std::vector<COrvStr> row;
        for (const CDriverText& sText : texts)
            row.push_back(ToText(sText));
        readRow(row);
    };
    if (m_Database.TextPath() == ETextPath::Wide)
        return m_Database.Query(static_cast<const WCHAR*>(sql), sql.Length(), nColumns, readTexts);
    ToUTF8(sql, sql.Length(), m_sBytes);
    return m_Database.Query(m_sBytes.data(), m_sBytes.size(), nColumns, readTexts);
}

bool CSession::IsAlive()
{
    return Query(COrvSQLStr(ORVTEXT("SELECT 1")), 1, [](const std::vector<COrvStr>&) {}).m_bOk;
}
