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

    // A wide text that cannot hold U+110000 (16-bit wchar_t) has no such unit to test.
    if constexpr (sizeof(wchar_t) == 4) {
        std::wstring const invalid = {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000), L'x', wchar_t(-1)};
        EXPECT_EQ(Unicode::toUTF8(invalid), "\xEF\xBF\xBD\xEF\xBF\xBDx\xEF\xBF\xBD");
        EXPECT_EQ(Unicode::toUTF16(invalid), (std::u16string {0xFFFD, 0xFFFD, u'x', 0xFFFD}));
        EXPECT_EQ(Unicode::getUTF16Length(invalid), 4u);
    }
}

// The width of a unit decides its encoding: both widths are tested through char16_t and char32_t,
// whichever wchar_t is here.
TEST(Unicode, CodePointsOfUnitsOfEitherWidth)
{
    struct Case {
        char32_t code;
        std::u16string utf16;
    } const cases[] = {
        {U'A', u"A"},
        {0xFFFF, {0xFFFF}},
        {0x10000, {0xD800, 0xDC00}},
        {0x1F600, {0xD83D, 0xDE00}},
        {0x10FFFF, {0xDBFF, 0xDFFF}},
        {0xD800, {0xFFFD}}, // not a scalar value: appended as U+FFFD
        {0x110000, {0xFFFD}},
    };
    for (Case const& c : cases) {
        char32_t const expected = Unicode::isScalarValue(c.code) ? c.code : Unicode::Replacement;
        std::u16string utf16;
        Unicode::appendCodePoint(utf16, c.code);
        EXPECT_EQ(utf16, c.utf16) << std::hex << std::uint32_t {c.code};
        std::u32string utf32;
        Unicode::appendCodePoint(utf32, c.code);
        EXPECT_EQ(utf32, std::u32string(1, expected)) << std::hex << std::uint32_t {c.code};

        std::size_t at = 0;
        EXPECT_EQ(Unicode::nextCodePoint(std::u16string_view(utf16), at), expected);
        EXPECT_EQ(at, utf16.size());
        at = 0;
        EXPECT_EQ(Unicode::nextCodePoint(std::u32string_view(utf32), at), expected);
        EXPECT_EQ(at, 1u);

        // wchar_t is encoded as the unit of its width.
        std::wstring wide;
        Unicode::appendCodePoint(wide, c.code);
        if constexpr (sizeof(wchar_t) == 2)
            EXPECT_EQ(wide, std::wstring(c.utf16.begin(), c.utf16.end()));
        else
            EXPECT_EQ(wide, std::wstring(1, static_cast<wchar_t>(expected)));
        EXPECT_EQ(Unicode::toUTF16(wide), c.utf16);
        EXPECT_EQ(Unicode::getUTF16Length(wide), c.utf16.size());
    }

    // Units that are no code point read as one U+FFFD each and do not swallow what follows.
    struct Bad {
        std::u16string utf16;
        std::u32string utf32;
        std::u32string read;
    } const bad[] = {
        {{0xD83D, u'x'}, {0xD83D, U'x'}, {0xFFFD, U'x'}},
        {{0xDE00, 0xD83D}, {0xDE00, 0xD83D}, {0xFFFD, 0xFFFD}},
        {{u'x', 0xD83D}, {U'x', 0x110000}, {U'x', 0xFFFD}},
    };
    for (Bad const& b : bad) {
        std::u32string fromUTF16, fromUTF32;
        for (std::size_t at = 0; at < b.utf16.size();)
            fromUTF16.push_back(Unicode::nextCodePoint(std::u16string_view(b.utf16), at));
        for (std::size_t at = 0; at < b.utf32.size();)
            fromUTF32.push_back(Unicode::nextCodePoint(std::u32string_view(b.utf32), at));
        EXPECT_EQ(fromUTF16, b.read);
        EXPECT_EQ(fromUTF32, b.read);
    }
}
