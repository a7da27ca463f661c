// Unicode: UTF-8 and UTF-16 round trips, surrogate pairs, and U+FFFD for malformed input.
#include "util/utility/text/Unicode.h"

#include <gtest/gtest.h>

using namespace Quarn;

TEST(Unicode, RoundTripsThroughUTF8AndUTF16)
{
    struct Case {
        std::wstring text;
        std::string utf8;
        std::u16string utf16;
    } const cases[] = {
        {L"", "", u""},
        {L"G1 X0", "G1 X0", u"G1 X0"},
        {L"\u00E9", "\xC3\xA9", {0x00E9}},
        {L"\u20AC", "\xE2\x82\xAC", {0x20AC}},
        {L"\uFFFF", "\xEF\xBF\xBF", {0xFFFF}},
        {L"\U0001F600", "\xF0\x9F\x98\x80", {0xD83D, 0xDE00}},
        {L"\U0010FFFF", "\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}},
        {L"a\U0001F600!", "a\xF0\x9F\x98\x80!", {u'a', 0xD83D, 0xDE00, u'!'}},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(Unicode::toUTF8(c.text), c.utf8);
        EXPECT_EQ(Unicode::fromUTF8(c.utf8), c.text);
        EXPECT_EQ(Unicode::toUTF16(c.text), c.utf16);
        EXPECT_EQ(Unicode::fromUTF16(c.utf16), c.text);
        EXPECT_EQ(Unicode::getUTF16Length(c.text), c.utf16.size());
    }
}

TEST(Unicode, MalformedUTF8BecomesOneReplacementPerBadPrefix)
{
    struct Case {
        std::string utf8;
        std::wstring text;
    } const cases[] = {
        {"\x80", L"\uFFFD"},
        {"a\xFF!", L"a\uFFFD!"},
        {"\xC0\xAF", L"\uFFFD\uFFFD"}, // overlong '/': C0 never starts a character
        {"\xE0\x80\xAF", L"\uFFFD\uFFFD\uFFFD"}, // overlong: E0 needs A0..BF next
        {"\xF0\x80\x80\xAF", L"\uFFFD\uFFFD\uFFFD\uFFFD"}, // overlong four-byte form
        {"\xED\xA0\x80", L"\uFFFD\uFFFD\uFFFD"}, // encoded surrogate D800
        {"\xF4\x90\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD"}, // above U+10FFFF
        {"\xF5\x80", L"\uFFFD\uFFFD"},
        {"\xE2\x82", L"\uFFFD"}, // cut at the end
        {"\xF0\x9F\x98", L"\uFFFD"},
        {"\xE2\x82!", L"\uFFFD!"}, // cut inside the text
        {"\xC3\xA9\xA9", L"\u00E9\uFFFD"},
        {"\xF0\x9F\x98\x80\x80", L"\U0001F600\uFFFD"},
    };
    for (auto const& c : cases)
        EXPECT_EQ(Unicode::fromUTF8(c.utf8), c.text) << testing::PrintToString(c.utf8);
}

TEST(Unicode, UnpairedSurrogatesAndInvalidCodePointsBecomeReplacements)
{
    struct Case {
        std::u16string utf16;
        std::wstring text;
    } const cases[] = {
        {{0xD83D}, L"\uFFFD"},
        {{0xDE00}, L"\uFFFD"},
        {{0xD83D, u'A'}, L"\uFFFDA"},
        {{0xDE00, 0xD83D}, L"\uFFFD\uFFFD"},
        {{0xD83D, 0xD83D, 0xDE00}, L"\uFFFD\U0001F600"},
    };
    for (auto const& c : cases)
        EXPECT_EQ(Unicode::fromUTF16(c.utf16), c.text);

    std::wstring const invalid = {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000), L'x'};
    EXPECT_EQ(Unicode::toUTF8(invalid), "\xEF\xBF\xBD\xEF\xBF\xBDx");
    EXPECT_EQ(Unicode::toUTF16(invalid), (std::u16string {0xFFFD, 0xFFFD, u'x'}));
    EXPECT_EQ(Unicode::getUTF16Length(invalid), 3u);
}
