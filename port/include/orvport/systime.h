// Clocks: local and system time, counters.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"
