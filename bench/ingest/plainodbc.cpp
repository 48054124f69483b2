// The peer of the example service: the same statements in the same transactions through the same driver,
// without the library, without a log, in one thread.
//
//   plainodbc CONNECTION-STRING BATCH STATEMENTS-FILE
#include <sql.h>
#include <sqlext.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace
{

void Check(SQLRETURN iReturn, const char* sWhat)
{
    if (SQL_SUCCEEDED(iReturn) || iReturn == SQL_NO_DATA)
        return;
    std::fprintf(stderr, "%s failed\n", sWhat);
    std::exit(1);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4)
        return 2;
    SQLHENV hEnvironment = SQL_NULL_HENV;
    SQLHDBC hConnection = SQL_NULL_HDBC;
    SQLHSTMT hStatement = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &hEnvironment);
    SQLSetEnvAttr(hEnvironment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, hEnvironment, &hConnection);
    Check(SQLDriverConnect(hConnection, nullptr, reinterpret_cast<SQLCHAR*>(argv[1]), SQL_NTS, nullptr, 0,
                           nullptr, SQL_DRIVER_NOPROMPT),
          "connecting");
    SQLAllocHandle(SQL_HANDLE_STMT, hConnection, &hStatement);
    SQLSetConnectAttr(hConnection, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF),
                      SQL_IS_UINTEGER);

    std::ifstream file(argv[3], std::ios::binary);
    std::string sText(std::istreambuf_iterator<char>(file), {});
    const int nBatch = std::atoi(argv[2]);
    int nInBatch = 0;
    std::size_t nStart = 0;
    for (std::size_t nEnd; (nEnd = sText.find(";\n", nStart)) != sText.npos; nStart = nEnd + 2)
    {
        Check(SQLExecDirect(hStatement, reinterpret_cast<SQLCHAR*>(sText.data() + nStart),
                            static_cast<SQLINTEGER>(nEnd - nStart)),
              "a statement");
        SQLFreeStmt(hStatement, SQL_CLOSE);
        if (++nInBatch == nBatch)
        {
            Check(SQLEndTran(SQL_HANDLE_DBC, hConnection, SQL_COMMIT), "committing");
            nInBatch = 0;
        }
    }
    Check(SQLEndTran(SQL_HANDLE_DBC, hConnection, SQL_COMMIT), "committing");
    SQLDisconnect(hConnection);
    return 0;
}
