#include "orvcomtypes/lqmessage.h"

#include "core/fixedline.h"
#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/memarray.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/orvtime.h"
#include "strings/inserts.h"
#include "strings/wholetext.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

/// Only the slot of the type means something.
struct CLQMessageParam
{
    LQMessageParamType paramType = msty_Long;
    LONG m_iValue = 0;
    double m_dValue = 0;
    COrvStr m_sValue;
    COrvTime m_time;
    unsigned m_uResId = 0;
};

class CLQMessageParams : public CMarray<CLQMessageParam, 8>
{
};

class CLQMessageArray : public CMarray<CLQMessage, 8>
{
};

namespace
{

constexpr unsigned kMissingResource = 26004;
constexpr unsigned kReferencedParams = 10;
constexpr unsigned kFormattedSize = 1000;

const WCHAR* const kBuiltInFormats[] = {ORVTEXT("%1"), ORVTEXT("%1 %2"), ORVTEXT("%1 %2 %3"),
                                        ORVTEXT("%1|%2"), ORVTEXT("%1|%2|%3")};
const WCHAR* const kInternalError = ORVTEXT("Internal error, invalid resource parameters. ");

using CNumberText = OCT::CFixedLine<WCHAR, 11>;

CNumberText Decimal(unsigned n)
{
    CNumberText text;
    text.AppendDecimal(n);
    return text;
}

template <class Array>
std::unique_ptr<Array> NewArray()
{
    std::unique_ptr<Array> array(new (std::nothrow) Array);
    if (array == nullptr)
        LQThrowMemory(LQ_SRC_LOCATION);
    return array;
}

/// The array a pointer stands for, made when there is none yet.
template <class Array>
Array& Existing(Array*& pArray)
{
    if (pArray == nullptr)
        pArray = NewArray<Array>().release();
    return *pArray;
}

template <class Array>
Array* CopyOf(const Array* pArray)
{
    if (pArray == nullptr)
        return nullptr;
    auto copy = NewArray<Array>();
    *copy = *pArray;
    return copy.release();
}

/// Appends a message or those of an array, all or none.
template <class Source>
void AppendAll(CLQMessageArray& messages, const Source& source)
{
    const unsigned nCount = messages.GetCount();
    try
    {
        messages.Add(source);
    }
    catch (...)
    {
        if (messages.GetCount() > nCount) // places were made, but not all copies
            messages.RemoveAt(nCount, messages.GetCount() - nCount);
        throw;
    }
}

/// A parameter with its type, and without a value, at the end of a message's.
CLQMessageParam& NewParam(CLQMessageParams*& pParams, LQMessageParamType type)
{
    CLQMessageParam& param = Existing(pParams).AddR();
    param.paramType = type;
    return param;
}

const CLQMessageParam& ParamOf(const CLQMessageParams* pParams, unsigned uIndex)
{
    return pParams != nullptr ? pParams->Item(uIndex) : CLQMessageParams().Item(uIndex);
}

/// The same; another type is reported.
const CLQMessageParam& ParamOf(const CLQMessageParams* pParams, unsigned uIndex, LQMessageParamType type,
                               const char* sFunction, const char* sCondition)
{
    const CLQMessageParam& param = ParamOf(pParams, uIndex);
    if (param.paramType != type)
        ORV_REPORT(sFunction, sCondition);
    return param;
}

/// A whole number in the manner of the user's locale, cut at the first "." or ",": that drops the digits of
/// the fraction. Where the locale groups with ",", the number is cut there too; this is deliberate.
COrvStr LongText(LONG iValue)
{
    CNumberText text;
    if (iValue < 0)
        text.Append(ORVTEXT("-"));
    text.AppendDecimal(iValue < 0 ? 0u - static_cast<std::uint32_t>(iValue)
                                  : static_cast<std::uint32_t>(iValue));
    WCHAR sFormatted[100];
    if (GetNumberFormatW(LOCALE_USER_DEFAULT, 0, text.Text(), nullptr, sFormatted, 100) == 0)
        return COrvStr(text.Text());
    std::basic_string_view<WCHAR> shown(sFormatted);
    sFormatted[std::min(shown.find_first_of(ORVTEXT(".,")), shown.size())] = 0;
    return COrvStr(sFormatted);
}

COrvStr ParamText(const CLQMessageParam& param)
{
    switch (param.paramType)
    {
    case msty_String: return param.m_sValue;
    case msty_Long: return LongText(param.m_iValue);
    case msty_ResId:
    {
        COrvStr sText;
        if (param.m_uResId != 0)
            sText.Load(param.m_uResId, nullptr);
        return sText;
    }
    default: ORV_REPORT("CLQMessage::Format", nullptr); return COrvStr();
    }
}

/// " P1: %1 P2: %2" and so on.
COrvStr ListingFormat(unsigned nParams)
{
    COrvStr sFormat;
    for (unsigned i = 1; i <= nParams; ++i)
    {
        const CNumberText number = Decimal(i);
        sFormat.Append(ORVTEXT(" P"));
        sFormat.Append(number.Text());
        sFormat.Append(ORVTEXT(": %"));
        sFormat.Append(number.Text());
    }
    return sFormat;
}

COrvStr FormatFailure(DWORD dwError, const WCHAR* sFormat)
{
    COrvStr sText(kInternalError);
    sText.Append(ORVTEXT(" ("));
    sText.Append(Decimal(dwError).Text());
    sText.Append(ORVTEXT("|"));
    OCT::AppendWhole(sText, sFormat);
    OCT::AppendWhole(sText, ORVTEXT(")"));
    return sText;
}

COrvStr Substitute(const WCHAR* sFormat, const COrvStr (&texts)[kReferencedParams])
{
    const WCHAR* inserts[kReferencedParams];
    std::copy(std::begin(texts), std::end(texts), inserts);
    WCHAR sFormatted[kFormattedSize];
    const DWORD dwError = OCT::PutInserts(sFormat, inserts, sFormatted, kFormattedSize);
    return dwError == ERROR_SUCCESS ? OCT::Whole(COrvStr(sFormatted)) : FormatFailure(dwError, sFormat);
}

} // namespace

// ---------------------------------------------------------------- CLQMessage

CLQMessage::CLQMessage(unsigned uResId, LONG iCode, const WCHAR* p1, const WCHAR* p2, const WCHAR* p3)
    : m_iCode(iCode), m_uResId(uResId), m_pParams(nullptr)
{
    const WCHAR* const texts[] = {p1, p2, p3};
    const auto* pEnd = std::find(std::begin(texts), std::end(texts), nullptr);
    try
    {
        std::for_each(std::begin(texts), pEnd, [this](const WCHAR* sText) { AddParam(sText); });
    }
    catch (...)
    {
        delete m_pParams;
        throw;
    }
}

CLQMessage::CLQMessage(const CLQMessage& message)
    : m_iCode(message.m_iCode), m_uResId(message.m_uResId), m_pParams(CopyOf(message.m_pParams))
{
}

CLQMessage& CLQMessage::operator=(const CLQMessage& message)
{
    CLQMessage copy(message);
    m_iCode = copy.m_iCode;
    m_uResId = copy.m_uResId;
    std::swap(m_pParams, copy.m_pParams);
    return *this;
}

CLQMessage::~CLQMessage()
{
    delete m_pParams;
}

void CLQMessage::AddParam(const WCHAR* sText)
{
    AddParam(COrvStr(sText, false));
}

void CLQMessage::AddParam(const COrvStr& sText)
{
    COrvStr sOwn(sText);
    OCT::Whole(sOwn);
    NewParam(m_pParams, msty_String).m_sValue = std::move(sOwn);
}

void CLQMessage::AddParam(LONG iValue)
{
    NewParam(m_pParams, msty_Long).m_iValue = iValue;
}

void CLQMessage::AddParam(double dValue)
{
    NewParam(m_pParams, msty_Double).m_dValue = dValue;
}

void CLQMessage::AddParam(const COrvTime& time, LQMessageParamType type)
{
    NewParam(m_pParams, type).m_time = time;
}

void CLQMessage::AddResIdParam(unsigned uResId)
{
    NewParam(m_pParams, msty_ResId).m_uResId = uResId;
}

unsigned CLQMessage::GetParamCount() const noexcept
{
    return m_pParams != nullptr ? m_pParams->GetCount() : 0;
}

LQMessageParamType CLQMessage::GetParamType(unsigned uIndex) const
{
    return ParamOf(m_pParams, uIndex).paramType;
}

COrvStr CLQMessage::GetStrParam(unsigned uIndex) const
{
    return ParamOf(m_pParams, uIndex, msty_String, "CLQMessage::GetStrParam",
                   "param.paramType == msty_String")
        .m_sValue;
}

LONG CLQMessage::GetLngParam(unsigned uIndex) const
{
    return ParamOf(m_pParams, uIndex, msty_Long, "CLQMessage::GetLngParam", "param.paramType == msty_Long")
        .m_iValue;
}

double CLQMessage::GetDblParam(unsigned uIndex) const
{
    return ParamOf(m_pParams, uIndex, msty_Double, "CLQMessage::GetDblParam",
                   "param.paramType == msty_Double")
        .m_dValue;
}

COrvTime CLQMessage::GetTimeParam(unsigned uIndex) const
{
    const CLQMessageParam& param = ParamOf(m_pParams, uIndex);
    if (param.paramType != msty_FullTime && param.paramType != msty_OnlyDate &&
        param.paramType != msty_OnlyTime)
        ORV_REPORT("CLQMessage::GetTimeParam",
                   "param.paramType == msty_FullTime || param.paramType == msty_OnlyDate || "
                   "param.paramType == msty_OnlyTime");
    return param.m_time;
}

COrvStr CLQMessage::Format(HINSTANCE hModule) const
{
    if (m_uResId == 0)
        return COrvStr(ORVTEXT("The message has no valid resource string: "));
    if (m_uResId <= std::size(kBuiltInFormats))
        return Format(kBuiltInFormats[m_uResId - 1]);
    COrvStr sFormat;
    sFormat.Load(m_uResId, hModule);
    if (OCT::Whole(sFormat).IsEmpty())
    {
        ORV_REPORT_VALUE("CLQMessage::Format", "sFormat.IsEmpty()", m_uResId);
        sFormat.Load(kMissingResource, nullptr);
        const CNumberText id = Decimal(m_uResId);
        if (OCT::Whole(sFormat).IsEmpty())
        {
            COrvStr sText(kInternalError);
            sText.Append(id.Text());
            return sText;
        }
        OCT::AppendWhole(sFormat, ORVTEXT(" "));
        OCT::AppendWhole(sFormat, id.Text());
    }
    return Format(static_cast<const WCHAR*>(sFormat));
}

COrvStr CLQMessage::Format(const WCHAR* sFormat) const
{
    COrvStr texts[kReferencedParams];
    COrvStr sBeyond; // converted too: what cannot be shown is reported
    for (unsigned i = 0; i < GetParamCount(); ++i)
        (i < kReferencedParams ? texts[i] : sBeyond) = OCT::Whole(ParamText(m_pParams->Item(i)));
    if (sFormat != ListParams())
        return Substitute(sFormat != nullptr ? sFormat : ORVTEXT(""), texts);
    const COrvStr sListing = ListingFormat(std::min(GetParamCount(), kReferencedParams));
    return Substitute(sListing, texts);
}

// ---------------------------------------------------------------- CLQMessages

CLQMessages::CLQMessages(const CLQMessages& messages) : m_pMessages(CopyOf(messages.m_pMessages)) {}

CLQMessages::~CLQMessages()
{
    delete m_pMessages;
}

void CLQMessages::Add(LONG iCode, unsigned uResId, const WCHAR* p1, const WCHAR* p2, const WCHAR* p3)
{
    Add(CLQMessage(uResId, iCode, p1, p2, p3));
}

void CLQMessages::Add(const CLQMessage& message)
{
    AppendAll(Existing(m_pMessages), message);
}

void CLQMessages::Add(const CLQMessages& messages)
{
    if (!messages.IsEmpty())
        AppendAll(Existing(m_pMessages), *messages.m_pMessages);
}

const CLQMessage& CLQMessages::GetItem(unsigned uIndex) const
{
    if (uIndex >= GetCount())
        LQThrowInvalidArg(LQ_SRC_LOCATION);
    return m_pMessages->Item(uIndex);
}

CLQMessage& CLQMessages::GetItem(unsigned uIndex)
{
    return const_cast<CLQMessage&>(std::as_const(*this).GetItem(uIndex));
}

const CLQMessage& CLQMessages::Last() const
{
    return GetItem(GetCount() - 1);
}

CLQMessage& CLQMessages::Last()
{
    return GetItem(GetCount() - 1);
}

unsigned CLQMessages::GetCount() const noexcept
{
    return m_pMessages != nullptr ? m_pMessages->GetCount() : 0;
}

COrvStr CLQMessages::Format(HINSTANCE hModule) const
{
    if (IsEmpty())
        return COrvStr();
    COrvStr sText = GetItem(0).Format(hModule);
    for (unsigned i = 1; i < GetCount(); ++i)
    {
        OCT::AppendWhole(sText, ORVTEXT("\r\n"));
        OCT::AppendWhole(sText, GetItem(i).Format(hModule));
    }
    return sText;
}
