#include "orvcomtypes/orvsqlstr.h"

#include "builders/longstrappend.h" // IWYU pragma: keep (templates)
#include "builders/sqlquotes.h"
#include "core/charclass.h"
#include "core/numtext.h"
#include "orvcomtypes/memarray.h"
#include "orvcomtypes/memarraytreat.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/oledbconvert.h"
#include "orvcomtypes/orvexport.h"
#include "strings/textlen.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include <windows.h>
#include <objbase.h>
#include <oleauto.h>
#include <oledb.h>

ORV_EXPORT_TEMPLATE(CMarrayBase<COrvSQLStr, CFixMarrayTreat<COrvSQLStr, CStaticCRTAllocator, 16, 16>>);
ORV_EXPORT_TEMPLATE(CFixMarray<COrvSQLStr, 16, 16>);

namespace
{

constexpr unsigned kMinReserve = 400;
constexpr unsigned kBatchReserve = 262144;
constexpr unsigned kMaxIdText = 10;
constexpr unsigned kMaxNumericText = 42;

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

COrvSQLStr::COrvSQLStr(unsigned nReserve)
{
    SetSize(std::max(nReserve, kDefaultReserve));
}

COrvSQLStr::COrvSQLStr(const WCHAR* s)
{
    Append(s);
}

COrvSQLStr& COrvSQLStr::operator=(const WCHAR* s)
{
    return *this = COrvSQLStr(s);
}

void COrvSQLStr::SetSize(unsigned n)
{
    if (n == 0)
        return Clear();
    Reserve(std::max(n, kMinReserve));
}

bool COrvSQLStr::IsEmpty() const
{
    return IsBlank(m_pStr);
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
    AppendText<kMinReserve>(s, nLen);
    return *this;
}

COrvSQLStr& COrvSQLStr::Append(WCHAR c)
{
    AppendUnit<kMinReserve>(c);
    return *this;
}

COrvSQLStr& COrvSQLStr::Append(int n)
{
    AppendDecimal<kMinReserve>(n);
    return *this;
}

COrvSQLStr& COrvSQLStr::Append(unsigned n)
{
    AppendDecimal<kMinReserve>(n);
    return *this;
}

COrvSQLStr& COrvSQLStr::Append(std::int64_t n)
{
    AppendDecimal<kMinReserve>(n);
    return *this;
}

COrvSQLStr& COrvSQLStr::Append(std::uint64_t n)
{
    AppendDecimal<kMinReserve>(n);
    return *this;
}

COrvSQLStr& COrvSQLStr::Append(double d, int nDigits)
{
    if (!std::isfinite(d))
    {
        ORV_REPORT("COrvSQLStr::Append", "isfinite(d)");
        return Append(ORVTEXT("NULL"));
    }
    AppendDouble<kMinReserve>(d, nDigits);
    return *this;
}

COrvSQLStr& COrvSQLStr::AppendStrCol(const WCHAR* s, unsigned nMaxLen)
{
    return AppendLiteral(s, nMaxLen, false);
}

COrvSQLStr& COrvSQLStr::AppendLiteral(const WCHAR* s, unsigned nMaxLen, bool bUnicode)
{
    const std::size_t n = OCT::SourceLength(s, nMaxLen);
    const std::uint64_t nMore = bUnicode + 2 + std::uint64_t{n};
    // A builder with room for nothing but quotes need not know how many there are.
    const std::uint64_t nQuotes = HasRoom(Length() + nMore + n) ? n : OCT::CountQuotes(s, n);
    AppendExactly<kMinReserve>(nMore + nQuotes, [=](WCHAR* p) {
        if (bUnicode)
            *p++ = ORVTEXT('N');
        *p++ = OCT::kQuote;
        p = OCT::PutDoubled(p, s, n);
        *p++ = OCT::kQuote;
        return p;
    });
    return *this;
}

COrvSQLStr& COrvSQLStr::AddDataWithStrConversion(unsigned short wType, const void* pData, unsigned nMaxLen)
{
    if (nMaxLen != 0)
        AppendAtMost<kMinReserve>(nMaxLen, [=](WCHAR* p) {
            unsigned nLen = 0;
            COLEDBConvert::ConvertToStr(wType, pData, p, nMaxLen + 1, nLen);
            return p + nLen;
        });
    return *this;
}

// ---- Values ----

COrvSQLStr& COrvSQLStr::Append(const VARCHAR& value)
{
    return AppendStrCol(value.m_sText, value.m_nMaxLen);
}

COrvSQLStr& COrvSQLStr::Append(const NVARCHAR& value)
{
    return AppendLiteral(value.m_sText, value.m_nMaxLen, true);
}

COrvSQLStr& COrvSQLStr::Append(const GUID& value)
{
    LPOLESTR sText = nullptr;
    if (FAILED(StringFromCLSID(value, &sText)))
        return *this;
    const std::unique_ptr<WCHAR, CTaskMemFree> owner(sText);
    return AppendStrCol(sText, 0);
}

COrvSQLStr& COrvSQLStr::Append(const DB_NUMERIC& value)
{
    return AddDataWithStrConversion(DBTYPE_NUMERIC, &value, kMaxNumericText);
}

COrvSQLStr& COrvSQLStr::Append(const DECIMAL& value)
{
    return AddDataWithStrConversion(DBTYPE_DECIMAL, &value, kMaxNumericText);
}

COrvSQLStr& COrvSQLStr::Append(const BINARY& value)
{
    const unsigned nBytes = value.m_pBytes != nullptr ? value.m_nBytes : 0;
    AppendExactly<kMinReserve>(2 + 2 * std::uint64_t{nBytes}, [&](WCHAR* p) {
        *p++ = ORVTEXT('0');
        *p++ = ORVTEXT('x');
        return OCT::PutHexBytes(p, value.m_pBytes, nBytes);
    });
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
    const std::uint64_t nMost = sHead.size() + std::uint64_t{nCount} * (kMaxIdText + 1);
    AppendAtMost<kMinReserve>(nMost, [&](WCHAR* p) {
        p = std::copy(sHead.begin(), sHead.end(), p);
        for (const unsigned nId : value)
        {
            p = OCT::PutDecimal(p, nId);
            *p++ = ORVTEXT(',');
        }
        p[-1] = ORVTEXT(')'); // where one comma is too many
        return bList ? p : p - 1;
    });
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
    return AppendBigInt(value.m_nValue, "CAST(", " AS BIGINT)");
}

COrvSQLStr& COrvSQLStr::Append(const SQLTSTAMP& value)
{
    return AppendBigInt(value.m_nValue, "CONVERT(TIMESTAMP, CAST(", " AS BIGINT))");
}

COrvSQLStr& COrvSQLStr::AppendBigInt(std::uint64_t n, std::string_view sBefore, std::string_view sBehind)
{
    AppendAtMost<kMinReserve>(sBefore.size() + OCT::kMaxIntText + sBehind.size(), [=](WCHAR* p) {
        p = OCT::PutDecimal(std::copy(sBefore.begin(), sBefore.end(), p), n);
        return std::copy(sBehind.begin(), sBehind.end(), p);
    });
    return *this;
}

// ---- Batches ----

COrvSQLStrArray::~COrvSQLStrArray() = default;

void COrvSQLStrArray::AddSQL()
{
    COrvSQLStr sql;
    sql.SetSize(kBatchReserve);
    Add(sql);
}

bool COrvSQLStrArray::HasStatement() const
{
    return std::any_of(begin(), end(), [](const COrvSQLStr& sql) { return !sql.IsEmpty(); });
}
