/// All public headers of OrvComTypes.
#pragma once

#include "orvcomtypes/octassert.h"

#include "orvcomtypes/lqthrow.h"

#include "orvcomtypes/orvstralloc.h"

#include "orvcomtypes/orvstr.h"

#include "orvcomtypes/orvdbstr.h"

#include "orvcomtypes/memarray.h"
