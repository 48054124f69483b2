// Modules: look-up by address, file names, loading.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"
