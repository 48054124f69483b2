// Debugger output.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"
