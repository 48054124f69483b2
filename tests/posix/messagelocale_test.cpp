// Numbers in messages and variants follow the locale that the environment names.
#include "orvcomtypes/lqmessage.h"
#include "support/test_environment.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <oleauto.h>

TEST(Message, ShowsWholeNumbersInTheLocalesManner)
{
    const struct
    {
        const char* m_sLocale;
        const WCHAR* m_sText;
    } cases[] = {{"en_US.UTF-8", ORVTEXT("-1")},
                 {"hu_HU.UTF-8", ORVTEXT("-1\x00A0\x0032\x0033\x0034")},
                 {"de_DE.UTF-8", ORVTEXT("-1")}};
    for (const auto& c : cases)
    {
        const CVariableGuard locale("LC_ALL", c.m_sLocale);
        CLQMessage message(1);
        message.AddParam(LONG{-1234});
        EXPECT_EQ(c.m_sText, TextOf(message.Format(HINSTANCE()))) << c.m_sLocale;
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
