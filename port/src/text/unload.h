// What ICU made for conversions and comparisons, given back as the last step of an unload. When the process
// ends it stays: other threads, and destructors that run later, may still use it.
#pragma once

void PortFreeConverterAtUnload() noexcept;
void PortFreeCollatorAtUnload() noexcept;
