#include "orvcomtypes/orvtabbedstr.h"

#include "core/charclass.h"
#include "orvcomtypes/orvexport.h"

#include <windows.h>

#include <limits>

namespace
{

constexpr bool IsQuote(WCHAR c)
{
    return c == ORVTEXT('"') || c == ORVTEXT('\'');
}

/// A field on its way into a buffer that may be missing; what does not fit is dropped.
class CField
{
public:
    CField(WCHAR* sBuffer, unsigned nSize)
        : m_pStart(nSize != 0 ? sBuffer : nullptr),
          m_pEnd(m_pStart),
          m_pLimit(m_pStart != nullptr ? m_pStart + nSize - 1 : nullptr)
    {
    }

    void Append(WCHAR c)
    {
        if (m_pEnd != m_pLimit)
            *m_pEnd++ = c;
    }
    void TrimEnd()
    {
        while (m_pEnd != m_pStart && OCT::IsSpace(m_pEnd[-1]))
            --m_pEnd;
    }
    /// The terminated text, or null without a buffer.
    WCHAR* Finish()
    {
        if (m_pStart != nullptr)
            *m_pEnd = 0;
        return m_pStart;
    }

private:
    WCHAR* m_pStart;
    WCHAR* m_pEnd;
    WCHAR* m_pLimit; ///< where the terminating 0 has to stand at the latest
};

/// Takes characters from \p p until one that ends the field or the end of the text; returns where that is.
/// Deliberately a backslash drops the character behind it too.
template <class IsEnd>
const WCHAR* TakeText(const WCHAR* p, CField& field, IsEnd isEnd)
{
    for (; *p != 0 && !isEnd(*p); ++p)
    {
        if (*p != ORVTEXT('\\'))
            field.Append(*p);
        else if (*++p == 0)
            break;
    }
    return p;
}

/// The number at the start of \p s, as the runtime's conversions read it: behind white space, up to the first
/// character that is no digit, and the nearest number where the type ends.
template <class Int>
Int ReadNumber(const WCHAR* s)
{
    using Limits = std::numeric_limits<Int>;
    while (OCT::IsSpace(*s))
        ++s;
    const bool bNegative = *s == ORVTEXT('-');
    if (bNegative || *s == ORVTEXT('+'))
        ++s;
    Int n = 0;
    for (; OCT::IsDigit(*s); ++s) // below 0, where there is room for one number more
    {
        const Int nDigit = static_cast<Int>(*s - ORVTEXT('0'));
        n = n < (Limits::min() + nDigit) / 10 ? Limits::min() : static_cast<Int>(n * 10 - nDigit);
    }
    if (bNegative)
        return n;
    return n == Limits::min() ? Limits::max() : static_cast<Int>(-n);
}

template <class Int>
Int ReadNextNumber(COrvTabbedWStr& reader)
{
    constexpr unsigned nSize = 20;
    WCHAR sField[nSize];
    return ReadNumber<Int>(reader.GetNextStr(sField, nSize));
}

} // namespace

void COrvTabbedWStr::Init(const WCHAR* sText, WCHAR cSep, WCHAR cTerm) noexcept
{
    if (sText != nullptr && *sText != 0)
        m_sText = m_pRead = sText;
    if (cSep != 0)
        m_cSep = cSep;
    if (cTerm != 0)
        m_cTerm = cTerm;
}

WCHAR* COrvTabbedWStr::GetNextStr(WCHAR* sBuffer, unsigned nSize) noexcept
{
    CField field(sBuffer, nSize);
    if (m_pRead == nullptr)
        return field.Finish();
    const WCHAR* p = m_pRead;
    while (OCT::IsSpace(*p))
        ++p;
    const auto isEnd = [this](WCHAR c) { return c == m_cSep || c == m_cTerm; };
    if (IsQuote(*p) && !isEnd(*p))
    {
        const WCHAR cQuote = *p;
        p = TakeText(p + 1, field, [cQuote](WCHAR c) { return c == cQuote; });
        while (*p != 0 && !isEnd(*p))
            ++p;
    }
    else
    {
        p = TakeText(p, field, isEnd);
        field.TrimEnd();
    }
    m_pRead = *p != 0 && *p == m_cSep ? p + 1 : p;
    return field.Finish();
}

int COrvTabbedWStr::GetNextInt() noexcept
{
    return ReadNextNumber<int>(*this);
}

LONG COrvTabbedWStr::GetNextLong() noexcept
{
    return ReadNextNumber<LONG>(*this);
}

LONGLONG COrvTabbedWStr::GetNextInt64() noexcept
{
    return ReadNextNumber<LONGLONG>(*this);
}
