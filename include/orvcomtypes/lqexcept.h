/// `CLQExcept` and its family, the exceptions of the library, and the texts of Windows and COM errors.
///
/// Exceptions stand for failures that callers must not ignore; plain exported functions return values
/// instead. Each carries messages, so that its text is made later in the language of whoever reads it, and
/// where it was raised. Every exception that the library throws first goes to the process logger and, half a
/// second later, to the registered exception logger, or to the debugger when there is none. `LQ_THROW` does
/// the same for a program's own classes.
///
/// The family does not derive from `std::exception`: a place that must catch everything, such as the body of
/// a thread, names both. An exception that nobody catches ends the process; with the handler of `logcrash.h`
/// the log then says which one it was.
///
/// Ownership: exceptions are values, thrown by value and caught by reference; copies copy messages and file.
/// Lifetime: usable in static constructors and destructors too, and after `UninitOrvComTypes`.
/// Thread safety: all functions from any thread; one exception belongs to one thread at a time.
/// Errors: formatting never throws for what is missing, but `CLQMemoryExcept` without memory. An exception is
///   then made without its message.
///
///     try
///     {
///         Import();
///     }
///     catch (const CLQExcept& e)
///     {
///         ShowText(e.Format(hResources));
///     }
///     catch (const std::exception& e)
///     {
///         ShowText(COrvStr(e.what()));
///     }
#pragma once

#include "orvcomtypes/lqmessage.h"
#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>

#include <type_traits>

struct IUnknown;

/// What kind of failure an exception stands for; the names are the texts in logs.
enum LQExcCategory : int
{
    lqeUndefined = 0,
    lqeMemory = 1,
    lqeDatabase = 2,
    lqeInvalidarg = 3,
    lqeFile = 4,
    lqeCOM = 5,
    lqeCustom = 6,
    lqeWindows = 7,
    lqeInternal = 8,
    lqeUserCancel = 9
};

class ORV_API CLQExcept
{
public:
    /// \p iCode is an HRESULT-style code. A ".\" in front of the location's file is removed. Leaves a trace
    /// line in the debugger output.
    CLQExcept(LONG iCode, unsigned uResId, const LQSrcLocation& location);
    CLQExcept(const CLQExcept&) = default;
    CLQExcept& operator=(const CLQExcept&) = default;
    /// Needs no memory, so that an exception can be thrown when there is none.
    CLQExcept(CLQExcept&&) = default;
    CLQExcept& operator=(CLQExcept&&) = default;
    virtual ~CLQExcept();

    /// `lqeCustom`; each other class of the family names its own.
    virtual LQExcCategory GetCategory() const;
    /// The code that was given to the constructor.
    virtual LONG GetErrorCode() const;
    /// The messages in the language of \p hModule; null for the current language. Empty without a message.
    virtual COrvStr Format(HINSTANCE hModule) const;
    /// The line for the log that `ExceptFormatToLog` makes.
    virtual COrvStr FormatToLog() const;

    /// What went wrong, the newest message last. Whoever passes an exception on may add one.
    const CLQMessages& GetMessages() const noexcept { return m_messages; }
    CLQMessages& GetMessages() noexcept { return m_messages; }
    /// Where it was raised; an empty file when that is not known.
    LONG GetLine() const noexcept { return m_iLine; }
    const WCHAR* GetFile() const noexcept { return m_sFile; }

private:
    LONG m_iErrorCode;
    CLQMessages m_messages;
    LONG m_iLine;
    COrvStr m_sFile;
};

/// An argument that breaks a contract, such as an index that does not exist; the code is E_INVALIDARG.
class ORV_API CLQInvalidargExcept : public CLQExcept
{
public:
    /// Raised at \p location with the text \p uResId.
    CLQInvalidargExcept(unsigned uResId, const LQSrcLocation& location)
        : CLQExcept(E_INVALIDARG, uResId, location)
    {
    }
    /// `lqeInvalidarg`.
    LQExcCategory GetCategory() const override;
};

/// Memory has run out; the code is E_OUTOFMEMORY.
class ORV_API CLQMemoryExcept : public CLQExcept
{
public:
    /// Raised at \p location with the text \p uResId.
    CLQMemoryExcept(unsigned uResId, const LQSrcLocation& location)
        : CLQExcept(E_OUTOFMEMORY, uResId, location)
    {
    }
    /// `lqeMemory`.
    LQExcCategory GetCategory() const override;
};

/// A COM or database call has failed; the code is its HRESULT.
class ORV_API CLQComExcept : public CLQExcept
{
public:
    using CLQExcept::CLQExcept;
    /// `lqeCOM`.
    LQExcCategory GetCategory() const override;
};

// ---- Throwing ----

/// Logs an exception and tells the exception logger, on behalf of who called. Nothing while this thread is
/// announcing another one.
ORV_API void ORVCALL LQAnnounceThrow(const CLQExcept& e, const char* sTypeName) noexcept;

namespace OCT
{

/// What `LQ_THROW` calls.
template <class Except>
[[noreturn]] void ThrowAnnounced(Except&& e, const char* sTypeName)
{
    static_assert(std::is_base_of_v<CLQExcept, Except>, "an exception of the family");
    LQAnnounceThrow(e, sTypeName);
    throw std::forward<Except>(e); // a copy would need memory
}

} // namespace OCT

/// Throws an exception of the family in the library's way: logged, announced by its type's name, thrown.
///
///     LQ_THROW(CImportExcept, E_FAIL, 30001, LQ_SRC_LOCATION);
///     LQ_THROW(CImportExcept, std::move(except));
#define LQ_THROW(Type, ...) ::OCT::ThrowAnnounced(Type(__VA_ARGS__), #Type)

// ---- Texts ----

/// What is known about a failed COM or database call.
struct LQComErrorData
{
    LONG m_iCode = 0;       ///< HRESULT; negative means failure
    COrvStr m_sMessage;     ///< what the error object, else the system, says
    LONG m_iNativeCode = 0; ///< the provider's own number
    COrvStr m_sSQLState;    ///< five characters, as the SQL standard has them
};

/// What the error object of the calling thread says about \p hr, else what the system says. The object is
/// taken from the thread; \p bRestore puts it back for others.
ORV_API LQComErrorData ORVCALL GetComErrorString(LONG hr, bool bRestore);

/// What an error object says about \p hr: the descriptions of its records, each once and joined by " - ", or
/// its own; SQL state and native code are those of the last record that has them. A call that fails ends the
/// walk with what there is until then. Without a description, and for null, "There is no additional COM error
/// info". Throws `CLQMemoryExcept` without memory, and what the object throws.
ORV_API LQComErrorData ORVCALL GetComErrorString(LONG hr, IUnknown* pErrorObject);

/// The id of a generic message for a category; 0 when there is none. Variant 1 of an invalid argument or
/// internal error, and the one of a Windows error, show a parameter of the message: what was wrong.
ORV_EXTERN_C ORV_FUNC unsigned ORVCALL GetErrorMessResId(LQExcCategory category, int iVariant) noexcept;

ORV_VALUES_BEGIN

/// For the log: category, place, parameters of the messages and their text, cut at 3,999 units. Reports "e ==
/// nullptr" (source `lqexcept`) and gives an empty text.
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL ExceptFormatToLog(const CLQExcept* e);

/// Writes the exception, null for an unknown one, to the process logger as one that is about to be thrown;
/// nothing when errors are not logged.
ORV_EXTERN_C ORV_FUNC void ORVCALL LogLQExcept(const CLQExcept* e);

/// One line for the log, cut at 4,000 units; empty for null.
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL ComErrorDataToLogString(const LQComErrorData* pError);

/// The system's text of an error code without the line end; empty for 0 and for codes that have no text.
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL GetWinErrorString(DWORD dwCode);

ORV_VALUES_END

/// Receives the address from which an exception was thrown, and a text that names its type. Threads may call
/// it at once. What it throws ends there, and exceptions that are thrown inside of it are not announced.
using LQExceptionLogger = void(ORVCALL*)(const void* pAddress, const char* sText);

/// Sets the one exception logger of the process, null for none; returns \p fnLogger. Meant for start-up: a
/// thread that throws meanwhile may still call the former one.
ORV_EXTERN_C ORV_FUNC LQExceptionLogger ORVCALL RegisterExceptionLogger(LQExceptionLogger fnLogger) noexcept;
