// CoTaskMem and BSTR allocation.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"
