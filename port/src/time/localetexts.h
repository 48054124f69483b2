// What ICU knows about a locale's dates and times, read once: afterwards no object of ICU's is needed.
#pragma once

#include <windows.h>

#include <array>
#include <memory>
#include <string>

struct CLocaleTexts
{
    /// Throws std::bad_alloc. \p sLocale is a tag ("hu-HU") or the environment's name of a locale.
    explicit CLocaleTexts(const std::string& sLocale);

    // Pictures as Windows writes them.
    std::u16string m_sShortDate;
    std::u16string m_sLongDate;
    std::u16string m_sTime;
    std::u16string m_sShortTime;
    std::array<std::u16string, 2> m_halves; // of the day
    // As they stand beside a day, and alone.
    std::array<std::u16string, 12> m_months;
    std::array<std::u16string, 12> m_shortMonths;
    std::array<std::u16string, 12> m_monthsAlone;
    std::array<std::u16string, 12> m_shortMonthsAlone;
    std::array<std::u16string, 7> m_days; // Sunday first
    std::array<std::u16string, 7> m_shortDays;
    std::u16string m_sName; // a tag; empty when ICU does not know the locale
};

/// The texts of the locale of that tag; null is that of LC_ALL, LC_TIME, LANG. Those of the last locale that
/// was asked for are kept, for all threads, and forgotten when another is asked for. Null without memory.
std::shared_ptr<const CLocaleTexts> LocaleTextsOf(LPCWSTR lpLocaleName) noexcept;
