#include "core/numtext.h"
#include "orvcomtypes/orvtime.h"
#include "time/civil.h"
#include "time/localzone.h"
#include "time/orvtimeutil.h"

#include <windows.h>

#include <algorithm>
#include <string_view>

namespace
{

/// Every form fits: "2024-05-06 09:08:09+02:00" with the terminator.
constexpr unsigned kMaxText = 28;

/// Writes a text of code units from left to right.
template <class Char>
class CFieldWriter
{
public:
    explicit CFieldWriter(Char* dest) : m_pEnd(dest) {}

    CFieldWriter& Put(char c)
    {
        *m_pEnd++ = static_cast<Char>(c);
        return *this;
    }
    CFieldWriter& Two(unsigned n)
    {
        m_pEnd = OCT::PutPair(m_pEnd, n);
        return *this;
    }
    /// \p cPad in place of a leading zero.
    CFieldWriter& Two(unsigned n, char cPad)
    {
        Two(n);
        if (n < 10)
            m_pEnd[-2] = static_cast<Char>(cPad);
        return *this;
    }
    CFieldWriter& Year(unsigned n) { return Two(n / 100).Two(n % 100); }
    CFieldWriter& Date(const SYSTEMTIME& st, char cSeparator)
    {
        return Year(st.wYear).Put(cSeparator).Two(st.wMonth).Put(cSeparator).Two(st.wDay);
    }
    CFieldWriter& Time(const SYSTEMTIME& st, char cPad)
    {
        return Two(st.wHour, cPad).Put(':').Two(st.wMinute).Put(':').Two(st.wSecond);
    }
    /// +hh:mm, from the hours and minutes alone: more than 12 hours are taken for the neighbouring day.
    CFieldWriter& Offset(const SYSTEMTIME& stLocal, const SYSTEMTIME& stUtc)
    {
        int iHours = stLocal.wHour - stUtc.wHour;
        if (iHours > 12)
            iHours -= 24;
        else if (iHours < -12)
            iHours += 24;
        const int iMinutes = iHours * 60 + stLocal.wMinute - stUtc.wMinute;
        const auto nMinutes = static_cast<unsigned>(iMinutes < 0 ? -iMinutes : iMinutes);
        return Put(iMinutes < 0 ? '-' : '+').Two(nMinutes / 60).Put(':').Two(nMinutes % 60);
    }
    Char* End() const { return m_pEnd; }

private:
    Char* m_pEnd;
};

std::string_view PlaceholderOf(COrvTime::DebugFormatType type)
{
    switch (type)
    {
    case COrvTime::dftDateTime: return "----.--.--. --:--:--";
    case COrvTime::dftDate: return "----.--.--.";
    case COrvTime::dftDayTime: return "--. --:--:--";
    case COrvTime::dftTime: return "--:--:--";
    case COrvTime::dftCompact: return "------_------";
    case COrvTime::dftISO:
    case COrvTime::dftISO_T: break;
    }
    return {};
}

/// Writes a form of at most kMaxText units without a terminator and gives its end; \p pstUtc is null for the
/// UTC form.
template <class Char>
Char* WriteForm(Char* dest, COrvTime::DebugFormatType type, const SYSTEMTIME& st, const SYSTEMTIME* pstUtc)
{
    CFieldWriter<Char> writer(dest);
    switch (type)
    {
    case COrvTime::dftDateTime: writer.Date(st, '.').Put('.').Put(' ').Time(st, ' '); break;
    case COrvTime::dftDate: writer.Date(st, '.').Put('.'); break;
    case COrvTime::dftDayTime: writer.Two(st.wDay).Put('.').Put(' ').Time(st, ' '); break;
    case COrvTime::dftTime: writer.Time(st, ' '); break;
    case COrvTime::dftCompact:
    {
        // The local form pads with blanks, deliberately unlike the UTC form.
        const char cPad = pstUtc != nullptr ? ' ' : '0';
        writer.Two(st.wYear % 100u, cPad).Two(st.wMonth).Two(st.wDay).Put('_');
        writer.Two(st.wHour, cPad).Two(st.wMinute).Two(st.wSecond);
        break;
    }
    case COrvTime::dftISO:
    case COrvTime::dftISO_T:
        writer.Date(st, '-').Put(type == COrvTime::dftISO ? ' ' : 'T').Time(st, '0');
        pstUtc != nullptr ? writer.Offset(st, *pstUtc) : writer.Put('Z');
        break;
    }
    return writer.End();
}

/// Ends the text at \p pEnd, cut to what the caller's buffer holds.
template <class Char>
void CopyCut(const Char* text, const Char* pEnd, Char* dest, unsigned cchDest)
{
    const auto nLength = std::min(static_cast<unsigned>(pEnd - text), cchDest - 1);
    std::copy_n(text, nLength, dest);
    dest[nLength] = 0;
}

template <class Char>
void Write(COrvTime::DebugFormatType type, Char* dest, unsigned cchDest, const SYSTEMTIME& st,
           const SYSTEMTIME* pstUtc)
{
    if (cchDest >= kMaxText)
    {
        *WriteForm(dest, type, st, pstUtc) = 0;
        return;
    }
    Char text[kMaxText];
    CopyCut(text, WriteForm(text, type, st, pstUtc), dest, cchDest);
}

template <class Char>
void WritePlaceholder(COrvTime::DebugFormatType type, Char* dest, unsigned cchDest)
{
    const std::string_view sText = PlaceholderOf(type);
    Char text[kMaxText];
    CopyCut(text, std::ranges::copy(sText, text).out, dest, cchDest);
}

template <class Char>
void FormatUtc(const COrvTime& t, COrvTime::DebugFormatType type, Char* dest, unsigned cchDest)
{
    if (dest == nullptr || cchDest < 2 || cchDest >= 0x80000000u)
        ORVTIME_REPORT("COrvTime::DebugFormat", "dest == nullptr || cchDest < 2 || cchDest >= 0x80000000");
    else if (!t.IsValid())
        WritePlaceholder(type, dest, cchDest);
    else
        Write(type, dest, cchDest, OCT::FieldsOf(t.GetTimet()), nullptr);
}

template <class Char>
void FormatLocalZone(const COrvTime& t, COrvTime::DebugFormatType type, Char* dest, unsigned cchDest)
{
    if (dest == nullptr || cchDest < 2)
    {
        ORVTIME_REPORT("COrvTime::DebugFormatLocal", "dest == nullptr || cchDest < 2");
        return;
    }
    *dest = 0;
    SYSTEMTIME st;
    if (!t.IsValid())
        WritePlaceholder(type, dest, cchDest);
    else if (OCT::CLocalZone().GetFields(t.GetTimet(), st))
    {
        const SYSTEMTIME stUtc = OCT::FieldsOf(t.GetTimet());
        Write(type, dest, cchDest, st, &stUtc);
    }
}

} // namespace

void COrvTime::DebugFormat(DebugFormatType type, char* dest, unsigned cchDest) const noexcept
{
    FormatUtc(*this, type, dest, cchDest);
}

void COrvTime::DebugFormat(DebugFormatType type, WCHAR* dest, unsigned cchDest) const noexcept
{
    FormatUtc(*this, type, dest, cchDest);
}

void COrvTime::DebugFormatLocal(DebugFormatType type, char* dest, unsigned cchDest) const noexcept
{
    FormatLocalZone(*this, type, dest, cchDest);
}

void COrvTime::DebugFormatLocal(DebugFormatType type, WCHAR* dest, unsigned cchDest) const noexcept
{
    FormatLocalZone(*this, type, dest, cchDest);
}
