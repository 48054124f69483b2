/// What logs do when the process comes to a bad end.
///
/// Lines wait in memory until a log's thread has written them, so a process that aborts loses the last ones:
/// those that would tell why. With this handler installed `abort`, an exception that nobody catches and a
/// fatal signal (on Windows: an exception that nobody handles) first log what happened as an error, then wait
/// until all logs are flushed, for a bounded time, and then go on to what would have happened without it: the
/// former handler, a core dump, the end of the process.
///
/// The line is written by a thread that was started before, as the one that fails may hold any lock. A
/// process that is killed, or that calls `_exit`, runs no handler: there only what was flushed is sure
/// (`COrvLog::Flush`, `COrvLog::SetFlushLevel`). A forked child has no such thread; it does the same on the
/// failing thread itself.
///
/// Ownership: the log is not copied and must exist until the handler is removed.
/// Thread safety: both functions from any thread; failing threads from any number.
/// Errors: none; false when the thread cannot be started.
///
///     COrvLog log;
///     log.InitFileLog(ORVTEXT("#DA(LOCAPP)\\Lumatrek\\Log\\import.txt"), lqlErrors, nullptr);
///     InstallLogCrashHandler(&log, 3000);
#pragma once

#include "orvcomtypes/orvlog.h"

/// Installs the handler, or gives the one that is installed another log and time. A null log is the process
/// logger. The handler takes the place of former handlers of these events and calls them when it is done;
/// signal handlers run on the alternative stack of a thread that has one.
ORV_EXTERN_C ORV_FUNC bool ORVCALL InstallLogCrashHandler(COrvLog* log, DWORD milliseconds);
/// Puts the former handlers back. Unloading the library does this too.
ORV_EXTERN_C ORV_FUNC void ORVCALL RemoveLogCrashHandler();
