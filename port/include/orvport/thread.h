// Threads, events and waits.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"
