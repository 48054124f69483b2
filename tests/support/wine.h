// The one way to skip what Wine does not do as Windows does.
#pragma once

#include <gtest/gtest.h>

#include <windows.h>

/// True under Wine, false on Windows and on every other target.
bool IsRunningUnderWine();

/// Skips the current test under Wine and prints why.
#define ORV_SKIP_WINE(reason) \
    do \
    { \
        if (IsRunningUnderWine()) \
            GTEST_SKIP() << "Wine: " << reason; \
    } \
    while (false)
