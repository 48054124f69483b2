#include "time/localetext.h"

#include "strings/charclass.h"
#include "time/orvtimeutil.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace
{

using WString = std::basic_string<WCHAR>;
using WStringView = std::basic_string_view<WCHAR>;

constexpr int MAX_TEXT = 256;

WString LocaleText(const WCHAR* sLocale, LCTYPE type)
{
    WCHAR text[MAX_TEXT];
    return GetLocaleInfoEx(sLocale, type, text, MAX_TEXT) > 0 ? WString(text) : WString();
}

WString DateText(const WCHAR* sLocale, const SYSTEMTIME& st, unsigned uiFlags)
{
    const DWORD dwForm = (uiFlags & COrvTime::Date_Long) != 0 ? DATE_LONGDATE : DATE_SHORTDATE;
    WCHAR text[MAX_TEXT];
    return GetDateFormatEx(sLocale, dwForm, &st, nullptr, text, MAX_TEXT, nullptr) > 0 ? WString(text)
                                                                                       : WString();
}

WString TimeText(const WCHAR* sLocale, const SYSTEMTIME& st, unsigned uiFlags)
{
    const DWORD dwForm = (uiFlags & COrvTime::Time_Long) != 0 ? 0 : TIME_NOSECONDS;
    WCHAR text[MAX_TEXT];
    return GetTimeFormatEx(sLocale, dwForm, &st, nullptr, text, MAX_TEXT) > 0 ? WString(text) : WString();
}

/// The order in which a locale's picture has year, month and day: "yMd", "dMy" and the like.
WString DateOrder(const WCHAR* sLocale, unsigned uiFlags)
{
    const bool bLong = (uiFlags & COrvTime::Date_Long) != 0;
    const WString sPicture = LocaleText(sLocale, bLong ? LOCALE_SLONGDATE : LOCALE_SSHORTDATE);
    WString sOrder;
    bool bQuoted = false;
    for (std::size_t i = 0; i < sPicture.size();)
    {
        const WCHAR c = sPicture[i];
        const std::size_t nCount = std::min(sPicture.find_first_not_of(c, i), sPicture.size()) - i;
        const bool bWeekday = c == 'd' && nCount > 2;
        if (c == '\'')
            bQuoted ^= nCount % 2 != 0;
        else if (!bQuoted && !bWeekday && (c == 'y' || c == 'M' || c == 'd') &&
                 sOrder.find(c) == WString::npos)
            sOrder += c;
        i += nCount;
    }
    return sOrder;
}

bool IsLetter(WCHAR c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c >= 0x00C0;
}

bool BeginsWith(WStringView sText, WStringView sWord)
{
    return sText.size() >= sWord.size() &&
           std::ranges::equal(sText.substr(0, sWord.size()), sWord, {}, OCT::ToLowerAscii<WCHAR>,
                              OCT::ToLowerAscii<WCHAR>);
}

/// The words of a locale that stand for numbers.
class CLocaleWords
{
public:
    explicit CLocaleWords(const WCHAR* sLocale);

    /// The month (1 to 12) whose name \p sText begins with, 0 for none; of several the longest. \p nLength
    /// gets its length.
    int FindMonth(WStringView sText, std::size_t& nLength);
    /// The half of the day (0 or 1) whose name \p sText begins with, -1 for none.
    int FindHalf(WStringView sText) const;

private:
    void LoadMonths();

    const WCHAR* m_sLocale;
    std::array<WString, 24> m_months; // loaded when asked for; the second dozen as they stand beside a day
    std::array<WString, 2> m_halves;
};

CLocaleWords::CLocaleWords(const WCHAR* sLocale)
    : m_sLocale(sLocale), m_halves{LocaleText(sLocale, LOCALE_S1159), LocaleText(sLocale, LOCALE_S2359)}
{
}

void CLocaleWords::LoadMonths()
{
    for (unsigned i = 0; i < 12; ++i)
    {
        m_months[i] = LocaleText(m_sLocale, LOCALE_SMONTHNAME1 + i);
        m_months[i + 12] = LocaleText(m_sLocale, (LOCALE_SMONTHNAME1 + i) | LOCALE_RETURN_GENITIVE_NAMES);
    }
}

int CLocaleWords::FindMonth(WStringView sText, std::size_t& nLength)
{
    if (m_months[0].empty())
        LoadMonths();
    int iMonth = 0;
    nLength = 0;
    for (std::size_t i = 0; i < m_months.size(); ++i)
        if (m_months[i].size() > nLength && BeginsWith(sText, m_months[i]))
        {
            iMonth = static_cast<int>(i % 12) + 1;
            nLength = m_months[i].size();
        }
    return iMonth;
}

int CLocaleWords::FindHalf(WStringView sText) const
{
    for (int i = 0; i < 2; ++i)
        if (const WString& sName = m_halves[static_cast<std::size_t>(i)];
            !sName.empty() && BeginsWith(sText, sName))
            return i;
    return -1;
}

/// Reads numbers and the words that stand for them, and passes over everything between.
class CLocaleReader
{
public:
    CLocaleReader(const WCHAR* sLocale, WStringView sText, unsigned uiFlags)
        : m_sLocale(sLocale), m_words(sLocale), m_sRest(sText), m_uiFlags(uiFlags)
    {
    }

    bool ReadDate(SYSTEMTIME& st);
    bool ReadTime(SYSTEMTIME& st);
    bool IsAtEnd() const { return std::ranges::none_of(m_sRest, OCT::IsDigit<WCHAR>); }

private:
    bool ReadNumber(int& i);
    bool ReadMonthName(int& iMonth);
    void ReadHalf(int& iHalf);
    void SkipWord();

    bool IsAtDigit() const { return !m_sRest.empty() && OCT::IsDigit(m_sRest.front()); }
    bool IsAtSeconds() const
    {
        return m_sRest.size() > 1 && !OCT::IsSpace(m_sRest[0]) && OCT::IsDigit(m_sRest[1]);
    }

    const WCHAR* m_sLocale;
    CLocaleWords m_words;
    WStringView m_sRest;
    unsigned m_uiFlags;
};

bool CLocaleReader::ReadNumber(int& i)
{
    const auto nDigits =
        std::min(m_sRest.find_first_not_of(WStringView(ORVTEXT("0123456789"))), m_sRest.size());
    if (nDigits == 0 || nDigits > 4)
        return false;
    i = 0;
    for (const WCHAR c : m_sRest.substr(0, nDigits))
        i = i * 10 + (c - '0');
    m_sRest.remove_prefix(nDigits);
    return true;
}

bool CLocaleReader::ReadMonthName(int& iMonth)
{
    std::size_t nLength;
    iMonth = m_words.FindMonth(m_sRest, nLength);
    m_sRest.remove_prefix(nLength);
    return iMonth != 0;
}

/// Passes over one unit that is no letter, or over a whole word, so that no name is found inside another.
void CLocaleReader::SkipWord()
{
    const bool bWord = IsLetter(m_sRest.front());
    do
        m_sRest.remove_prefix(1);
    while (bWord && !m_sRest.empty() && IsLetter(m_sRest.front()));
}

bool CLocaleReader::ReadDate(SYSTEMTIME& st)
{
    WString sOrder = DateOrder(m_sLocale, m_uiFlags);
    while (!sOrder.empty())
    {
        int i;
        if (m_sRest.empty())
            return false;
        if (sOrder.find('M') != WString::npos && IsLetter(m_sRest.front()) && ReadMonthName(i))
        {
            st.wMonth = static_cast<WORD>(i);
            std::erase(sOrder, 'M');
            continue;
        }
        if (!IsAtDigit())
        {
            SkipWord();
            continue;
        }
        if (!ReadNumber(i))
            return false;
        WORD& wField = sOrder[0] == 'y' ? st.wYear : sOrder[0] == 'M' ? st.wMonth : st.wDay;
        wField = static_cast<WORD>(i);
        sOrder.erase(0, 1);
    }
    // Two digits mean the years that a time can hold.
    if (st.wYear < 100)
        st.wYear = static_cast<WORD>(st.wYear + (st.wYear < 70 ? 2000 : 1900));
    return true;
}

void CLocaleReader::ReadHalf(int& iHalf)
{
    if (const int iFound = m_words.FindHalf(m_sRest); iFound >= 0)
        iHalf = iFound;
}

bool CLocaleReader::ReadTime(SYSTEMTIME& st)
{
    int iHour, iMinute, iSecond = 0, iHalf = -1;
    for (; !m_sRest.empty() && !IsAtDigit(); SkipWord())
        ReadHalf(iHalf);
    if (!ReadNumber(iHour) || m_sRest.empty())
        return false;
    SkipWord();
    if (!ReadNumber(iMinute))
        return false;
    if (IsAtSeconds())
    {
        SkipWord();
        if (!ReadNumber(iSecond))
            return false;
    }
    while (!m_sRest.empty() && OCT::IsSpace(m_sRest.front()))
        m_sRest.remove_prefix(1);
    ReadHalf(iHalf);
    if (iHalf >= 0 && (iHour < 1 || iHour > 12))
        return false;
    st.wHour = static_cast<WORD>(iHalf < 0 ? iHour : iHour % 12 + 12 * iHalf);
    st.wMinute = static_cast<WORD>(iMinute);
    st.wSecond = static_cast<WORD>(iSecond);
    return true;
}

} // namespace

WString OCT::FormatForLocale(const WCHAR* sLocale, const SYSTEMTIME& st, unsigned uiFlags)
{
    const bool bDate = (uiFlags & COrvTime::Date_Mask) != 0;
    const bool bTime = (uiFlags & COrvTime::Time_Mask) != 0;
    WString sFirst = bDate ? DateText(sLocale, st, uiFlags) : WString();
    WString sSecond = bTime ? TimeText(sLocale, st, uiFlags) : WString();
    if ((uiFlags & COrvTime::Ext_TimeFirst) != 0)
        sFirst.swap(sSecond);
    return bDate && bTime ? sFirst + ORVTEXT(' ') + sSecond : sFirst + sSecond;
}

bool OCT::ParseForLocale(const WCHAR* sLocale, const WCHAR* src, unsigned uiFlags, SYSTEMTIME& st)
{
    const bool bDate = (uiFlags & COrvTime::Date_Mask) != 0;
    const bool bTime = (uiFlags & COrvTime::Time_Mask) != 0;
    const bool bTimeFirst = (uiFlags & COrvTime::Ext_TimeFirst) != 0;
    CLocaleReader reader(sLocale, src, uiFlags);
    return (!bTime || !bTimeFirst || reader.ReadTime(st)) && (!bDate || reader.ReadDate(st)) &&
           (!bTime || bTimeFirst || reader.ReadTime(st)) && reader.IsAtEnd();
}
