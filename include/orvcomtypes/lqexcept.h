/// The exceptions of the library, and the texts of Windows and COM errors.
///
/// Exceptions stand for failures that callers must not ignore; plain exported functions return values
/// instead. Each carries messages, so that its text is made later in the language of whoever reads it, and
/// where it was raised. Every exception that the library throws first goes to the process logger and, half a
/// second later, to the registered exception logger, or to the debugger when there is none.
///
/// Ownership: exceptions are values, thrown by value and caught by reference; copies copy messages and file.
/// Thread safety: register the exception logger once at start-up; everything else is reentrant.
/// Errors: source `lqexcept`; "e == nullptr" from "ExceptFormatToLog". Formatting never throws for what is
///   missing. Without memory for its message an exception is thrown without one.
///
///     try
///     {
///         Import();
///     }
///     catch (const CLQExcept& e)
///     {
///         ShowText(e.Format(hResources));
///     }
#pragma once

#include "orvcomtypes/lqmessage.h"
#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/orvstr.h"

struct IUnknown;

/// What kind of failure an exception stands for; the names are the texts in logs.
enum LQExcCategory
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

    virtual LQExcCategory GetCategory() const;
    virtual LONG GetErrorCode() const;
    /// The messages in the language of \p hModule; null for the current language.
    virtual COrvStr Format(HINSTANCE hModule) const;
    virtual COrvStr FormatToLog() const;

    const CLQMessages& GetMessages() const noexcept { return m_messages; }
    CLQMessages& GetMessages() noexcept { return m_messages; }
    LONG GetLine() const noexcept { return m_iLine; }
    const WCHAR* GetFile() const noexcept { return m_sFile; }

private:
    LONG m_iErrorCode;
    CLQMessages m_messages;
    LONG m_iLine;
    COrvStr m_sFile;
};

class ORV_API CLQInvalidargExcept : public CLQExcept
{
public:
    CLQInvalidargExcept(unsigned uResId, const LQSrcLocation& location)
        : CLQExcept(E_INVALIDARG, uResId, location)
    {
    }
    LQExcCategory GetCategory() const override;
};

class ORV_API CLQMemoryExcept : public CLQExcept
{
public:
    CLQMemoryExcept(unsigned uResId, const LQSrcLocation& location)
        : CLQExcept(E_OUTOFMEMORY, uResId, location)
    {
    }
    LQExcCategory GetCategory() const override;
};

class ORV_API CLQComExcept : public CLQExcept
{
public:
    using CLQExcept::CLQExcept;
    LQExcCategory GetCategory() const override;
};

/// What is known about a failed COM or database call.
struct LQComErrorData
{
    LONG m_iCode = 0; ///< HRESULT; negative means failure
    COrvStr m_sMessage;
    LONG m_iNativeCode = 0; ///< the provider's own number
    COrvStr m_sSQLState;
};

/// What the error object of the calling thread says about \p hr, else what the system says. The object is
/// taken from the thread; \p bRestore puts it back for others.
ORV_API LQComErrorData ORVCALL GetComErrorString(LONG hr, bool bRestore);

/// What an error object says about \p hr: the descriptions of its records, each once and joined by " - ", or
/// its own; SQL state and native code are those of the last record that has them. Throws `CLQMemoryExcept`
/// without memory.
ORV_API LQComErrorData ORVCALL GetComErrorString(LONG hr, IUnknown* pErrorObject);

/// The id of a generic message for a category; 0 when there is none.
ORV_EXTERN_C ORV_FUNC unsigned ORVCALL GetErrorMessResId(LQExcCategory category, int iVariant) noexcept;

ORV_VALUES_BEGIN

/// One line for the log: category, place, parameters of the messages and their text.
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL ExceptFormatToLog(const CLQExcept* e);

/// Writes the exception to the process logger as one that is about to be thrown; nothing when errors are not
/// logged.
ORV_EXTERN_C ORV_FUNC void ORVCALL LogLQExcept(const CLQExcept* e);

/// One line for the log; empty for null.
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL ComErrorDataToLogString(const LQComErrorData* pError);

/// The system's text of an error code without the line end; empty for 0 and for codes that have no text.
ORV_EXTERN_C ORV_FUNC COrvStr ORVCALL GetWinErrorString(DWORD dwCode);

ORV_VALUES_END

/// Receives the address from which an exception was thrown, and a text that names its type.
using LQExceptionLogger = void(ORVCALL*)(const void* pAddress, const char* sText);

/// Sets the one exception logger of the process, null for none; returns \p fnLogger.
ORV_EXTERN_C ORV_FUNC LQExceptionLogger ORVCALL RegisterExceptionLogger(LQExceptionLogger fnLogger) noexcept;
