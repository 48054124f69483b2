#include "orvcomtypes/orvsqlstr.h"

#include "strings/charclass.h"
#include "strings/numtext.h"
#include "strings/strbuffer.h"
#include "strings/textlen.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include <objbase.h>

ORV_EXPORT_TEMPLATE(CMarrayBase<COrvSQLStr, CFixMarrayTreat<COrvSQLStr, CStaticCRTAllocator, 16, 16>>);
ORV_EXPORT_TEMPLATE(CFixMarray<COrvSQLStr, 16, 16>);

namespace
{

constexpr unsigned MinReserve = 400;
constexpr unsigned BatchReserve = 262144;
constexpr WCHAR Quote = ORVTEXT('\'');

bool IsBlank(const WCHAR* s)
{
    return std::all_of(s, s + OCT::TextLength(s), [](WCHAR c) { return OCT::IsSpace(c); });
}

struct CTaskMemFree
{
    void operator()(WCHAR* s) const { CoTaskMemFree(s); }
};

bool IsNearly(double d, double dMarker)
{
    return std::fabs(d - dMarker) < 1e-10;
}

} // namespace

// ---- Construction and buffer ----

COrvSQLStr::COrvSQLStr(unsigned nReserve) : m_pStr(ORVS_GetDefaultEmptyString())
{
    SetSize(std::max(nReserve, DefaultReserve));
}

COrvSQLStr::COrvSQLStr(const WCHAR* s) : m_pStr(ORVS_GetDefaultEmptyString())
{
    Append(s);
}

COrvSQLStr::COrvSQLStr(const COrvSQLStr& sql) : m_pStr(sql.m_pStr)
{
    OCT::AddStrRef(m_pStr);
}

COrvSQLStr& COrvSQLStr::operator=(const COrvSQLStr& sql)
{
    OCT::AddStrRef(sql.m_pStr);
    OCT::ReleaseStrRef(std::exchange(m_pStr, sql.m_pStr));
    return *this;
}

COrvSQLStr& COrvSQLStr::operator=(COrvSQLStr&& sql) noexcept
{
    std::swap(m_pStr, sql.m_pStr);
    return *this;
}

COrvSQLStr& COrvSQLStr::operator=(const WCHAR* s)
{
    return *this = COrvSQLStr(s);
}

void COrvSQLStr::SetSize(unsigned n)
{
    if (n == 0)
        Clear();
    else
        Reserve(n);
}

void COrvSQLStr::Clear()
{
    OCT::ReleaseStrRef(std::exchange(m_pStr, ORVS_GetDefaultEmptyString()));
}

bool COrvSQLStr::IsEmpty() const
{
    return IsBlank(m_pStr);
}

/// Another holder of the buffer while text that lies in it is appended.
COrvSQLStr COrvSQLStr::KeepIfInside(const WCHAR* s) const
{
    const auto nOffset = reinterpret_cast<std::uintptr_t>(s) - reinterpret_cast<std::uintptr_t>(m_pStr);
    return nOffset < OCT::StrHeader(m_pStr).nAllocLen ? *this : COrvSQLStr(nullptr);
}

/// Makes the buffer private with room for exactly \p n units: builders reserve what they need beforehand.
void COrvSQLStr::Reserve(std::uint64_t n)
{
    n = std::max<std::uint64_t>(n, MinReserve);
    if (OCT::IsCountedStr(m_pStr) && OCT::IsSoleStrOwner(m_pStr, sizeof(WCHAR) * (n + 1)))
        return;
    WCHAR* const pNew = OCT::NewStr(n);
    if (pNew == nullptr)
        LQThrowMemory(LQ_SRC_LOCATION);
    OCT::EndStr(pNew, OrvStringCchCopy(pNew, static_cast<unsigned>(n + 1), m_pStr));
    OCT::ReleaseStrRef(std::exchange(m_pStr, pNew));
}

/// Where the next \p nMore units go.
WCHAR* COrvSQLStr::Tail(std::uint64_t nMore)
{
    const std::uint64_t nLen = Length();
    Reserve(nLen + nMore);
    return m_pStr + nLen;
}

void COrvSQLStr::EndAt(const WCHAR* pEnd) noexcept
{
    OCT::EndStr(m_pStr, static_cast<std::size_t>(pEnd - m_pStr));
}

// ---- Layout ----

COrvSQLStr& COrvSQLStr::AddNL()
{
    const unsigned nLen = Length();
    return nLen == 0 || m_pStr[nLen - 1] == ORVTEXT('\n') ? *this : Append(ORVTEXT('\n'));
}

COrvSQLStr& COrvSQLStr::AddSP()
{
    const unsigned nLen = Length();
    return nLen == 0 || OCT::IsSpace(m_pStr[nLen - 1]) ? *this : Append(ORVTEXT(' '));
}

COrvSQLStr& COrvSQLStr::AddCM(bool& bFirst)
{
    return std::exchange(bFirst, false) ? *this : Append(ORVTEXT(','));
}

// ---- As it stands ----

COrvSQLStr& COrvSQLStr::Append(const WCHAR* s, unsigned nLen)
{
    if (s == nullptr || *s == 0)
        return *this;
    const COrvSQLStr source = KeepIfInside(s);
    const std::size_t nCount = nLen != 0 ? OCT::TextLength(s, nLen) : OCT::TextLength(s);
    EndAt(std::copy_n(s, nCount, Tail(nCount)));
    return *this;
}

COrvSQLStr& COrvSQLStr::Append(WCHAR c)
{
    if (c == 0)
        return *this;
    WCHAR* const p = Tail(1);
    *p = c;
    EndAt(p + 1);
    return *this;
}

template <class Put>
COrvSQLStr& COrvSQLStr::AppendNumber(Put put, std::string_view sBefore, std::string_view sBehind)
{
    char sText[std::max(OCT::MaxIntText, OCT::MaxDoubleText)];
    const std::string_view sNumber(sText, static_cast<std::size_t>(put(sText) - sText));
    WCHAR* p = Tail(sBefore.size() + sNumber.size() + sBehind.size());
    for (const std::string_view sPart : {sBefore, sNumber, sBehind})
        p = std::copy(sPart.begin(), sPart.end(), p);
    EndAt(p);
    return *this;
}

COrvSQLStr& COrvSQLStr::Append(int n)
{
    return AppendNumber([=](char* p) { return OCT::PutDecimal(p, n); });
}

COrvSQLStr& COrvSQLStr::Append(unsigned n)
{
    return AppendNumber([=](char* p) { return OCT::PutDecimal(p, n); });
}

COrvSQLStr& COrvSQLStr::Append(std::int64_t n)
{
    return AppendNumber([=](char* p) { return OCT::PutDecimal(p, n); });
}

COrvSQLStr& COrvSQLStr::Append(std::uint64_t n)
{
    return AppendNumber([=](char* p) { return OCT::PutDecimal(p, n); });
}

COrvSQLStr& COrvSQLStr::Append(double d, int nDigits)
{
    return AppendNumber([=](char* p) { return OCT::PutDouble(p, d, nDigits); });
}

COrvSQLStr& COrvSQLStr::AppendStrCol(const WCHAR* s, unsigned nMaxLen)
{
    return AppendLiteral("'", s, nMaxLen);
}

COrvSQLStr& COrvSQLStr::AppendLiteral(std::string_view sOpening, const WCHAR* s, unsigned nMaxLen)
{
    const COrvSQLStr source = KeepIfInside(s);
    const OCT::TextView text =
        s == nullptr ? OCT::TextView()
                     : OCT::TextView(s, nMaxLen != 0 ? OCT::TextLength(s, nMaxLen) : OCT::TextLength(s));
    const auto nQuotes = std::count(text.begin(), text.end(), Quote);
    WCHAR* p = Tail(sOpening.size() + text.size() + static_cast<std::uint64_t>(nQuotes) + 1);
    p = std::copy(sOpening.begin(), sOpening.end(), p);
    for (const WCHAR c : text)
    {
        if (c == Quote)
            *p++ = Quote;
        *p++ = c;
    }
    *p++ = Quote;
    EndAt(p);
    return *this;
}

// ---- Values ----

COrvSQLStr& COrvSQLStr::Append(const VARCHAR& value)
{
    return AppendStrCol(value.m_sText, value.m_nMaxLen);
}

COrvSQLStr& COrvSQLStr::Append(const NVARCHAR& value)
{
    return AppendLiteral("N'", value.m_sText, value.m_nMaxLen);
}

COrvSQLStr& COrvSQLStr::Append(const GUID& value)
{
    LPOLESTR sText = nullptr;
    if (FAILED(StringFromCLSID(value, &sText)))
        return *this;
    const std::unique_ptr<WCHAR, CTaskMemFree> owner(sText);
    return AppendStrCol(sText, 0);
}

COrvSQLStr& COrvSQLStr::Append(const BINARY& value)
{
    const unsigned nBytes = value.m_pBytes != nullptr ? value.m_nBytes : 0;
    WCHAR* p = Tail(2 + 2 * std::uint64_t{nBytes});
    *p++ = ORVTEXT('0');
    *p++ = ORVTEXT('x');
    for (unsigned i = 0; i < nBytes; ++i)
        p = OCT::PutHex(p, value.m_pBytes[i], 2);
    EndAt(p);
    return *this;
}

COrvSQLStr& COrvSQLStr::Append(const CSQLMIDINTArray& value)
{
    const unsigned nCount = value.GetCount();
    if (nCount == 0)
    {
        // Deliberately tolerated: the constant predicate holds for no ID, or for every one.
        ORV_REPORT("COrvSQLStr::Append", nullptr);
        return Append(value.IsExclude() ? ORVTEXT(" <> 0") : ORVTEXT(" = 0"));
    }
    const bool bList = nCount > 1;
    const std::string_view sHead =
        bList ? (value.IsExclude() ? " not in (" : " in (") : (value.IsExclude() ? " <> " : " = ");
    std::uint64_t nLen = sHead.size() + (nCount - 1) + bList;
    WCHAR sId[OCT::MaxIntText];
    for (unsigned i = 0; i < nCount; ++i)
        nLen += static_cast<std::uint64_t>(OCT::PutDecimal(sId, value[i]) - sId);
    WCHAR* p = std::copy(sHead.begin(), sHead.end(), Tail(nLen));
    for (unsigned i = 0; i < nCount; ++i)
    {
        if (i > 0)
            *p++ = ORVTEXT(',');
        p = OCT::PutDecimal(p, value[i]);
    }
    if (bList)
        *p++ = ORVTEXT(')');
    EndAt(p);
    return *this;
}

COrvSQLStr& COrvSQLStr::Append(const MSQLDATE& value)
{
    if (IsNearly(value.m_date, -1.0))
        return Append(ORVTEXT("getdate()"));
    if (IsNearly(value.m_date, -2.0))
        return Append(ORVTEXT("getutcdate()"));
    // The server counts days from 1900-01-01, two after the day 0 of OLE dates.
    return Append(value.m_date - 2.0, 15);
}

COrvSQLStr& COrvSQLStr::Append(const SQLORVTIME& value)
{
    return Append(value.m_tValue);
}

COrvSQLStr& COrvSQLStr::Append(const SQLMCOUNT& value)
{
    return AppendNumber([=](char* p) { return OCT::PutDecimal(p, value.m_nValue); }, "CAST(", " AS BIGINT)");
}

COrvSQLStr& COrvSQLStr::Append(const SQLTSTAMP& value)
{
    return AppendNumber([=](char* p) { return OCT::PutDecimal(p, value.m_nValue); },
                        "CONVERT(TIMESTAMP, CAST(", " AS BIGINT))");
}

// ---- Batches ----

COrvSQLStrArray::~COrvSQLStrArray() = default;

void COrvSQLStrArray::AddSQL()
{
    AddR().SetSize(BatchReserve);
}

bool COrvSQLStrArray::HasStatement() const
{
    return std::any_of(begin(), end(), [](const COrvSQLStr& sql) { return !sql.IsEmpty(); });
}
