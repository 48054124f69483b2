#include "orvcomtypes/oledbconvert.h"

#include "builders/valueat.h"
#include "builders/wideint.h"
#include "core/numtext.h"
#include "strings/ansi.h"

#include <windows.h>
#include <oleauto.h>
#include <oledb.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>

using OCT::ValueAt;

namespace
{

constexpr BYTE kMaxDecimalScale = 28;
constexpr BYTE kMaxNumericScale = 38;
constexpr unsigned kCurrencyScale = 4;
constexpr std::size_t kMaxCharBytes = 4; // no code page has longer characters

/// The caller's buffer.
class CTarget
{
public:
    CTarget(WCHAR* sDest, unsigned cchDest, unsigned& nLen) noexcept
        : m_sDest(sDest), m_nRoom(cchDest - 1), m_nLen(nLen)
    {
        End(0);
    }

    WCHAR* Begin() const noexcept { return m_sDest; }
    std::size_t Room() const noexcept { return m_nRoom; }

    DBSTATUS Put(std::string_view sText) const noexcept
    {
        if (sText.size() > m_nRoom)
            return DBSTATUS_E_DATAOVERFLOW;
        std::copy(sText.begin(), sText.end(), m_sDest);
        End(sText.size());
        return DBSTATUS_S_OK;
    }

    /// The \p n units in the buffer are all of a text, or the first ones; a halved pair at the cut goes.
    DBSTATUS Keep(std::size_t n, bool bCut) const noexcept
    {
        if (bCut && n > 0 && (m_sDest[n - 1] & 0xFC00) == 0xD800)
            --n;
        End(n);
        return bCut ? DBSTATUS_S_TRUNCATED : DBSTATUS_S_OK;
    }

private:
    void End(std::size_t n) const noexcept
    {
        m_sDest[n] = 0;
        m_nLen = static_cast<unsigned>(n);
    }

    WCHAR* m_sDest;
    std::size_t m_nRoom;
    unsigned& m_nLen;
};

// ---- Numbers ----

template <class Int>
DBSTATUS PutInt(const CTarget& target, const void* p) noexcept
{
    char sText[OCT::kMaxIntText];
    const char* const pEnd = OCT::PutDecimal(sText, ValueAt<Int>(p));
    return target.Put({sText, static_cast<std::size_t>(pEnd - sText)});
}

DBSTATUS PutReal(const CTarget& target, double d, int nDigits) noexcept
{
    if (!std::isfinite(d))
        return DBSTATUS_E_CANTCONVERTVALUE;
    char sText[OCT::kMaxDoubleText];
    char* const pEnd = OCT::PutDouble(sText, d == 0 ? 0.0 : d, nDigits); // no "-0"
    std::replace(sText, pEnd, 'e', 'E');
    return target.Put({sText, static_cast<std::size_t>(pEnd - sText)});
}

DBSTATUS PutScaled(const CTarget& target, const OCT::CWideInt& n, unsigned nScale, bool bNegative) noexcept
{
    char sText[OCT::kMaxScaledText];
    const char* const pEnd = OCT::PutScaled(sText, n, nScale, bNegative);
    return target.Put({sText, static_cast<std::size_t>(pEnd - sText)});
}

DBSTATUS PutCurrency(const CTarget& target, std::int64_t n) noexcept
{
    const auto nBits = static_cast<std::uint64_t>(n);
    const std::uint64_t nMagnitude = n < 0 ? 0 - nBits : nBits;
    return PutScaled(target,
                     {{static_cast<std::uint32_t>(nMagnitude), static_cast<std::uint32_t>(nMagnitude >> 32)}},
                     kCurrencyScale, n < 0);
}

DBSTATUS PutDecimal(const CTarget& target, const DECIMAL& dec) noexcept
{
    if (dec.scale > kMaxDecimalScale)
        return DBSTATUS_E_CANTCONVERTVALUE;
    return PutScaled(target, {{dec.Lo32, dec.Mid32, dec.Hi32}}, dec.scale, dec.sign != 0);
}

DBSTATUS PutNumeric(const CTarget& target, const DB_NUMERIC& numeric) noexcept
{
    if (numeric.scale > kMaxNumericScale)
        return DBSTATUS_E_CANTCONVERTVALUE;
    OCT::CWideInt n;
    for (std::size_t i = 0; i < sizeof numeric.val; ++i)
        n.m_aWords[i / 4] |= std::uint32_t{numeric.val[i]} << i % 4 * 8;
    return PutScaled(target, n, numeric.scale, numeric.sign == 0);
}

// ---- Dates and GUIDs ----

/// Text of fixed fields.
class CFields
{
public:
    CFields& Number(unsigned n, unsigned nDigits) noexcept
    {
        OCT::PutDigits(m_sText + m_nLen, n, nDigits);
        m_nLen += nDigits;
        return *this;
    }
    CFields& Hex(unsigned n, unsigned nDigits) noexcept
    {
        OCT::PutHex(m_sText + m_nLen, n, nDigits);
        m_nLen += nDigits;
        return *this;
    }
    CFields& Char(char c) noexcept
    {
        m_sText[m_nLen++] = c;
        return *this;
    }
    CFields& Date(int nYear, unsigned nMonth, unsigned nDay) noexcept
    {
        return Number(static_cast<unsigned>(nYear), 4).Char('-').Number(nMonth, 2).Char('-').Number(nDay, 2);
    }
    CFields& Time(unsigned nHour, unsigned nMinute, unsigned nSecond) noexcept
    {
        return Number(nHour, 2).Char(':').Number(nMinute, 2).Char(':').Number(nSecond, 2);
    }
    /// Nothing for 0.
    CFields& Fraction(unsigned nBillionths) noexcept
    {
        if (nBillionths == 0)
            return *this;
        Char('.').Number(nBillionths, 9);
        while (m_sText[m_nLen - 1] == '0')
            --m_nLen;
        return *this;
    }
    std::string_view View() const noexcept { return {m_sText, m_nLen}; }

private:
    char m_sText[COLEDBConvert::kMaxNumberText] = {};
    std::size_t m_nLen = 0;
};

bool IsDay(int nYear, unsigned nMonth, unsigned nDay) noexcept
{
    using namespace std::chrono;
    return nYear >= 1 && nYear <= 9999 && nMonth <= 12 && nDay <= 31 &&
           year_month_day(year(nYear), month(nMonth), day(nDay)).ok();
}

bool IsTime(unsigned nHour, unsigned nMinute, unsigned nSecond) noexcept
{
    return nHour < 24 && nMinute < 60 && nSecond < 60;
}

DBSTATUS PutDate(const CTarget& target, const DBDATE& date) noexcept
{
    if (!IsDay(date.year, date.month, date.day))
        return DBSTATUS_E_CANTCONVERTVALUE;
    return target.Put(CFields().Date(date.year, date.month, date.day).View());
}

DBSTATUS PutTime(const CTarget& target, const DBTIME& time) noexcept
{
    if (!IsTime(time.hour, time.minute, time.second))
        return DBSTATUS_E_CANTCONVERTVALUE;
    return target.Put(CFields().Time(time.hour, time.minute, time.second).View());
}

DBSTATUS PutTimestamp(const CTarget& target, const DBTIMESTAMP& ts) noexcept
{
    if (!IsDay(ts.year, ts.month, ts.day) || !IsTime(ts.hour, ts.minute, ts.second) ||
        ts.fraction >= 1'000'000'000)
        return DBSTATUS_E_CANTCONVERTVALUE;
    CFields fields;
    fields.Date(ts.year, ts.month, ts.day).Char(' ').Time(ts.hour, ts.minute, ts.second);
    return target.Put(fields.Fraction(ts.fraction).View());
}

DBSTATUS PutOleDate(const CTarget& target, double d) noexcept
{
    using namespace std::chrono;
    constexpr double dFirst = -657434.0; // year 100
    constexpr double dEnd = 2958466.0;   // year 10000
    if (!(d > dFirst - 1 && d < dEnd))
        return DBSTATUS_E_CANTCONVERTVALUE;
    // The fraction is the time of day also on the negative side: -1.25 is 06:00 on the day before the first.
    const double dDay = std::trunc(d);
    const milliseconds time(static_cast<std::int64_t>(std::fabs(d - dDay) * 86'400'000.0 + 0.5));
    const auto moment = sys_days(year(1899) / 12 / 30) + days(static_cast<int>(dDay)) + time;
    const auto today = floor<days>(moment);
    const year_month_day day(today);
    const hh_mm_ss clock(moment - today);
    return PutTimestamp(
        target, {static_cast<SHORT>(int{day.year()}), static_cast<USHORT>(unsigned{day.month()}),
                 static_cast<USHORT>(unsigned{day.day()}), static_cast<USHORT>(clock.hours().count()),
                 static_cast<USHORT>(clock.minutes().count()), static_cast<USHORT>(clock.seconds().count()),
                 static_cast<ULONG>(clock.subseconds().count() * 1'000'000)});
}

DBSTATUS PutGuid(const CTarget& target, const GUID& guid) noexcept
{
    CFields fields;
    fields.Char('{').Hex(guid.Data1, 8).Char('-').Hex(guid.Data2, 4).Char('-').Hex(guid.Data3, 4).Char('-');
    for (std::size_t i = 0; i < 8; ++i)
    {
        if (i == 2)
            fields.Char('-');
        fields.Hex(guid.Data4[i], 2);
    }
    return target.Put(fields.Char('}').View());
}

// ---- Strings ----

DBSTATUS PutWide(const CTarget& target, const void* p, std::size_t cb) noexcept
{
    // Measured first: the text may end where the target begins.
    const auto* const pBytes = static_cast<const unsigned char*>(p);
    const std::size_t nMax = std::min(cb / sizeof(WCHAR), target.Room() + 1);
    std::size_t n = 0;
    while (n < nMax && ValueAt<WCHAR>(pBytes + n * sizeof(WCHAR)) != 0)
        ++n;
    const std::size_t nKept = std::min(n, target.Room());
    std::memmove(target.Begin(), p, nKept * sizeof(WCHAR));
    return target.Keep(nKept, n > nKept);
}

DBSTATUS PutNarrow(const CTarget& target, const char* p, std::size_t cb) noexcept
{
    // More bytes than fit in any case need not be looked at.
    const std::size_t nMax = kMaxCharBytes * (target.Room() + 1);
    std::size_t n = 0;
    while (n < cb && n < nMax && p[n] != 0)
        ++n;
    const std::size_t nWritten = OCT::AnsiToWide(p, n, target.Begin(), target.Room(), CP_ACP);
    const int nAll = n == 0 ? 0 : MultiByteToWideChar(CP_ACP, 0, p, static_cast<int>(n), nullptr, 0);
    return target.Keep(nWritten, n == nMax || static_cast<std::size_t>(nAll) > nWritten);
}

DBSTATUS PutBstr(const CTarget& target, BSTR bstr) noexcept
{
    return bstr != nullptr ? PutWide(target, bstr, sizeof(WCHAR) * SysStringLen(bstr))
                           : DBSTATUS{DBSTATUS_S_OK};
}

// ---- The types ----

DBSTATUS Put(const CTarget& target, DBTYPE wType, const void* p, std::size_t cb) noexcept;

DBSTATUS PutVariant(const CTarget& target, const VARIANT& var) noexcept
{
    constexpr DBTYPE wPlain = 0xFFFF ^ DBTYPE_BYREF;
    if ((var.vt & wPlain) > VT_UINT) // no tag of variants: such a value may be larger than there is room for
        return DBSTATUS_E_CANTCONVERTVALUE;
    const void* const p = var.vt == VT_DECIMAL ? static_cast<const void*>(&var.decVal) : &var.llVal;
    switch (var.vt & wPlain)
    {
    case VT_INT: return Put(target, static_cast<DBTYPE>((var.vt & DBTYPE_BYREF) | DBTYPE_I4), p, 0);
    case VT_UINT: return Put(target, static_cast<DBTYPE>((var.vt & DBTYPE_BYREF) | DBTYPE_UI4), p, 0);
    case VT_VARIANT: // One step only, so that no ring of variants is followed for ever.
        if (var.vt == VT_VARIANT)
            return DBSTATUS_E_CANTCONVERTVALUE;
        if (var.pvarVal == nullptr)
            return Put(target, DBTYPE_NULL, nullptr, 0);
        if ((var.pvarVal->vt & wPlain) == VT_VARIANT)
            return DBSTATUS_E_CANTCONVERTVALUE;
        return PutVariant(target, *var.pvarVal);
    default: return Put(target, var.vt, p, 0);
    }
}

DBSTATUS Put(const CTarget& target, DBTYPE wType, const void* p, std::size_t cb) noexcept
{
    if (wType == DBTYPE_EMPTY || wType == DBTYPE_NULL || p == nullptr)
        return DBSTATUS_S_ISNULL;
    if ((wType & DBTYPE_BYREF) != 0)
        return Put(target, static_cast<DBTYPE>(wType ^ DBTYPE_BYREF), ValueAt<const void*>(p), cb);
    switch (wType)
    {
    case DBTYPE_I1: return PutInt<signed char>(target, p);
    case DBTYPE_UI1: return PutInt<BYTE>(target, p);
    case DBTYPE_I2: return PutInt<SHORT>(target, p);
    case DBTYPE_UI2: return PutInt<USHORT>(target, p);
    case DBTYPE_I4:
    case DBTYPE_ERROR: return PutInt<std::int32_t>(target, p);
    case DBTYPE_UI4: return PutInt<std::uint32_t>(target, p);
    case DBTYPE_I8: return PutInt<std::int64_t>(target, p);
    case DBTYPE_UI8: return PutInt<std::uint64_t>(target, p);
    case DBTYPE_R4: return PutReal(target, static_cast<double>(ValueAt<float>(p)), 7);
    case DBTYPE_R8: return PutReal(target, ValueAt<double>(p), 15);
    case DBTYPE_CY: return PutCurrency(target, ValueAt<std::int64_t>(p));
    case DBTYPE_DECIMAL: return PutDecimal(target, ValueAt<DECIMAL>(p));
    case DBTYPE_NUMERIC: return PutNumeric(target, ValueAt<DB_NUMERIC>(p));
    case DBTYPE_BOOL: return target.Put(ValueAt<VARIANT_BOOL>(p) != 0 ? "True" : "False");
    case DBTYPE_GUID: return PutGuid(target, ValueAt<GUID>(p));
    case DBTYPE_DATE: return PutOleDate(target, ValueAt<double>(p));
    case DBTYPE_DBDATE: return PutDate(target, ValueAt<DBDATE>(p));
    case DBTYPE_DBTIME: return PutTime(target, ValueAt<DBTIME>(p));
    case DBTYPE_DBTIMESTAMP: return PutTimestamp(target, ValueAt<DBTIMESTAMP>(p));
    case DBTYPE_STR: return PutNarrow(target, static_cast<const char*>(p), cb);
    case DBTYPE_WSTR: return PutWide(target, p, cb);
    case DBTYPE_BSTR: return PutBstr(target, ValueAt<BSTR>(p));
    case DBTYPE_VARIANT: return PutVariant(target, ValueAt<VARIANT>(p));
    default: return DBSTATUS_E_CANTCONVERTVALUE;
    }
}

} // namespace

DBSTATUS COLEDBConvert::ConvertToStr(DBTYPE wType, const void* pData, WCHAR* sDest, unsigned cchDest,
                                     unsigned& nLen, unsigned cbData) noexcept
{
    nLen = 0;
    if (sDest == nullptr || cchDest == 0)
        return DBSTATUS_E_DATAOVERFLOW;
    return Put(CTarget(sDest, cchDest, nLen), wType, pData,
               cbData != kTerminated ? cbData : static_cast<std::size_t>(-1));
}
