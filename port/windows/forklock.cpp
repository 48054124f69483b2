#include "forklock.h"

void PortHoldAtFork(LPCRITICAL_SECTION) noexcept {}
