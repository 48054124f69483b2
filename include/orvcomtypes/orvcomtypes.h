/// All public headers of OrvComTypes.
#pragma once

#include "orvcomtypes/octassert.h"

#include "orvcomtypes/lqthrow.h"
