// Formats of messages: whatever they are, no argument is read that is not there and the text fits its buffer;
// where a format has plain inserts only, the text is what they say.
#include "fuzzing.h"
#include "orvcomtypes/lqmessage.h"

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace
{

constexpr unsigned kReferenced = 10;

/// The text of a format of plain text, "%%" and "%1" to "%99"; none for others.
std::optional<Text> Expected(const Text& sFormat, const Text* texts, unsigned nTexts)
{
    Text sText;
    for (std::size_t i = 0; i < sFormat.size(); ++i)
    {
        const WCHAR c = sFormat[i];
        if (c == ORVTEXT('\r') || c == ORVTEXT('\n') || c == ORVTEXT('!'))
            return std::nullopt;
        if (c != ORVTEXT('%'))
        {
            sText += c;
            continue;
        }
        const auto digit = [&](std::size_t n) {
            const WCHAR d = n < sFormat.size() ? sFormat[n] : WCHAR(0);
            return d >= '0' && d <= '9' ? d - '0' : -1;
        };
        if (++i < sFormat.size() && sFormat[i] == ORVTEXT('%'))
        {
            sText += ORVTEXT('%');
            continue;
        }
        int n = digit(i);
        if (n <= 0)
            return std::nullopt;
        if (digit(i + 1) >= 0)
            n = n * 10 + digit(++i);
        if (n <= static_cast<int>(nTexts) && n <= static_cast<int>(kReferenced))
            sText += texts[n - 1];
    }
    return sText;
}

void CheckFormat(unsigned nParams, const Text& sFormat)
{
    Text texts[12];
    CLQMessage message(1);
    for (unsigned i = 0; i < nParams; ++i)
    {
        texts[i] = i == 3 ? Text(400, ORVTEXT('x')) : Text(i, static_cast<WCHAR>('a' + i)) + ORVTEXT("%1");
        message.AddParam(texts[i].c_str());
    }
    const COrvStr sResult = message.Format(sFormat.c_str());
    const TextView result(sResult);
    const TextView failure = ORVTEXT("Internal error, invalid resource parameters.  (");
    if (result.substr(0, failure.size()) != failure)
        Require(result.size() < 1000);
    const auto expected = Expected(sFormat.c_str(), texts, nParams);
    if (expected && expected->size() < 990)
        Require(*expected == result);
    const COrvStr sListed = message.Format(CLQMessage::ListParams());
    Require((nParams == 0) == sListed.IsEmpty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    if (nSize == 0)
        return 0;
    const unsigned nParams = *pData++ % 13;
    --nSize;
    CheckFormat(nParams, Text(pData, pData + nSize));
    Text sWide(nSize / sizeof(WCHAR), 0);
    if (!sWide.empty())
        std::memcpy(sWide.data(), pData, sWide.size() * sizeof(WCHAR));
    CheckFormat(nParams, sWide);
    return 0;
}
