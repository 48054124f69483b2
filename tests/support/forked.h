// Code in a forked copy of the process.
#pragma once

/// What the body returns in a forked child; false also when the child hangs or dies. Where processes do not
/// fork it runs here.
bool RunForked(bool (*body)());
