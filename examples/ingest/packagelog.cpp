#include "packagelog.h"

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

bool ParseTime(const CWords& words, COrvTime& time)
{
    if (!HasShape(words[0], "0000-00-00") || !HasShape(words[1], "00:00:00"))
        return false;
    const std::string sTime = std::string(words[0]) + ' ' + std::string(words[1]);
    return time.SetFromString(sTime.c_str()) && time.IsValid();
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

} // namespace

bool ParsePackageLine(std::string_view sLine, CPackageEvent& event, std::string& sReason)
{
    const CWords words(sLine);
    if (words.m_nCount < 5)
        return sReason = "too few fields", false;
    if (!ParseTime(words, event.m_Time))
        return sReason = "no date and time at the start", false;

    const std::string_view sAction = words[2];
    const bool bStatus = sAction == "status";
    const bool bDetail = sAction == "startup" || sAction == "conffile";
    if (!bStatus && !bDetail && !IsPackageAction(sAction))
        return sReason = "unknown action '" + std::string(sAction) + "'", false;
    if (words.m_nCount != (bDetail ? 5u : 6u))
        return sReason = "wrong number of fields for '" + std::string(sAction) + "'", false;

    event.m_sAction = FromUTF8(sAction);
    event.m_sState = bStatus ? FromUTF8(words[3]) : bDetail ? FromUTF8(words[4]) : COrvStr();
    if (bDetail)
        event.m_sPackage = FromUTF8(words[3]);
    else
        SetPackage(bStatus ? words[4] : words[3], event);
    event.m_sVersionFrom = bStatus || bDetail ? COrvStr() : Version(words[4]);
    event.m_sVersionTo = bDetail ? COrvStr() : Version(words[5]);
    return true;
}
