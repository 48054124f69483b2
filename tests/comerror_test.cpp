#include "orvcomtypes/lqexcept.h"
#include "support/fake_errors.h"
#include "support/text.h"

#include <gtest/gtest.h>

static Text Message(IUnknown* pError)
{
    return TextOf(GetComErrorString(E_FAIL, pError).m_sMessage);
}

TEST(ComErrorText, JoinsTheDistinctDescriptionsOfRecords)
{
    CFakeError lower(ORVTEXT("x"));
    CFakeError upper(ORVTEXT("X"));
    CFakeError other(ORVTEXT("y"));
    CFakeError none(nullptr);
    CFakeRecords records({&lower, &upper, &other, &none});
    const LQComErrorData data = GetComErrorString(E_FAIL, &records);
    EXPECT_EQ(E_FAIL, data.m_iCode);
    EXPECT_EQ(ORVTEXT("x - y - server text"), TextOf(data.m_sMessage));
    EXPECT_EQ(ORVTEXT("23000"), TextOf(data.m_sSQLState));
    EXPECT_EQ(547, data.m_iNativeCode);
}

TEST(ComErrorText, EndsTheWalkAtAFailingCall)
{
    const struct
    {
        CFakeError::EFails m_fails;
        const WCHAR* m_sDescription;
        const WCHAR* m_sMessage;
    } cases[] = {{CFakeError::Nothing, ORVTEXT("own"), ORVTEXT("first - own - last")},
                 {CFakeError::Nothing, nullptr, ORVTEXT("first - server text - last")},
                 {CFakeError::Description, ORVTEXT("own"), ORVTEXT("first")},
                 {CFakeError::SQLInfo, ORVTEXT("own"), ORVTEXT("first - own")},
                 {CFakeError::ServerInfo, ORVTEXT("own"), ORVTEXT("first - own - last")},
                 {CFakeError::ServerInfo, nullptr, ORVTEXT("first")}};
    for (const auto& c : cases)
    {
        CFakeError first(ORVTEXT("first")), failing(c.m_sDescription, c.m_fails), last(ORVTEXT("last"));
        CFakeRecords records({&first, &failing, &last});
        EXPECT_EQ(c.m_sMessage, Message(&records)) << c.m_fails;
    }
}

TEST(ComErrorText, HasADescriptionForNothing)
{
    const Text sNothing = ORVTEXT("There is no additional COM error info");
    CFakeRecords empty({});
    CFakeError silent(nullptr);
    EXPECT_EQ(sNothing, Message(&empty));
    EXPECT_EQ(sNothing, Message(static_cast<IErrorInfo*>(&silent)));
    EXPECT_EQ(sNothing, Message(nullptr));
}

TEST(ComErrorText, TakesTheThreadsObject)
{
    CFakeError info(ORVTEXT("of the thread"));
    ASSERT_EQ(S_OK, SetErrorInfo(0, &info));
    EXPECT_EQ(ORVTEXT("of the thread"), TextOf(GetComErrorString(E_FAIL, true).m_sMessage));
    EXPECT_EQ(ORVTEXT("of the thread"), TextOf(GetComErrorString(E_FAIL, false).m_sMessage));
    const LQComErrorData data = GetComErrorString(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), false);
    EXPECT_EQ(TextOf(GetWinErrorString(ERROR_ACCESS_DENIED)), TextOf(data.m_sMessage));
    EXPECT_EQ(0, data.m_iNativeCode);
}

TEST(ComErrorText, PutsTheObjectBackWhenItThrows)
{
    CFakeError info(nullptr, CFakeError::Everything);
    ASSERT_EQ(S_OK, SetErrorInfo(0, &info));
    EXPECT_THROW(GetComErrorString(E_FAIL, true), CFakeError::EFails);
    EXPECT_THROW(GetComErrorString(E_FAIL, false), CFakeError::EFails) << "it was there again";
    EXPECT_TRUE(TextOf(GetComErrorString(E_FAIL, false).m_sMessage).ends_with(ORVTEXT('.')));
}
