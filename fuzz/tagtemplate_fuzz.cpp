// Templates with tags: what they give is normalised and fits its buffer, clients are asked for names only,
// and text whose characters are all escaped comes out as it is.
#include "fuzzing.h"
#include "orvcomtypes/orvstr.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace
{

/// Gives nothing, a unit, blanks around a unit or a long text, by the first unit of the name.
void Fill(const WCHAR* sName, void* pAsked, COrvStr& sValue)
{
    const TextView name(sName);
    Require(!name.empty() && name.size() <= 9 && sValue.IsEmpty());
    for (const WCHAR c : name)
        Require(c != ORVTEXT('>') && !IsSpace(c));
    ++*static_cast<unsigned*>(pAsked);
    switch (name.front() % 4)
    {
    case 1: sValue = ORVTEXT("v"); break;
    case 2: sValue = ORVTEXT("  \t<w>\\ \n"); break;
    case 3: sValue = Text(700, name.front()).c_str(); break;
    default: break;
    }
}

void CheckTemplate(const Text& sTemplate)
{
    unsigned nAsked = 0;
    COrvStr str(sTemplate.c_str());
    const int nLength = str.FormatStr(sTemplate.c_str(), Fill, &nAsked);
    const TextView text(str);
    Require(text.size() == static_cast<unsigned>(nLength) && text.size() == str.GetLength());
    Require(text.size() <= 1023 && text.find(ORVTEXT("  ")) == text.npos);
    Require(text.empty() || (!IsSpace(text.front()) && !IsSpace(text.back())));
    if (sTemplate.find(ORVTEXT('<')) == sTemplate.npos)
        Require(nAsked == 0);

    Text plain;
    for (const WCHAR c : text)
        plain.append({ORVTEXT('\\'), c});
    // … but for the letters that name line ends and tabs then.
    if (text.find_first_of(ORVTEXT("nNrRtT")) == text.npos)
    {
        COrvStr again;
        again.FormatStr(plain.c_str(), Fill, &nAsked);
        Require(TextView(again) == text);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    CheckTemplate(Text(pData, pData + nSize));
    Text sWide(nSize / sizeof(WCHAR), 0);
    if (!sWide.empty())
        std::memcpy(sWide.data(), pData, sWide.size() * sizeof(WCHAR));
    CheckTemplate(sWide);
    return 0;
}
