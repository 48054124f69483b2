// What the library does when its process forks. Windows does not fork, so there it is nothing.
#pragma once

#include <windows.h>

/// From now on, until the section is deleted, a fork enters it first, so that in the child it is free and
/// what it guards is whole. For locks of the library itself, which are held for moments and stay where they
/// are while it is loaded; a lock of anybody else could be held for long, or go away with its module. Calling
/// it again changes nothing.
void PortHoldAtFork(LPCRITICAL_SECTION lpCriticalSection) noexcept;

/// Calls \p pfn, the only one, in every forked child: on its only thread, when those locks are free again.
void PortCallInChild(void (*pfn)()) noexcept;
