/// What the sources of `COrvTime` and `COrvTimeDiff` share. They all report as `orvtime`.
#pragma once

#include "orvcomtypes/octassert.h"

#include <cmath>

#define ORVTIME_REPORT(function, condition) ORV_REPORT_FROM("orvtime", function, condition, 0)

namespace OCT
{

/// The nearest whole number, ties to even; 0x80000000 for what an int cannot hold.
inline int Nearest(double d) noexcept
{
    const double dWhole = std::nearbyint(d);
    return dWhole >= -2147483648.0 && dWhole <= 2147483647.0 ? static_cast<int>(dWhole) : -0x7FFFFFFF - 1;
}

/// Sums and differences that wrap.
inline int Add(int a, int b) noexcept
{
    return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}
inline int Subtract(int a, int b) noexcept
{
    return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}

} // namespace OCT
