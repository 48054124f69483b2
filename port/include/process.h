// Threads of the C runtime.
#pragma once

#include <windows.h>

#pragma GCC visibility push(default)

std::uintptr_t _beginthreadex(void* security, unsigned stack_size, unsigned (*start_address)(void*),
                              void* arglist, unsigned initflag, unsigned* thrdaddr) noexcept;

#pragma GCC visibility pop
