/// Dates and times as a locale writes them, in both directions.
#pragma once

#include "time/localefold.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace OCT
{

/// Room for a date and a time of day, with the terminator.
inline constexpr int kLocaleTextRoom = 1024;

/// Writes \p st in the forms that \p uiFlags (`COrvTime::LocalFormatFlags`) choose; null is the user's
/// locale. Empty when the platform fails.
void FormatForLocale(const WCHAR* sLocale, const SYSTEMTIME& st, unsigned uiFlags,
                     WCHAR (&text)[kLocaleTextRoom]) noexcept;

/// What is known of how a locale writes dates and times: enough to read them without asking again. All its
/// texts are folded (localefold.h).
struct CLocaleForms
{
    /// A number of a picture: y, M, d, H (of 12 or 24 hours), m or s.
    struct Field
    {
        WCHAR m_cField;
        std::size_t m_nDigits; // when the next number follows at once, else 0: as many as there are
    };
    /// A name, and the number that it stands for.
    struct Name
    {
        FoldedText m_sName;
        int m_iValue;
    };

    explicit CLocaleForms(const WCHAR* sLocale);

    std::vector<Name> m_months;                // 1 to 12
    std::vector<Name> m_halves;                // of the day: 0, 1
    std::vector<Name> m_ignored;               // the words of the pictures, and the days of the week
    std::array<std::vector<Field>, 2> m_dates; // short, long: year, month and day in their order
    std::array<std::vector<Field>, 2> m_times; // hour, minute and, if it has them, second
    FoldedText m_sSecondsMark;                 // between minute and second, without blanks
    bool m_b24Hours = false;                   // even where the half of the day is written too
    std::optional<int> m_yearOffset; // of the locale's years from the Gregorian ones; none: other months
};

/// Reads a text into the fields of the parts that \p uiFlags name and leaves the others; false when a part is
/// missing, when anything stands there that is not known, and where the locale's forms cannot be read back.
/// Whether the fields are a time is not looked at.
bool ParseForLocale(const CLocaleForms& forms, FoldedView sText, unsigned uiFlags, SYSTEMTIME& st);

/// The forms of the user's locale, made anew when the user's settings have changed.
std::shared_ptr<const CLocaleForms> UserLocaleForms();

/// The last step of an unload, when nobody can come any more.
void FreeLocaleFormsAtUnload() noexcept;

} // namespace OCT
