// The heap as the process sees it.
#pragma once

#include <cstddef>
#include <optional>

/// Bytes that are allocated now; nothing where the heap does not tell.
std::optional<std::size_t> HeapInUse();

/// Bytes that the process holds, in pages.
std::size_t MemoryInUse();
