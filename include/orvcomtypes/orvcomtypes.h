/// All public headers of OrvComTypes.
#pragma once

// clang-format off: in the order in which they build on each other
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/smartcls.h"
#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/plexalloc.h"
#include "orvcomtypes/octalloc.h"
#include "orvcomtypes/orvstralloc.h"
#include "orvcomtypes/stringutils.h"
#include "orvcomtypes/strconvert.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/orvdbstr.h"
#include "orvcomtypes/memarraytreat.h"
#include "orvcomtypes/memarray.h"
#include "orvcomtypes/orvhashstorage.h"
#include "orvcomtypes/orvhashmap.h"
#include "orvcomtypes/midintarray.h"
#include "orvcomtypes/simplebyteset.h"
#include "orvcomtypes/timeutils.h"
#include "orvcomtypes/orvtime.h"
#include "orvcomtypes/orvtimer.h"
#include "orvcomtypes/regkeyw.h"
#include "orvcomtypes/lqsettings.h"
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/loadstrres.h"
#include "orvcomtypes/resourcehandler.h"
// clang-format on
