#include "core/throwscope.h"

constinit thread_local bool OCT::t_bThrowsQuietly = false;
