// Code pages, collation, character classes and case.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"
