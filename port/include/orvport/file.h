// Files and directories.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"
