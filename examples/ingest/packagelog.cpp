#include "packagelog.h"

#include "input.h"
#include "utf8.h"

#include <algorithm>
#include <array>

namespace
{

/// The blank-separated words of a line; more than the longest line has are counted but not kept.
struct CWords
{
    std::array<std::string_view, 6> m_Words;
    std::size_t m_nCount = 0;

    explicit CWords(std::string_view sLine)
    {
        while (!sLine.empty())
        {
            const std::size_t nEnd = sLine.find(' ');
            const std::string_view sWord = sLine.substr(0, nEnd);
            if (m_nCount < m_Words.size())
                m_Words[m_nCount] = sWord;
            ++m_nCount;
            sLine = nEnd == std::string_view::npos ? std::string_view() : sLine.substr(nEnd + 1);
        }
    }

    std::string_view operator[](std::size_t i) const { return m_Words[i]; }
};

COrvStr FromUTF8(std::string_view sText)
{
    COrvStr sResult;
    if (!sText.empty())
        sResult.SetUTF8(sText.data(), static_cast<unsigned>(sText.size()));
    return sResult;
}

COrvStr Version(std::string_view sText)
{
    return sText == "<none>" ? COrvStr() : FromUTF8(sText);
}

bool HasShape(std::string_view sText, std::string_view sShape)
{
    if (sText.size() != sShape.size())
        return false;
    for (std::size_t i = 0; i < sText.size(); ++i)
        if (sShape[i] == '0' ? sText[i] < '0' || sText[i] > '9' : sText[i] != sShape[i])
            return false;
    return true;
}

void SetPackage(std::string_view sText, CPackageEvent& event)
{
    const std::size_t nColon = sText.find(':');
    event.m_sPackage = FromUTF8(sText.substr(0, nColon));
    event.m_sArchitecture = nColon == std::string_view::npos ? COrvStr() : FromUTF8(sText.substr(nColon + 1));
}

bool IsPackageAction(std::string_view sAction)
{
    for (const char* sKnown : {"install", "upgrade", "configure", "trigproc", "disappear", "remove", "purge"})
        if (sAction == sKnown)
            return true;
    return false;
}

bool IsNumber(std::string_view sText)
{
    return !sText.empty() &&
           std::all_of(sText.begin(), sText.end(), [](char c) { return c >= '0' && c <= '9'; });
}

struct CRotatedName
{
    std::string m_sLog;
    unsigned m_nRotation = 0; ///< 0: the log itself, or rotated by date
};

CRotatedName Split(const std::filesystem::path& file)
{
    std::string sName = ToUTF8(file.filename());
    if (sName.ends_with(".gz"))
        sName.resize(sName.size() - 3);
    const std::size_t nDot = sName.rfind('.');
    if (nDot != sName.npos && nDot > 0 && sName.size() - nDot <= 5 && IsNumber(sName.substr(nDot + 1)))
        return {sName.substr(0, nDot), static_cast<unsigned>(std::stoul(sName.substr(nDot + 1)))};
    const std::size_t nDash = sName.rfind('-');
    if (nDash != sName.npos && nDash > 0 && sName.size() - nDash == 9 && IsNumber(sName.substr(nDash + 1)))
        sName.resize(nDash);
    return {sName, 0};
}

} // namespace

bool CPackageLineReader::ReadTime(std::string_view sLine, COrvTime& time)
{
    const std::string_view sTime = sLine.substr(0, 19);
    if (sTime == m_sLastTime)
        return time = m_LastTime, true;
    if (!HasShape(sTime, "0000-00-00 00:00:00"))
        return false;
    m_sLastTime = sTime;
    if (!m_LastTime.SetFromString(m_sLastTime.c_str()) || !m_LastTime.IsValid())
        return m_sLastTime.clear(), false;
    time = m_LastTime;
    return true;
}

bool CPackageLineReader::Read(std::string_view sLine, CPackageEvent& event, std::string& sReason)
{
    if (sLine.size() > CInput::kLongestLine)
        return sReason = "line too long", false;
    if (sLine.find('\0') != sLine.npos)
        return sReason = "a zero byte in the line", false;
    const CWords words(sLine);
    if (words.m_nCount < 5)
        return sReason = "too few fields", false;
    if (!ReadTime(sLine, event.m_Time))
        return sReason = "no date and time at the start", false;

    const std::string_view sAction = words[2];
    const bool bStatus = sAction == "status";
    const bool bDetail = sAction == "startup" || sAction == "conffile";
    if (!bStatus && !bDetail && !IsPackageAction(sAction))
        return sReason = "unknown action '" + std::string(sAction.substr(0, 40)) + "'", false;
    if (words.m_nCount != (bDetail ? 5u : 6u))
        return sReason = "wrong number of fields for '" + std::string(sAction) + "'", false;

    event.m_sAction = FromUTF8(sAction);
    event.m_sState = bStatus ? FromUTF8(words[3]) : bDetail ? FromUTF8(words[4]) : COrvStr();
    event.m_sArchitecture = COrvStr();
    if (bDetail)
        event.m_sPackage = FromUTF8(words[3]);
    else
        SetPackage(bStatus ? words[4] : words[3], event);
    event.m_sVersionFrom = bStatus || bDetail ? COrvStr() : Version(words[4]);
    event.m_sVersionTo = bDetail ? COrvStr() : Version(words[5]);
    return true;
}

unsigned CEventOrder::Next(const COrvTime& time)
{
    const int iTime = time.GetOrvTime();
    m_iNewest = std::max(m_iNewest, iTime);
    if (m_Counts.size() >= m_nForgetAt)
    {
        std::erase_if(m_Counts, [&](const auto& entry) { return entry.first < m_iNewest - kKeptSeconds; });
        m_nForgetAt = m_Counts.size() + kForgetStep;
    }
    return ++m_Counts[iTime];
}

std::string LogNameOf(const std::filesystem::path& file)
{
    return Split(file).m_sLog;
}

std::filesystem::path PredecessorOf(const std::filesystem::path& file)
{
    const CRotatedName name = Split(file);
    std::error_code error;
    for (const char* sEnd : {"", ".gz"})
    {
        const auto sName = name.m_sLog + '.' + std::to_string(name.m_nRotation + 1) + sEnd;
        const auto predecessor = file.parent_path() / ToPath(sName);
        if (std::filesystem::is_regular_file(predecessor, error))
            return predecessor;
    }
    return {};
}
