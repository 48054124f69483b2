// The Win32 names that the library calls, for targets that are not Windows. One header an area;
// port/README.md says what each name promises.
#pragma once

#include "orvport/types.h"

#if defined(__cplusplus) // A program in C gets the types, which orvcomtypes/orvcapi.h needs.

#include "orvport/error.h"

#include "orvport/debug.h"
#include "orvport/environment.h"
#include "orvport/file.h"
#include "orvport/formatmessage.h"
#include "orvport/localetime.h"
#include "orvport/memory.h"
#include "orvport/message.h"
#include "orvport/module.h"
#include "orvport/nls.h"
#include "orvport/oledate.h"
#include "orvport/registry.h"
#include "orvport/resource.h"
#include "orvport/sync.h"
#include "orvport/systime.h"
#include "orvport/thread.h"
#include "orvport/threadlocal.h"

#endif
