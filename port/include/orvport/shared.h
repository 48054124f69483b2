// What the library shares with the program that uses it.
#pragma once

/// Behind the declaration of a function that the library exports: under a name of its own, so that it meets
/// nobody else's function of that name. The list of these is port/OrvPort.def.
#define ORVPORT_SHARED(name) __asm__("OrvPort" #name) __attribute__((visibility("default")))
