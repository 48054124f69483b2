// A session that statements may be trusted to: connected, its dialect known, its text path tried out.
#pragma once

#include "database.h"
#include "dialect.h"

#include <string>

struct CSessionSettings
{
    std::string m_sConnect;
    const CDialect* m_pDialect = nullptr; ///< what the user says the server speaks; null: what it says itself
};

class CSession
{
public:
    explicit CSession(const CSessionSettings& settings) : m_Settings(settings) {}

    /// Connects, or connects anew, and shakes hands: false with a message when the server cannot be reached,
    /// speaks another dialect than the settings say, or returns texts changed on both paths.
    bool Open(COrvStr& sError);
    const CDialect& Dialect() const { return *m_pDialect; }
    const char* TextPathName() const;

    CSqlOutcome Execute(const COrvSQLStr& sql);
    using CRowReader = std::function<void(const std::vector<COrvStr>& row)>;
    CSqlOutcome Query(const COrvSQLStr& sql, unsigned nColumns, const CRowReader& readRow);
    CSqlOutcome SetManualCommit(bool bManual) { return m_Database.SetManualCommit(bManual); }
    CSqlOutcome EndTransaction(bool bCommit) { return m_Database.EndTransaction(bCommit); }
    /// After a failure: whether the server still answers.
    bool IsAlive();

private:
    bool FindDialect(COrvStr& sError);
    COrvStr ShakeHands(ETextPath path);
    COrvStr FetchText(const WCHAR* sOpen, const WCHAR* sClose, COrvStr& sValue);

    const CSessionSettings& m_Settings;
    CDatabase m_Database;
    const CDialect* m_pDialect = nullptr;
    std::string m_sBytes; ///< of the statement
};

COrvStr ToText(const CDriverText& sText);
