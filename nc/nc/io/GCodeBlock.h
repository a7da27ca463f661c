// One block of an RS274NGC program, read into its words, codes, parameter settings and comments.
#pragma once

#include "nc/nc/io/GCodeExpression.h"
#include "util/utility/Export.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quarn {

// The parts of a block, read by read() from a line as the file holds it.
//
// Reading prepares the line first: letters outside comments become lower case and blanks and
// tabs outside comments go, as the language ignores them ("G0X +0. 12 34Y 7" is "g0x+0.1234y7");
// comments "(...)" and ";..." are taken out whole. A block whose prepared text holds no "#", "["
// or letter after a letter's value reads numbers directly; the others go through GCodeExpression.
//
// G and M codes are kept as ten times their number rounded ("G59.3" is 593, "M6" is 60), within
// 1e-4 of such a value; every other word as its real value, at most one of each letter. An O word
// makes an O-word block: its name ("100" or "<name>" in lower case without blanks), its keyword and
// what follows the keyword (the expression or the call's arguments, still to be evaluated).
// Parameter settings "#n=value" and "#<name>=value" are read with the values of the block and
// applied by the caller after reading (applyAssignments), so that values read the old ones.
class QUARN_NC_EXPORT GCodeBlock {
public:
    static constexpr std::size_t MaximumCodes = 16; // G or M codes in one block

    enum class OKeyword : std::uint8_t {
        None,
        Sub,
        EndSub,
        Call,
        Return,
        Do,
        While,
        EndWhile,
        If,
        ElseIf,
        Else,
        EndIf,
        Repeat,
        EndRepeat,
        Break,
        Continue,
    };

    // The letters a..z as indices 0..25.
    static constexpr int letterIndex(char letter) noexcept { return letter - 'a'; }
    // Polar coordinates "@" (distance) and "^" (angle) are kept under the letters of the line
    // number and the O word, which never are words.
    static constexpr char PolarDistance = 'n';
    static constexpr char PolarAngle = 'o';

    // Reads a line. Throws GCodeError for text that is no block ("Unexpected character '$'.",
    // "Bad number format.", "Two 'X' words in one block.", "Comment without its closing ')'."), and
    // what the expressions throw. Which codes go together is the interpreter's to check.
    void read(std::string_view line, GCodeExpression const& expression);
    // Reads a plain block the short way: words of a letter and a number separated by blanks, without
    // comments, parameters, expressions, O word or block delete. False for any other line, which
    // read() then reads (with its errors); getText is empty after a plain block.
    bool readPlain(std::string_view line);

    // Applies the block's parameter settings in their order.
    void applyAssignments(GCodeExpression const& expression) const;

    bool isEmpty() const noexcept
    {
        return words == 0 && gCount == 0 && mCount == 0 && assignments.empty() && oKeyword == OKeyword::None;
    }
    bool isBlockDelete() const noexcept { return blockDelete; }
    bool has(char letter) const noexcept { return (words >> letterIndex(letter) & 1u) != 0; }
    double get(char letter) const noexcept { return values[static_cast<std::size_t>(letterIndex(letter))]; }
    // Removes a word (once the block has used it).
    void take(char letter) noexcept { words &= ~(1u << letterIndex(letter)); }
    std::uint32_t getWords() const noexcept { return words; }

    std::size_t getGCount() const noexcept { return gCount; }
    int getG(std::size_t index) const noexcept { return gCodes[index]; }
    bool hasG(int code) const noexcept;
    std::size_t getMCount() const noexcept { return mCount; }
    int getM(std::size_t index) const noexcept { return mCodes[index]; }
    bool hasM(int code) const noexcept;

    bool hasAssignments() const noexcept { return !assignments.empty(); }
    // The N word, when the block has one.
    std::optional<double> getLineNumber() const noexcept { return lineNumber; }

    // Comments in their order, as written between their delimiters.
    std::vector<std::string_view> const& getComments() const noexcept { return comments; }

    OKeyword getOKeyword() const noexcept { return oKeyword; }
    std::string const& getOName() const noexcept { return oName; }
    // The prepared text after the keyword.
    std::string_view getOArguments() const noexcept { return oArguments; }

    // The prepared text (lower case, no blanks, no comments), for messages.
    std::string_view getText() const noexcept { return text; }

private:
    void prepare(std::string_view line);
    void readOWord(std::size_t& position, GCodeExpression const& expression);
    double readValue(std::size_t& position, GCodeExpression const& expression) const;
    void addCode(char letter, double value);

    std::string text;
    std::string commentText;
    std::vector<std::string_view> comments;
    std::vector<std::pair<std::size_t, std::size_t>> commentSpans;
    bool simple = true;
    bool blockDelete = false;
    std::uint32_t words = 0;
    std::array<double, 26> values {};
    std::array<int, MaximumCodes> gCodes {};
    std::array<int, MaximumCodes> mCodes {};
    std::size_t gCount = 0;
    std::size_t mCount = 0;
    std::optional<double> lineNumber;
    struct Assignment {
        GCodeExpression::Reference target;
        double value;
    };
    std::vector<Assignment> assignments;
    OKeyword oKeyword = OKeyword::None;
    std::string oName;
    std::string_view oArguments;
};

} // namespace Quarn
