// A zone's offsets from UTC over the years 1900 to 2039, as a table that answers in a few nanoseconds.
#pragma once

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

/// Filled once and then only read, by any number of threads.
///
/// A search begins at what was in force early in the slot of 49 days that the time falls into, and rarely
/// goes on from there. Outside the years it gives the nearest known offset.
class CZonePeriods
{
public:
    static constexpr std::int64_t kDay = 86400;
    static constexpr std::int64_t kFirst = -(70 * 365 + 17) * kDay; // 1900-01-01
    static constexpr std::int64_t kLast = (70 * 365 + 17) * kDay;   // 2039-12-31

    /// \p nOffset is in force before the first change.
    explicit CZonePeriods(LONG nOffset) { m_periods.push_back({-kEver, -kEver, nOffset}); }

    /// The next change, in the order of time: a moment, and the wall-clock time from which on a local time is
    /// read with the new offset.
    void Add(std::int64_t nUtc, std::int64_t nLocal, LONG nOffset)
    {
        m_periods.push_back({nUtc, nLocal, nOffset});
    }
    LONG LastOffset() const noexcept { return m_periods.back().m_nOffset; }
    /// Must come after the last change and before the first question.
    void Finish();

    LONG OffsetAt(std::int64_t nUtc) const noexcept { return Find(nUtc, &Period::m_nUtc); }
    LONG OffsetOfLocal(std::int64_t nLocal) const noexcept { return Find(nLocal, &Period::m_nLocal); }

private:
    struct Period
    {
        std::int64_t m_nUtc;   // first second
        std::int64_t m_nLocal; // first second of the wall clock that is read with this offset
        LONG m_nOffset;
    };

    LONG Find(std::int64_t n, std::int64_t Period::*start) const noexcept
    {
        const auto nSlot = static_cast<std::size_t>((std::clamp(n, kFirst, kLast) - kFirst) >> kSlotBits);
        const Period* pPeriod = m_periods.data() + m_firstOfSlot[nSlot];
        while (n >= pPeriod[1].*start)
            ++pPeriod;
        return pPeriod->m_nOffset;
    }

    static constexpr std::int64_t kEver = std::numeric_limits<std::int64_t>::max();
    static constexpr int kSlotBits = 22;

    std::vector<Period> m_periods; // ends with a guard that never begins
    std::array<std::uint16_t, ((kLast - kFirst) >> kSlotBits) + 1> m_firstOfSlot{};
};

inline void CZonePeriods::Finish()
{
    Add(kEver, kEver, LastOffset());
    // Two days early, so that the entry serves wall-clock times too.
    for (std::size_t i = 0; i < m_firstOfSlot.size(); ++i)
    {
        const std::int64_t nUtc = kFirst + (static_cast<std::int64_t>(i) << kSlotBits) - 2 * kDay;
        const auto next = std::ranges::upper_bound(m_periods, nUtc, {}, &Period::m_nUtc);
        m_firstOfSlot[i] = static_cast<std::uint16_t>(next - m_periods.begin() - 1);
    }
}
