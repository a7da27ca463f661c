// Message: text, UTF-8 form, substitution and ordering of message constants.
#include "util/utility/text/Message.h"

#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Quarn;

TEST(Message, TextNarrowFormAndSubstitution)
{
    Message const message = L"Tool %1: \u2300%2 \U0001F600";
    EXPECT_EQ(message.getText(), L"Tool %1: \u2300%2 \U0001F600");
    EXPECT_EQ(message.getNarrow(), "Tool %1: \xE2\x8C\x80%2 \xF0\x9F\x98\x80");
    EXPECT_EQ(message.substitute({7, 6.5}), L"Tool 7: \u23006.5 \U0001F600");
    std::vector<Variant> const arguments = {"T1"};
    EXPECT_EQ(message.substitute(arguments), L"Tool T1: \u2300%2 \U0001F600");
    EXPECT_EQ(Message(std::wstring(L"a")).getText(), L"a");
}

TEST(Message, ComparesByText)
{
    Message const a = L"http://www.quarn.dev";
    EXPECT_EQ(a, Message(std::wstring(L"http://www.quarn.dev")));
    EXPECT_EQ(a, L"http://www.quarn.dev");
    EXPECT_NE(a, Message(L"http://legacy.quarn.dev"));
}

TEST(Message, NullTextIsReportedAndEmpty)
{
    TestSupport::AssertionCapture capture;
    EXPECT_EQ(Message(static_cast<wchar_t const*>(nullptr)).getText(), L"");
    ASSERT_EQ(capture.texts(), std::vector<std::string> {"EXPECTS:text != nullptr"});
}
