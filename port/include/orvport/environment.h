// Environment variables.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"
