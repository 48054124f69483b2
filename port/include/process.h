// Threads of the C runtime.
#pragma once

#include <windows.h>

std::uintptr_t _beginthreadex(void* security, unsigned stack_size, unsigned (*start_address)(void*),
                              void* arglist, unsigned initflag, unsigned* thrdaddr) noexcept;
