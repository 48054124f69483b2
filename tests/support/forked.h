// Code in a forked copy of the process.
#pragma once

#include <functional>

/// What the body returns in a forked child, 0 to 127; -1 when the child hangs or dies. Where processes do not
/// fork it runs here.
int ForkedResult(const std::function<int()>& body);

inline bool RunForked(bool (*body)())
{
    return ForkedResult([body] { return body() ? 0 : 1; }) == 0;
}
