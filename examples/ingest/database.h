// A database session through ODBC. This header needs neither the driver manager's types nor the library's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// The two ways of text to a driver and back. Drivers without wide functions get wide statements narrowed by
/// the driver manager, by rules of its own; the narrow way hands their bytes over as they are.
enum class ETextPath
{
    Wide,  ///< UTF-16
    Narrow ///< UTF-8
};

/// A text as it came: one of both, as the session's path is.
struct CDriverText
{
    std::u16string m_sWide;
    std::string m_sNarrow;
};

/// What one statement came to.
struct CSqlOutcome
{
    bool m_bOk = false;
    std::int64_t m_nRows = -1;      ///< rows touched, -1 when the driver does not know
    std::int32_t m_iNativeCode = 0; ///< the database's own error number
    std::string m_sState;           ///< five characters, as the driver gives them
    CDriverText m_sMessage;         ///< the driver's description
};

/// One connection; belongs to one thread at a time.
class CDatabase
{
public:
    CDatabase();
    ~CDatabase();
    CDatabase(const CDatabase&) = delete;
    CDatabase& operator=(const CDatabase&) = delete;

    /// Connects with an ODBC connection string, whose bytes go to the driver as they are.
    CSqlOutcome Connect(const std::string& sConnect);
    void Disconnect();
    /// What the server calls itself.
    std::string ServerName() const;
    void SetTextPath(ETextPath path) { m_Path = path; }
    ETextPath TextPath() const { return m_Path; }

    /// Executes a statement of \p nLength UTF-16 units or UTF-8 bytes, as the path is.
    CSqlOutcome Execute(const void* pStatement, std::size_t nLength);
    /// The same, and hands over the rows of \p nColumns that it gives.
    using CRowReader = std::function<void(const std::vector<CDriverText>& row)>;
    CSqlOutcome Query(const void* pStatement, std::size_t nLength, unsigned nColumns,
                      const CRowReader& readRow);

    /// While it is on, statements belong to a transaction until `EndTransaction`. Nothing happens when it is
    /// so already.
    CSqlOutcome SetManualCommit(bool bManual);
    CSqlOutcome EndTransaction(bool bCommit);

private:
    struct CHandles;
    CSqlOutcome Failure(short iHandleType, void* hHandle) const;
    CSqlOutcome ConnectionOutcome(short iReturn) const;
    CSqlOutcome Run(const void* pStatement, std::size_t nLength);
    CSqlOutcome ReadRows(unsigned nColumns, const CRowReader& readRow);
    bool ReadColumn(unsigned nColumn, CDriverText& sText);

    std::unique_ptr<CHandles> m_pHandles;
    ETextPath m_Path = ETextPath::Wide;
    bool m_bManual = false;
};
