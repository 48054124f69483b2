/// `COrvDecimal`, an exact decimal number: 96 bits divided by a power of ten from 0 to 28.
///
/// It wraps `DECIMAL`, the number of OLE Automation and of money columns, and computes without the system, so
/// results are the same on every target. They are exact where they can be. Digits go only where there would
/// be more than 28 behind the point or more than 96 bits; the result is then rounded once, to the nearest
/// number that fits, a tie to the even one.
///
/// Ownership: a plain value.
/// Thread safety: as for an `int`.
/// Errors: a result whose whole part is beyond 79,228,162,514,264,337,593,543,950,335 overflows. Operators
///   then throw `CLQInvalidargExcept` (source `orvdecimal`) and the functions that return `bool` return
///   false; either way the operands and the target keep their values. A `DECIMAL` whose scale is above 28 is
///   none: it is reported ("dec.scale > 28" from "COrvDecimal::COrvDecimal") and counts as 0.
/// Units: a scale is a number of decimal places.
///
/// Equal numbers compare equal and have the same text whatever their scale: 1.50 is 1.5. There is no "-0".
///
///     COrvDecimal total;
///     if (!total.SetText(ORVTEXT("19.99")))
///         return false;
///     total = total * 3 + COrvDecimal(5); // 64.97
///     total.Round(1);                     // 65
///     sql.Append(total.GetText());
#pragma once

#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include <compare>
#include <concepts>
#include <cstdint>
#include <utility>

#include <windows.h>
#include <oleauto.h>

class ORV_API COrvDecimal
{
public:
    /// The most decimal places.
    static constexpr unsigned kMaxScale = 28;
    /// Room for any text with its terminator.
    static constexpr unsigned kMaxText = 32;

    COrvDecimal() noexcept : m_dec{} {}
    /// Any integer, exactly.
    template <std::integral Int>
    COrvDecimal(Int n) noexcept : m_dec{}
    {
        if (n < 0)
            SetWhole(0 - static_cast<std::uint64_t>(n), true);
        else
            SetWhole(static_cast<std::uint64_t>(n), false);
    }
    /// A scale above 28 is reported, and the number is then 0.
    explicit COrvDecimal(const DECIMAL& dec) noexcept;

    /// The value as OLE Automation has it.
    const DECIMAL& Get() const noexcept { return m_dec; }

    // ---- Text ----

    /// Reads an optional sign, digits with at most one "." among them and an optional exponent ("e" or "E",
    /// an optional sign, digits), between optional white space. False, and no change, for anything else and
    /// for overflow. The separator is "." in every locale.
    bool SetText(const WCHAR* s) noexcept;
    /// Without zeros at the end of the fraction.
    COrvStr GetText() const;
    /// The same into \p cch units, which hold all of it and a terminator; else 0, and an empty text if there
    /// is room for that. The length without the terminator.
    unsigned CopyTo(WCHAR* sDest, unsigned cch) const noexcept;

    // ---- Whole numbers: rounded, a tie to the even one; false, and no change, when it does not fit ----

    template <std::signed_integral Int>
    bool GetInt(Int& n) const noexcept
    {
        std::int64_t nWhole;
        const bool bFits = GetInt64(nWhole) && std::in_range<Int>(nWhole);
        n = bFits ? static_cast<Int>(nWhole) : n;
        return bFits;
    }
    template <std::unsigned_integral Int>
    bool GetInt(Int& n) const noexcept
    {
        std::uint64_t nWhole;
        const bool bFits = GetUInt64(nWhole) && std::in_range<Int>(nWhole);
        n = bFits ? static_cast<Int>(nWhole) : n;
        return bFits;
    }
    bool GetInt64(std::int64_t& n) const noexcept;
    bool GetUInt64(std::uint64_t& n) const noexcept;

    // ---- Shape ----

    /// Decimal places, zeros at the end counted.
    unsigned GetScale() const noexcept { return m_dec.scale; }
    /// Zero is never negative.
    bool IsZero() const noexcept { return m_dec.Lo64 == 0 && m_dec.Hi32 == 0; }
    bool IsNegative() const noexcept { return m_dec.sign != 0; }
    /// Changes the sign; zero has none.
    void Negate() noexcept;
    /// Rounds to at most \p nScale decimal places, a tie to the even digit.
    void Round(unsigned nScale) noexcept;

    // ---- Arithmetic ----

    /// False, and no change, when the result overflows.
    bool Add(const COrvDecimal& other) noexcept;
    bool Subtract(const COrvDecimal& other) noexcept;
    bool Multiply(const COrvDecimal& other) noexcept;

    /// An overflow throws `CLQInvalidargExcept`.
    COrvDecimal& operator+=(const COrvDecimal& other);
    COrvDecimal& operator-=(const COrvDecimal& other);
    COrvDecimal& operator*=(const COrvDecimal& other);
    COrvDecimal operator-() const noexcept;
    friend COrvDecimal operator+(COrvDecimal a, const COrvDecimal& b) { return a += b; }
    friend COrvDecimal operator-(COrvDecimal a, const COrvDecimal& b) { return a -= b; }
    friend COrvDecimal operator*(COrvDecimal a, const COrvDecimal& b) { return a *= b; }

    /// -1, 0 or 1.
    int Compare(const COrvDecimal& other) const noexcept;
    friend bool operator==(const COrvDecimal& a, const COrvDecimal& b) noexcept { return a.Compare(b) == 0; }
    friend std::weak_ordering operator<=>(const COrvDecimal& a, const COrvDecimal& b) noexcept
    {
        return a.Compare(b) <=> 0;
    }

private:
    void SetWhole(std::uint64_t nMagnitude, bool bNegative) noexcept
    {
        m_dec.Lo64 = nMagnitude;
        m_dec.sign = bNegative ? DECIMAL_NEG : BYTE{};
    }

    DECIMAL m_dec; ///< the scale at most 28, the sign 0 or 0x80, 0x80 only beside digits
};
