// What the service is for: a file of orders becomes the statements that store them.
#pragma once

#include "messages.h"

#include <orvcomtypes/orvsqlstr.h>
#include <orvcomtypes/orvstr.h>

#include <optional>
#include <string_view>

/// Why a file is refused.
struct CRefusal
{
    unsigned m_nLine;
    EMessage m_Reason;
};

/// Appends a transaction with an INSERT for each line "time TAB customer TAB article TAB quantity". Job and
/// line are the key of an order, so a database refuses what it is given twice. A file with a bad line is
/// refused as a whole.
std::optional<CRefusal> BuildStatements(const COrvStr& sJob, std::string_view sText, COrvSQLStr& sql,
                                        unsigned& nOrders);
