// The value language of RS274NGC programs: parameters (numbered, named local and global) and
// the real values of words (numbers, parameter references, bracketed expressions, functions).
#pragma once

#include "util/utility/Export.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Quarn {

// An error in the text or the values of a block. GCodeReader turns it into NCParseException
// with the line; the text is a whole sentence ("Division by zero.").
class QUARN_NC_EXPORT GCodeError : public std::exception {
public:
    explicit GCodeError(std::string message) : message(std::move(message)) { }
    char const* what() const noexcept override { return message.c_str(); }
    std::string const& getMessage() const noexcept { return message; }

private:
    std::string message;
};

// The parameters of one program run.
//
// Numbered parameters #1 to #MaximumNumber hold 0 until set. #1 to #30 are the arguments of a
// subroutine call and belong to it: enterCall saves the caller's and sets the arguments (the
// others 0), leaveCall restores them. Named parameters are kept by their name as written between
// "<" and ">", lower case and without blanks (the caller normalises). A name starting with "_" is
// global; any other is local to the call that assigned it (the main program being the outermost
// call) and vanishes with it. Reading a named parameter that was never assigned is an error.
//
// Values the interpreter holds (the current position #5420-#5428, the tool #5400, "_x",
// "_metric", "_line", ...) come from a SystemValues source asked first; the parameters it answers
// for are read-only.
class QUARN_NC_EXPORT GCodeParameters {
public:
    // The dialect's documentation says 5602, but LinuxCNC's interpreter refuses #5602 ("Parameter
    // number out of range"), so the last one is #5601.
    static constexpr int MaximumNumber = 5601;
    static constexpr int ArgumentCount = 30;
    // The most named parameters alive at once; one more is an error, so that a program cannot
    // grow memory without bound through names it builds.
    static constexpr std::size_t MaximumNamedCount = 100000;

    // Read-only values of the interpreter's state; nothing: not a value of the state.
    class SystemValues {
    public:
        virtual ~SystemValues() = default;
        virtual std::optional<double> getNumbered(int number) const = 0;
        virtual std::optional<double> getNamed(std::string_view name) const = 0;
    };

    GCodeParameters();

    void setSystemValues(SystemValues const* values) noexcept { system = values; }

    // Errors: "Parameter number 0 out of range 1 to 5601.", "Parameter #5420 is read-only."
    double get(int number) const;
    void set(int number, double value);
    // Errors: "Named parameter #<name> is not defined.", "Named parameter #<_x> is read-only."
    double getNamed(std::string_view name) const;
    bool existsNamed(std::string_view name) const;
    void setNamed(std::string_view name, double value);

    // A subroutine call with its arguments (#1 ...); more than ArgumentCount is an error.
    void enterCall(std::span<double const> arguments);
    // Ends the innermost call; nothing happens outside a call.
    void leaveCall() noexcept;
    // Calls entered and not left.
    std::size_t getCallDepth() const noexcept { return frames.size(); }

    // Every parameter back to 0 and every name gone, as at the start of a program.
    void reset();

private:
    // Looked up by string_view without building a string.
    struct NameHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view name) const noexcept { return std::hash<std::string_view> {}(name); }
    };
    using Names = std::unordered_map<std::string, double, NameHash, std::equal_to<>>;
    struct Frame {
        std::array<double, ArgumentCount> arguments {};
        Names locals;
    };
    SystemValues const* system = nullptr;
    std::vector<double> numbered; // index = number
    Names globals;
    Names locals; // of the current call (or the main program)
    std::vector<Frame> frames; // what the calls saved
    std::size_t namedCount = 0;
};

// Reads real values from the text of a block as GCodeReader prepares it: letters in lower case,
// no blanks or tabs (comments are not part of what is read here).
//
// A real value is one of
//   a number         optional sign, digits, at most one point, at least one digit: "-1.5", ".5",
//                    "3."; never an exponent (an "e" after a number is the next word)
//   a parameter      "#" and an index (a real value within 1e-4 of an integer: "#12", "##2",
//                    "#[1+2]") or a name "#<name>"
//   an expression    "[" binary operations "]": ** ; * / mod ; + - ; eq ne gt ge lt le ;
//                    and or xor (from highest to lowest precedence, left to right within one);
//                    operands are real values; "-" or "+" before an operand is its sign and binds
//                    tighter than any operator, as in LinuxCNC: "[-2**2]" is 4, "[-#1**2]" is
//                    [-#1]**2, "[--1]" is 1
//   a function       abs acos asin atan cos exp fix fup ln round sin sqrt tan exists followed by
//                    "[" expression "]"; atan as "atan[y]/[x]"; exists takes one "#<name>" (or,
//                    as LinuxCNC, "#" and an index: 1 when the number is in range, else 0);
//                    angles in degrees
// Comparisons give 1 or 0; eq and ne take values within 1e-4 as equal (as the control does), gt ge
// lt le compare exactly; "and", "or", "xor" take any non-zero as true. A value or an operation that
// is not finite is an error ("Calculation resulted in infinity."). Errors are GCodeError with a sentence naming what
// is wrong ("Division by zero.", "Square root of a negative number.", "Unknown function 'foo'.",
// "Missing ']' in expression.", "Bad number format."); expressions nest at most MaximumNesting deep.
class QUARN_NC_EXPORT GCodeExpression {
public:
    static constexpr int MaximumNesting = 100;

    // A parameter a block names, as the target of an assignment.
    struct Reference {
        int number = 0; // when name is empty
        std::string name;
    };

    explicit GCodeExpression(GCodeParameters& parameters) noexcept : parameters(parameters) { }

    // The real value at text[position]; position moves past it.
    double readRealValue(std::string_view text, std::size_t& position) const;
    // The parameter at text[position], which is '#'; position moves past it.
    Reference readReference(std::string_view text, std::size_t& position) const;
    double get(Reference const& reference) const;
    void set(Reference const& reference, double value) const;

    // The integer a value stands for when it is within 1e-4 of one.
    static std::optional<std::int64_t> toInteger(double value) noexcept;

private:
    GCodeParameters& parameters;
};

} // namespace Quarn
