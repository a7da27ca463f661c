// JSON: string literals of wide and UTF-8 text, with exactly the escapes JSON needs.
#include "util/utility/text/JSON.h"

#include <gtest/gtest.h>

using namespace Quarn;

TEST(JSON, StringifyEscapesOnlyWhatJSONRequires)
{
    struct Case {
        std::wstring text;
        std::wstring expected;
    } const cases[] = {
        {L"", LR"("")"},
        {L"plain text", LR"("plain text")"},
        {L"say \"hi\"", LR"("say \"hi\"")"},
        {L"C:\\nc\\part", LR"("C:\\nc\\part")"},
        {L"\b\f\n\r\t", LR"("\b\f\n\r\t")"},
        {std::wstring(L"\0\x01\x1B\x1F", 4), LR"("\u0000\u0001\u001b\u001f")"},
        {L" /\x7F", L"\" /\x7F\""},
        {L"\u00E9\u2300\U0001F600", L"\"\u00E9\u2300\U0001F600\""},
    };
    for (auto const& c : cases)
        EXPECT_EQ(JSON::stringify(c.text), c.expected);
}

TEST(JSON, StringifyDecodesUTF8First)
{
    EXPECT_EQ(JSON::stringify(std::string_view("\xC3\xA9\t\"\xF0\x9F\x98\x80")), L"\"\u00E9\\t\\\"\U0001F600\"");
    EXPECT_EQ(JSON::stringify(std::string_view("a\xFF")), L"\"a\uFFFD\"");
}
