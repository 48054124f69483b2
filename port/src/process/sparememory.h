// Memory that others need.
#pragma once

/// Whether there is memory for what ICU or the C library makes. Where it is refused a block, ICU crashes,
/// waits for ever, or fails from then on, and the C library takes every zone for UTC: so who makes them
/// allocate asks here first.
bool PortHasSpareMemory() noexcept;
