// The environment names the languages that a user prefers.
#include "orvcomtypes/resourcehandler.h"
#include "support/test_environment.h"
#include "support/text.h"

#include <gtest/gtest.h>

TEST(UILanguage, FollowsTheEnvironment)
{
    const struct
    {
        const char* m_sListed;
        const char* m_sAll;
        const char* m_sMessages;
        const WCHAR* m_sGiven;
    } cases[] = {
        {nullptr, nullptr, "hu_HU.UTF-8", ORVTEXT("hu")}, {nullptr, "ja_JP.eucJP", "hu_HU", ORVTEXT("ja")},
        {"fr::ja:hu", nullptr, "hu_HU", ORVTEXT("ja")},   {"fr", nullptr, "hu_HU@euro", ORVTEXT("hu")},
        {"hu", "C.UTF-8", nullptr, ORVTEXT("en")},        {nullptr, "", "", ORVTEXT("en")},
        {nullptr, nullptr, "fr_FR", ORVTEXT("en")}};
    const CVariableGuard noLang("LANG", nullptr);
    for (const auto& c : cases)
    {
        const CVariableGuard listed("LANGUAGE", c.m_sListed), all("LC_ALL", c.m_sAll),
            messages("LC_MESSAGES", c.m_sMessages);
        CResourceHandler::SetLanguage(nullptr);
        EXPECT_EQ(c.m_sGiven, TextOf(CResourceHandler::GetLanguage()));
    }
}
