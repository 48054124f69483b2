/// The version: of the headers a program was compiled with, and of the library it runs with.
///
/// Versions are major.minor.patch. A new patch changes no interface. A new minor adds to it: what was
/// compiled with 3.8 runs with 3.9. A new major may take away; libraries of two majors have different names
/// (the SONAME `libOrvComTypes.so.3`) where the system can tell them apart, and every name the ELF library
/// exports carries the version `ORVCOMTYPES_3`.
///
/// Stable within a major: the plain functions by their undecorated names, for any compiler; the classes for
/// programs built by the compiler family that built the library (the layout and names of C++ are the
/// compiler's).
///
/// Thread safety: any thread, at any time, also after the teardown. Errors: none.
///
///     if (GetOrvComTypesVersion() < ORVCOMTYPES_VERSION)
///         std::puts("OrvComTypes is older than " ORVCOMTYPES_VERSION_TEXT);
#pragma once

#include "orvcomtypes/orvexport.h"

/// The parts of the version. The build reads them here: this is the one place that holds them.
#define ORVCOMTYPES_VERSION_MAJOR 3
#define ORVCOMTYPES_VERSION_MINOR 8
#define ORVCOMTYPES_VERSION_PATCH 2

/// One number to compare by: 3.8.2 is 30802.
#define ORVCOMTYPES_VERSION \
    (ORVCOMTYPES_VERSION_MAJOR * 10000 + ORVCOMTYPES_VERSION_MINOR * 100 + ORVCOMTYPES_VERSION_PATCH)

#define ORVCOMTYPES_VERSION_QUOTE_(text) #text
#define ORVCOMTYPES_VERSION_DOTS_(major, minor, patch) \
    ORVCOMTYPES_VERSION_QUOTE_(major) \
    "." ORVCOMTYPES_VERSION_QUOTE_(minor) "." ORVCOMTYPES_VERSION_QUOTE_(patch)
/// A literal of `char`: "3.8.2".
#define ORVCOMTYPES_VERSION_TEXT \
    ORVCOMTYPES_VERSION_DOTS_(ORVCOMTYPES_VERSION_MAJOR, ORVCOMTYPES_VERSION_MINOR, ORVCOMTYPES_VERSION_PATCH)

/// `ORVCOMTYPES_VERSION` of the library that the program runs with.
ORV_EXTERN_C ORV_FUNC int ORVCALL GetOrvComTypesVersion(void) ORV_NOEXCEPT;
