// The statements of the service.
#pragma once

#include "options.h"
#include "packagelog.h"

#include <orvcomtypes/orvsqlstr.h>

/// Creates the table unless it exists.
void BuildCreateStatement(COrvSQLStr& sql, ESqlDialect dialect);

/// Inserts one event; its source and line are the key, so reading a file twice fails.
void BuildInsertStatement(COrvSQLStr& sql, ESqlDialect dialect, const COrvStr& sSource,
                          const CPackageEvent& event);
