// The library that draws the charts of a page, put into the program when it is built.
#pragma once

#include <cstddef>

extern const unsigned char g_ChartLibrary[];
extern const std::size_t g_nChartLibrary;
