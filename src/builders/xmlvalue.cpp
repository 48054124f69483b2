#include "orvcomtypes/xmlvalue.h"

#include "builders/valueat.h"
#include "core/numtext.h"
#include "orvcomtypes/oledbconvert.h"
#include "orvcomtypes/orvdbstr.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvsqlstr.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/orvtime.h"
#include "strings/textlen.h"

#include <windows.h>
#include <oleauto.h>
#include <oledb.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>

using OCT::ValueAt;

namespace
{

/// The digits of a real number that read back as that number: those that every decimal text of so many digits
/// survives, or one or two more.
template <class Real>
char* PutExact(char* p, Real value)
{
    for (int nDigits = std::numeric_limits<Real>::digits10;; ++nDigits)
    {
        char* const pEnd = OCT::PutDouble(p, double{value}, nDigits);
        Real back{}; // and stays that where so few digits are too large
        std::from_chars(p, pEnd, back);
        if (back == value || nDigits == std::numeric_limits<Real>::max_digits10)
            return pEnd;
    }
}

} // namespace

CXMLValue::CXMLValue(EKind eKind, const void* p, std::size_t n) noexcept
    : m_eKind(p != nullptr || eKind == EKind::Wide || eKind == EKind::Ids ? eKind : EKind::Null),
      m_p(p),
      m_n(n)
{
}

void CXMLValue::SetText(const WCHAR* s, std::size_t n) noexcept
{
    m_eKind = EKind::Wide;
    m_p = s;
    m_n = n;
}

// ---- Text ----

CXMLValue::CXMLValue(const WCHAR* s, unsigned nLen) noexcept
    : CXMLValue(s != nullptr ? EKind::Wide : EKind::Null, s, OCT::SourceLength(s, nLen))
{
}

CXMLValue::CXMLValue(const char* s, unsigned nLen) noexcept
    : CXMLValue(EKind::Ansi, s, OCT::SourceLength(s, nLen))
{
}

CXMLValue CXMLValue::UTF8(const char* s, unsigned nLen) noexcept
{
    return CXMLValue(EKind::UTF8, s, OCT::SourceLength(s, nLen));
}

CXMLValue::CXMLValue(WCHAR c) noexcept : CXMLValue(EKind::Wide, m_sOwn, c != 0)
{
    m_sOwn[0] = c;
}

CXMLValue::CXMLValue(char c) noexcept : CXMLValue(EKind::Ansi, m_sOwn, c != 0)
{
    std::memcpy(m_sOwn, &c, 1);
}

CXMLValue::CXMLValue(const COrvStr& s) noexcept : CXMLValue(static_cast<const WCHAR*>(s))
{
    if (m_p == nullptr)
        m_eKind = EKind::Memory;
}

CXMLValue::CXMLValue(const COrvDBStr& s) noexcept : CXMLValue(s.IsNull() ? nullptr : s.GetText()) {}

// ---- Numbers ----

void CXMLValue::SetInteger(std::int64_t n) noexcept
{
    EndAt(OCT::PutDecimal(m_sOwn, n));
}

void CXMLValue::SetInteger(std::uint64_t n) noexcept
{
    EndAt(OCT::PutDecimal(m_sOwn, n));
}

template <class Real>
void CXMLValue::SetReal(Real value) noexcept
{
    if (std::isnan(value))
        return SetText(ORVTEXT("NaN"), 3);
    if (std::isinf(value))
        return value < 0 ? SetText(ORVTEXT("-INF"), 4) : SetText(ORVTEXT("INF"), 3);
    char sText[OCT::kMaxDoubleText];
    EndAt(std::copy(sText, PutExact(sText, value), m_sOwn));
}

CXMLValue::CXMLValue(float f) noexcept : CXMLValue(EKind::Wide, nullptr, 0)
{
    SetReal(f);
}

CXMLValue::CXMLValue(double d) noexcept : CXMLValue(EKind::Wide, nullptr, 0)
{
    SetReal(d);
}

CXMLValue::CXMLValue(const DECIMAL& value) noexcept : CXMLValue(EKind::None, &value, 0)
{
    SetConverted(DBTYPE_DECIMAL, &value);
}

CXMLValue::CXMLValue(const DB_NUMERIC& value) noexcept : CXMLValue(EKind::None, &value, 0)
{
    SetConverted(DBTYPE_NUMERIC, &value);
}

// ---- Times ----

CXMLValue::CXMLValue(const COrvTime& time) noexcept : CXMLValue(nullptr)
{
    constexpr unsigned nLength = 20;
    if (time.IsNull())
        return;
    m_eKind = EKind::None;
    if (!time.IsValid())
        return;
    time.DebugFormat(COrvTime::dftISO_T, m_sOwn, static_cast<unsigned>(std::size(m_sOwn)));
    SetText(m_sOwn, nLength);
}

CXMLValue::CXMLValue(const COrvTimeDiff& span) noexcept : CXMLValue(nullptr)
{
    if (!span.IsValid())
        return;
    const std::int64_t nSeconds = span.GetInSecond();
    WCHAR* p = m_sOwn;
    if (nSeconds < 0)
        *p++ = ORVTEXT('-');
    *p++ = ORVTEXT('P');
    *p++ = ORVTEXT('T');
    p = OCT::PutDecimal(p, nSeconds < 0 ? -nSeconds : nSeconds);
    *p++ = ORVTEXT('S');
    EndAt(p);
}

CXMLValue::CXMLValue(const MSQLDATE& value) noexcept : CXMLValue(EKind::None, &value, 0)
{
    // The markers of the server's clocks, as the statement's builder knows them.
    const auto isNearly = [&](double dMarker) { return std::fabs(value.m_date - dMarker) < 1e-10; };
    if (!isNearly(-1.0) && !isNearly(-2.0))
        SetConverted(DBTYPE_DATE, &value.m_date);
}

// ---- What tells its type ----

CXMLValue::CXMLValue(const GUID& value) noexcept : CXMLValue(EKind::None, &value, 0)
{
    SetTyped(DBTYPE_GUID, &value, 0);
}

CXMLValue::CXMLValue(const VARIANT& value) noexcept : CXMLValue(nullptr)
{
    constexpr VARTYPE vtReference = VT_BYREF;
    const VARIANT* pVar = &value;
    // One step: a variant that refers to another by way of a third is an error, or a circle.
    if (pVar->vt == (VT_VARIANT | vtReference) && pVar->pvarVal != nullptr)
        pVar = pVar->pvarVal;
    const bool bReference = (pVar->vt & vtReference) != 0;
    const auto vtPlain = static_cast<VARTYPE>(pVar->vt & ~vtReference);
    const void* const p = bReference              ? pVar->byref
                          : vtPlain == VT_DECIMAL ? static_cast<const void*>(&pVar->decVal)
                                                  : &pVar->llVal;
    if (vtPlain == VT_EMPTY || vtPlain == VT_NULL || p == nullptr)
        return;
    m_eKind = EKind::None;
    if (vtPlain == VT_INT || vtPlain == VT_UINT)
        SetTyped(static_cast<DBTYPE>(vtPlain == VT_INT ? DBTYPE_I4 : DBTYPE_UI4), p, 0);
    else if (vtPlain < VT_INT && vtPlain != VT_VARIANT && vtPlain != VT_ERROR)
        SetTyped(vtPlain, p, 0); // OLE DB's tags are the same up to there
}

CXMLValue::CXMLValue(DBTYPE wType, const void* p, std::size_t cb) noexcept : CXMLValue(nullptr)
{
    SetTyped(wType, p, cb);
}

CXMLValue CXMLValue::OfType(DBTYPE wType, const void* p, std::size_t cb) noexcept
{
    if ((wType & DBTYPE_BYREF) != 0)
        return OfType(static_cast<DBTYPE>(wType ^ DBTYPE_BYREF),
                      p != nullptr ? ValueAt<const void*>(p) : nullptr, cb);
    if (wType == DBTYPE_VARIANT && p != nullptr)
        return CXMLValue(ValueAt<VARIANT>(p));
    return CXMLValue(wType, p, cb);
}

void CXMLValue::SetTyped(DBTYPE wType, const void* p, std::size_t cb) noexcept
{
    m_eKind = EKind::Null;
    if (p == nullptr)
        return;
    switch (wType)
    {
    case DBTYPE_R4: return SetReal(ValueAt<float>(p));
    case DBTYPE_R8: return SetReal(ValueAt<double>(p));
    case DBTYPE_BOOL:
        return ValueAt<VARIANT_BOOL>(p) != 0 ? SetText(ORVTEXT("true"), 4) : SetText(ORVTEXT("false"), 5);
    case DBTYPE_BSTR:
    {
        const BSTR s = ValueAt<BSTR>(p);
        return SetText(s, OCT::SourceLength(s, 0));
    }
    case DBTYPE_WSTR:
    {
        const auto* const s = static_cast<const WCHAR*>(p);
        return SetText(s, OCT::TextLength(s, cb / sizeof(WCHAR)));
    }
    case DBTYPE_STR:
        m_eKind = EKind::Ansi;
        m_p = p;
        m_n = OCT::TextLength(static_cast<const char*>(p), cb);
        return;
    case DBTYPE_BYTES:
        m_eKind = EKind::Base64;
        m_p = p;
        m_n = cb;
        return;
    default: return SetConverted(wType, p);
    }
}

/// The text of the database layer, with a T between date and time and without the braces of a GUID.
void CXMLValue::SetConverted(DBTYPE wType, const void* p) noexcept
{
    constexpr unsigned nDate = 10; // 2024-05-06
    static_assert(sizeof m_sOwn / sizeof(WCHAR) >= COLEDBConvert::kMaxNumberText);
    unsigned nLen = 0;
    const DBSTATUS status =
        COLEDBConvert::ConvertToStr(wType, p, m_sOwn, COLEDBConvert::kMaxNumberText, nLen);
    m_eKind = status == DBSTATUS_S_ISNULL ? EKind::Null : EKind::None;
    if (status != DBSTATUS_S_OK)
        return;
    if (wType == DBTYPE_GUID)
        return SetText(m_sOwn + 1, nLen - 2);
    if (wType == DBTYPE_DATE || wType == DBTYPE_DBTIMESTAMP)
        m_sOwn[nDate] = ORVTEXT('T');
    SetText(m_sOwn, nLen);
}
