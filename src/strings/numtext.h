#pragma once

#include "core/numtext.h"
