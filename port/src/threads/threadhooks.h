// What the library's end, and the process's, asks of its threads.
#pragma once

/// Stops the threads that TerminateThread abandoned: their code is about to be unmapped.
void PortParkThreads() noexcept;
