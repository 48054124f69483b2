// Critical sections and interlocked operations.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"
