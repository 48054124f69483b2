// The Win32 names that the library calls, for targets that are not Windows. One header an area;
// port/README.md says what each name promises.
#pragma once

#include "orvport/types.h" // IWYU pragma: export

#if defined(__cplusplus) // A program in C gets the types, which orvcomtypes/orvcapi.h needs.

#include "orvport/error.h" // IWYU pragma: export

#include "orvport/debug.h"         // IWYU pragma: export
#include "orvport/environment.h"   // IWYU pragma: export
#include "orvport/file.h"          // IWYU pragma: export
#include "orvport/formatmessage.h" // IWYU pragma: export
#include "orvport/localetime.h"    // IWYU pragma: export
#include "orvport/memory.h"        // IWYU pragma: export
#include "orvport/message.h"       // IWYU pragma: export
#include "orvport/module.h"        // IWYU pragma: export
#include "orvport/nls.h"           // IWYU pragma: export
#include "orvport/oledate.h"       // IWYU pragma: export
#include "orvport/registry.h"      // IWYU pragma: export
#include "orvport/resource.h"      // IWYU pragma: export
#include "orvport/sync.h"          // IWYU pragma: export
#include "orvport/systime.h"       // IWYU pragma: export
#include "orvport/thread.h"        // IWYU pragma: export
#include "orvport/threadlocal.h"   // IWYU pragma: export

#endif
