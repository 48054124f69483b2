#include "core/charclass.h"
#include "core/neverdestroyed.h"
#include "core/ownlock.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/smartcls.h"
#include "picture.h"
#include "time/localefold.h"
#include "time/localetext.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

using OCT::CLocaleForms;
using OCT::FoldedText;
using OCT::FoldedView;

namespace
{

constexpr int kMaxText = 256;
constexpr FoldedView kDateFields = ORVTEXT("yMd");
constexpr FoldedView kTimeFields = ORVTEXT("Hms");

FoldedText LocaleText(const WCHAR* sLocale, LCTYPE type)
{
    WCHAR text[kMaxText];
    return GetLocaleInfoEx(sLocale, type, text, kMaxText) > 0 ? FoldedText(text) : FoldedText();
}

/// A name that is a number is read as one.
void AddName(std::vector<CLocaleForms::Name>& names, const FoldedText& sName, int iValue)
{
    const auto isSame = [&](const CLocaleForms::Name& name) { return name.m_sName == sName; };
    if (!std::ranges::all_of(sName, OCT::IsDigit<WCHAR>) && std::ranges::none_of(names, isSame))
        names.push_back({sName, iValue});
}

// ---- Pictures ----

/// Adds the words of a picture's text.
void AddWords(FoldedView sText, std::vector<CLocaleForms::Name>& words)
{
    for (auto p = sText.begin(); p != sText.end();)
    {
        p = std::find_if(p, sText.end(), OCT::IsWordUnit);
        const auto pEnd = std::find_if_not(p, sText.end(), OCT::IsWordUnit);
        AddName(words, FoldedText(p, pEnd), 0);
        p = pEnd;
    }
}

/// Which of the fields that can be read a letter of a picture is, 0 for none.
WCHAR FieldOf(WCHAR cLetter, std::size_t nCount, FoldedView sFields)
{
    const WCHAR c = cLetter == 'h' ? WCHAR('H') : cLetter;
    const bool bWeekday = c == 'd' && nCount > 2;
    return !bWeekday && sFields.find(c) != sFields.npos ? c : WCHAR(0);
}

/// The fields of a picture, each once, and its words.
std::vector<CLocaleForms::Field> ReadPicture(FoldedView sPicture, FoldedView sFields,
                                             std::vector<CLocaleForms::Name>& words)
{
    std::vector<CLocaleForms::Field> fields;
    FoldedText sText;
    std::size_t nBefore = 0; // digits of the number that ended just here
    const auto onField = [&](WCHAR cLetter, std::size_t nCount) {
        AddWords(OCT::FoldText(sText), words);
        const WCHAR c = FieldOf(cLetter, nCount, sFields);
        const bool bNumber = c != 0 && (c != 'M' || nCount < 3);
        if (bNumber && nBefore != 0 && sText.empty())
            fields.back().m_nDigits = nBefore;
        nBefore = bNumber ? nCount : 0;
        sText.clear();
        if (c != 0 && std::ranges::find(fields, c, &CLocaleForms::Field::m_cField) == fields.end())
            fields.push_back({c, 0});
    };
    WalkPicture(sPicture, onField, [&](WCHAR c) { sText += c; });
    AddWords(OCT::FoldText(sText), words);
    return fields;
}

bool HasField(FoldedView sPicture, WCHAR cField)
{
    bool bFound = false;
    WalkPicture(
        sPicture, [&](WCHAR c, std::size_t) { bFound = bFound || c == cField; }, [](WCHAR) {});
    return bFound;
}

/// What stands between minute and second.
FoldedText SecondsMarkOf(FoldedView sPicture)
{
    FoldedText sMark;
    WCHAR cLast = 0;
    WalkPicture(
        sPicture, [&](WCHAR c, std::size_t) { cLast = c; },
        [&](WCHAR c) {
            if (cLast == 'm')
                sMark += c;
        });
    sMark = OCT::FoldText(sMark);
    std::erase(sMark, WCHAR(' '));
    return sMark;
}

// ---- Calendar ----

/// A date in a picture.
FoldedText DateText(const WCHAR* sLocale, const WCHAR* sPicture, WORD wYear, WORD wMonth, WORD wDay)
{
    const SYSTEMTIME st = {wYear, wMonth, 0, wDay, 0, 0, 0, 0};
    WCHAR text[kMaxText];
    return GetDateFormatEx(sLocale, 0, &st, sPicture, text, kMaxText, nullptr) > 0 ? OCT::FoldText(text)
                                                                                   : FoldedText();
}

/// The years by which the locale's calendar is ahead of the Gregorian one on a day; nothing when it has other
/// days and months.
std::optional<int> YearOffset(const WCHAR* sLocale, WORD wYear, WORD wMonth, WORD wDay)
{
    const FoldedText sText = DateText(sLocale, ORVTEXT("d'-'M'-'yyyy"), wYear, wMonth, wDay) + WCHAR('-');
    int numbers[3] = {};
    std::size_t i = 0;
    for (int& n : numbers)
    {
        for (; i < sText.size() && OCT::IsDigit(sText[i]) && n < 100000; ++i)
            n = n * 10 + (sText[i] - '0');
        ++i;
    }
    return numbers[0] == wDay && numbers[1] == wMonth && i == sText.size() ? std::optional(numbers[2] - wYear)
                                                                           : std::nullopt;
}

/// Only calendars that number the years otherwise, all by the same, can be read. (Eras begin anew, and months
/// of the moon are others.)
std::optional<int> YearOffset(const WCHAR* sLocale)
{
    const auto early = YearOffset(sLocale, 1970, 1, 2);
    const auto late = YearOffset(sLocale, 2037, 12, 30);
    return early && late && *early == *late ? early : std::nullopt;
}

// ---- Names ----

/// Adds the names of the halves of the day, and what people type for them: in full or, where they differ by
/// it, the first letter, with and without full stops. What else the locale writes between numbers stays that.
void AddHalves(CLocaleForms& forms, const FoldedText& sMorning, const FoldedText& sAfternoon)
{
    const auto addTyped = [&forms](const FoldedText& sName, int i) {
        if (std::ranges::find(forms.m_ignored, sName, &CLocaleForms::Name::m_sName) == forms.m_ignored.end())
            AddName(forms.m_halves, sName, i);
    };
    const bool bLetters = !sMorning.empty() && !sAfternoon.empty() && sMorning[0] != sAfternoon[0];
    for (const auto& [sName, i] : {std::pair(sMorning, 0), {sAfternoon, 1}})
    {
        AddName(forms.m_halves, sName, i);
        if (sName.size() == 2)
            addTyped({sName[0], '.', sName[1]}, i);
        if (bLetters)
            addTyped({sName[0]}, i);
    }
}

/// All that the user can change about the forms, as one text.
FoldedText SettingsOf(const WCHAR* sLocale)
{
    FoldedText sSettings;
    for (const LCTYPE type : {LOCALE_SNAME, LOCALE_SSHORTDATE, LOCALE_SLONGDATE, LOCALE_STIMEFORMAT,
                              LOCALE_SSHORTTIME, LOCALE_S1159, LOCALE_S2359})
        (sSettings += LocaleText(sLocale, type)) += ORVTEXT('\n');
    sSettings += DateText(sLocale, ORVTEXT("d M yyyy"), 2037, 12, 30);
    return sSettings;
}

/// The forms that were used last.
struct CLastForms
{
    OCT::COwnLock m_lock;
    FoldedText m_sSettings;
    std::shared_ptr<const CLocaleForms> m_pForms;
};
CNeverDestroyed<CLastForms> g_lastForms;

} // namespace

CLocaleForms::CLocaleForms(const WCHAR* sLocale) : m_yearOffset(YearOffset(sLocale))
{
    const FoldedText sTime = LocaleText(sLocale, LOCALE_STIMEFORMAT);
    m_dates[0] = ReadPicture(LocaleText(sLocale, LOCALE_SSHORTDATE), kDateFields, m_ignored);
    m_dates[1] = ReadPicture(LocaleText(sLocale, LOCALE_SLONGDATE), kDateFields, m_ignored);
    if (HasField(LocaleText(sLocale, LOCALE_SLONGDATE), 'g'))
        AddWords(DateText(sLocale, ORVTEXT("gg"), 2037, 12, 30), m_ignored);
    m_times[0] = ReadPicture(LocaleText(sLocale, LOCALE_SSHORTTIME), kTimeFields, m_ignored);
    m_times[1] = ReadPicture(sTime, kTimeFields, m_ignored);
    m_sSecondsMark = SecondsMarkOf(sTime);
    m_b24Hours = HasField(sTime, 'H');

    const auto folded = [=](LCTYPE type) { return OCT::FoldText(LocaleText(sLocale, type)); };
    for (const LCTYPE type : {LOCALE_SMONTHNAME1, LOCALE_SABBREVMONTHNAME1})
        for (int i = 0; i < 12; ++i)
        {
            const LCTYPE ofMonth = type + static_cast<LCTYPE>(i);
            AddName(m_months, folded(ofMonth), i + 1);
            AddName(m_months, folded(ofMonth | LOCALE_RETURN_GENITIVE_NAMES), i + 1);
        }
    for (LCTYPE i = 0; i < 7; ++i)
        for (const LCTYPE type : {LOCALE_SDAYNAME1, LOCALE_SABBREVDAYNAME1})
            AddName(m_ignored, folded(type + i), 0);
    AddHalves(*this, folded(LOCALE_S1159), folded(LOCALE_S2359));
    AddHalves(*this, ORVTEXT("AM"), ORVTEXT("PM"));
}

std::shared_ptr<const CLocaleForms> OCT::UserLocaleForms()
{
    const WCHAR* const sUser = LOCALE_NAME_USER_DEFAULT;
    const FoldedText sSettings = SettingsOf(sUser);
    CLastForms& last = g_lastForms.Get();
    const CCritSectGuard guard(&last.m_lock);
    if (last.m_pForms == nullptr || last.m_sSettings != sSettings)
    {
        last.m_pForms = std::make_shared<const CLocaleForms>(sUser);
        last.m_sSettings = sSettings;
    }
    return last.m_pForms;
}

void OCT::FreeLocaleFormsAtUnload() noexcept
{
    g_lastForms.DestroyAtUnload();
}
