// String resources of a module.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"
