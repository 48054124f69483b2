// The format of the files (RFC 9636): a header and a block with times of 32 bits, the same again with 64
// bits, then the rule for later years as the variable TZ would have it ("CET-1CEST,M3.5.0,M10.5.0/3").
#include "time/zonefile.h"

#include <windows.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using namespace std::chrono;

namespace
{

/// What a damaged file ends the reading by.
struct CBadZoneFile : std::runtime_error
{
    CBadZoneFile() : std::runtime_error("damaged zone file") {}
};

// ---- The rule for later years ----

/// One change a year: a day, and seconds from its midnight on.
struct YearlyChange
{
    char m_cKind =
        'M'; // M: the n-th weekday (5: the last) of a month; J: a day without 29 February; else a day
    int m_nMonth = 0;
    int m_nWeek = 0;
    int m_nDay = 0;
    int m_nTime = 7200;

    std::int64_t MomentOf(year inYear) const
    {
        return sys_seconds(DayOf(inYear)).time_since_epoch().count() + m_nTime;
    }

private:
    sys_days DayOf(year inYear) const
    {
        if (m_cKind == 'M')
        {
            const auto inMonth = inYear / month(static_cast<unsigned>(m_nMonth));
            const weekday onDay(static_cast<unsigned>(m_nDay));
            return m_nWeek == 5 ? sys_days(inMonth / onDay[last])
                                : sys_days(inMonth / onDay[static_cast<unsigned>(m_nWeek)]);
        }
        const bool bBehindLeapDay = inYear.is_leap() && m_nDay >= 60;
        return sys_days(inYear / 1 / 1) + days(m_cKind == 'J' ? m_nDay - 1 + bBehindLeapDay : m_nDay);
    }
};

class CYearlyRule
{
public:
    explicit CYearlyRule(std::string_view sText);

    /// Adds the changes of the years behind the last of \p offsets.
    void Continue(std::vector<ZoneOffset>& offsets, year lastYear) const;

private:
    void SkipName();
    int ReadNumber(int nLast);
    int ReadTime();
    YearlyChange ReadChange();
    bool Skip(char c)
    {
        const bool bFound = m_sRest.starts_with(c);
        m_sRest.remove_prefix(bFound);
        return bFound;
    }
    static void Require(bool bHolds)
    {
        if (!bHolds)
            throw CBadZoneFile();
    }

    std::string_view m_sRest;
    LONG m_nStandard = 0;
    LONG m_nDaylight = 0;
    std::optional<YearlyChange> m_toDaylight;
    YearlyChange m_toStandard;
};

CYearlyRule::CYearlyRule(std::string_view sText) : m_sRest(sText)
{
    SkipName();
    m_nStandard = -ReadTime();
    if (m_sRest.empty())
        return;
    SkipName();
    m_nDaylight = m_sRest.starts_with(',') ? m_nStandard + 3600 : -ReadTime();
    Require(Skip(','));
    m_toDaylight = ReadChange();
    Require(Skip(','));
    m_toStandard = ReadChange();
    Require(m_sRest.empty());
}

void CYearlyRule::SkipName()
{
    const bool bQuoted = Skip('<');
    const auto isOfName = [bQuoted](char c) {
        return bQuoted ? c != '>' : std::isalpha(static_cast<unsigned char>(c)) != 0;
    };
    const auto nLength = std::ranges::find_if_not(m_sRest, isOfName) - m_sRest.begin();
    m_sRest.remove_prefix(static_cast<std::size_t>(nLength));
    Require(nLength > 0 && (!bQuoted || Skip('>')));
}

int CYearlyRule::ReadNumber(int nLast)
{
    Require(!m_sRest.empty() && m_sRest[0] >= '0' && m_sRest[0] <= '9');
    int n = 0;
    for (; !m_sRest.empty() && m_sRest[0] >= '0' && m_sRest[0] <= '9' && n <= nLast; m_sRest.remove_prefix(1))
        n = n * 10 + (m_sRest[0] - '0');
    Require(n <= nLast);
    return n;
}

/// Up to a week to either side: "-2", "26", "3:30:15".
int CYearlyRule::ReadTime()
{
    const bool bNegative = Skip('-');
    Skip('+');
    int nSeconds = ReadNumber(167) * 3600;
    if (Skip(':'))
        nSeconds += ReadNumber(59) * 60;
    if (Skip(':'))
        nSeconds += ReadNumber(59);
    return bNegative ? -nSeconds : nSeconds;
}

YearlyChange CYearlyRule::ReadChange()
{
    YearlyChange change;
    change.m_cKind = Skip('M') ? 'M' : Skip('J') ? 'J' : '0';
    if (change.m_cKind == 'M')
    {
        change.m_nMonth = ReadNumber(12);
        Require(Skip('.'));
        change.m_nWeek = ReadNumber(5);
        Require(Skip('.'));
        change.m_nDay = ReadNumber(6);
        Require(change.m_nMonth > 0 && change.m_nWeek > 0);
    }
    else
        change.m_nDay = ReadNumber(365);
    if (Skip('/'))
        change.m_nTime = ReadTime();
    return change;
}

void CYearlyRule::Continue(std::vector<ZoneOffset>& offsets, year lastYear) const
{
    const std::int64_t nLastKnown = offsets.back().m_nUtc;
    if (!m_toDaylight)
    {
        if (offsets.back().m_nSeconds != m_nStandard)
            offsets.push_back({nLastKnown, m_nStandard});
        return;
    }
    for (year inYear(1970); inYear <= lastYear; ++inYear)
    {
        ZoneOffset changes[] = {{m_toDaylight->MomentOf(inYear) - m_nStandard, m_nDaylight},
                                {m_toStandard.MomentOf(inYear) - m_nDaylight, m_nStandard}};
        if (changes[1].m_nUtc < changes[0].m_nUtc)
            std::swap(changes[0], changes[1]);
        for (const ZoneOffset& change : changes)
            if (change.m_nUtc > nLastKnown && change.m_nSeconds != offsets.back().m_nSeconds)
                offsets.push_back(change);
    }
}

// ---- The file ----

class CZoneFile
{
public:
    explicit CZoneFile(std::string_view sBytes) : m_sRest(sBytes) {}

    std::vector<ZoneOffset> Read(year lastYear);

private:
    struct Counts
    {
        std::uint32_t m_nUtcFlags, m_nStandardFlags, m_nLeaps, m_nTimes, m_nTypes, m_nNameBytes;

        std::uint64_t BlockSize(unsigned nTimeSize) const
        {
            return std::uint64_t{m_nTimes} * (nTimeSize + 1) + std::uint64_t{m_nTypes} * 6 + m_nNameBytes +
                   std::uint64_t{m_nLeaps} * (nTimeSize + 4) + m_nStandardFlags + m_nUtcFlags;
        }
    };

    std::string_view Take(std::uint64_t nBytes);
    std::int64_t TakeNumber(unsigned nBytes);
    Counts ReadHeader(char& cVersion);
    std::vector<ZoneOffset> ReadBlock(const Counts& counts, unsigned nTimeSize);

    std::string_view m_sRest;
};

std::string_view CZoneFile::Take(std::uint64_t nBytes)
{
    if (nBytes > m_sRest.size())
        throw CBadZoneFile();
    const std::string_view sTaken = m_sRest.substr(0, static_cast<std::size_t>(nBytes));
    m_sRest.remove_prefix(sTaken.size());
    return sTaken;
}

/// Big-endian, signed.
std::int64_t CZoneFile::TakeNumber(unsigned nBytes)
{
    std::uint64_t n = 0;
    for (const char c : Take(nBytes))
        n = n << 8 | static_cast<unsigned char>(c);
    const unsigned nUnused = 64 - 8 * nBytes;
    return static_cast<std::int64_t>(n << nUnused) >> nUnused;
}

CZoneFile::Counts CZoneFile::ReadHeader(char& cVersion)
{
    if (Take(4) != "TZif")
        throw CBadZoneFile();
    cVersion = Take(1)[0];
    Take(15);
    std::uint32_t counts[6];
    for (std::uint32_t& n : counts)
        n = static_cast<std::uint32_t>(TakeNumber(4));
    return {counts[0], counts[1], counts[2], counts[3], counts[4], counts[5]};
}

std::vector<ZoneOffset> CZoneFile::ReadBlock(const Counts& counts, unsigned nTimeSize)
{
    CZoneFile block(Take(counts.BlockSize(nTimeSize)));
    CZoneFile times(block.Take(std::uint64_t{counts.m_nTimes} * nTimeSize));
    const std::string_view sTypeOfTime = block.Take(counts.m_nTimes);
    std::vector<LONG> offsetOfType;
    for (std::uint32_t i = 0; i < counts.m_nTypes; ++i)
    {
        offsetOfType.push_back(static_cast<LONG>(block.TakeNumber(4)));
        block.Take(2);
    }
    if (offsetOfType.empty())
        throw CBadZoneFile();
    std::vector<ZoneOffset> offsets = {{std::numeric_limits<std::int64_t>::min(), offsetOfType[0]}};
    for (const char c : sTypeOfTime)
    {
        const std::int64_t nUtc = times.TakeNumber(nTimeSize);
        const auto nType = static_cast<unsigned char>(c);
        if (nType >= offsetOfType.size() || nUtc < offsets.back().m_nUtc)
            throw CBadZoneFile();
        offsets.push_back({nUtc, offsetOfType[nType]});
    }
    return offsets;
}

std::vector<ZoneOffset> CZoneFile::Read(year lastYear)
{
    char cVersion;
    Counts counts = ReadHeader(cVersion);
    if (cVersion == 0)
        return ReadBlock(counts, 4);
    Take(counts.BlockSize(4));
    counts = ReadHeader(cVersion);
    std::vector<ZoneOffset> offsets = ReadBlock(counts, 8);
    if (Take(1) != "\n" || !m_sRest.ends_with('\n'))
        throw CBadZoneFile();
    if (const std::string_view sRule = m_sRest.substr(0, m_sRest.size() - 1); !sRule.empty())
        CYearlyRule(sRule).Continue(offsets, lastYear);
    return offsets;
}

/// An identifier names a file of the folder, nothing outside of it.
bool IsZoneId(std::string_view sId)
{
    const auto isOfId = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '+' || c == '-' ||
               c == '/';
    };
    return !sId.empty() && sId[0] != '/' && sId.size() <= 64 && std::ranges::all_of(sId, isOfId);
}

/// Nothing of what is no file.
std::string ReadBytes(const std::string& sFile)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(sFile.c_str(), "rbe"), std::fclose);
    std::string sBytes;
    char buffer[4096];
    while (const std::size_t n = file != nullptr ? std::fread(buffer, 1, sizeof buffer, file.get()) : 0)
        sBytes.append(buffer, n);
    return sBytes;
}

} // namespace

std::optional<std::vector<ZoneOffset>> ReadZoneFile(const std::string& sId, year lastYear)
try
{
    const char* sFolder = std::getenv("TZDIR");
    if (sFolder == nullptr || *sFolder == 0)
        sFolder = "/usr/share/zoneinfo";
    if (!IsZoneId(sId))
        return std::nullopt;
    return CZoneFile(ReadBytes(std::string(sFolder) + '/' + sId)).Read(lastYear);
}
catch (const CBadZoneFile&)
{
    return std::nullopt;
}
