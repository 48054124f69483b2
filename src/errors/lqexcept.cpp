#include "orvcomtypes/lqexcept.h"

#include "core/charclass.h"
#include "core/fixedline.h"
#include "core/textformat.h"
#include "core/throwscope.h"
#include "errors/lqraise.h"
#include "orvcomtypes/lqmessage.h"
#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvlog.h"
#include "orvcomtypes/orvstr.h"
#include "strings/wholetext.h"

#include <windows.h>

#include <cstddef>
#include <iterator>
#include <new>
#include <string_view>

namespace
{

constexpr std::size_t kLogTextSize = 4000;

const WCHAR* CategoryName(LQExcCategory category)
{
    static const WCHAR* const kNames[] = {
        ORVTEXT("lqeUndefined"), ORVTEXT("lqeMemory"),    ORVTEXT("lqeDatabase"), ORVTEXT("lqeInvalidarg"),
        ORVTEXT("lqeFile"),      ORVTEXT("lqeCOM"),       ORVTEXT("lqeCustom"),   ORVTEXT("lqeWindows"),
        ORVTEXT("lqeInternal"),  ORVTEXT("lqeUserCancel")};
    const auto nCategory = static_cast<unsigned>(category);
    return kNames[nCategory < std::size(kNames) ? nCategory : 0];
}

/// The file without a leading ".\".
const WCHAR* ShownFile(const WCHAR* sFile)
{
    if (sFile == nullptr)
        return ORVTEXT("");
    return sFile[0] == '.' && sFile[1] == '\\' ? sFile + 2 : sFile;
}

/// Text for the log in a buffer of fixed size; what does not fit is left out silently.
class CLogText
{
public:
    template <class... Args>
    void Append(const WCHAR* sFormat, Args... args)
    {
        OCT::FormatTo(m_sPart, sFormat, args...);
        m_text.Append(m_sPart);
    }
    const WCHAR* Text() const { return m_text.Text(); }

private:
    WCHAR m_sPart[kLogTextSize];
    OCT::CFixedLine<WCHAR, kLogTextSize - 1> m_text;
};

/// A text that the system allocated.
struct CLocalText
{
    CLocalText() = default;
    CLocalText(const CLocalText&) = delete;
    CLocalText& operator=(const CLocalText&) = delete;
    ~CLocalText() { LocalFree(m_s); }

    WCHAR* m_s = nullptr;
};

} // namespace

// ---------------------------------------------------------------- the classes

CLQExcept::CLQExcept(LONG iCode, unsigned uResId, const LQSrcLocation& location)
    : m_iErrorCode(iCode), m_iLine(static_cast<LONG>(location.m_nLine))
{
    const WCHAR* sFile = ShownFile(location.m_sFile);
    try
    {
        const OCT::CFlagScope scope(OCT::t_bMakesMessage);
        m_messages.Add(iCode, uResId);
        const COrvStr sOwnFile(sFile);
        m_sFile = OCT::Whole(sOwnFile);
    }
    catch (const std::bad_alloc&)
    {
        // Without memory the exception goes without.
    }
    OCT::CFixedLine<WCHAR, 1024> trace;
    trace.Append(ORVTEXT("CLQExcept from ")).Append(sFile).Append(ORVTEXT("("));
    trace.AppendDecimal(location.m_nLine).Append(ORVTEXT(")\n"));
    OutputDebugStringW(trace.Text());
}

CLQExcept::~CLQExcept() = default;

LQExcCategory CLQExcept::GetCategory() const
{
    return lqeCustom;
}

LONG CLQExcept::GetErrorCode() const
{
    return m_iErrorCode;
}

COrvStr CLQExcept::Format(HINSTANCE hModule) const
{
    return m_messages.Format(hModule);
}

COrvStr CLQExcept::FormatToLog() const
{
    return ExceptFormatToLog(this);
}

LQExcCategory CLQInvalidargExcept::GetCategory() const
{
    return lqeInvalidarg;
}

LQExcCategory CLQMemoryExcept::GetCategory() const
{
    return lqeMemory;
}

LQExcCategory CLQComExcept::GetCategory() const
{
    return lqeCOM;
}

// ---------------------------------------------------------------- texts

unsigned ORVCALL GetErrorMessResId(LQExcCategory category, int iVariant) noexcept
{
    switch (category)
    {
    case lqeMemory: return 26007;
    case lqeInvalidarg:
    case lqeInternal: return iVariant == 1 ? 26005 : 26006;
    case lqeWindows: return 26008;
    case lqeUserCancel: return 3517;
    default: return 0;
    }
}

COrvStr ORVCALL ExceptFormatToLog(const CLQExcept* e)
{
    if (e == nullptr)
    {
        ORV_REPORT("ExceptFormatToLog", "e == nullptr");
        return COrvStr();
    }
    CLogText text;
    text.Append(ORVTEXT("Category: %s; File: %s (%d)"), CategoryName(e->GetCategory()), e->GetFile(),
                e->GetLine());
    const CLQMessages& messages = e->GetMessages();
    const unsigned nCount = messages.GetCount();
    if (nCount == 0)
    {
        text.Append(ORVTEXT("; !!! There is no message in CLQExcept object !!!"));
        return COrvStr(text.Text());
    }
    const auto params = [](const CLQMessage& message) { return message.Format(CLQMessage::ListParams()); };
    if (nCount == 1)
        text.Append(ORVTEXT("; Params: %s;"), static_cast<const WCHAR*>(params(messages.Last())));
    else
        for (unsigned i = 0; i < nCount; ++i)
            text.Append(ORVTEXT("\r\n\t\tMessage: %u: Params: %s;"), i,
                        static_cast<const WCHAR*>(params(messages.GetItem(i))));
    text.Append(ORVTEXT("\r\n\t\tFormatted: %s;"), static_cast<const WCHAR*>(messages.Format(nullptr)));
    return COrvStr(text.Text());
}

void ORVCALL LogLQExcept(const CLQExcept* e)
{
    const COrvLog& log = *GetProcessLogger();
    if ((log.GetLogOpt() & lqlErrors) == 0)
        return; // the text is not even made: that reports what the resources lack
    const COrvStr sText = e != nullptr ? e->FormatToLog() : ExceptFormatToLog(e);
    if (sText.IsEmpty())
        log.LogOpt(lqlErrors, "Throwing unknown LQ exception");
    else
        log.LogOpt(lqlErrors, "Throwing LQ exception: %S", static_cast<const WCHAR*>(sText));
}

COrvStr ORVCALL ComErrorDataToLogString(const LQComErrorData* pError)
{
    if (pError == nullptr)
        return COrvStr();
    WCHAR sText[kLogTextSize + 1];
    OCT::FormatTo(sText, ORVTEXT("Code: 0x%08X; Native code: %d; SQL state: %s; Message: %s"),
                  pError->m_iCode, pError->m_iNativeCode, static_cast<const WCHAR*>(pError->m_sSQLState),
                  static_cast<const WCHAR*>(pError->m_sMessage));
    return COrvStr(sText);
}

COrvStr ORVCALL GetWinErrorString(DWORD dwCode)
{
    if (dwCode == 0)
        return COrvStr();
    CLocalText text;
    constexpr DWORD dwFlags =
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM;
    DWORD dwLength = FormatMessageW(dwFlags, nullptr, dwCode, LOCALE_USER_DEFAULT,
                                    reinterpret_cast<LPWSTR>(&text.m_s), 0, nullptr);
    if (dwLength == 0)
        return COrvStr();
    while (dwLength > 0 && OCT::IsSpace(text.m_s[dwLength - 1]))
        text.m_s[--dwLength] = 0;
    return COrvStr(text.m_s);
}
