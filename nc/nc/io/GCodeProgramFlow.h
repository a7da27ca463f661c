// The order in which an RS274NGC program's lines run: O-word subroutines, conditions and loops.
#pragma once

#include "nc/nc/io/GCodeBlock.h"
#include "nc/nc/io/GCodeExpression.h"
#include "util/utility/Export.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Quarn {

// Hands out the lines of a program in the order they run and runs its O-word blocks: sub/endsub
// (a definition is kept, not run), call with up to 30 arguments, return and endsub with a value,
// if/elseif/else/endif, while/endwhile, do/while, repeat/endrepeat, break and continue (of while and
// do loops). O-word names match by their text ("100", "<name>").
//
// Lines come from the file as they are read. While a loop of the main program is open, the lines
// read since it began are held so that it can go back; a subroutine's lines are held from its
// definition on. Together they hold at most a given number of bytes (more is an error), loops run
// at most a given number of times in all, and calls nest at most MaximumCallDepth deep: a program
// that would loop for ever ends with an error instead. Errors are GCodeError.
class QUARN_NC_EXPORT GCodeProgramFlow {
public:
    // The file's lines, whichever form the input has.
    class Lines {
    public:
        virtual ~Lines() = default;
        // The next line and its number (from 1); false at the end.
        virtual bool next(std::string_view& line, unsigned int& number) = 0;
    };

    enum class Outcome { Continued, Returned };

    GCodeProgramFlow(Lines& file, GCodeParameters& parameters, std::uint64_t maximumIterations,
        std::size_t maximumCallDepth, std::size_t maximumHeldBytes);

    // The next line to run; false at the end of the file. The view lasts until the next call.
    bool nextLine(std::string_view& line);
    // The line last handed out (or read while skipping), for messages: its number and text. The
    // text is a view of the line as read, valid until the next line is read.
    unsigned int getLineNumber() const noexcept { return lineNumber; }
    std::string_view getLineText() const noexcept { return lastLine; }

    // Runs the O-word block just read from the line last handed out; block may be read again
    // while lines are skipped. Returned: a subroutine has returned to its caller.
    Outcome run(GCodeBlock& block);

    // Counts repeats made elsewhere (a canned cycle's L) against the limit of loop iterations.
    void countIterations(std::uint64_t count);

    // Calls open: 0 in the main program.
    std::size_t getCallLevel() const noexcept { return frames.size() - 1; }
    // The name of the innermost subroutine being run ("" in the main program).
    std::string const& getSubroutineName() const noexcept { return frames.back().name; }
    // The value of the last return or endsub, and whether it had one.
    double getReturnValue() const noexcept { return returnValue; }
    bool isValueReturned() const noexcept { return valueReturned; }

private:
    struct HeldLine {
        unsigned int number = 0;
        std::string text;
    };
    using Body = std::vector<HeldLine>;
    struct Loop {
        std::string name;
        GCodeBlock::OKeyword kind;
        std::size_t start; // index of the line the loop goes back to
        std::int64_t remaining; // repeat
        std::size_t conditionals; // open ifs when the loop began
    };
    struct Frame {
        std::shared_ptr<Body const> body; // null: the file
        std::string name;
        std::size_t index = 0; // next line in body, or in held for the file
        std::size_t current = SIZE_MAX; // index of the line being run; SIZE_MAX: not held
        std::vector<Loop> loops;
        std::vector<std::string> conditionals; // names of the open ifs
    };

    bool readLine(std::string_view& line, unsigned int& number);
    void hold(std::string_view line, unsigned int number);
    void skipTo(GCodeBlock& block, std::string const& name, std::initializer_list<GCodeBlock::OKeyword> keywords,
        char const* what);
    void defineSub(std::string const& name);
    [[noreturn]] void fail(std::string const& message) const { throw GCodeError(message); }

    Lines& file;
    GCodeParameters& parameters;
    GCodeExpression expression;
    std::uint64_t maximumIterations;
    std::size_t maximumCallDepth;
    std::size_t maximumHeldBytes;
    std::vector<Frame> frames;
    Body held; // lines of the file kept while a loop of the main program is open
    std::size_t heldBytes = 0;
    std::unordered_map<std::string, std::shared_ptr<Body const>> subs;
    std::uint64_t iterations = 0;
    unsigned int lineNumber = 0;
    std::string_view lastLine;
    double returnValue = 0.0;
    bool valueReturned = false;
};

} // namespace Quarn
