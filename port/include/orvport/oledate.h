// OLE dates.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

INT VariantTimeToSystemTime(DOUBLE vtime, LPSYSTEMTIME lpSystemTime) noexcept;
