#include "database.h"

#if __has_include(<windows.h>)
#include <windows.h>
#endif

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <vector>

namespace
{

CSqlOutcome Failure(SQLSMALLINT iHandleType, SQLHANDLE hHandle)
{
    constexpr SQLSMALLINT c_nMessage = SQL_MAX_MESSAGE_LENGTH;
    CSqlOutcome outcome;
    SQLWCHAR sState[6] = {};
    SQLWCHAR sMessage[c_nMessage] = {};
    SQLINTEGER iNative = 0;
    SQLSMALLINT nLength = 0;
    if (SQL_SUCCEEDED(
            SQLGetDiagRecW(iHandleType, hHandle, 1, sState, &iNative, sMessage, c_nMessage, &nLength)))
    {
        outcome.m_sState.assign(sState, sState + 5);
        outcome.m_sMessage.assign(sMessage, sMessage + std::min<SQLSMALLINT>(nLength, c_nMessage - 1));
        outcome.m_iNativeCode = iNative;
    }
    else
        outcome.m_sMessage = u"the driver manager gave no description";
    return outcome;
}

} // namespace

struct CDatabase::CHandles
{
    SQLHENV m_hEnvironment = SQL_NULL_HENV;
    SQLHDBC m_hConnection = SQL_NULL_HDBC;
    SQLHSTMT m_hStatement = SQL_NULL_HSTMT;

    ~CHandles()
    {
        if (m_hStatement != SQL_NULL_HSTMT)
        {
            SQLFreeHandle(SQL_HANDLE_STMT, m_hStatement);
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

CSqlOutcome CDatabase::Connect(const std::string& sConnect)
{
    auto pHandles = std::make_unique<CHandles>();
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &pHandles->m_hEnvironment);
    SQLSetEnvAttr(pHandles->m_hEnvironment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3),
                  0);
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, pHandles->m_hEnvironment, &pHandles->m_hConnection)))
        return Failure(SQL_HANDLE_ENV, pHandles->m_hEnvironment);

    std::vector<SQLCHAR> text(sConnect.begin(), sConnect.end());
    text.push_back(0);
    if (!SQL_SUCCEEDED(SQLDriverConnectA(pHandles->m_hConnection, nullptr, text.data(), SQL_NTS, nullptr, 0,
                                         nullptr, SQL_DRIVER_NOPROMPT)))
        return Failure(SQL_HANDLE_DBC, pHandles->m_hConnection);
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, pHandles->m_hConnection, &pHandles->m_hStatement)))
    {
        CSqlOutcome outcome = Failure(SQL_HANDLE_DBC, pHandles->m_hConnection);
        SQLDisconnect(pHandles->m_hConnection);
        return outcome;
    }
    m_pHandles = std::move(pHandles);
    CSqlOutcome outcome;
    outcome.m_bOk = true;
    return outcome;
}

CSqlOutcome CDatabase::Execute(const void* pStatement, std::size_t nLength)
{
    // The driver interface takes the text as writable, but only reads it.
    auto* pText = static_cast<SQLWCHAR*>(const_cast<void*>(pStatement));
    const SQLRETURN iReturn =
        SQLExecDirectW(m_pHandles->m_hStatement, pText, static_cast<SQLINTEGER>(nLength));
    if (!SQL_SUCCEEDED(iReturn) && iReturn != SQL_NO_DATA)
    {
        CSqlOutcome outcome = Failure(SQL_HANDLE_STMT, m_pHandles->m_hStatement);
        SQLFreeStmt(m_pHandles->m_hStatement, SQL_CLOSE);
        return outcome;
    }
    CSqlOutcome outcome;
    outcome.m_bOk = true;
    SQLLEN nRows = -1;
    if (SQL_SUCCEEDED(SQLRowCount(m_pHandles->m_hStatement, &nRows)))
        outcome.m_nRows = static_cast<std::int64_t>(nRows);
    SQLFreeStmt(m_pHandles->m_hStatement, SQL_CLOSE);
    return outcome;
}
