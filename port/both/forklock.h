// Which locks a fork waits for.
#pragma once

#include <windows.h>

/// From now on, until the section is deleted, a fork enters it first, so that in the child it is free and
/// what it guards is whole. For locks of the library itself, which are held for moments and stay where they
/// are while it is loaded; a lock of anybody else could be held for long, or go away with its module. Calling
/// it again changes nothing. Windows does not fork, so there it does nothing.
void PortHoldAtFork(LPCRITICAL_SECTION lpCriticalSection) noexcept;
