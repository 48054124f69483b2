#include "core/charclass.h"
#include "orvcomtypes/orvtime.h"
#include "time/localefold.h"
#include "time/localetext.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

using OCT::CLocaleForms;
using OCT::FoldedView;

namespace
{

using Fields = std::vector<CLocaleForms::Field>;
using Names = std::span<const CLocaleForms::Name>;

/// Reads numbers and the words that stand for them. Between them may stand what is neither letter nor digit,
/// and the words that the locale itself writes there.
class CLocaleReader
{
public:
    CLocaleReader(const CLocaleForms& forms, FoldedView sText, unsigned uiFlags)
        : m_forms(forms), m_sRest(sText), m_uiFlags(uiFlags)
    {
    }

    bool ReadDate(SYSTEMTIME& st);
    bool ReadTime(SYSTEMTIME& st);
    bool ReadEnd();

private:
    bool IsLong(unsigned uiFlag) const { return (m_uiFlags & uiFlag) != 0; }
    bool IsAtDigit() const { return !m_sRest.empty() && OCT::IsDigit(m_sRest.front()); }
    bool ReadNumber(int& i, std::size_t nDigits);
    bool ReadName(Names names, int& i, Names others = {});
    bool ReadMonth(int& iMonth);
    bool ReadDateField(Fields& fields, SYSTEMTIME& st);
    bool SetYear(int iYear, SYSTEMTIME& st) const;
    bool ReadToDigit(int& iHalf);
    void ReadBehindTime(int& iHalf);
    bool ReadHalf(int& iHalf);
    bool ReadSecondsMark(WCHAR cMark);
    bool SetHour(int iHour, int iHalf, SYSTEMTIME& st) const;
    bool SkipWord();
    void SkipSeparators();
    void SkipBlanks();

    const CLocaleForms& m_forms;
    FoldedView m_sRest;
    unsigned m_uiFlags;
};

/// \p nDigits says how many, 0 for as many as there are.
bool CLocaleReader::ReadNumber(int& i, std::size_t nDigits)
{
    const auto nFound =
        static_cast<std::size_t>(std::ranges::find_if_not(m_sRest, OCT::IsDigit<WCHAR>) - m_sRest.begin());
    const std::size_t nCount = nDigits != 0 ? std::min(nDigits, nFound) : nFound;
    if (nCount == 0 || nCount > 4)
        return false;
    i = 0;
    for (const WCHAR c : m_sRest.substr(0, nCount))
        i = i * 10 + (c - '0');
    m_sRest.remove_prefix(nCount);
    return true;
}

/// The longest name that a text begins with.
std::size_t FindName(FoldedView sText, Names names, int& i)
{
    std::size_t nLongest = 0;
    for (const CLocaleForms::Name& name : names)
        if (const std::size_t nLength = OCT::MatchName(sText, name.m_sName); nLength > nLongest)
        {
            nLongest = nLength;
            i = name.m_iValue;
        }
    return nLongest;
}

/// What begins as one of the names may be a longer one of the others: that is not read.
bool CLocaleReader::ReadName(Names names, int& i, Names others)
{
    int iUnused;
    const std::size_t nLength = FindName(m_sRest, names, i);
    if (nLength == 0 || FindName(m_sRest, others, iUnused) > nLength)
        return false;
    m_sRest.remove_prefix(nLength);
    return true;
}

/// The name of a month, unless it is a day of the week.
bool CLocaleReader::ReadMonth(int& iMonth)
{
    return ReadName(m_forms.m_months, iMonth, m_forms.m_ignored);
}

/// Passes over a word that means nothing, unless it is the name of a month.
bool CLocaleReader::SkipWord()
{
    int iUnused;
    return ReadName(m_forms.m_ignored, iUnused, m_forms.m_months);
}

void CLocaleReader::SkipSeparators()
{
    while (!m_sRest.empty() && !IsAtDigit() && !OCT::IsWordUnit(m_sRest.front()))
        m_sRest.remove_prefix(1);
}

void CLocaleReader::SkipBlanks()
{
    while (m_sRest.starts_with(' '))
        m_sRest.remove_prefix(1);
}

// ---- Dates ----

bool CLocaleReader::SetYear(int iYear, SYSTEMTIME& st) const
{
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): dates are read only where there is one
    const int iOffset = *m_forms.m_yearOffset;
    if (iYear >= 100)
        iYear -= iOffset;
    else
    {
        // Two digits mean the years that a time can hold.
        iYear = ((iYear - iOffset) % 100 + 100) % 100;
        iYear += iYear < 70 ? 2000 : 1900;
    }
    st.wYear = static_cast<WORD>(iYear);
    return iYear > 0;
}

/// Reads the month's name or the first of the numbers that are left.
bool CLocaleReader::ReadDateField(Fields& fields, SYSTEMTIME& st)
{
    int i;
    const auto month = std::ranges::find(fields, WCHAR('M'), &CLocaleForms::Field::m_cField);
    if (month != fields.end() && ReadMonth(i))
    {
        st.wMonth = static_cast<WORD>(i);
        fields.erase(month);
        return true;
    }
    if (!IsAtDigit())
        return SkipWord();
    const auto [cField, nDigits] = fields.front();
    if (!ReadNumber(i, nDigits))
        return false;
    fields.erase(fields.begin());
    if (cField == 'y')
        return SetYear(i, st);
    (cField == 'M' ? st.wMonth : st.wDay) = static_cast<WORD>(i);
    return true;
}

bool CLocaleReader::ReadDate(SYSTEMTIME& st)
{
    Fields fields = m_forms.m_dates[IsLong(COrvTime::Date_Long)];
    if (fields.size() != 3 || !m_forms.m_yearOffset)
        return false;
    while (!fields.empty())
    {
        SkipSeparators();
        if (m_sRest.empty() || !ReadDateField(fields, st))
            return false;
    }
    return true;
}

// ---- Times of day ----

/// A half of the day is a word of its own: what begins as one may be the name of a month.
bool CLocaleReader::ReadHalf(int& iHalf)
{
    const FoldedView sBefore = m_sRest;
    int i;
    if (iHalf < 0 && ReadName(m_forms.m_halves, i) && (m_sRest.empty() || !OCT::IsWordUnit(m_sRest.front())))
    {
        iHalf = i;
        return true;
    }
    m_sRest = sBefore;
    return false;
}

bool CLocaleReader::ReadToDigit(int& iHalf)
{
    for (SkipSeparators(); !m_sRest.empty() && !IsAtDigit(); SkipSeparators())
        if (!ReadHalf(iHalf) && !SkipWord())
            return false;
    return IsAtDigit();
}

/// The half of the day and the words behind a time, up to what may be a date.
void CLocaleReader::ReadBehindTime(int& iHalf)
{
    for (SkipSeparators(); !m_sRest.empty() && !IsAtDigit(); SkipSeparators())
        if (!ReadHalf(iHalf) && !SkipWord())
            return;
}

/// A number behind the minutes is the seconds when it stands there as the locale writes them, or at once
/// behind the mark \p cMark, which stands before the minutes, or a colon. Else it begins a date.
bool CLocaleReader::ReadSecondsMark(WCHAR cMark)
{
    const FoldedView sBefore = m_sRest;
    SkipBlanks();
    const FoldedView sMark = m_forms.m_sSecondsMark;
    if (sMark.empty() ? IsLong(COrvTime::Time_Long) : m_sRest.starts_with(sMark))
    {
        m_sRest.remove_prefix(sMark.size());
        SkipBlanks();
    }
    else if (sBefore.starts_with(cMark) || sBefore.starts_with(':'))
        m_sRest = sBefore.substr(1);
    else
        m_sRest = FoldedView();
    if (IsAtDigit())
        return true;
    m_sRest = sBefore;
    return false;
}

bool CLocaleReader::SetHour(int iHour, int iHalf, SYSTEMTIME& st) const
{
    const bool bOf12 = iHour >= 1 && iHour <= 12;
    // Some write the half of the day beside 24 hours.
    if (iHalf >= 0 && !bOf12 && !(m_forms.m_b24Hours && iHour / 12 == iHalf))
        return false;
    st.wHour = static_cast<WORD>(iHalf >= 0 && bOf12 ? iHour % 12 + 12 * iHalf : iHour);
    return true;
}

bool CLocaleReader::ReadTime(SYSTEMTIME& st)
{
    const Fields& fields = m_forms.m_times[IsLong(COrvTime::Time_Long)];
    const auto digitsOf = [&fields](WCHAR c) {
        const auto field = std::ranges::find(fields, c, &CLocaleForms::Field::m_cField);
        return field != fields.end() ? field->m_nDigits : 0;
    };
    int iHour, iMinute, iSecond = 0, iHalf = -1;
    if (!ReadToDigit(iHalf) || !ReadNumber(iHour, digitsOf('H')) || m_sRest.empty())
        return false;
    const WCHAR cMark = m_sRest.front() != ' ' ? m_sRest.front() : WCHAR(':');
    if (!ReadToDigit(iHalf) || !ReadNumber(iMinute, digitsOf('m')))
        return false;
    if (ReadSecondsMark(cMark) && !ReadNumber(iSecond, 0))
        return false;
    ReadBehindTime(iHalf);
    st.wMinute = static_cast<WORD>(iMinute);
    st.wSecond = static_cast<WORD>(iSecond);
    return SetHour(iHour, iHalf, st);
}

bool CLocaleReader::ReadEnd()
{
    for (SkipSeparators(); !m_sRest.empty(); SkipSeparators())
        if (!SkipWord())
            return false;
    return true;
}

} // namespace

bool OCT::ParseForLocale(const CLocaleForms& forms, FoldedView sText, unsigned uiFlags, SYSTEMTIME& st)
{
    const bool bDate = (uiFlags & COrvTime::Date_Mask) != 0;
    const bool bTime = (uiFlags & COrvTime::Time_Mask) != 0;
    const bool bTimeFirst = (uiFlags & COrvTime::Ext_TimeFirst) != 0;
    const FoldedText sFolded = FoldText(sText);
    CLocaleReader reader(forms, sFolded, uiFlags);
    return (!bTime || !bTimeFirst || reader.ReadTime(st)) && (!bDate || reader.ReadDate(st)) &&
           (!bTime || bTimeFirst || reader.ReadTime(st)) && reader.ReadEnd();
}
