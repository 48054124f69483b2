#include "systemzone.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <ctime>
#include <limits>
#include <vector>

namespace
{

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kFirst = -70 * 365 * kDay - 17 * kDay; // 1900-01-01
constexpr std::int64_t kLast = 70 * 365 * kDay + 17 * kDay;   // 2039-12-31
// No zone of the database keeps an offset for less than 95 hours in these years, so no change falls between two steps.
constexpr std::int64_t kStep = 3 * kDay;

constexpr std::int64_t kEver = std::numeric_limits<std::int64_t>::max();

std::int32_t LibraryOffset(std::int64_t nUtc) noexcept
{
    const std::time_t t = nUtc;
    std::tm fields;
    return localtime_r(&t, &fields) == nullptr ? 0 : static_cast<std::int32_t>(fields.tm_gmtoff);
}

class CSystemZone
{
public:
    CSystemZone();

    std::int32_t OffsetAt(std::int64_t nUtc) const noexcept
    {
        return Find(nUtc, &Period::m_nUtc, m_iLastUtc);
    }
    std::int32_t OffsetOfLocal(std::int64_t nLocal) const noexcept
    {
        return Find(nLocal, &Period::m_nLocal, m_iLastLocal);
    }

private:
    struct Period
    {
        std::int64_t m_nUtc;   // first second
        std::int64_t m_nLocal; // the same on the wall clock of the period before
        std::int32_t m_nOffset;
    };

    std::int32_t Find(std::int64_t n, std::int64_t Period::*start,
                      std::atomic<std::uint32_t>& iLast) const noexcept;

    std::vector<Period> m_periods; // ends with a guard that never begins
    // Where the last search ended. Any value is good, so threads need not agree on it.
    mutable std::atomic<std::uint32_t> m_iLastUtc{0};
    mutable std::atomic<std::uint32_t> m_iLastLocal{0};
};

CSystemZone::CSystemZone()
{
    tzset();
    std::int32_t nOffset = LibraryOffset(kFirst);
    m_periods.push_back({-kEver, -kEver, nOffset});
    for (std::int64_t nUtc = kFirst; nUtc < kLast; nUtc += kStep)
    {
        const std::int32_t nNext = LibraryOffset(nUtc + kStep);
        if (nNext == nOffset)
            continue;
        std::int64_t nBefore = nUtc;
        std::int64_t nChange = nUtc + kStep;
        while (nChange - nBefore > 1)
        {
            const std::int64_t nMiddle = nBefore + (nChange - nBefore) / 2;
            (LibraryOffset(nMiddle) == nOffset ? nBefore : nChange) = nMiddle;
        }
        m_periods.push_back({nChange, nChange + nOffset, nNext});
        nOffset = nNext;
    }
    m_periods.push_back({kEver, kEver, nOffset});
}

std::int32_t CSystemZone::Find(std::int64_t n, std::int64_t Period::*start,
                               std::atomic<std::uint32_t>& iLast) const noexcept
{
    const Period* const pFirst = m_periods.data();
    const Period* pPeriod = pFirst + iLast.load(std::memory_order_relaxed);
    if (n < pPeriod[0].*start || n >= pPeriod[1].*start)
    {
        const auto isAfter = [start](std::int64_t nWanted, const Period& period) {
            return nWanted < period.*start;
        };
        pPeriod = std::upper_bound(pFirst + 1, pFirst + m_periods.size() - 1, n, isAfter) - 1;
        iLast.store(static_cast<std::uint32_t>(pPeriod - pFirst), std::memory_order_relaxed);
    }
    return pPeriod->m_nOffset;
}

const CSystemZone& SystemZone() noexcept
{
    static const CSystemZone s_zone;
    return s_zone;
}

} // namespace

std::int32_t SystemZoneOffset(std::int64_t nUtc) noexcept
{
    return SystemZone().OffsetAt(nUtc);
}

std::int32_t SystemZoneOffsetOfLocal(std::int64_t nLocal) noexcept
{
    return SystemZone().OffsetOfLocal(nLocal);
}
