// What the library's end, and the process's, asks of its threads.
#pragma once

/// Whether the calling thread is one of the library; also in a signal handler.
bool PortIsOwnThread() noexcept;

/// Stops the threads that TerminateThread abandoned: their code is about to be unmapped.
void PortParkThreads() noexcept;
