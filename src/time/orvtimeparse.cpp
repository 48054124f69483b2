#include "core/charclass.h"
#include "orvcomtypes/orvtime.h"
#include "time/civil.h"
#include "time/orvtimeutil.h"

#include <windows.h>

#include <cstdint>
#include <limits>
#include <type_traits>

namespace
{

constexpr const char* kFunction = "COrvTime::SetFromString";

struct Fields
{
    int m_iYear = 0;
    int m_iMonth = 0;
    int m_iDay = 0;
    int m_iHour = 0;
    int m_iMinute = 0;
    int m_iSecond = 0;
    bool m_bRoundUp = false; // by a second
};

/// Reads terminated text; nothing goes past the terminator.
template <class Char>
class CTimeReader
{
public:
    explicit CTimeReader(const Char* pText) : m_pText(pText), m_p(pText) {}

    bool ReadFields(Fields& fields);
    const Char* Position() const { return m_p; }

private:
    static constexpr bool bNarrow = std::is_same_v<Char, char>;

    bool ReadDate(Fields& fields);
    bool ReadTime(Fields& fields);
    void ReadFraction(Fields& fields);

    bool Skip(char c)
    {
        const bool bFound = *m_p == static_cast<Char>(c);
        m_p += bFound;
        return bFound;
    }
    bool ReadTwo(int& i)
    {
        if (!OCT::IsDigit(m_p[0]) || !OCT::IsDigit(m_p[1]))
            return false;
        i = (m_p[0] - '0') * 10 + (m_p[1] - '0');
        m_p += 2;
        return true;
    }
    /// Text of less than 12 units is no time. What can be read to the end is longer, so this is asked only
    /// where a report would come before.
    bool IsShort() const
    {
        for (int i = 0; i < 12; ++i)
            if (m_pText[i] == 0)
                return true;
        return false;
    }

    const Char* m_pText;
    const Char* m_p;
};

template <class Char>
bool CTimeReader<Char>::ReadFields(Fields& fields)
{
    if (!ReadDate(fields))
        return false;
    if (!OCT::IsSpace(*m_p) && *m_p != static_cast<Char>('T'))
        return false;
    ++m_p;
    if (OCT::IsSpace(*m_p))
        ++m_p;
    return ReadTime(fields);
}

template <class Char>
bool CTimeReader<Char>::ReadDate(Fields& fields)
{
    int iCentury;
    if (!ReadTwo(iCentury) || !ReadTwo(fields.m_iYear))
        return false;
    fields.m_iYear += iCentury * 100;
    const bool bHasHyphen = Skip('-');
    if (!ReadTwo(fields.m_iMonth))
        return false;
    if (Skip('-') != bHasHyphen)
    {
        if (IsShort())
            return false;
        ORVTIME_REPORT(kFunction, bHasHyphen ? "!bHasHyphen" : "bHasHyphen");
    }
    return ReadTwo(fields.m_iDay);
}

template <class Char>
bool CTimeReader<Char>::ReadTime(Fields& fields)
{
    bool bHasSemicolon = true;
    if (OCT::IsDigit(m_p[0]) && m_p[1] == static_cast<Char>(':'))
    {
        fields.m_iHour = m_p[0] - '0';
        m_p += 2;
    }
    else if (ReadTwo(fields.m_iHour))
        bHasSemicolon = Skip(':');
    else
        return false;
    if (!ReadTwo(fields.m_iMinute))
        return false;
    if (Skip(':') != bHasSemicolon)
        ORVTIME_REPORT(kFunction, bHasSemicolon ? "!bHasSemicolon" : "bHasSemicolon");
    ReadTwo(fields.m_iSecond);
    // The wide form takes a fraction for foreign text, deliberately.
    if (bNarrow)
        ReadFraction(fields);
    return true;
}

template <class Char>
void CTimeReader<Char>::ReadFraction(Fields& fields)
{
    if (!Skip('.'))
        return;
    fields.m_bRoundUp = *m_p >= '5' && *m_p <= '9';
    for (int i = 0; i < 3 && OCT::IsDigit(*m_p); ++i)
        ++m_p;
}

/// Seconds of an offset whose sign is at \p p: h, hh, hmm, hhmm or hh:mm. Minutes that are none are left out.
bool ReadOffset(const WCHAR* p, int& iOffset)
{
    const auto digit = [p](int i) { return static_cast<int>(p[i] - '0'); };
    int iDigits = 0;
    while (iDigits < 4 && OCT::IsDigit(p[iDigits + 1]))
        ++iDigits;
    if (iDigits == 0)
        return false;
    const bool bOneDigitHour = iDigits == 1 || iDigits == 3;
    if (!bOneDigitHour && p[1] > '2')
    {
        ORVTIME_REPORT(kFunction, "p[1] <= L'2'");
        return false;
    }
    const int iHours = bOneDigitHour ? digit(1) : digit(1) * 10 + digit(2);
    const bool bColon = iDigits == 2 && p[3] == ':' && OCT::IsDigit(p[4]) && OCT::IsDigit(p[5]);
    const int iMinutesAt = iDigits > 2 ? iDigits - 1 : 4;
    int iMinutes = 0;
    if (iDigits > 2 || bColon)
    {
        static constexpr const char* sConditions[] = {"p[2] <= '5'", "p[3] <= L'5'", "p[4] <= L'5'"};
        if (p[iMinutesAt] <= '5')
            iMinutes = digit(iMinutesAt) * 10 + digit(iMinutesAt + 1);
        else
            ORVTIME_REPORT(kFunction, sConditions[iMinutesAt - 2]);
    }
    iOffset = (iHours * 60 + iMinutes) * 60;
    return true;
}

/// Reads the fields as those of a zone whose offset from UTC stands at \p p. False leaves \p t as it was,
/// except when the fields are no time.
bool SetWithOffset(COrvTime& t, const Fields& fields, const WCHAR* p)
{
    const std::int64_t nFields = OCT::SecondsOf(fields.m_iYear, fields.m_iMonth, fields.m_iDay,
                                                fields.m_iHour, fields.m_iMinute, fields.m_iSecond);
    if (nFields == OCT::kNoSeconds)
    {
        t.Reset();
        return false;
    }
    int iOffset;
    if (!ReadOffset(p, iOffset))
        return false;
    // Only the result must fit: the wall clock of the last hours goes past the end.
    const std::int64_t nUtc = nFields + (*p == '+' ? -iOffset : iOffset);
    if (nUtc <= 0 || nUtc > std::numeric_limits<std::int32_t>::max())
        return false;
    t.SetOrvTime(static_cast<int>(nUtc));
    return true;
}

/// The narrow form knows no offsets, deliberately.
bool SetWithOffset(COrvTime&, const Fields&, const char*)
{
    return false;
}

template <class Char>
bool IsTimeEnd(Char c)
{
    return c == 0 || c == '\t' || c == '\n' || c == '\r' || c == ' ';
}

template <class Char>
bool Parse(COrvTime& t, const Char* pStr)
{
    Fields fields;
    CTimeReader<Char> reader(pStr);
    if (!reader.ReadFields(fields))
        return false;
    const Char c = *reader.Position();
    if (c == '+' || c == '-')
        return SetWithOffset(t, fields, reader.Position());
    if (c != 'Z' && !IsTimeEnd(c))
        ORVTIME_REPORT(kFunction, nullptr);
    const auto& [y, mo, d, h, mi, second, bRoundUp] = fields;
    if (!(c == 'Z' ? t.SetYMD(y, mo, d, h, mi, second) : t.SetLocalYMD(y, mo, d, h, mi, second)))
        return false;
    if (bRoundUp && t.IsValid())
        t += 1;
    return true;
}

} // namespace

bool COrvTime::SetFromString(const char* pStr) noexcept
{
    if (pStr != nullptr && pStr[0] != 0)
        return Parse(*this, pStr);
    ORVTIME_REPORT(kFunction, "pStr == nullptr || pStr[0] == '\\0'");
    return false;
}

bool COrvTime::SetFromString(const WCHAR* pStr) noexcept
{
    if (pStr != nullptr && pStr[0] != 0)
        return Parse(*this, pStr);
    ORVTIME_REPORT(kFunction, "pStr == nullptr || pStr[0] == L'\\0'");
    return false;
}
