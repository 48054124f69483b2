// The environment names the languages and the locale that a user prefers.
#include "orvcomtypes/lqmessage.h"
#include "orvcomtypes/resourcehandler.h"
#include "support/test_environment.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <oleauto.h>

#include <tuple>
#include <utility>

TEST(UILanguage, FollowsTheEnvironment)
{
    const std::tuple<const char*, const char*, const char*, const WCHAR*> cases[] = {
        {nullptr, nullptr, "hu_HU.UTF-8", ORVTEXT("hu")}, {nullptr, "ja_JP.eucJP", "hu_HU", ORVTEXT("ja")},
        {"fr::ja:hu", nullptr, "hu_HU", ORVTEXT("ja")},   {"fr", nullptr, "hu_HU@euro", ORVTEXT("hu")},
        {"hu", "C.UTF-8", nullptr, ORVTEXT("en")},        {nullptr, "", "", ORVTEXT("en")},
        {nullptr, nullptr, "fr_FR", ORVTEXT("en")}};
    const CVariableGuard noLang("LANG", nullptr);
    for (const auto& [sListed, sAll, sMessages, sGiven] : cases)
    {
        const CVariableGuard listed("LANGUAGE", sListed), all("LC_ALL", sAll),
            messages("LC_MESSAGES", sMessages);
        CResourceHandler::SetLanguage(nullptr);
        EXPECT_EQ(sGiven, TextOf(CResourceHandler::GetLanguage()));
    }
}

TEST(Message, ShowsWholeNumbersInTheLocalesManner)
{
    for (const auto& [sLocale, sText] : {std::pair("en_US.UTF-8", ORVTEXT("-1")),
                                         {"hu_HU.UTF-8", ORVTEXT("-1\x00A0\x0032\x0033\x0034")},
                                         {"de_DE.UTF-8", ORVTEXT("-1")}})
    {
        const CVariableGuard locale("LC_ALL", sLocale);
        CLQMessage message(1);
        message.AddParam(LONG{-1234});
        EXPECT_EQ(sText, TextOf(message.Format(HINSTANCE()))) << sLocale;
    }
}

TEST(Variant, HasTheLocalesDecimalSeparator)
{
    const CVariableGuard locale("LC_ALL", "hu_HU.UTF-8");
    VARIANT var = {};
    var.vt = VT_R8;
    var.dblVal = -1234.5;
    ASSERT_EQ(S_OK, VariantChangeType(&var, &var, 0, VT_BSTR));
    EXPECT_EQ(ORVTEXT("-1234,5"), TextOf(var.bstrVal));
    VariantClear(&var);
}
