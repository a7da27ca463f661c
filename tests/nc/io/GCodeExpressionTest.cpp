// GCodeExpression and GCodeParameters: values and errors as LinuxCNC's rs274 gives them,
// precedence, signs, functions, parameters and their scopes, read-only system values, positions
// after a value, and hostile text.
#include "nc/nc/io/GCodeExpression.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

using namespace Quarn;

namespace {

// The parameters of the rs274 runs the tables below come from: each expression was run as
// "#2=3 #3=7 #4=1.00005 #5=0.99995 #1=EXPRESSION (DEBUG, #1) M2" through `rs274 -g`.
class GCodeExpressionTest : public ::testing::Test {
protected:
    GCodeExpressionTest()
    {
        parameters.set(2, 3);
        parameters.set(3, 7);
        parameters.set(4, 1.00005);
        parameters.set(5, 0.99995);
    }

    // The whole text as one value.
    double value(std::string_view text)
    {
        std::size_t position = 0;
        double const result = expression.readRealValue(text, position);
        EXPECT_EQ(position, text.size()) << text;
        return result;
    }

    std::string error(std::string_view text, std::size_t position = 0)
    {
        try {
            expression.readRealValue(text, position);
        } catch (GCodeError const& e) {
            return e.getMessage();
        }
        return "no error";
    }

    GCodeParameters parameters;
    GCodeExpression expression {parameters};
};

struct Computed {
    char const* text;
    double value;
};

// What rs274 printed (to six decimals) for each expression.
Computed const RS274Values[] = {
    // Precedence and left-to-right within a group; "**" too is left-associative.
    {"[1+2*3]", 7}, {"[2*3+1]", 7}, {"[2**3*2]", 16}, {"[2*3**2]", 18}, {"[2**3**2]", 64}, {"[8/2/2]", 2},
    {"[8-2-2]", 4}, {"[8/2*4]", 16}, {"[7mod4*2]", 6}, {"[2*7mod4]", 2}, {"[1+2eq3]", 1}, {"[3eq1+2]", 1},
    {"[1eq1and2]", 1}, {"[1or0and0]", 0}, {"[0and0or1]", 1}, {"[1xor1or1]", 1}, {"[2gt1gt0]", 1},
    {"[2.0/3*1.5-5.5/11.0]", 0.5}, {"[1+acos[0]-[#3**[4.0/2]]]", 42}, {"[1-2*3**2/4+5mod3]", -1.5},
    // Signs bind tighter than any operator.
    {"[-2**2]", 4}, {"[2*-3]", -6}, {"[-#3]", -7}, {"[--1]", 1}, {"[-+1]", -1}, {"[+-1]", -1}, {"[---1]", -1},
    {"[1--1]", 2}, {"[1---1]", 0}, {"[-[1+2]]", -3}, {"[-sin[90]]", -1}, {"[-#3**2]", 49}, {"[2**-1]", 0.5},
    {"[[-2]**3]", -8}, {"[1**+2]", 1}, {"[-atan[1]/[1]]", -45}, {"-#3", -7},
    // eq and ne within 1e-4, the others exact.
    {"[1eq1.00009]", 1}, {"[1eq1.0001]", 1}, {"[1eq1.00011]", 0}, {"[1ne1.00009]", 0}, {"[1ne1.00011]", 1},
    {"[1gt0.99999]", 1}, {"[1ge1.00001]", 0}, {"[1lt1.00001]", 1}, {"[1le0.99999]", 0}, {"[1gt1.00001]", 0},
    {"[1.00001ge1]", 1}, {"[1/3*3eq1]", 1}, {"[2and0]", 0}, {"[0.5or0]", 1}, {"[1xor1]", 0}, {"[3xor0]", 1},
    {"[0xor0]", 0},
    // mod is never negative.
    {"[-7mod3]", 2}, {"[7mod-3]", 1}, {"[-7mod-3]", 2}, {"[7mod3]", 1}, {"[7.5mod2]", 1.5}, {"[-7.5mod2]", 0.5},
    {"[6mod3]", 0},
    // round: halves away from zero; fix down, fup up.
    {"[round[2.5]]", 3}, {"[round[-2.5]]", -3}, {"[round[-2.4]]", -2}, {"[round[2.4999]]", 2},
    {"[round[-0.5]]", -1}, {"[round[0.49999999999999994]]", 1}, {"[fix[-2.8]]", -3}, {"[fup[-2.8]]", -2},
    {"[fix[2.8]]", 2}, {"[fup[2.8]]", 3}, {"[fix[-2]]", -2}, {"[fup[2.0000001]]", 3},
    // Functions, angles in degrees.
    {"[abs[-3]]", 3}, {"[sin[30]]", 0.5}, {"[cos[60]]", 0.5}, {"[tan[45]]", 1}, {"[asin[0.5]]", 30},
    {"[acos[0.5]]", 60}, {"[acos[-1]]", 180}, {"[asin[1]]", 90}, {"[atan[1]/[-1]]", 135},
    {"[atan[-1]/[-1]]", -135}, {"[atan[0]/[0]]", 0}, {"[atan[1]/[0]*2]", 180}, {"[exp[1]]", 2.718282},
    {"[ln[10]]", 2.302585}, {"[sqrt[2]]", 1.414214}, {"[sqrt[0]]", 0}, {"[abs[-2]/[1]]", 2}, {"sin[30]", 0.5},
    {"exp[0]", 1},
    // exists: names, and numbers in range.
    {"[exists[#<nope>]]", 0}, {"[exists[#<_nope>]]", 0}, {"[exists[#1]]", 1}, {"[exists[#5601]]", 1},
    {"[exists[#5602]]", 0}, {"[exists[#[1+1]]]", 1}, {"[-exists[#<nope>]]", 0},
    // Numbers.
    {"[1.]", 1}, {"[.5]", 0.5}, {"[-.5]", -0.5}, {"[+.5]", 0.5}, {"[007.500]", 7.5}, {"[10**-400]", 0},
    // Parameters: "#" binds tighter than operators; indices within 1e-4 of an integer.
    {"[#[1+2]]", 7}, {"[##2]", 7}, {"[#[#4+2]]", 7}, {"[#[#5+2]]", 7}, {"[#3.00005]", 7},
    {"[#[5600.99991]]", 0}, {"[#[5601.00009]]", 0}, {"[#sin[90]]", 0}, {"[#2+2]", 5},
};

TEST_F(GCodeExpressionTest, ComputesWhatRS274Computes)
{
    for (auto const& [text, expected] : RS274Values)
        EXPECT_NEAR(value(text), expected, 5e-7) << text;
}

struct Refused {
    char const* text;
    char const* message;
};

// Each refused by rs274 too; its words in the comment where they differ.
Refused const RS274Errors[] = {
    {"[-2**0.5]", "Negative number raised to a non-integer power."},
    {"[[-2]**0.5]", "Negative number raised to a non-integer power."},
    {"[0**-1]", "Calculation resulted in infinity."},
    {"[1/0]", "Division by zero."}, // Attempt to divide by zero
    {"[1/[1-1]]", "Division by zero."},
    {"[5mod0]", "Zero modulus."}, // Calculation resulted in 'not a number'
    {"[exp[1000]]", "Calculation resulted in infinity."},
    {"[exp[710]gt0]", "Calculation resulted in infinity."},
    {"[10**400]", "Calculation resulted in infinity."},
    {"[ln[0]]", "Zero or negative argument to ln."},
    {"[ln[-1]]", "Zero or negative argument to ln."},
    {"[sqrt[-1]]", "Square root of a negative number."}, // Negative argument to sqrt
    {"[acos[2]]", "Argument to acos out of range."},
    {"[asin[-1.1]]", "Argument to asin out of range."},
    {"[atan[1]]", "Missing '/' after the first argument of atan."},
    {"[atan[1]/2]", "Missing '[' after '/' in atan."},
    {"#5602", "Parameter number 5602 out of range 1 to 5601."},
    {"#0", "Parameter number 0 out of range 1 to 5601."},
    {"#-1", "Parameter number -1 out of range 1 to 5601."},
    {"#1.5", "Parameter number 1.5 is not an integer."}, // Non integer value for integer
    {"#[5600.9999]", "Parameter number 5600.9999 is not an integer."},
    {"[exists[#1.5]]", "Parameter number 1.5 is not an integer."},
    {"[exists[2]]", "Exists takes one parameter: exists[#<name>]."}, // Expected # reading parameter
    {"[exists[#<a>+1]]", "Missing ']' after the parameter of exists."},
    {"[exists1]", "Missing '[' after function 'exists'."},
    {"[1.2.3]", "Bad number format."},
    {"[1.e2]", "Unknown operator 'e' in expression."}, // Unknown operation name starting with e
    {"[1e2]", "Unknown operator 'e' in expression."},
    {"[.]", "Bad number format."},
    {"[-]", "Bad number format."},
    {"[1+]", "Bad number format."},
    {"[]", "Bad number format."},
    {"[1+2+]", "Bad number format."},
    {"[1***2]", "Bad number format."},
    {"[1eq]", "Bad number format."},
    {"[1", "Missing ']' in expression."}, // Unclosed expression
    {"[sin[1]", "Missing ']' in expression."},
    {"[1mad2]", "Unknown operator 'mad' in expression."},
    {"[foo[1]]", "Unknown function 'foo'."}, // Unknown word starting with f
    {"[sinn[1]]", "Unknown function 'sinn'."}, // Left bracket missing after unary operation name
    {"[sin1]", "Missing '[' after function 'sin'."},
    {"[#<nope>]", "Named parameter #<nope> is not defined."},
    {"#<nope>", "Named parameter #<nope> is not defined."},
    {"[#<_nope>]", "Named parameter #<_nope> is not defined."},
    {"#<>", "Named parameter #<> is not defined."},
    {"[#<a]", "Missing '>' after named parameter."}, // Named parameter not terminated
};

TEST_F(GCodeExpressionTest, RefusesWhatRS274Refuses)
{
    for (auto const& [text, message] : RS274Errors)
        EXPECT_EQ(error(text), message) << text;
}

TEST_F(GCodeExpressionTest, NumbersAreExactAndEndBeforeTheNextWord)
{
    struct Case {
        std::string_view text;
        std::size_t start;
        double value;
        std::size_t end;
    };
    Case const cases[] = {
        {"0.1", 0, 0.1, 3},
        {"x-1.5y2", 1, -1.5, 5},
        {"x+2y", 1, 2, 3},
        {"m66e0", 1, 66, 3}, // no exponent: "e" is the next word
        {"g1x3.z", 3, 3, 5},
        {"123456789012345678901234567890", 0, 1.2345678901234568e29, 30},
        {"0.30000000000000004", 0, 0.30000000000000004, 19},
        {"#1+2", 0, 0, 2}, // "#" binds tighter than "+"
        {"[1+2]x", 0, 3, 5},
        {"atan[1]/[1]/2", 0, 45, 11},
        {"sin[90]y1", 0, 1, 7},
    };
    for (auto const& c : cases) {
        std::size_t position = c.start;
        EXPECT_EQ(expression.readRealValue(c.text, position), c.value) << c.text;
        EXPECT_EQ(position, c.end) << c.text;
    }
    EXPECT_TRUE(std::signbit(value("-0")));
    EXPECT_FALSE(std::signbit(value("-#1")));
    // Below the smallest double it reads as zero; above the largest it is refused.
    EXPECT_EQ(value("0." + std::string(350, '0') + "1"), 0);
    EXPECT_EQ(error("1" + std::string(309, '0')), "Number out of range.");
    EXPECT_EQ(error("x0." + std::string(350, '0') + "1.2", 1), "Bad number format.");
    EXPECT_EQ(error("x1.2.3", 1), "Bad number format.");
    EXPECT_EQ(value(std::string(399, '0') + "1"), 1);
    EXPECT_EQ(error(std::string(400, '0') + "1"), "Bad number format.");
}

TEST_F(GCodeExpressionTest, FunctionsAgreeWithTheLibraryInDegrees)
{
    EXPECT_DOUBLE_EQ(value("cos[45]"), std::sqrt(0.5));
    EXPECT_DOUBLE_EQ(value("atan[-1]/[0]"), -90);
    EXPECT_DOUBLE_EQ(value("ln[exp[2]]"), 2);
    EXPECT_EQ(value("[2**0.5]"), std::sqrt(2.0));
    EXPECT_EQ(value("[1/3]"), 1.0 / 3.0);
    // round keeps exact integers beyond the int that LinuxCNC wraps to -2147483648.
    EXPECT_EQ(value("round[3000000000.4]"), 3000000000.0);
    // An infinite intermediate is an error even where a comparison would hide it (rs274 gives 1).
    EXPECT_EQ(error("[10**308*10gt1]"), "Calculation resulted in infinity.");
}

TEST_F(GCodeExpressionTest, IntegersWithinTheTolerance)
{
    struct Case {
        double value;
        std::optional<std::int64_t> integer;
    };
    Case const cases[] = {{3, 3}, {2.99995, 3}, {3.00005, 3}, {3.0002, std::nullopt}, {2.9998, std::nullopt},
        {-1.00005, -1}, {-0.99995, -1}, {-0.5, std::nullopt}, {1e300, std::nullopt},
        {std::numeric_limits<double>::infinity(), std::nullopt}, {std::numeric_limits<double>::quiet_NaN(), std::nullopt}};
    for (auto const& [number, integer] : cases)
        EXPECT_EQ(GCodeExpression::toInteger(number), integer) << number;
}

TEST_F(GCodeExpressionTest, ReferencesNameAssignmentTargets)
{
    struct Case {
        std::string_view text;
        int number;
        std::string name;
        std::size_t end;
    };
    Case const cases[] = {{"#12=1", 12, "", 3}, {"##2=1", 3, "", 3}, {"#[1+2]=", 3, "", 6}, {"#<abc>=5", 0, "abc", 6},
        {"#<_g>", 0, "_g", 5}, {"#5601", 5601, "", 5}};
    for (auto const& c : cases) {
        std::size_t position = 0;
        auto const reference = expression.readReference(c.text, position);
        EXPECT_EQ(reference.number, c.number) << c.text;
        EXPECT_EQ(reference.name, c.name) << c.text;
        EXPECT_EQ(position, c.end) << c.text;
    }
    auto refusal = [&](std::string_view text) {
        std::size_t position = 0;
        try {
            expression.readReference(text, position);
        } catch (GCodeError const& e) {
            EXPECT_EQ(position, 0u);
            return e.getMessage();
        }
        return std::string("no error");
    };
    EXPECT_EQ(refusal("#0=1"), "Parameter number 0 out of range 1 to 5601.");
    EXPECT_EQ(refusal("#1.5=1"), "Parameter number 1.5 is not an integer.");
    EXPECT_EQ(refusal("#<>=1"), "Empty parameter name '#<>'.");
    EXPECT_EQ(refusal("#<a=1"), "Missing '>' after named parameter.");
    EXPECT_EQ(refusal("1"), "Missing '#' of a parameter.");

    expression.set({7, ""}, 2.5);
    expression.set({0, "_g"}, 4);
    EXPECT_EQ(expression.get({7, ""}), 2.5);
    EXPECT_EQ(expression.get({0, "_g"}), 4);
    EXPECT_EQ(value("[#7*#<_g>]"), 10);
}

// A block read word after word, as the reader does: values end where the next letter starts.
TEST_F(GCodeExpressionTest, ReadsTheValuesOfABlockInTurn)
{
    parameters.setNamed("_y", 2);
    std::string_view const block = "g1x[#2+1]y#<_y>z-2.5f#[1+2]";
    std::vector<std::pair<char, double>> words;
    for (std::size_t position = 0; position < block.size();) {
        char const letter = block[position++];
        words.emplace_back(letter, expression.readRealValue(block, position));
    }
    std::vector<std::pair<char, double>> const expected {{'g', 1}, {'x', 4}, {'y', 2}, {'z', -2.5}, {'f', 7}};
    EXPECT_EQ(words, expected);
}

TEST(GCodeParametersTest, NumberedStartAtZeroAndKeepTheirRange)
{
    GCodeParameters parameters;
    EXPECT_EQ(parameters.get(1), 0);
    EXPECT_EQ(parameters.get(GCodeParameters::MaximumNumber), 0);
    parameters.set(5000, -1.25);
    EXPECT_EQ(parameters.get(5000), -1.25);
    EXPECT_THROW(parameters.get(0), GCodeError);
    EXPECT_THROW(parameters.set(5602, 1), GCodeError);
    parameters.setNamed("_a", 1);
    parameters.setNamed("b", 2);
    parameters.enterCall(std::vector<double> {1});
    parameters.reset();
    EXPECT_EQ(parameters.get(5000), 0);
    EXPECT_EQ(parameters.get(1), 0);
    EXPECT_EQ(parameters.getCallDepth(), 0u);
    EXPECT_FALSE(parameters.existsNamed("_a"));
    EXPECT_FALSE(parameters.existsNamed("b"));
}

// As rs274 ran it: the call sees its arguments, 0 for the rest, the globals and no local of the
// caller; after it the caller has its #1..#30 and locals back, and the globals the call set.
TEST(GCodeParametersTest, CallsScopeArgumentsAndLocalNames)
{
    GCodeParameters parameters;
    GCodeExpression const expression(parameters);
    parameters.set(1, 1);
    parameters.set(3, 3);
    parameters.set(31, 31);
    parameters.setNamed("loc", 8);
    parameters.setNamed("_g", 1);

    parameters.enterCall(std::vector<double> {10, 20});
    EXPECT_EQ(parameters.getCallDepth(), 1u);
    EXPECT_EQ(parameters.get(1), 10);
    EXPECT_EQ(parameters.get(2), 20);
    EXPECT_EQ(parameters.get(3), 0);
    EXPECT_EQ(parameters.get(31), 31);
    EXPECT_EQ(parameters.getNamed("_g"), 1);
    EXPECT_FALSE(parameters.existsNamed("loc"));
    std::size_t position = 0;
    EXPECT_THROW(expression.readRealValue("#<loc>", position), GCodeError);
    parameters.setNamed("loc", 5);
    parameters.setNamed("inner", 6);
    parameters.setNamed("_g", 7);
    parameters.set(1, 99);
    parameters.set(31, 32);

    parameters.enterCall({}); // a nested call: all arguments 0, no locals
    EXPECT_EQ(parameters.get(1), 0);
    EXPECT_FALSE(parameters.existsNamed("inner"));
    parameters.leaveCall();
    EXPECT_EQ(parameters.get(1), 99);
    EXPECT_EQ(parameters.getNamed("inner"), 6);

    parameters.leaveCall();
    EXPECT_EQ(parameters.getCallDepth(), 0u);
    EXPECT_EQ(parameters.get(1), 1);
    EXPECT_EQ(parameters.get(2), 0);
    EXPECT_EQ(parameters.get(3), 3);
    EXPECT_EQ(parameters.get(31), 32);
    EXPECT_EQ(parameters.getNamed("loc"), 8);
    EXPECT_EQ(parameters.getNamed("_g"), 7);
    EXPECT_FALSE(parameters.existsNamed("inner"));
    parameters.leaveCall(); // outside a call: nothing
    EXPECT_EQ(parameters.get(1), 1);

    std::vector<double> const arguments(31, 1.0);
    try {
        parameters.enterCall(arguments);
        ADD_FAILURE() << "31 arguments taken";
    } catch (GCodeError const& e) {
        EXPECT_STREQ(e.what(), "A call with 31 arguments; at most 30.");
    }
    EXPECT_EQ(parameters.getCallDepth(), 0u);
    parameters.enterCall(std::span(arguments).first(30));
    EXPECT_EQ(parameters.get(30), 1);
}

TEST(GCodeParametersTest, NamedParametersAreBounded)
{
    GCodeParameters parameters;
    for (std::size_t i = 0; i < GCodeParameters::MaximumNamedCount / 2; ++i)
        parameters.setNamed("_" + std::to_string(i), 1);
    parameters.enterCall({});
    for (std::size_t i = 0; i < GCodeParameters::MaximumNamedCount / 2; ++i)
        parameters.setNamed(std::to_string(i), 1);
    parameters.setNamed("_0", 2); // assigning what exists is not a new one
    try {
        parameters.setNamed("one-more", 1);
        ADD_FAILURE() << "more names than the bound";
    } catch (GCodeError const& e) {
        EXPECT_STREQ(e.what(), "More than 100000 named parameters.");
    }
    parameters.leaveCall(); // its locals go, and so room for new names
    parameters.setNamed("one-more", 1);
    EXPECT_EQ(parameters.getNamed("one-more"), 1);
}

// The interpreter's state: #5420 and "_x" are read-only; the rest reads and writes as usual.
class FakeSystemValues final : public GCodeParameters::SystemValues {
public:
    std::optional<double> getNumbered(int number) const override
    {
        return number == 5420 ? std::optional<double>(12.5) : std::nullopt;
    }
    std::optional<double> getNamed(std::string_view name) const override
    {
        return name == "_x" ? std::optional<double>(12.5) : std::nullopt;
    }
};

TEST(GCodeParametersTest, SystemValuesAreReadOnly)
{
    FakeSystemValues const system;
    GCodeParameters parameters;
    parameters.setSystemValues(&system);
    GCodeExpression const expression(parameters);
    std::size_t position = 0;
    EXPECT_EQ(expression.readRealValue("[#5420+#<_x>+exists[#<_x>]]", position), 26);
    auto message = [](auto const& assign) {
        try {
            assign();
        } catch (GCodeError const& e) {
            return e.getMessage();
        }
        return std::string("no error");
    };
    EXPECT_EQ(message([&] { parameters.set(5420, 1); }), "Parameter #5420 is read-only.");
    EXPECT_EQ(message([&] { parameters.setNamed("_x", 1); }), "Named parameter #<_x> is read-only.");
    EXPECT_EQ(message([&] { expression.set({0, "_x"}, 1); }), "Named parameter #<_x> is read-only.");
    parameters.set(5421, 3);
    parameters.setNamed("_y", 4);
    EXPECT_EQ(parameters.get(5421), 3);
    EXPECT_EQ(parameters.getNamed("_y"), 4);
}

TEST_F(GCodeExpressionTest, NestingIsBounded)
{
    int const n = GCodeExpression::MaximumNesting;
    auto brackets = [](int depth) { return std::string(depth, '[') + "1" + std::string(depth, ']'); };
    EXPECT_EQ(value(brackets(n)), 1);
    std::string const tooDeep = "Expression nested more than 100 deep.";
    EXPECT_EQ(error(brackets(n + 1)), tooDeep);
    EXPECT_EQ(error(brackets(1'000'000)), tooDeep);
    // Signs and parameter indices count as levels too: here 99 signs and "#".
    EXPECT_EQ(value(std::string(n - 1, '-') + "#2"), -3);
    EXPECT_EQ(error(std::string(n, '-') + "#2"), tooDeep);
    EXPECT_EQ(error(std::string(1'000'000, '#') + "2"), tooDeep);
    EXPECT_EQ(error(std::string(1'000'000, '+') + "[1]"), tooDeep);
    std::string functions;
    for (int i = 0; i < 1000; ++i)
        functions += "abs[";
    EXPECT_EQ(error(functions + "1"), tooDeep);
}

// Every cut of a valid value is refused with a message, and nothing past the view is read (the
// views below end inside longer strings, so a read past them would see a character that fits).
TEST_F(GCodeExpressionTest, HostileTextIsRefused)
{
    parameters.setNamed("_a", 2);
    std::string const whole = "[1+sin[30]*#<_a>-atan[1]/[2]mod##2+exists[#<_a>]]";
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_NE(error(std::string_view(whole).substr(0, size)), "no error") << whole.substr(0, size);
    std::string const digits = "1.59";
    EXPECT_EQ(value(std::string_view(digits).substr(0, 3)), 1.5);
    std::string const closed = "[1]";
    EXPECT_EQ(error(std::string_view(closed).substr(0, 2)), "Missing ']' in expression.");
    std::string const name = "#<a>";
    EXPECT_EQ(error(std::string_view(name).substr(0, 3)), "Missing '>' after named parameter.");

    EXPECT_EQ(error("g1x", 3), "Missing value.");
    EXPECT_EQ(error("g1x", 7), "Missing value.");
    EXPECT_EQ(error("x@", 1), "Bad number format.");
    EXPECT_EQ(error("[1+@]"), "Bad number format.");
    EXPECT_EQ(error("[1@2]"), "Unknown operator '@' in expression.");
    EXPECT_EQ(error("[1#2]"), "Unknown operator '#' in expression.");
    EXPECT_EQ(error("qqq"), "Unknown function 'qqq'.");
    EXPECT_EQ(error(std::string(100'000, 'q')), "Unknown function '" + std::string(40, 'q') + "...'.");
    EXPECT_EQ(error(std::string_view("[1\0]", 4)), std::string("Unknown operator '\0' in expression.", 35));

    // Random text over the alphabet of values: only GCodeError, and the position stays in the text.
    std::mt19937 random(20240611);
    std::string_view const alphabet = "0123456789.+-*/[]#<>_aeimnorstxdlgqbfpuc";
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % 24, ' ');
        for (char& c : text)
            c = alphabet[random() % alphabet.size()];
        std::size_t position = 0;
        try {
            expression.readRealValue(text, position);
            EXPECT_LE(position, text.size());
        } catch (GCodeError const&) {
        }
    }
}

} // namespace
