// What the plugin offers.
#pragma once

#include "orvcomtypes/orvexport.h"

using PluginUninit = void(ORVCALL*)();

/// Each copy of the plugin that is loaded counts the calls of its teardown here.
using PluginSetCounter = void(int* pCounter);
/// The teardown, for the registry.
using PluginGetUninit = PluginUninit();
