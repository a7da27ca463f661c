// Variant: kinds chosen by the constructors, borrowed texts, the text of every kind in wide
// characters and in UTF-8, and "%n" substitution.
#include "util/utility/text/Variant.h"

#include "tests/support/AssertionCapture.h"
#include "util/utility/text/Unicode.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using namespace Quarn;

// A char would print as a number, and a pointer must not turn into a bool.
static_assert(!std::is_constructible_v<Variant, char>);
static_assert(!std::is_constructible_v<Variant, wchar_t>);
static_assert(!std::is_constructible_v<Variant, std::nullptr_t>);

TEST(Variant, ConstructorsChooseTheKind)
{
    using Type = Variant::Type;
    std::string const narrow = "n";
    struct Case {
        Variant value;
        Type type;
    } const cases[] = {
        {Variant(-1), Type::Integer},
        {Variant(1u), Type::Integer},
        {Variant(static_cast<unsigned char>(200)), Type::Integer},
        {Variant(-7L), Type::Integer},
        {Variant(7UL), Type::Integer},
        {Variant(static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())), Type::Integer},
        {Variant(static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) + 1), Type::Unsigned},
        {Variant(true), Type::Bool},
        {Variant(0.5), Type::Double},
        {Variant("text"), Type::String},
        {Variant(narrow), Type::String},
        {Variant(std::string_view("view")), Type::String},
        {Variant(L"text"), Type::WString},
        {Variant::borrow("text"), Type::String},
        {Variant::borrow(narrow), Type::String},
        {Variant::borrow(L"text"), Type::WString},
        {Variant(Vector3D(1, 2, 3)), Type::Vector3D},
        {Variant(Matrix3x3()), Type::Matrix3x3},
    };
    for (auto const& c : cases)
        EXPECT_EQ(c.value.getType(), c.type) << c.value.getAsString();
}

TEST(Variant, TextOfEveryKind)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double inf = std::numeric_limits<double>::infinity();
    struct Case {
        Variant value;
        std::wstring text;
    } const cases[] = {
        {Variant(0), L"0"},
        {Variant(-42), L"-42"},
        {Variant(std::numeric_limits<std::int64_t>::min()), L"-9223372036854775808"},
        {Variant(std::numeric_limits<std::uint64_t>::max()), L"18446744073709551615"},
        {Variant(true), L"true"},
        {Variant(false), L"false"},
        {Variant(0.1), L"0.1"},
        {Variant(1e-9), L"1e-09"},
        {Variant(-0.0), L"-0"},
        {Variant(2.0), L"2"},
        {Variant(0.1f), L"0.10000000149011612"},
        {Variant(nan), L"nan"},
        {Variant(inf), L"inf"},
        {Variant(-inf), L"-inf"},
        {Variant("Fr\xC3\xA4se \xE2\x8C\x80 6 \xF0\x9F\x98\x80"), L"Fr\u00E4se \u2300 6 \U0001F600"},
        {Variant("bad \xFF byte"), L"bad \uFFFD byte"},
        {Variant::borrow("cut \xE2\x8C"), L"cut \uFFFD"},
        {Variant(L"wide \U0001F600"), L"wide \U0001F600"},
        {Variant::borrow(L"lone \xD800 half"), L"lone \xD800 half"},
        {Variant(Vector3D(1, -0.5, 1e21)), L"(1, -0.5, 1e+21)"},
        {Variant(Matrix3x3()), L"[(1, 0, 0), (0, 1, 0), (0, 0, 1)]"},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(c.value.getAsString(), c.text);
        // The UTF-8 text is the same text encoded; what cannot be encoded becomes U+FFFD.
        std::string utf8 = "+";
        c.value.appendAsUTF8(utf8);
        EXPECT_EQ(utf8, "+" + Unicode::toUTF8(c.text)) << c.value.getAsString();
    }

    // Vectors and matrices are written in place; their text must stay that of their own classes.
    Vector3D const vectors[] = {{0.1, -0.0, 3e-300}, Vector3D::getNaN(), {inf, -inf, 12345.678}};
    for (auto const& v : vectors)
        EXPECT_EQ(Variant(v).getAsString(), v.getAsString());
    Matrix3x3 const matrix(vectors[0], vectors[1], vectors[2]);
    EXPECT_EQ(Variant(matrix).getAsString(), matrix.getAsString());
}

TEST(Variant, UTF8OfTextsWithOtherCharactersAnywhere)
{
    // Mostly-ASCII text is narrowed several characters at a time: put one other character at
    // every place of a run, and at the place after it.
    for (wchar_t const* other : {L"\u00E9", L"\u2300", L"\U0001F600"}) {
        for (std::size_t at = 0; at <= 9; ++at) {
            std::wstring text(9, L'a');
            text.insert(at, other);
            std::string utf8;
            Variant::borrow(text).appendAsUTF8(utf8);
            EXPECT_EQ(utf8, Unicode::toUTF8(text)) << at;
            std::string narrow = Unicode::toUTF8(text);
            utf8.clear();
            Variant::borrow(narrow).appendAsUTF8(utf8);
            EXPECT_EQ(utf8, narrow) << at;
        }
    }
}

TEST(Variant, GettersAndEquality)
{
    EXPECT_EQ(Variant(-5L).getInteger(), -5);
    EXPECT_EQ(Variant(5u).getUnsigned(), 5u);
    EXPECT_EQ(
        Variant(std::numeric_limits<std::uint64_t>::max()).getUnsigned(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(Variant("abc").getString(), "abc");
    EXPECT_EQ(Variant(Matrix3x3::getZero()).getMatrix3x3(), Matrix3x3::getZero());

    EXPECT_EQ(Variant(5u), Variant(5));
    EXPECT_NE(Variant(1), Variant(true));
    EXPECT_NE(Variant(1), Variant(1.0));
    EXPECT_NE(Variant("a"), Variant(L"a"));

    // A borrowed text is the text itself, and equal to a copy of it.
    std::string const text = "borrowed";
    EXPECT_EQ(Variant::borrow(text).getString().data(), text.data());
    EXPECT_EQ(Variant::borrow(text), Variant(text));
    EXPECT_EQ(Variant(L"w"), Variant::borrow(L"w"));
    EXPECT_NE(Variant::borrow("a"), Variant::borrow(L"a"));
    EXPECT_NE(Variant::borrow("a"), Variant::borrow("b"));
}

TEST(Variant, WrongKindAndNullTextAreReportedAndYieldEmptyValues)
{
    TestSupport::AssertionCapture capture;
    EXPECT_EQ(Variant("12").getInteger(), 0);
    EXPECT_EQ(Variant(-1).getUnsigned(), 0u);
    EXPECT_EQ(Variant(1).getString(), "");
    EXPECT_EQ(Variant(static_cast<char const*>(nullptr)).getString(), "");
    EXPECT_EQ(Variant(static_cast<wchar_t const*>(nullptr)).getWString(), L"");
    EXPECT_EQ(Variant::borrow(static_cast<char const*>(nullptr)).getString(), "");
    EXPECT_EQ(Variant::borrow(static_cast<wchar_t const*>(nullptr)).getWString(), L"");
    ASSERT_EQ(capture.reports().size(), 7u);
    EXPECT_EQ(capture.reports()[0].text, "EXPECTS:getType() == Type::Integer");
    EXPECT_EQ(capture.reports()[0].file, "util/utility/text/Variant");
    EXPECT_EQ(capture.reports()[3].text, "EXPECTS:text != nullptr");
}

TEST(Variant, Substitution)
{
    std::vector<Variant> const arguments = {"A", 2, L"%2", 4, 5, 6, 7, 8, 9};
    struct Case {
        std::wstring_view text;
        std::size_t argumentCount;
        std::wstring expected;
    } const cases[] = {
        {L"", 9, L""},
        {L"no placeholders", 9, L"no placeholders"},
        {L"%1 and %2", 9, L"A and 2"},
        {L"%9%8%7%6%5%4%2%1", 9, L"9876542A"},
        {L"%1%1", 9, L"AA"},
        {L"%0", 9, L"%0"},
        {L"%10", 9, L"A0"},
        {L"%3 is not scanned again", 9, L"%2 is not scanned again"},
        {L"%1 %2 %3", 2, L"A 2 %3"},
        {L"%1", 0, L"%1"},
        {L"%%", 9, L"%%"},
        {L"%%1", 9, L"%A"},
        {L"%x %", 9, L"%x %"},
        {L"100%", 9, L"100%"},
        {L"%", 9, L"%"},
        {L"%1%", 9, L"A%"},
    };
    for (auto const& c : cases) {
        std::span<Variant const> given(arguments.data(), c.argumentCount);
        EXPECT_EQ(Variant::getSubstitution(c.text, given), c.expected) << std::wstring(c.text);
        std::string utf8 = "+";
        Variant::appendSubstitutionAsUTF8(utf8, c.text, given);
        EXPECT_EQ(utf8, "+" + Unicode::toUTF8(c.expected)) << std::wstring(c.text);
    }

    EXPECT_EQ(Variant::getSubstitution(L"x=%1 ok=%2", {Vector3D(1, 2, 3), true}), L"x=(1, 2, 3) ok=true");
    EXPECT_EQ(Variant::getSubstitution(L"%1", {}), L"%1");

    std::wstring line = L"log: ";
    Variant::appendSubstitution(line, L"%1 at %2", arguments);
    EXPECT_EQ(line, L"log: A at 2");

    std::string utf8;
    std::vector<Variant> const texts = {Variant::borrow("Fr\xC3\xA4se"), Variant::borrow(L"\u00D8 6")};
    Variant::appendSubstitutionAsUTF8(utf8, L"Werkzeug \u2300 %1: %2 \U0001F600", texts);
    EXPECT_EQ(utf8, "Werkzeug \xE2\x8C\x80 Fr\xC3\xA4se: \xC3\x98 6 \xF0\x9F\x98\x80");
}
