// The SQL of the servers: what each reads and writes in a form of its own.
#pragma once

#include "packagelog.h"

#include <orvcomtypes/orvsqlstr.h>

#include <array>
#include <string>
#include <string_view>

/// One server's SQL. The texts are whole parts of statements; values stand between them.
struct CDialect
{
    const char* m_sName; ///< as `--dialect` names it
    /// What SQLGetInfo calls the servers that speak it.
    std::array<std::string_view, 2> m_Servers;
    /// Executed in each new session, so that a doubled quote is all that a literal needs.
    std::array<const WCHAR*, 2> m_SetUp;
    /// Creates the table unless it exists.
    const WCHAR* m_sCreate;
    /// Around the values of one event, which is stored unless it is there already.
    const WCHAR* m_sStoreOpen;
    const WCHAR* m_sStoreClose;
    /// Around a literal: its bytes in hexadecimal digits.
    const WCHAR* m_sHexOpen;
    const WCHAR* m_sHexClose;
    bool m_bHexUTF16;
    void (*m_pfnBindText)(COrvSQLStr& sql, const COrvStr& sText);
};

/// Null when there is none of the name.
const CDialect* FindDialect(std::string_view sName);
/// By what a server calls itself; null for one that is not known.
const CDialect* FindDialectOfServer(std::string_view sServer);

/// Stores one event of a log. The log's name, the time and the order within that second are the key.
void BuildStoreStatement(COrvSQLStr& sql, const CDialect& dialect, const COrvStr& sLog,
                         const CPackageEvent& event);

/// Counts the events in the place of this one that are this one: none when another one has it.
void BuildCountStatement(COrvSQLStr& sql, const CDialect& dialect, const COrvStr& sLog,
                         const CPackageEvent& event);
