// Calendar and zone conversions.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"
