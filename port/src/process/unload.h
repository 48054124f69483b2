// What is given back as the last step of an unload. When the process ends it all stays: other threads, and
// destructors that run later, may still use it.
#pragma once

void PortFreeZoneAtUnload() noexcept;
void PortFreeLocaleTextsAtUnload() noexcept;
void PortFreeRegistryAtUnload() noexcept;
void PortFreeConverterAtUnload() noexcept;
void PortFreeCollatorAtUnload() noexcept;
