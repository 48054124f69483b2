#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/resourcehandler.h"
#include "support/report_capture.h"
#include "support/test_strings.h"
#include "support/text.h"

#include <gtest/gtest.h>

namespace
{

/// The test's strings as the library of the current language.
class CCurrentLanguage
{
public:
    CCurrentLanguage() { CResourceHandler::SetHandle(m_resources); }
    CCurrentLanguage(const CCurrentLanguage&) = delete;
    CCurrentLanguage& operator=(const CCurrentLanguage&) = delete;
    ~CCurrentLanguage() { CResourceHandler::SetHandle(nullptr); }

private:
    CTestResources m_resources;
};

Text Formatted(const CLQMessage& message)
{
    return TextOf(message.Format(HINSTANCE()));
}

Text Listed(const CLQMessage& message)
{
    return TextOf(message.Format(CLQMessage::ListParams()));
}

} // namespace

TEST(Message, FormatsBuiltInIds)
{
    CReportCapture capture;
    const struct
    {
        unsigned m_uResId;
        const WCHAR* m_sText;
    } cases[] = {{0, ORVTEXT("The message has no valid resource string: ")},
                 {1, ORVTEXT("a")},
                 {2, ORVTEXT("a b")},
                 {3, ORVTEXT("a b ")},
                 {4, ORVTEXT("a|b")},
                 {5, ORVTEXT("a|b|")}};
    for (const auto& c : cases)
        EXPECT_EQ(c.m_sText, Formatted(CLQMessage(c.m_uResId, 0, ORVTEXT("a"), ORVTEXT("b"))));
    EXPECT_EQ(ORVTEXT(""), Formatted(CLQMessage(1)));
    EXPECT_NO_REPORTS(capture);
}

TEST(Message, TakesConstructorTextsUpToTheFirstNull)
{
    const CLQMessage message(5, 77, ORVTEXT("a"), nullptr, ORVTEXT("c"));
    EXPECT_EQ(1u, message.GetParamCount());
    EXPECT_EQ(77, message.GetCode());
    EXPECT_EQ(5u, message.GetResId());
}

TEST(Message, FormatsResources)
{
    CReportCapture capture;
    const CCurrentLanguage language;
    CLQMessage message(2000);
    message.AddParam(ORVTEXT("%1"));
    message.AddParam(LONG{12});
    EXPECT_EQ(ORVTEXT("Order %1 has 12 lines"), Formatted(message));
    EXPECT_EQ(ORVTEXT(""), Formatted(CLQMessage(2002)));
    EXPECT_EQ(ORVTEXT(" and "), Formatted(CLQMessage(2003)));
    EXPECT_EQ(ORVTEXT("Internal error, invalid resource parameters.  (87|broken %1!d)"),
              Formatted(CLQMessage(2001)));
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(ORVTEXT("Internal error, invalid resource parameters. 2999"), Formatted(CLQMessage(2999)));
    EXPECT_REPORTS(capture, {{"CLQMessage::Format", "sFormat.IsEmpty()", "2999", "lqmessage"}});
}

TEST(Message, ReadsNoArgumentThatIsNotThere)
{
    CReportCapture capture;
    const CLQMessage message(0, 0, ORVTEXT("a"));
    EXPECT_EQ(ORVTEXT("a||"), TextOf(message.Format(ORVTEXT("%1|%2|%99"))));
    // Stars take texts for numbers, which are far too large.
    EXPECT_TRUE(TextOf(message.Format(ORVTEXT("%99!*.*s!"))).starts_with(ORVTEXT("Internal error")));
    EXPECT_EQ(ORVTEXT(""), TextOf(message.Format(static_cast<const WCHAR*>(nullptr))));
    EXPECT_NO_REPORTS(capture);
}

TEST(Message, ListsParameters)
{
    const CCurrentLanguage language;
    CLQMessage message;
    EXPECT_EQ(ORVTEXT(""), Listed(message));
    message.AddParam(ORVTEXT("x"));
    message.AddResIdParam(7);
    message.AddResIdParam(0);
    EXPECT_EQ(ORVTEXT(" P1: x P2: seven P3: "), Listed(message));
    for (int i = 0; i < 9; ++i)
        message.AddParam(LONG{-3});
    EXPECT_TRUE(Listed(message).ends_with(ORVTEXT(" P9: -3 P10: -3")));
}

TEST(Message, LosesTheTextOfParametersItCannotShow)
{
    CReportCapture capture;
    CLQMessage message(4);
    message.AddParam(1.5);
    message.AddParam(COrvTime(), msty_OnlyDate);
    EXPECT_EQ(ORVTEXT("|"), Formatted(message));
    EXPECT_REPORTS(capture, {{"CLQMessage::Format", "", "", "lqmessage"}, {"CLQMessage::Format", ""}});
}

TEST(Message, GivesBackWhatWasAdded)
{
    CReportCapture capture;
    CLQMessage message;
    message.AddParam(COrvStr(ORVTEXT("x")));
    message.AddParam(LONG{-7});
    message.AddParam(2.5);
    message.AddParam(COrvTime(1000), msty_OnlyTime);
    message.AddResIdParam(12);
    EXPECT_EQ(msty_ResId, message.GetParamType(4));
    EXPECT_EQ(ORVTEXT("x"), TextOf(message.GetStrParam(0)));
    EXPECT_EQ(-7, message.GetLngParam(1));
    EXPECT_EQ(2.5, message.GetDblParam(2));
    EXPECT_TRUE(COrvTime(1000) == message.GetTimeParam(3));
    EXPECT_NO_REPORTS(capture);

    message.GetStrParam(1);
    message.GetLngParam(2);
    message.GetDblParam(3);
    message.GetTimeParam(0);
    EXPECT_REPORTS(capture, {{"CLQMessage::GetStrParam", "param.paramType == msty_String", "", "lqmessage"},
                             {"CLQMessage::GetLngParam", "param.paramType == msty_Long"},
                             {"CLQMessage::GetDblParam", "param.paramType == msty_Double"},
                             {"CLQMessage::GetTimeParam",
                              "param.paramType == msty_FullTime || param.paramType == msty_OnlyDate || "
                              "param.paramType == msty_OnlyTime"}});
    EXPECT_THROW(message.GetStrParam(5), CLQInvalidargExcept);
    EXPECT_THROW(CLQMessage().GetParamType(0), CLQInvalidargExcept);
}

TEST(Messages, CopyDeeply)
{
    CLQMessages messages;
    EXPECT_TRUE(messages.IsEmpty());
    EXPECT_EQ(ORVTEXT(""), TextOf(messages.Format(nullptr)));
    messages.Add(5, 1, ORVTEXT("first"));
    CLQMessages copy = messages;
    copy.Last().AddParam(ORVTEXT("more"));
    copy.Add(copy);
    copy.Add(CLQMessage(1, 6, ORVTEXT("second")));
    EXPECT_EQ(3u, copy.GetCount());
    EXPECT_EQ(ORVTEXT("first\r\nfirst\r\nsecond"), TextOf(copy.Format(nullptr)));
    EXPECT_EQ(1u, messages.GetItem(0).GetParamCount());
    copy = messages;
    copy = *&copy;
    EXPECT_EQ(ORVTEXT("first"), TextOf(copy.Format(nullptr)));
}

TEST(Messages, ThrowForMissingItems)
{
    CLQMessages messages;
    EXPECT_THROW(messages.GetItem(0), CLQInvalidargExcept);
    EXPECT_THROW(std::as_const(messages).Last(), CLQInvalidargExcept);
}

TEST(Messages, SerialiseBehindWhatIsThere)
{
    CLQMessages messages;
    messages.Add(-5, 2, ORVTEXT("a"), ORVTEXT("b"));
    std::vector<CodeMessage> list{{1, COrvStr(ORVTEXT("kept"))}};
    messages.Serialize(list);
    messages.Serialize(static_cast<OCT::IWrtStream*>(nullptr));
    ASSERT_EQ(2u, list.size());
    EXPECT_EQ(1, list[0].m_iCode);
    EXPECT_EQ(-5, list[1].m_iCode);
    EXPECT_EQ(ORVTEXT("a b"), TextOf(list[1].m_sText));
}
