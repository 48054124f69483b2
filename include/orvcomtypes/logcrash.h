/// What logs do when the process comes to a bad end.
///
/// Lines wait in memory until a log's thread has written them, so a process that aborts loses the last ones:
/// those that would tell why. With this handler installed `abort`, an exception that nobody catches and a
/// fatal signal (on Windows: an exception that nobody handles) first log what happened as an error, then wait
/// until all logs are flushed, for a bounded time, and then go on to what would have happened without it: the
/// former handler, a core dump, the end of the process.
///
/// The line is written by a thread that was started before. The one that fails may do so in a signal handler
/// and hold any lock, the heap's too, so it only copies the text of the failure, wakes that thread and waits,
/// all without a lock or memory. When two fail at once the first is told and both wait. When the time is over
/// the process ends as it would have, whatever holds up the logs.
///
/// A thread whose stack has overflowed needs another one for that. The thread that installs the handler has
/// it; each other thread that is to be covered calls `ReserveLogCrashStack` when it begins. Without it an
/// overflow ends the process without a word, and only what was flushed is sure.
///
/// Covered are SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV and SIGSYS. One that was sent by `kill`, as watchdogs
/// do, comes to a thread that may be in the midst of a call of the log: all threads go on until it is told
/// and the logs are flushed, and then the process ends. SIGTERM and its like are the program's to handle. A
/// process that is killed, or that calls `_exit`, runs no handler: there only what was flushed is sure
/// (`COrvLog::Flush`, `COrvLog::SetFlushLevel`). A forked child is covered from the first line that it logs;
/// before that it passes on at once.
///
/// On 64-bit Windows the C runtime calls a program's own `signal` handler of a fault before any filter is
/// asked: what that handler does not pass on is not told.
///
/// A program whose former handler of such a signal goes on instead of ending (some language runtimes do) is
/// not for this handler: it stands down for a signal that it has told.
///
/// Ownership: the log is not copied and must exist until the handler is removed. The line is filtered by that
///   log's options: it needs `lqlErrors`.
/// The end: `UninitOrvComTypes` leaves the handler in its place; unloading the library removes it.
/// Thread safety: all functions from any thread; any number of threads may fail.
/// Errors: nothing is reported or thrown.
/// Units: milliseconds; 0 does not wait. INFINITE waits as long as the logs are held up: by a disk that
///   hangs, or for good by a lock of a log or of the heap that the failing thread holds.
///
///     COrvLog log;
///     log.InitFileLog(ORVTEXT("#DA(LOCAPP)\\Lumatrek\\Log\\import.txt"), lqlErrors, nullptr);
///     InstallLogCrashHandler(&log, 3000);
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvlog.h"

#include <windows.h>

/// Installs the handler, or gives the one that is installed another log and time. A null log is the process
/// logger. The handler takes the place of former handlers of these events and passes on to them when it is
/// done. Its thread runs on return, so this does not belong into a `DllMain`, where threads cannot begin: it
/// would take a second. False, with nothing installed, when there is no memory or thread for it.
ORV_EXTERN_C ORV_FUNC bool ORVCALL InstallLogCrashHandler(COrvLog* log, DWORD milliseconds);
/// Puts the former handlers back, unless somebody has put others into the place of ours since: those may go
/// on passing on to ours, which does nothing then. Does nothing without the handler. Waits up to a second for
/// its thread; one that is telling of a failure just then is left alone.
ORV_EXTERN_C ORV_FUNC void ORVCALL RemoveLogCrashHandler();
/// Makes the calling thread's stack overflows tellable, until its end. A thread that has an alternative
/// signal stack keeps its own. On Windows 64 KB of the thread's stack are set aside. False when the system
/// has none to give.
ORV_EXTERN_C ORV_FUNC bool ORVCALL ReserveLogCrashStack();
