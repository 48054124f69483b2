#include "orvcomtypes/lqexcept.h"
#include "support/report_capture.h"
#include "support/test_strings.h"
#include "support/text.h"

#include <gtest/gtest.h>

static Text Formatted(const CLQMessage& message)
{
    return TextOf(message.Format(HINSTANCE()));
}

TEST(Message, FormatsBuiltInIds)
{
    const WCHAR* const texts[] = {ORVTEXT("The message has no valid resource string: "),
                                  ORVTEXT("a"),
                                  ORVTEXT("a b"),
                                  ORVTEXT("a b "),
                                  ORVTEXT("a|b"),
                                  ORVTEXT("a|b|")};
    CReportCapture capture;
    for (unsigned uResId = 0; uResId < std::size(texts); ++uResId)
        EXPECT_EQ(texts[uResId], Formatted(CLQMessage(uResId, 0, ORVTEXT("a"), ORVTEXT("b"))));
    EXPECT_EQ(ORVTEXT(""), Formatted(CLQMessage(1)));
    EXPECT_EQ(ORVTEXT("a||"), Formatted(CLQMessage(5, 0, ORVTEXT("a"), nullptr, ORVTEXT("c"))));
    const Text sFull(999, ORVTEXT('x')); // with its terminator as long as a text may be
    EXPECT_EQ(sFull, Formatted(CLQMessage(1, 0, sFull.c_str())));
    EXPECT_TRUE(
        Formatted(CLQMessage(1, 0, (sFull + ORVTEXT('x')).c_str())).starts_with(ORVTEXT("Internal error")));
    EXPECT_NO_REPORTS(capture);
}

TEST(Message, FormatsResources)
{
    CReportCapture capture;
    const CCurrentTestResources current;
    CLQMessage message(2000);
    message.AddParam(ORVTEXT("%1"));
    message.AddParam(12);
    EXPECT_EQ(ORVTEXT("Order %1 has 12 lines"), Formatted(message));
    EXPECT_EQ(ORVTEXT("Order %1 has 12 lines"), TextOf(message.Format(nullptr)));
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
    const CCurrentTestResources current;
    CLQMessage message;
    const auto Listed = [&] { return TextOf(message.Format(CLQMessage::ListParams())); };
    EXPECT_EQ(ORVTEXT(""), Listed());
    message.AddParam(ORVTEXT("x"));
    message.AddResIdParam(7);
    message.AddResIdParam(0);
    EXPECT_EQ(ORVTEXT(" P1: x P2: seven P3: "), Listed());
    for (int i = 0; i < 9; ++i)
        message.AddParam(LONG{i - 6});
    EXPECT_TRUE(Listed().ends_with(ORVTEXT(" P9: -1 P10: 0")));
    CReportCapture capture;
    message.AddParam(2.5);
    EXPECT_TRUE(Listed().ends_with(ORVTEXT(" P10: 0")));
    EXPECT_REPORTS(capture, {{"CLQMessage::Format", ""}});
}

TEST(Message, KeepsParametersOfAnyType)
{
    CReportCapture capture;
    CLQMessage message;
    message.AddParam(COrvStr(ORVTEXT("x")));
    message.AddParam(LONG{-7});
    message.AddParam(2.5);
    message.AddParam(COrvTime(1000), msty_OnlyTime);
    message.AddResIdParam(0);
    EXPECT_EQ(msty_ResId, message.GetParamType(4));
    EXPECT_EQ(ORVTEXT("x"), TextOf(message.GetStrParam(0)));
    EXPECT_EQ(-7, message.GetLngParam(1));
    EXPECT_EQ(2.5, message.GetDblParam(2));
    EXPECT_TRUE(COrvTime(1000) == message.GetTimeParam(3));
    EXPECT_NO_REPORTS(capture);
    // Some cannot be shown.
    EXPECT_EQ(ORVTEXT("x||"), TextOf(message.Format(ORVTEXT("%1|%3|%4"))));
    EXPECT_REPORTS(capture, {{"CLQMessage::Format", "", "", "lqmessage"}, {"CLQMessage::Format", ""}});

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

TEST(Message, KeepsIntegersOfAnyTypeAlike)
{
    enum Code : DWORD
    {
        Refused = 0x80070005u
    };
    CLQMessage message;
    message.AddParam(12);
    message.AddParam(12L);
    message.AddParam(12u);
    message.AddParam(DWORD{12});
    message.AddParam(std::size_t{12});
    message.AddParam(std::uint64_t{0xFF0000000C});
    message.AddParam(static_cast<short>(12));
    for (unsigned i = 0; i < message.GetParamCount(); ++i)
        EXPECT_EQ(12, message.GetLngParam(i)) << i;
    message.AddParam(Refused);
    message.AddParam(0);
    EXPECT_EQ(static_cast<LONG>(0x80070005u), message.GetLngParam(7));
    EXPECT_EQ(0, message.GetLngParam(8));
    message.AddParam(1.5f);
    EXPECT_EQ(msty_Double, message.GetParamType(9));
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

TEST(Messages, SerialiseBehindWhatIsThere)
{
    CLQMessages messages;
    EXPECT_THROW(messages.GetItem(0), CLQInvalidargExcept);
    EXPECT_THROW(std::as_const(messages).Last(), CLQInvalidargExcept);
    messages.Add(-5, 2, ORVTEXT("a"), ORVTEXT("b"));
    EXPECT_EQ(2u, std::as_const(messages).Last().GetParamCount());
    std::vector<CodeMessage> list{{1, COrvStr(ORVTEXT("kept"))}};
    messages.Serialize(list);
    messages.Serialize(static_cast<OCT::IWrtStream*>(nullptr));
    ASSERT_EQ(2u, list.size());
    EXPECT_EQ(1, list[0].m_iCode);
    EXPECT_EQ(-5, list[1].m_iCode);
    EXPECT_EQ(ORVTEXT("a b"), TextOf(list[1].m_sText));
}
