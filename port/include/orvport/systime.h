// Clocks: local and system time, counters.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

#include <ctime>

typedef std::int64_t __time64_t;
typedef int errno_t;

void GetLocalTime(LPSYSTEMTIME lpSystemTime) noexcept;
DWORD GetTickCount() noexcept;
BOOL QueryPerformanceCounter(LARGE_INTEGER* lpPerformanceCount) noexcept;
BOOL QueryPerformanceFrequency(LARGE_INTEGER* lpFrequency) noexcept;

__time64_t _time64(__time64_t* ptime) noexcept;
errno_t _localtime64_s(std::tm* ptm, const __time64_t* ptime) noexcept;
