// The value language of RS274NGC programs, as LinuxCNC's interpreter reads and computes it.
#include "nc/nc/io/GCodeExpression.h"

#include "util/utility/text/DecimalNumber.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

namespace Quarn {

namespace {

// The control's tolerance of equality: eq, ne and the integer of an index.
constexpr double ToleranceEqual = 0.0001;
// Longer numbers are not worth reading exactly; a hostile one is refused before parseDecimal.
constexpr std::size_t MaximumNumberLength = 400;
// Names and words quoted in messages are cut here, so that a message stays a sentence.
constexpr std::size_t MaximumQuoted = 40;

std::string cut(std::string_view text)
{
    return text.size() <= MaximumQuoted ? std::string(text) : std::string(text.substr(0, MaximumQuoted)) + "...";
}

std::string format(double value)
{
    char buffer[32];
    auto const end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    return std::string(buffer, end);
}

std::string format(std::int64_t value)
{
    char buffer[24];
    auto const end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    return std::string(buffer, end);
}

[[noreturn]] void outOfRange(std::int64_t number)
{
    throw GCodeError("Parameter number " + format(number) + " out of range 1 to "
        + format(std::int64_t {GCodeParameters::MaximumNumber}) + ".");
}

bool isNumberInRange(std::int64_t number) noexcept
{
    return number >= 1 && number <= GCodeParameters::MaximumNumber;
}

bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }
bool isLetter(char c) noexcept { return c >= 'a' && c <= 'z'; }

// LinuxCNC checks each value it reads; we check each operation too (it lets an infinite
// intermediate pass into a comparison: "[10**308*10 gt 1]" is 1 there, an error here).
double finite(double value)
{
    if (std::isnan(value))
        throw GCodeError("Calculation resulted in not a number.");
    if (std::isinf(value))
        throw GCodeError("Calculation resulted in infinity.");
    return value;
}

// Operators with their precedence group, lowest first; End is the closing ']'.
enum class Operator : std::uint8_t { End, And, Or, Xor, Eq, Ne, Gt, Ge, Lt, Le, Plus, Minus, Times, Divide, Mod, Power };

int precedence(Operator op) noexcept
{
    switch (op) {
    case Operator::End: return 0;
    case Operator::And:
    case Operator::Or:
    case Operator::Xor: return 1;
    case Operator::Eq:
    case Operator::Ne:
    case Operator::Gt:
    case Operator::Ge:
    case Operator::Lt:
    case Operator::Le: return 2;
    case Operator::Plus:
    case Operator::Minus: return 3;
    case Operator::Times:
    case Operator::Divide:
    case Operator::Mod: return 4;
    case Operator::Power: return 5;
    }
    return 0;
}

constexpr int PrecedenceGroups = 5;

double apply(double left, Operator op, double right)
{
    switch (op) {
    case Operator::Power:
        if (left < 0.0 && std::floor(right) != right)
            throw GCodeError("Negative number raised to a non-integer power.");
        return finite(std::pow(left, right));
    case Operator::Times: return finite(left * right);
    case Operator::Divide:
        if (right == 0.0)
            throw GCodeError("Division by zero.");
        return finite(left / right);
    case Operator::Mod: {
        if (right == 0.0)
            throw GCodeError("Zero modulus.");
        // LinuxCNC's: never negative, whatever the signs ("-7 mod 3" and "-7 mod -3" are 2).
        double const rest = std::fmod(left, right);
        return rest < 0.0 ? rest + std::fabs(right) : rest;
    }
    case Operator::Plus: return finite(left + right);
    case Operator::Minus: return finite(left - right);
    case Operator::Eq: return std::fabs(left - right) < ToleranceEqual ? 1.0 : 0.0;
    case Operator::Ne: return std::fabs(left - right) < ToleranceEqual ? 0.0 : 1.0;
    case Operator::Gt: return left > right ? 1.0 : 0.0;
    case Operator::Ge: return left >= right ? 1.0 : 0.0;
    case Operator::Lt: return left < right ? 1.0 : 0.0;
    case Operator::Le: return left <= right ? 1.0 : 0.0;
    case Operator::And: return left != 0.0 && right != 0.0 ? 1.0 : 0.0;
    case Operator::Or: return left != 0.0 || right != 0.0 ? 1.0 : 0.0;
    case Operator::Xor: return (left != 0.0) != (right != 0.0) ? 1.0 : 0.0;
    case Operator::End: break;
    }
    return left;
}

enum class Function : std::uint8_t { Abs, Acos, Asin, Atan, Cos, Exp, Fix, Fup, Ln, Round, Sin, Sqrt, Tan, Exists };

struct FunctionName {
    std::string_view name;
    Function function;
};

constexpr FunctionName Functions[] = {{"abs", Function::Abs}, {"acos", Function::Acos}, {"asin", Function::Asin},
    {"atan", Function::Atan}, {"cos", Function::Cos}, {"exp", Function::Exp}, {"fix", Function::Fix},
    {"fup", Function::Fup}, {"ln", Function::Ln}, {"round", Function::Round}, {"sin", Function::Sin},
    {"sqrt", Function::Sqrt}, {"tan", Function::Tan}, {"exists", Function::Exists}};

// Degrees as LinuxCNC converts them, operation for operation, so that results agree to the bit.
double apply(Function function, double argument)
{
    constexpr double Pi = std::numbers::pi;
    switch (function) {
    case Function::Abs: return std::fabs(argument);
    case Function::Acos:
        if (argument < -1.0 || argument > 1.0)
            throw GCodeError("Argument to acos out of range.");
        return std::acos(argument) * 180.0 / Pi;
    case Function::Asin:
        if (argument < -1.0 || argument > 1.0)
            throw GCodeError("Argument to asin out of range.");
        return std::asin(argument) * 180.0 / Pi;
    case Function::Cos: return std::cos(argument * Pi / 180.0);
    case Function::Exp: return finite(std::exp(argument));
    case Function::Fix: return std::floor(argument);
    case Function::Fup: return std::ceil(argument);
    case Function::Ln:
        if (argument <= 0.0)
            throw GCodeError("Zero or negative argument to ln.");
        return std::log(argument);
    // Halves away from zero, and 0.49999999999999994 to 1, as the control rounds (adding one half);
    // beyond the range of an int the control's result wraps, ours stays exact.
    case Function::Round: return std::trunc(argument + (argument < 0.0 ? -0.5 : 0.5));
    case Function::Sin: return std::sin(argument * Pi / 180.0);
    case Function::Sqrt:
        if (argument < 0.0)
            throw GCodeError("Square root of a negative number.");
        return std::sqrt(argument);
    case Function::Tan: return finite(std::tan(argument * Pi / 180.0));
    case Function::Atan:
    case Function::Exists: break;
    }
    return argument;
}

// One reading of a value: recursive descent over the text, with a counted depth so that no text
// can exhaust the stack. Every access checks position against the size.
class Reader {
public:
    Reader(GCodeParameters& parameters, std::string_view text, std::size_t position) noexcept
        : parameters(parameters), text(text), position(std::min(position, text.size()))
    {
    }

    std::size_t getPosition() const noexcept { return position; }

    double readValue()
    {
        if (position >= text.size())
            throw GCodeError("Missing value.");
        char const c = text[position];
        if (c == '[') {
            return readBracketed();
        } else if (c == '#') {
            ++position;
            if (isAt('<'))
                return parameters.getNamed(readName());
            Nested const nested(*this);
            return parameters.get(readIndex());
        } else if ((c == '-' || c == '+') && position + 1 < text.size() && !isDigit(text[position + 1])
            && text[position + 1] != '.') {
            // A sign before what is not a number applies to the operand that follows, as in LinuxCNC.
            ++position;
            Nested const nested(*this);
            double const value = readValue();
            return c == '-' ? 0.0 - value : value; // not -0, as LinuxCNC shows "[-exists[#<a>]]"
        } else if (isLetter(c)) {
            return readFunction();
        }
        return readNumber();
    }

    // After '#': the index, a real value within the tolerance of an integer in range.
    int readIndex()
    {
        double const value = readValue();
        auto const number = GCodeExpression::toInteger(value);
        if (!number)
            throw GCodeError("Parameter number " + format(value) + " is not an integer.");
        if (!isNumberInRange(*number))
            outOfRange(*number);
        return static_cast<int>(*number);
    }

    // At '<': the name up to '>'.
    std::string_view readName()
    {
        std::size_t const end = text.find('>', position + 1);
        if (end == std::string_view::npos)
            throw GCodeError("Missing '>' after named parameter.");
        std::string_view const name = text.substr(position + 1, end - position - 1);
        position = end + 1;
        return name;
    }

private:
    // One level of nesting for as long as it lives.
    class Nested {
    public:
        explicit Nested(Reader& reader) : reader(reader)
        {
            if (++reader.depth > GCodeExpression::MaximumNesting) {
                --reader.depth;
                throw GCodeError("Expression nested more than "
                    + format(std::int64_t {GCodeExpression::MaximumNesting}) + " deep.");
            }
        }
        ~Nested() { --reader.depth; }
        Nested(Nested const&) = delete;
        Nested& operator=(Nested const&) = delete;

    private:
        Reader& reader;
    };

    bool isAt(char c) const noexcept { return position < text.size() && text[position] == c; }

    bool skip(std::string_view word) noexcept
    {
        if (text.substr(position, word.size()) != word)
            return false;
        position += word.size();
        return true;
    }

    std::string_view letters() const noexcept
    {
        std::size_t end = position;
        while (end < text.size() && isLetter(text[end]))
            ++end;
        return text.substr(position, end - position);
    }

    // At '[': the expression to its ']'.
    double readBracketed()
    {
        Nested const nested(*this);
        ++position;
        // Operators wait on a stack while the next one binds tighter; an operator reduces those of
        // its group and above first, which makes each group left-associative. The stack holds at
        // most one operator of each group.
        double values[PrecedenceGroups + 1];
        Operator operators[PrecedenceGroups];
        int count = 0;
        values[0] = readValue();
        for (;;) {
            Operator const op = readOperator();
            while (count > 0 && precedence(operators[count - 1]) >= precedence(op)) {
                values[count - 1] = apply(values[count - 1], operators[count - 1], values[count]);
                --count;
            }
            if (op == Operator::End)
                return values[0];
            operators[count] = op;
            values[++count] = readValue();
        }
    }

    Operator readOperator()
    {
        if (position >= text.size())
            throw GCodeError("Missing ']' in expression.");
        switch (text[position]) {
        case ']': ++position; return Operator::End;
        case '+': ++position; return Operator::Plus;
        case '-': ++position; return Operator::Minus;
        case '/': ++position; return Operator::Divide;
        case '*':
            ++position;
            if (isAt('*')) {
                ++position;
                return Operator::Power;
            }
            return Operator::Times;
        default: break;
        }
        // Words are matched as prefixes, as LinuxCNC does: "[1andsin[30]]" is "1 and sin[30]".
        static constexpr std::pair<std::string_view, Operator> Words[] = {{"mod", Operator::Mod},
            {"and", Operator::And}, {"or", Operator::Or}, {"xor", Operator::Xor}, {"eq", Operator::Eq},
            {"ne", Operator::Ne}, {"gt", Operator::Gt}, {"ge", Operator::Ge}, {"lt", Operator::Lt},
            {"le", Operator::Le}};
        for (auto const& [word, op] : Words)
            if (skip(word))
                return op;
        std::string_view const word = letters();
        throw GCodeError(
            "Unknown operator '" + cut(word.empty() ? text.substr(position, 1) : word) + "' in expression.");
    }

    double readFunction()
    {
        std::string_view const name = letters();
        auto const found = std::find_if(
            std::begin(Functions), std::end(Functions), [name](FunctionName const& f) { return f.name == name; });
        if (found == std::end(Functions))
            throw GCodeError("Unknown function '" + cut(name) + "'.");
        position += name.size();
        if (!isAt('['))
            throw GCodeError("Missing '[' after function '" + std::string(name) + "'.");
        if (found->function == Function::Exists)
            return readExists();
        double const argument = readBracketed();
        if (found->function != Function::Atan)
            return apply(found->function, argument);
        if (!isAt('/'))
            throw GCodeError("Missing '/' after the first argument of atan.");
        ++position;
        if (!isAt('['))
            throw GCodeError("Missing '[' after '/' in atan.");
        double const x = readBracketed();
        return std::atan2(argument, x) * 180.0 / std::numbers::pi;
    }

    // At '[' after exists: "[#<name>]", or as LinuxCNC also "[#index]", true when in range.
    double readExists()
    {
        Nested const nested(*this);
        ++position;
        if (!isAt('#'))
            throw GCodeError("Exists takes one parameter: exists[#<name>].");
        ++position;
        bool exists = false;
        if (isAt('<')) {
            exists = parameters.existsNamed(readName());
        } else {
            Nested const index(*this);
            double const value = readValue();
            auto const number = GCodeExpression::toInteger(value);
            if (!number)
                throw GCodeError("Parameter number " + format(value) + " is not an integer.");
            exists = isNumberInRange(*number);
        }
        if (!isAt(']'))
            throw GCodeError("Missing ']' after the parameter of exists.");
        ++position;
        return exists ? 1.0 : 0.0;
    }

    double readNumber()
    {
        std::size_t const first = position;
        std::size_t end = position;
        if (text[end] == '-' || text[end] == '+')
            ++end;
        std::size_t const digitsFirst = end;
        while (end < text.size() && (isDigit(text[end]) || text[end] == '.'))
            ++end;
        // Only the span: parseDecimal would read an exponent after it. It finds no digit in "." or
        // "-", and stops before the end at a second point ("1.2.3" is a bad number, as in LinuxCNC).
        char const* const begin = text.data() + first;
        char const* const last = text.data() + end;
        char const* stop = nullptr;
        double value = 0.0;
        NumberStatus const status
            = end - first > MaximumNumberLength ? NumberStatus::Invalid : parseDecimal(begin, last, stop, value);
        if (status == NumberStatus::Invalid || stop != last)
            throw GCodeError("Bad number format.");
        if (status == NumberStatus::OutOfRange) {
            std::string_view const whole = text.substr(digitsFirst, end - digitsFirst);
            if (whole.substr(0, whole.find('.')).find_first_not_of('0') != std::string_view::npos)
                throw GCodeError("Number out of range.");
            value = *begin == '-' ? -0.0 : 0.0; // too small for a double: 0, as LinuxCNC reads it
        }
        position = end;
        return value;
    }

    GCodeParameters& parameters;
    std::string_view text;
    std::size_t position;
    int depth = 0;
};

} // namespace

GCodeParameters::GCodeParameters() : numbered(MaximumNumber + 1, 0.0) { }

double GCodeParameters::get(int number) const
{
    if (!isNumberInRange(number))
        outOfRange(number);
    if (system)
        if (auto const value = system->getNumbered(number))
            return *value;
    return numbered[static_cast<std::size_t>(number)];
}

void GCodeParameters::set(int number, double value)
{
    if (!isNumberInRange(number))
        outOfRange(number);
    if (system && system->getNumbered(number))
        throw GCodeError("Parameter #" + format(std::int64_t {number}) + " is read-only.");
    numbered[static_cast<std::size_t>(number)] = value;
}

double GCodeParameters::getNamed(std::string_view name) const
{
    if (system)
        if (auto const value = system->getNamed(name))
            return *value;
    Names const& names = name.starts_with('_') ? globals : locals;
    auto const found = names.find(name);
    if (found == names.end())
        throw GCodeError("Named parameter #<" + cut(name) + "> is not defined.");
    return found->second;
}

bool GCodeParameters::existsNamed(std::string_view name) const
{
    if (system && system->getNamed(name))
        return true;
    Names const& names = name.starts_with('_') ? globals : locals;
    return names.contains(name);
}

void GCodeParameters::setNamed(std::string_view name, double value)
{
    if (system && system->getNamed(name))
        throw GCodeError("Named parameter #<" + cut(name) + "> is read-only.");
    Names& names = name.starts_with('_') ? globals : locals;
    if (auto const found = names.find(name); found != names.end()) {
        found->second = value;
        return;
    }
    if (namedCount >= MaximumNamedCount)
        throw GCodeError("More than " + format(static_cast<std::int64_t>(MaximumNamedCount)) + " named parameters.");
    names.emplace(name, value);
    ++namedCount;
}

void GCodeParameters::enterCall(std::span<double const> arguments)
{
    if (arguments.size() > ArgumentCount)
        throw GCodeError("A call with " + format(static_cast<std::int64_t>(arguments.size()))
            + " arguments; at most " + format(std::int64_t {ArgumentCount}) + ".");
    Frame& frame = frames.emplace_back();
    std::copy_n(numbered.begin() + 1, ArgumentCount, frame.arguments.begin());
    frame.locals.swap(locals);
    auto const next = std::copy(arguments.begin(), arguments.end(), numbered.begin() + 1);
    std::fill(next, numbered.begin() + 1 + ArgumentCount, 0.0);
}

void GCodeParameters::leaveCall() noexcept
{
    if (frames.empty())
        return;
    Frame& frame = frames.back();
    namedCount -= locals.size();
    locals.swap(frame.locals);
    std::copy(frame.arguments.begin(), frame.arguments.end(), numbered.begin() + 1);
    frames.pop_back();
}

void GCodeParameters::reset()
{
    std::fill(numbered.begin(), numbered.end(), 0.0);
    globals.clear();
    locals.clear();
    frames.clear();
    namedCount = 0;
}

double GCodeExpression::readRealValue(std::string_view text, std::size_t& position) const
{
    Reader reader(parameters, text, position);
    double const value = reader.readValue();
    position = reader.getPosition();
    return value;
}

GCodeExpression::Reference GCodeExpression::readReference(std::string_view text, std::size_t& position) const
{
    if (position >= text.size() || text[position] != '#')
        throw GCodeError("Missing '#' of a parameter.");
    Reader reader(parameters, text, position + 1);
    Reference reference;
    if (position + 1 < text.size() && text[position + 1] == '<') {
        reference.name = reader.readName();
        if (reference.name.empty())
            throw GCodeError("Empty parameter name '#<>'.");
    } else {
        reference.number = reader.readIndex();
    }
    position = reader.getPosition();
    return reference;
}

double GCodeExpression::get(Reference const& reference) const
{
    return reference.name.empty() ? parameters.get(reference.number) : parameters.getNamed(reference.name);
}

void GCodeExpression::set(Reference const& reference, double value) const
{
    if (reference.name.empty())
        parameters.set(reference.number, value);
    else
        parameters.setNamed(reference.name, value);
}

// As the control reads whole numbers: within the tolerance above the integer below, or below the one
// above.
std::optional<std::int64_t> GCodeExpression::toInteger(double value) noexcept
{
    if (!(std::fabs(value) < 0x1p62))
        return std::nullopt;
    double const below = std::floor(value);
    double const fraction = value - below;
    if (fraction > 1.0 - ToleranceEqual)
        return static_cast<std::int64_t>(below) + 1;
    if (fraction > ToleranceEqual)
        return std::nullopt;
    return static_cast<std::int64_t>(below);
}

} // namespace Quarn
