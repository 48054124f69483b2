// What the plugin offers.
#pragma once

#include "orvcomtypes/orvexport.h"

#if defined(_WIN32)
#define PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

using PluginUninit = void(ORVCALL*)();

/// Each copy of the plugin that is loaded counts the calls of its teardown here.
using PluginSetCounter = void(int* pCounter);
/// The teardown, for the registry.
using PluginGetUninit = PluginUninit();
/// Fills and empties a pool of its own, makes a text, throws and catches; true when all went well.
using PluginWork = bool();
/// Takes the plugin's pools down: before it is unloaded.
using PluginClose = void();
/// Throws an exception of a class of its own, with the code E_ABORT.
using PluginRefuse = void();
/// Calls the function and returns the code of the exception that comes out of it, 0 without one.
using PluginCodeOf = int(void (*pfn)());
