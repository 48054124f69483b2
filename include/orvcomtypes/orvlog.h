/// `COrvLog`, the object through which code writes log lines, and the process logger.
///
/// A log is a set of option bits, a short prefix and a reference to the handler of one file. Any number of
/// logs may share a file: there is one handler for each file-name format (the case of ASCII letters aside). A
/// call builds its line on the stack and queues it; the handler's own thread opens, writes, flushes and
/// switches the file. Calls do not wait for the disk (but see `SetFlushLevel` and `lqfMaxWaiting`), never
/// throw and report no failure.
///
/// Lines that cannot be written yet (full disk, missing folder, no handle) wait in memory, up to a limit
/// (`lqfMaxWaiting`), and are tried again every second; beyond the limit lines are dropped, errors last.
/// Whatever is dropped, for want of memory too, or may not have come to the disk, is counted
/// (`GetLostLines`) and told in the file, in front of the next line:
///
///   =W> 261112_213005 Lost log lines: 3 (210 bytes), logged between 261112_212950 and 261112_213004
///
/// The two times are those at which lines were dropped; they may have been logged before.
///
/// A file that was deleted, renamed or replaced is made again at the next flush, with its folders. A log may
/// be linked to a pipe or terminal, such as /dev/stdout. What a crash left of a line is ended first.
///
/// A line reads
///
///   =E> Pfx 261112_213005 [1A2C] orvlog(1191) HR: 80070005 Text of the message
///
/// level mark, prefix, local date and time, thread id (option 0x4000), position from `SetFL`, HRESULT; each
/// of these only where there is one. They are put in front of the caller's format, and then both are
/// formatted as one: "%" in a prefix or a file's name is a conversion. One that finds no argument of its type
/// prints nothing. Formats are in the dialect of Windows on every target (formatcheck.h): `%s` narrow text,
/// `%S` wide text, `%ld` 32 bits, `%I64d` 64 bits. Further lines of a message begin with a tab. No text can
/// pass for a line of its own or move a terminal's cursor: control characters other than tabs and line breaks
/// show as `\x1B`, in lines and in statements; only `LogRaw` writes what it is given.
///
/// Ownership: a log holds one reference to its handler. A copy shares that reference: whichever of the two is
///   released or destroyed first gives it back, and both are silent. If other logs have the same file, the
///   second one then gives back a reference of theirs. An heir (`InitLog`) has its own.
/// Null, empty, zero: a null or empty text, a null format and level 0 log nothing (`LogRaw` knows no levels);
///   a null prefix is an empty one; a log without a file is silent, and its answers are empty, 0 and, from
///   `Flush`, true.
/// Without memory: nothing throws but copying, assignment and `GetPrefix`, which throw `CLQMemoryExcept`.
/// The end: after `UninitOrvComTypes`, in final release too, logs go on as before; only positions of `SetFL`
///   are forgotten. When the library is unloaded or the process exits, all logs together have a second to
///   write what waits, and each that a disk holds up two tenths more; what is logged after that is dropped.
///   What is left is then written by the caller, whom a disk holds up that takes nothing at all. Windows ends
///   threads first: a block that is being written at that moment is completed; where another process appends
///   to the file just then or a new file is due, it may come twice, and a thread that is ended inside a call
///   of a log may take what waits there with it. For bad ends see logcrash.h.
/// Thread safety: logging from any thread; lines of one thread keep their order. `Init…`, `SetPrefix` and
///   assignment must not overlap other calls on the same object; `ReleaseLog` may, and drops what comes after
///   it. A forked child may go on logging; the lines queued at that moment are the parent's.
/// Errors: reports (source `orvlog`) stand at the functions; a file-name format that is used also reports
///   "hr == S_OK" from "CreateLogFileName" (no data folder; the one for temporary files is taken) and
///   "p == nullptr" from "CreateDirRecursive" (a name without any folder). Failures of the file go to the
///   debugger output.
/// Units: a line is cut at 16,374 bytes, what is in front of its message together with the format at 1,023,
///   between characters.
///
///     COrvLog log;
///     log.InitFileLog(ORVTEXT("#DA(LOCAPP)\\Lumatrek\\Log\\import.txt"), lqlErrors, ORVTEXT("Imp"));
///     log.LogOpt(lqlErrors, "%u of %u rows were read from %S", nRead, nRows, sFile);
///
///     log.SetFL(__FILE__, __LINE__).LogErr(ORVTEXT("no connection"));
///     log.SetFL(nullptr, 0);
///
/// File-name formats: "#MO", "#WE" and "#DA" begin a new file every month, week or day, "#AN" at every start,
/// and put its date into the name. "(LOCAPP)" and "(TEMP)" stand for the user's data folder and the folder
/// for temporary files, "$" for the setting "LocalDataPath", else "DataPath", else "DefaultLogPath", an
/// asterisk before a backslash for "DataPath". A bare name goes to "DefaultLogPath", else to "Log" below
/// "LocalDataPath" or "DataPath", else to the folder for temporary files. A name without extension gets
/// ".log". Other paths that are not absolute begin in the folder that is current when the log is made.
/// Folders are made. The same file may be open in several processes: a block of lines is appended whole.
#pragma once

#include "orvcomtypes/formatcheck.h"
#include "orvcomtypes/midintarray.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <type_traits>

class CLogFileInnerHandler;
class CLQExcept;
struct LQComErrorData;

/// Option bits; those that are levels are passed to the logging calls too.
enum LQLogOption : unsigned
{
    lqlErrors = 0x0001,
    lqlWarnings = 0x0002,
    lqlInformation = 0x0004,
    lqlSQL = 0x0008,
    lqlUser = 0x0020,
    lqlNoSQLText =
        0x1000, ///< a security notice instead of statements; only SetLogOpt and AddLogOpt can set it
    lqlWholeSQL = 0x2000,       ///< long successful statements are not cut
    lqlThreadId = 0x4000,       ///< thread id in every line
    lqlToDebugger = 0x8000,     ///< a copy of every line to the debugger; alone: to the debugger only
    lqlSQLToDebugger = 0x10000, ///< keeps the debugger copy for SQL
};

/// What can be chosen for a file.
enum LQLogFileOption : unsigned
{
    /// Bytes of text that may wait to be written; 64 MB at first. A call that meets this limit while the disk
    /// works waits for room, at most a second. When that was in vain its line is dropped as told above, and
    /// no call waits until the disk takes lines again. A longer line than this is dropped at once.
    lqfMaxWaiting,
    /// A file of this size or more is followed by one with "_2", "_3" and so on in its name, with "#AN" by
    /// one with a new time; 0, as at first: none is. A new start goes on with the last one that is there.
    /// Whose a file is only its name tells: that of the format, with an underscore and a number from 2 on
    /// before the extension. A log "import.txt" would write into an "import_17.txt" of somebody else: keep
    /// such names out of its folder.
    lqfMaxFileBytes,
    /// So many files of the format are kept, the newest, and older ones DELETED; 0, as at first: all are
    /// kept. All with names as told above count, and with any date where the format has one, whoever made
    /// them; a format without date has others only with `lqfMaxFileBytes`. In a folder that may not be read
    /// none is found.
    lqfKeepFiles,
    /// 1: the file is UTF-8, whatever the ANSI code page is, and narrow text is converted, but for `LogRaw`;
    /// the debugger's copy is UTF-8 too. 0 at first.
    lqfUTF8,
};

/// What a log sees of a file: the library's own, used through a log. Slots in this order.
class ORV_API ILogFileHandler
{
public:
    virtual ~ILogFileHandler();
    /// Queues bytes (length 0: up to the terminating zero; null or empty: none). An event, if given, is
    /// signalled when they, or for none those before, were flushed or given up, or at once while another one
    /// is pending. Does nothing, also with the event, when the handler was released.
    virtual void Write(const char* text, unsigned length, HANDLE doneEvent) = 0;
    /// The full name of the open file, or of the last one; empty before the first line was written and
    /// without memory.
    virtual void GetFileName(COrvStr& name) = 0;
    virtual void AddRef() = 0;
    virtual void Release() = 0;
};

class ORV_API COrvLog
{
public:
    COrvLog() noexcept = default;
    /// As `InitLog`.
    COrvLog(const COrvLog* parent, int options, const WCHAR* prefix);
    /// Copies point at the handler without a reference of their own (see Ownership), and an overwritten
    /// handler is not released: both deliberate.
    COrvLog(const COrvLog& other);
    COrvLog& operator=(const COrvLog& other);
    ~COrvLog();

    /// Shares the parent's file. Options -1 and a null prefix: the parent's. Without a parent the log is
    /// released, and its prefix emptied. False, with options 0 and the former file kept, without memory.
    bool InitLog(const COrvLog* parent, int options, const WCHAR* prefix);
    /// A log of the file, which is opened when the first line comes: whether that can be done shows in the
    /// debugger output, not here. False, with options 0 and the former file kept, without memory and for an
    /// empty or null format; both report "STRNOTEMPTY(sFileNameFormat) && pHandler != nullptr" from
    /// "CLogFileHandlerList::AddFileHandler". False also when the library is being unloaded.
    bool InitFileLog(const WCHAR* fileNameFormat, int options, const WCHAR* prefix);
    /// Options and file from the values "EventLog" and "EventDir" of a registry key, of the user or, where
    /// there is none, of the machine; a name that does not begin with "Software" lies below
    /// "Software\Orvanex\Lumatrek". True when both were read. The numbers "EventFlushLevel",
    /// "EventMaxWaiting", "EventMaxFileSize", "EventKeepFiles" and "EventUTF8", where present, are what
    /// `SetFlushLevel` and `SetFileOption` take; the text "WorkerDBIdForSQLLog", such as "3,17", is read with
    /// `lqlSQL` and names the worker databases.
    ///
    /// False, but the log works: without the key or "EventLog" (nothing else is read then) with options
    /// 0x4027, without "EventDir" with the options that were read; in both cases the file is a weekly one in
    /// the user's data folder that bears the program's name. One without extension reports "p != nullptr".
    /// False, and the log is released: "EventLog" 0, no log is wanted, which is reported as an empty format.
    /// False, with options 0 and the former file kept: with an empty "EventDir" and without memory.
    /// False, and nothing is changed: an empty or null key name reports "STRISEMPTY(sKeyName)".
    bool InitRegLog(const WCHAR* keyName, const WCHAR* prefix);
    /// Gives the file back, with options 0. The last log of a file waits until all lines are written; where a
    /// disk that is slow or hangs holds up the file's thread, some two seconds: what it has not taken by then
    /// is dropped and counted (`GetLostLogLines`). Where only the disk's answer is missing the caller writes
    /// what is left, and waits for that. `Flush` before it waits as long as wanted.
    void ReleaseLog();

    /// The option bits: which levels are logged, and how.
    void SetLogOpt(unsigned options) { m_nOptions.store(options, std::memory_order_relaxed); }
    unsigned GetLogOpt() const { return m_nOptions.load(std::memory_order_relaxed); }
    /// Both return the options before the change.
    unsigned AddLogOpt(unsigned mask) { return m_nOptions.fetch_or(mask, std::memory_order_relaxed); }
    unsigned RevokeLogOpt(unsigned mask) { return m_nOptions.fetch_and(~mask, std::memory_order_relaxed); }
    bool HasLog(unsigned mask) const { return (GetLogOpt() & mask) != 0 && Handler() != nullptr; }

    /// At most 63 bytes in the ANSI code page, cut between characters.
    void SetPrefix(const WCHAR* prefix);
    COrvStr GetPrefix() const;
    /// The full path of the open file, or of the last one; empty before the first line was written and
    /// without memory.
    COrvStr GetLogFileName() const;
    /// Whether statements of a worker database are wanted: all are when `InitRegLog` has read no ids.
    bool NeedSQLLogToWorkerDB(unsigned id) const;
    /// Does nothing: the writer flushes by itself.
    void WaitFlushLog() const {}

    /// Waits until everything that was queued for the file before this call is on the disk. False when that
    /// did not happen in time, or when lines were lost since the last such call; true without a file.
    bool Flush(DWORD milliseconds) const;
    /// From this level on (errors, warnings, information, SQL, custom levels) a line is flushed before the
    /// call that logs it returns; 0, as at first: none. Such a call waits while the disk works, at most 5
    /// seconds, and does not wait for a disk that is full or on which another call has just waited in vain.
    /// Heirs and copies take the level over.
    void SetFlushLevel(unsigned level) { m_nFlushLevel.store(level, std::memory_order_relaxed); }
    unsigned GetFlushLevel() const { return m_nFlushLevel.load(std::memory_order_relaxed); }

    /// An option of the log's file, for all logs that share it; false without a file and for another number.
    bool SetFileOption(LQLogFileOption option, std::uint64_t value) const;
    std::uint64_t GetFileOption(LQLogFileOption option) const;
    /// How many lines of the file were lost since its first log was made, and their bytes (null: not asked).
    std::uint64_t GetLostLines(std::uint64_t* bytes = nullptr) const;

    /// A text as it is, at the level of the name; "%" has no meaning in it.
    void LogErr(const WCHAR* text) const { LogSimpleStr(lqlErrors, text); }
    void LogWarn(const WCHAR* text) const { LogSimpleStr(lqlWarnings, text); }
    void LogInf(const WCHAR* text) const { LogSimpleStr(lqlInformation, text); }
    void LogCust(int level, const WCHAR* text) const { LogSimpleStr(static_cast<unsigned>(level), text); }
    /// The same at any level; narrow text is of the ANSI code page.
    void LogSimpleStr(unsigned level, const char* text) const;
    void LogSimpleStr(unsigned level, const WCHAR* text) const;
    /// A line by a format: a literal is checked against its arguments by the compiler, other text is not (see
    /// formatcheck.h). \p hr is shown in the line.
    template <class... Args>
    void LogOpt(unsigned level, OCT::CCheckedFormat<char, std::type_identity_t<Args>...> format,
                const Args&... args) const
    {
        LogOpt(level, OCT::CRunTimeFormat(format.Text()), OCT::FormatArgument(args)...);
    }
    template <class... Args>
    void LogOpt(unsigned level, LONG hr, OCT::CCheckedFormat<char, std::type_identity_t<Args>...> format,
                const Args&... args) const
    {
        LogOpt(level, hr, OCT::CRunTimeFormat(format.Text()), OCT::FormatArgument(args)...);
    }
    void LogOpt(unsigned level, OCT::CRunTimeFormat format, ...) const;
    void LogOpt(unsigned level, LONG hr, OCT::CRunTimeFormat format, ...) const;
    /// A line by a format that is not checked and its arguments; \p phr may be null.
    void LogInner(unsigned level, const LONG* phr, const char* format, va_list args) const;

    /// The text as it is: no level filter, no decoration. Wide text is converted to what the file is written
    /// in. The level only counts for `SetFlushLevel`.
    void LogRaw(const char* text) const;
    void LogRaw(unsigned level, const char* text) const;
    void LogRaw(const WCHAR* text) const;

    /// The source position that the calling thread's next lines carry, in every log of the process, until
    /// SetFL(nullptr, 0). The text is not copied: it must stay valid until then. Neither locks nor allocates.
    const COrvLog& SetFL(const char* file, int line) const;
    /// The calling thread's; null and 0 when there is none.
    void GetFL(const char*& file, int& line) const;
    /// True when no position is pending: the reverse of what the name says, deliberately.
    bool HasFL() const;

    /// Opens the file in the system's text editor; false, with a line that says why, when that did not start,
    /// and without a file.
    bool ShowLogFileWithNotepad() const;

private:
    friend class CSQLRecord;
    void Queue(const char* text, unsigned length, unsigned level) const;
    ILogFileHandler* Handler() const { return m_pHandler.load(std::memory_order_acquire); }
    CLogFileInnerHandler* FileHandler() const;
    UINT CodePage() const;
    void Adopt(ILogFileHandler* pHandler);

    std::atomic<unsigned> m_nOptions = 0;
    char m_sPrefix[64] = {};
    CMIDINTArray m_WorkerDBIds;
    std::atomic<ILogFileHandler*> m_pHandler = nullptr; ///< released while threads log at the process's end
    std::atomic<unsigned> m_nFlushLevel = 0;
};

// ---- The process logger: one log of the library, for code that holds none. Never null; silent until
// initialised ----

ORV_EXTERN_C ORV_FUNC COrvLog* ORVCALL GetProcessLogger();
ORV_EXTERN_C ORV_FUNC bool ORVCALL InitRegProcessLogger(const WCHAR* keyName);
ORV_EXTERN_C ORV_FUNC bool ORVCALL InitFileProcessLogger(const WCHAR* fileNameFormat, int options);
ORV_EXTERN_C ORV_FUNC void ORVCALL ReleaseProcessLogger();
/// The options; \p prefix, if given, receives the first 9 characters of the prefix (none without memory) and
/// a terminator.
ORV_EXTERN_C ORV_FUNC unsigned ORVCALL GetProcessLogOpt(WCHAR* prefix);
ORV_EXTERN_C ORV_FUNC void ORVCALL LogStrExp(unsigned level, const char* text);
/// The text unchanged, whatever the options.
ORV_EXTERN_C ORV_FUNC void ORVCALL LogStrRawExp(const char* text);
/// Copies the file name, cut to \p size characters with the terminator; for a size up to 2 and without \p
/// dest nothing. Returns \p dest.
ORV_EXTERN_C ORV_FUNC WCHAR* ORVCALL GetLogFileNameExp(WCHAR* dest, unsigned size);
/// Flushes all logs of the process that are not released, as `COrvLog::Flush` does one; the time is for all
/// together. True without any.
ORV_EXTERN_C ORV_FUNC bool ORVCALL FlushLogs(DWORD milliseconds);
/// How many lines were lost in all logs since the library was loaded, and their bytes (null: not asked).
ORV_EXTERN_C ORV_FUNC std::uint64_t ORVCALL GetLostLogLines(std::uint64_t* bytes);
ORV_VALUES_BEGIN
/// The name that a format stands for now; its folders are made. Empty without memory and for an empty or null
/// format, which reports "sBuffer == nullptr || STRISEMPTY(sFileNameFormat)" from "CreateLogFileName".
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL GenerateLogFileName(const WCHAR* fileNameFormat);
ORV_VALUES_END
/// One line with the thread, the milliseconds since the first call and since the last one, the text ("(null)"
/// for null) and the value, cut at 1000 bytes; at level `lqlInformation`, and to the debugger. Threads wait
/// for each other.
ORV_EXTERN_C ORV_FUNC void ORVCALL WriteThreadPrintfTrace(const char* text, LONG value);

// ---- Standard records ----

/// The exception's text at level `lqlErrors`. For a null log reports "pLog != nullptr" from "LogException".
ORV_EXTERN_C ORV_FUNC void ORVCALL LogException(const CLQExcept& e, COrvLog* log = GetProcessLogger());

/// Records a statement that was run: its outcome, and then its text, with "SQL", the worker database's id and
/// the log's prefix in front of every line. -1: time or rows unknown.
///
/// A failure (a negative code in \p err) is recorded in a log with `lqlSQL`, `lqlToDebugger` or `lqlErrors`,
/// a success with one of the first two, if \p workerDbId is 0 or among the log's. A success of more than 2000
/// characters is cut to 400 unless the log has `lqlWholeSQL`. With `lqlNoSQLText` a notice takes the text's
/// place. The debugger gets a copy only with `lqlSQLToDebugger`. Nothing is recorded for a null log, one
/// without a file and a null or empty statement.
ORV_EXTERN_C ORV_FUNC void ORVCALL SQLStrSaveToLog(const WCHAR* sql, COrvLog* log, const LQComErrorData& err,
                                                   unsigned workerDbId, int elapsedMs, unsigned rows);
