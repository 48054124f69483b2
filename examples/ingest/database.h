// A database session through ODBC. This header needs neither the driver manager's types nor the library's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

/// What one statement came to.
struct CSqlOutcome
{
    bool m_bOk = false;
    std::int64_t m_nRows = -1;      ///< rows touched, -1 when the driver does not know
    std::int32_t m_iNativeCode = 0; ///< the database's own error number
    std::u16string m_sState;        ///< five characters, as the driver gives them
    std::u16string m_sMessage;      ///< the driver's description
};

/// One connection; belongs to one thread at a time.
class CDatabase
{
public:
    CDatabase();
    ~CDatabase();
    CDatabase(const CDatabase&) = delete;
    CDatabase& operator=(const CDatabase&) = delete;

    /// Connects with an ODBC connection string (in the ANSI code page).
    CSqlOutcome Connect(const std::string& sConnect);

    /// Executes one statement of \p nLength UTF-16 code units and commits it.
    CSqlOutcome Execute(const void* pStatement, std::size_t nLength);

private:
    struct CHandles;
    std::unique_ptr<CHandles> m_pHandles;
};
