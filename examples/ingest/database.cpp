#include "database.h"

#if __has_include(<windows.h>)
#include <windows.h>
#endif

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <cstring>

struct CDatabase::CHandles
{
    SQLHENV m_hEnvironment = SQL_NULL_HENV;
    SQLHDBC m_hConnection = SQL_NULL_HDBC;
    SQLHSTMT m_hStatement = SQL_NULL_HSTMT;
    bool m_bConnected = false;

    ~CHandles()
    {
        if (m_hStatement != SQL_NULL_HSTMT)
            SQLFreeHandle(SQL_HANDLE_STMT, m_hStatement);
        if (m_bConnected)
        {
            SQLEndTran(SQL_HANDLE_DBC, m_hConnection, SQL_ROLLBACK);
            SQLDisconnect(m_hConnection);
        }
        if (m_hConnection != SQL_NULL_HDBC)
            SQLFreeHandle(SQL_HANDLE_DBC, m_hConnection);
        if (m_hEnvironment != SQL_NULL_HENV)
            SQLFreeHandle(SQL_HANDLE_ENV, m_hEnvironment);
    }
};

CDatabase::CDatabase() = default;
CDatabase::~CDatabase() = default;

CSqlOutcome CDatabase::Failure(short iHandleType, void* hHandle) const
{
    constexpr SQLSMALLINT kMessageChars = SQL_MAX_MESSAGE_LENGTH;
    CSqlOutcome outcome;
    SQLINTEGER iNative = 0;
    SQLSMALLINT nLength = 0;
    SQLCHAR sState[6] = {};
    SQLCHAR sMessage[kMessageChars] = {};
    SQLWCHAR sWideState[6] = {};
    SQLWCHAR sWideMessage[kMessageChars] = {};
    const bool bWide = m_Path == ETextPath::Wide;
    const SQLRETURN iReturn =
        bWide ? SQLGetDiagRecW(iHandleType, hHandle, 1, sWideState, &iNative, sWideMessage, kMessageChars,
                               &nLength)
              : SQLGetDiagRecA(iHandleType, hHandle, 1, sState, &iNative, sMessage, kMessageChars, &nLength);
    const auto nMessage = std::clamp<SQLSMALLINT>(nLength, 0, kMessageChars - 1);
    if (!SQL_SUCCEEDED(iReturn))
        outcome.m_sMessage = {u"the driver manager gave no description",
                              "the driver manager gave no description"};
    else if (bWide)
    {
        outcome.m_sState.assign(sWideState, sWideState + 5);
        outcome.m_sMessage.m_sWide.assign(sWideMessage, sWideMessage + nMessage);
    }
    else
    {
        outcome.m_sState.assign(sState, sState + 5);
        outcome.m_sMessage.m_sNarrow.assign(sMessage, sMessage + nMessage);
    }
    outcome.m_iNativeCode = iNative;
    return outcome;
}

CSqlOutcome CDatabase::ConnectionOutcome(short iReturn) const
{
    if (!SQL_SUCCEEDED(iReturn))
        return Failure(SQL_HANDLE_DBC, m_pHandles->m_hConnection);
    CSqlOutcome outcome;
    outcome.m_bOk = true;
    return outcome;
}

CSqlOutcome CDatabase::Connect(const std::string& sConnect)
{
    m_pHandles = std::make_unique<CHandles>();
    m_bManual = false;
    CHandles& handles = *m_pHandles;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &handles.m_hEnvironment);
    SQLSetEnvAttr(handles.m_hEnvironment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3),
                  0);
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, handles.m_hEnvironment, &handles.m_hConnection)))
        return Failure(SQL_HANDLE_ENV, handles.m_hEnvironment);

    std::vector<SQLCHAR> text(sConnect.begin(), sConnect.end());
    text.push_back(0);
    CSqlOutcome outcome = ConnectionOutcome(SQLDriverConnectA(
        handles.m_hConnection, nullptr, text.data(), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT));
    handles.m_bConnected = outcome.m_bOk;
    if (!outcome.m_bOk)
        return outcome;
    return ConnectionOutcome(SQLAllocHandle(SQL_HANDLE_STMT, handles.m_hConnection, &handles.m_hStatement));
}

void CDatabase::Disconnect()
{
    m_pHandles.reset();
}

std::string CDatabase::ServerName() const
{
    SQLCHAR sName[200] = {};
    SQLSMALLINT nLength = 0;
    if (!SQL_SUCCEEDED(SQLGetInfoA(m_pHandles->m_hConnection, SQL_DBMS_NAME, sName, sizeof(sName), &nLength)))
        return {};
    return reinterpret_cast<const char*>(sName);
}

CSqlOutcome CDatabase::Run(const void* pStatement, std::size_t nLength)
{
    // The driver interface takes the text as writable, but only reads it.
    void* const pText = const_cast<void*>(pStatement);
    const auto iLength = static_cast<SQLINTEGER>(nLength);
    SQLHSTMT hStatement = m_pHandles->m_hStatement;
    const SQLRETURN iReturn = m_Path == ETextPath::Wide
                                  ? SQLExecDirectW(hStatement, static_cast<SQLWCHAR*>(pText), iLength)
                                  : SQLExecDirectA(hStatement, static_cast<SQLCHAR*>(pText), iLength);
    if (!SQL_SUCCEEDED(iReturn) && iReturn != SQL_NO_DATA)
        return Failure(SQL_HANDLE_STMT, hStatement);
    CSqlOutcome outcome;
    outcome.m_bOk = true;
    SQLLEN nRows = -1;
    if (SQL_SUCCEEDED(SQLRowCount(hStatement, &nRows)))
        outcome.m_nRows = static_cast<std::int64_t>(nRows);
    return outcome;
}

CSqlOutcome CDatabase::Execute(const void* pStatement, std::size_t nLength)
{
    CSqlOutcome outcome = Run(pStatement, nLength);
    SQLFreeStmt(m_pHandles->m_hStatement, SQL_CLOSE);
    return outcome;
}

CSqlOutcome CDatabase::Query(const void* pStatement, std::size_t nLength, unsigned nColumns,
                             const CRowReader& readRow)
{
    CSqlOutcome outcome = Run(pStatement, nLength);
    if (outcome.m_bOk)
        outcome = ReadRows(nColumns, readRow);
    SQLFreeStmt(m_pHandles->m_hStatement, SQL_CLOSE);
    return outcome;
}

CSqlOutcome CDatabase::ReadRows(unsigned nColumns, const CRowReader& readRow)
{
    CSqlOutcome outcome;
    for (;;)
    {
        const SQLRETURN iReturn = SQLFetch(m_pHandles->m_hStatement);
        if (iReturn == SQL_NO_DATA)
            return outcome.m_bOk = true, outcome;
        if (!SQL_SUCCEEDED(iReturn))
            return Failure(SQL_HANDLE_STMT, m_pHandles->m_hStatement);
        std::vector<CDriverText> row(nColumns);
        for (unsigned i = 0; i < nColumns; ++i)
            if (!ReadColumn(i + 1, row[i]))
                return Failure(SQL_HANDLE_STMT, m_pHandles->m_hStatement);
        readRow(row);
    }
}

/// In pieces, each with a terminator of its own; null is empty.
bool CDatabase::ReadColumn(unsigned nColumn, CDriverText& sText)
{
    constexpr std::size_t kPieceUnits = 2000;
    const bool bWide = m_Path == ETextPath::Wide;
    for (;;)
    {
        SQLWCHAR sWide[kPieceUnits] = {};
        SQLCHAR sNarrow[kPieceUnits] = {};
        SQLLEN nLength = 0;
        const SQLRETURN iReturn = SQLGetData(
            m_pHandles->m_hStatement, static_cast<SQLUSMALLINT>(nColumn), bWide ? SQL_C_WCHAR : SQL_C_CHAR,
            bWide ? static_cast<void*>(sWide) : sNarrow, bWide ? sizeof(sWide) : sizeof(sNarrow), &nLength);
        if (iReturn == SQL_NO_DATA || nLength == SQL_NULL_DATA)
            return true;
        if (!SQL_SUCCEEDED(iReturn))
            return false;
        if (bWide)
            sText.m_sWide.append(sWide, std::find(sWide, sWide + kPieceUnits, 0));
        else
            sText.m_sNarrow.append(reinterpret_cast<const char*>(sNarrow));
        if (iReturn == SQL_SUCCESS)
            return true;
    }
}

CSqlOutcome CDatabase::SetManualCommit(bool bManual)
{
    CSqlOutcome outcome;
    outcome.m_bOk = true;
    if (bManual == m_bManual)
        return outcome;
    const auto nMode = static_cast<std::uintptr_t>(bManual ? SQL_AUTOCOMMIT_OFF : SQL_AUTOCOMMIT_ON);
    outcome = ConnectionOutcome(SQLSetConnectAttrA(m_pHandles->m_hConnection, SQL_ATTR_AUTOCOMMIT,
                                                   reinterpret_cast<SQLPOINTER>(nMode), SQL_IS_UINTEGER));
    if (outcome.m_bOk)
        m_bManual = bManual;
    return outcome;
}

CSqlOutcome CDatabase::EndTransaction(bool bCommit)
{
    return ConnectionOutcome(
        SQLEndTran(SQL_HANDLE_DBC, m_pHandles->m_hConnection, bCommit ? SQL_COMMIT : SQL_ROLLBACK));
}
