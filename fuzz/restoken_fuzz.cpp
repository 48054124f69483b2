// Texts with resource tokens: replaced as a simple reader of them says, and never more than the buffer holds.
#include "fuzzing.h"
#include "orvcomtypes/loadstrres.h"
#include "orvcomtypes/resourcehandler.h"
#include "resources/languagetable.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace
{

/// The texts that tests load, beside the program, as those of the current language.
bool ChooseTexts()
{
    CLanguageTable::Instance().CreateLoader(nullptr);
    CResourceHandler::SetOwner(nullptr, ORVTEXT("test_strings"), 1, 0);
    Require(CResourceHandler::SetLanguage(ORVTEXT("en")));
    return true;
}

/// The length of the token at \p nAt, 0 when there is none, and its text.
std::size_t Token(const Text& s, std::size_t nAt, Text& sText)
{
    std::size_t n = nAt + 2;
    while (n < s.size() && n < nAt + 11 && s[n] >= '0' && s[n] <= '9')
        ++n;
    if (s.compare(nAt, 2, ORVTEXT("##")) != 0 || s.compare(n, 2, ORVTEXT("##")) != 0 || n == nAt + 2)
        return 0;
    unsigned uID = 0;
    for (std::size_t i = nAt + 2; i < n; ++i)
        uID = uID * 10 + static_cast<unsigned>(s[i] - '0');
    if (uID == 0)
        return 0;
    unsigned nLength = 0;
    const WCHAR* const sFound = LoadStringResImage(nullptr, uID, &nLength);
    sText = sFound != nullptr ? Text(sFound, nLength) : Text(ORVTEXT("!Resource does not exist!"));
    return n + 2 - nAt;
}

Text Replaced(const Text& s, unsigned nRoom)
{
    Text sResult;
    for (std::size_t i = 0; i < s.size();)
    {
        Text sToken;
        const std::size_t n = Token(s, i, sToken);
        if (n == 0 && sResult.size() + 1 >= nRoom)
            break;
        if (n == 0)
            sResult += s[i];
        else if (sToken.size() < nRoom - sResult.size())
            sResult += sToken;
        i += std::max<std::size_t>(n, 1);
    }
    return sResult;
}

void CheckText(const Text& s, unsigned nRoom)
{
    const std::unique_ptr<WCHAR[]> buffer(
        new WCHAR[nRoom]); // exactly, so that a sanitizer sees a step beyond
    unsigned nLength = 0;
    const WCHAR* const sResult = ReplaceTokenW(s.c_str(), &nLength, buffer.get(), nRoom);
    Text sWhole;
    if (!s.empty() && Token(s, 0, sWhole) == s.size())
        Require(sResult != buffer.get() && TextView(sResult, nLength) == sWhole);
    else
        Require(sResult == buffer.get() && sResult[nLength] == 0 &&
                TextView(sResult, nLength) == Replaced(s, nRoom));

    WCHAR sWide[200];
    char sNarrow[600];
    const Text sError = ORVTEXT("Error: Resource string could not be loaded!");
    const bool bToken = Token(s, 0, sWhole) != 0;
    Require(LoadDBStringResW(s.c_str(), sWide, 1) == bToken);
    if (bToken)
        Require(sWide == (sWhole == ORVTEXT("!Resource does not exist!") ? sError : sWhole));
    std::string sBytes;
    for (const WCHAR c : s)
        sBytes += c < 0x80 ? static_cast<char>(c) : '?';
    Require(LoadDBStringResA(sBytes.c_str(), sNarrow, 1) == bToken);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    static const bool s_bChosen = ChooseTexts();
    if (!s_bChosen || nSize == 0)
        return 0;
    const unsigned nRoom = *pData + 1u;
    Text s(pData + 1, pData + nSize);
    s.resize(std::min(s.size(), s.find(WCHAR(0))));
    CheckText(s, nRoom);
    // More of them: every "$" is a mark, and "1" to "9" after it a token.
    Text sTokens;
    for (const WCHAR c : s)
        if (c >= '1' && c <= '9')
            sTokens += Text(ORVTEXT("##")) + c + ORVTEXT("##");
        else if (c == '$')
            sTokens += ORVTEXT("##");
        else
            sTokens += c;
    CheckText(sTokens, nRoom);
    return 0;
}
