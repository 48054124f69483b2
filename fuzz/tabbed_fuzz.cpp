// The reader of delimited text against a model of it: the same fields, cut alike, and nothing read or written
// outside.
#include "fuzzing.h"
#include "orvcomtypes/orvtabbedstr.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace
{

/// Cuts fields off the front of a text.
struct Model
{
    Text m_sRest;
    Text m_sEnds; ///< separator, terminator

    /// Removes the units before \p nEnd (or all) and returns those that no backslash hides.
    Text Take(std::size_t nEnd)
    {
        const Text sTaken = m_sRest.substr(0, nEnd);
        m_sRest.erase(0, nEnd);
        Text sField;
        for (std::size_t i = 0; i < sTaken.size(); ++i)
            if (sTaken[i] == ORVTEXT('\\'))
                ++i;
            else
                sField += sTaken[i];
        return sField;
    }

    /// Where the first of these units stands that no backslash hides.
    std::size_t Find(const Text& sUnits) const
    {
        for (std::size_t i = 0; i < m_sRest.size(); ++i)
            if (sUnits.find(m_sRest[i]) != Text::npos)
                return i;
            else if (m_sRest[i] == ORVTEXT('\\'))
                ++i;
        return Text::npos;
    }

    Text Next(std::size_t nMost)
    {
        m_sRest.erase(m_sRest.begin(), std::find_if_not(m_sRest.begin(), m_sRest.end(), IsSpace));
        const Text sFirst = m_sRest.substr(0, 1);
        const bool bQuoted = sFirst == ORVTEXT("'") || sFirst == ORVTEXT("\"");
        Text sField;
        if (bQuoted && m_sEnds.find(sFirst) == Text::npos)
        {
            m_sRest.erase(0, 1);
            sField = Take(Find(sFirst)).substr(0, nMost);
            m_sRest.erase(0, m_sRest.find_first_of(m_sEnds));
        }
        else
        {
            sField = Take(Find(m_sEnds)).substr(0, nMost);
            sField.erase(std::find_if_not(sField.rbegin(), sField.rend(), IsSpace).base(), sField.end());
        }
        if (!m_sRest.empty() && m_sRest[0] == m_sEnds[0])
            m_sRest.erase(0, 1);
        return sField;
    }
};

void CheckReader(const Text& sText, WCHAR cSep, WCHAR cTerm, unsigned nSize)
{
    // What ends at a 0 is the text; an exact copy of it shows reads behind.
    const std::vector<WCHAR> copy(sText.c_str(), sText.c_str() + Text(sText.c_str()).size() + 1);
    Model model{copy.data(), {cSep, cTerm}};
    COrvTabbedWStr reader;
    reader.Init(copy.data(), cSep, cTerm);
    std::vector<WCHAR> field(nSize);
    for (std::size_t i = 0; i < copy.size() + 1; ++i)
    {
        Require(reader.GetNextStr(field.data(), nSize) == field.data());
        Require(model.Next(nSize - 1) == field.data());
    }
    COrvTabbedWStr numbers;
    numbers.Init(copy.data(), cSep, cTerm);
    for (std::size_t i = 0; i < copy.size() + 1; ++i)
    {
        COrvTabbedWStr other = numbers;
        const LONGLONG nNumber = numbers.GetNextInt64();
        Require(std::clamp<LONGLONG>(nNumber, INT32_MIN, INT32_MAX) == other.GetNextInt());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    constexpr std::size_t nHeader = 3;
    if (nSize < nHeader || nSize > 1024 || pData[0] == 0 || pData[1] == 0)
        return 0;
    const unsigned nFieldSize = pData[2] + 1u;
    CheckReader(Text(pData + nHeader, pData + nSize), pData[0], pData[1], nFieldSize);
    Text sWide((nSize - nHeader) / sizeof(WCHAR), 0);
    if (!sWide.empty())
        std::memcpy(sWide.data(), pData + nHeader, sWide.size() * sizeof(WCHAR));
    CheckReader(sWide, pData[0], pData[1], nFieldSize);
    return 0;
}
