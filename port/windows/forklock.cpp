#include "forklock.h"

void PortHoldAtFork(LPCRITICAL_SECTION) noexcept {}

void PortCallInChild(void (*)()) noexcept {}
