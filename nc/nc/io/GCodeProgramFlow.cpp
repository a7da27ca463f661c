// Running the O words of a program over its lines: held lines for loops and subroutines, frames of
// calls, and the skipping of what a condition or a loop passes over.
#include "nc/nc/io/GCodeProgramFlow.h"

#include <algorithm>
#include <optional>

namespace Quarn {

namespace {

// The O word of a line without reading the rest: its name and keyword, when the line is an
// O-word line whose name is written out (names computed by expressions are not found this way).
struct OWordPeek {
    std::string name;
    GCodeBlock::OKeyword keyword = GCodeBlock::OKeyword::None;
};

std::optional<OWordPeek> peekOWord(std::string_view line)
{
    std::string prepared;
    for (char c : line) {
        if (c == ' ' || c == '\t' || c == '\r')
            continue;
        if (c == '(' || c == ';' || prepared.size() > 80)
            break;
        prepared.push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
    }
    std::size_t p = 0;
    if (p < prepared.size() && prepared[p] == '/')
        ++p;
    if (p < prepared.size() && prepared[p] == 'n') {
        ++p;
        while (p < prepared.size() && ((prepared[p] >= '0' && prepared[p] <= '9') || prepared[p] == '.'))
            ++p;
    }
    if (p >= prepared.size() || prepared[p] != 'o')
        return std::nullopt;
    // The block reader knows the keywords; it reads this short prefix without expressions.
    GCodeParameters parameters;
    GCodeExpression expression(parameters);
    GCodeBlock block;
    try {
        std::string const prefix = prepared.substr(p);
        std::size_t const keywordEnd = prefix.find_first_of("[#");
        block.read(prefix.substr(0, keywordEnd), expression);
    } catch (GCodeError const&) {
        return std::nullopt;
    }
    return OWordPeek {block.getOName(), block.getOKeyword()};
}


} // namespace

GCodeProgramFlow::GCodeProgramFlow(Lines& file, GCodeParameters& parameters, std::uint64_t maximumIterations,
    std::size_t maximumCallDepth, std::size_t maximumHeldBytes)
    : file(file)
    , parameters(parameters)
    , expression(parameters)
    , maximumIterations(maximumIterations)
    , maximumCallDepth(maximumCallDepth)
    , maximumHeldBytes(maximumHeldBytes)
{
    frames.emplace_back();
}

bool GCodeProgramFlow::nextLine(std::string_view& line)
{
    unsigned int number = 0;
    if (!readLine(line, number)) {
        lastLine = {};
        return false;
    }
    lineNumber = number;
    lastLine = line;
    return true;
}

bool GCodeProgramFlow::readLine(std::string_view& line, unsigned int& number)
{
    Frame& frame = frames.back();
    if (frame.body) {
        if (frame.index >= frame.body->size())
            fail("Subroutine o" + frame.name + " ends without its endsub.");
        frame.current = frame.index++;
        HeldLine const& held = (*frame.body)[frame.current];
        line = held.text;
        number = held.number;
        return true;
    }
    if (frame.index < held.size()) {
        frame.current = frame.index++;
        line = held[frame.current].text;
        number = held[frame.current].number;
        return true;
    }
    if (frame.loops.empty() && !held.empty()) {
        held.clear();
        heldBytes = 0;
        frame.index = 0;
    }
    if (!file.next(line, number))
        return false;
    if (frame.loops.empty()) {
        frame.current = SIZE_MAX;
        return true;
    }
    hold(line, number);
    frame.current = frame.index++;
    line = held.back().text;
    return true;
}

void GCodeProgramFlow::hold(std::string_view line, unsigned int number)
{
    heldBytes += line.size() + sizeof(HeldLine);
    if (heldBytes > maximumHeldBytes)
        fail("Loops and subroutines hold more program text than the reader keeps ("
            + std::to_string(maximumHeldBytes >> 20) + " MiB).");
    held.push_back({number, std::string(line)});
}

// Reads on to the first line that is the O word name with one of the keywords, and leaves the
// frame at the line after it (which has been read: frame.current is its index).
void GCodeProgramFlow::skipTo(GCodeBlock& block, std::string const& name,
    std::initializer_list<GCodeBlock::OKeyword> keywords, char const* what)
{
    std::string_view line;
    while (nextLine(line)) {
        std::optional<OWordPeek> const peek = peekOWord(line);
        if (!peek || peek->name != name)
            continue;
        if (std::find(keywords.begin(), keywords.end(), peek->keyword) != keywords.end()) {
            block.read(line, expression);
            return;
        }
    }
    fail("File ends inside o" + name + " " + what + ".");
}

void GCodeProgramFlow::defineSub(std::string const& name)
{
    if (frames.size() > 1 || !frames.back().loops.empty() || !frames.back().conditionals.empty())
        fail("Subroutine o" + name + " is defined inside another block structure.");
    auto body = std::make_shared<Body>();
    std::size_t bytes = 0;
    std::string_view line;
    while (nextLine(line)) {
        std::optional<OWordPeek> const peek = peekOWord(line);
        if (peek && peek->name == name && peek->keyword == GCodeBlock::OKeyword::EndSub) {
            body->push_back({lineNumber, std::string(line)});
            subs[name] = std::move(body);
            return;
        }
        if (peek && peek->keyword == GCodeBlock::OKeyword::Sub)
            fail("Subroutine o" + peek->name + " is defined inside subroutine o" + name + ".");
        bytes += line.size() + sizeof(HeldLine);
        if (bytes > maximumHeldBytes)
            fail("Subroutine o" + name + " is longer than the reader keeps ("
                + std::to_string(maximumHeldBytes >> 20) + " MiB).");
        body->push_back({lineNumber, std::string(line)});
    }
    fail("File ends inside subroutine o" + name + ".");
}

void GCodeProgramFlow::countIterations(std::uint64_t count)
{
    iterations += count;
    if (count > maximumIterations || iterations > maximumIterations)
        fail("Loops ran more than " + std::to_string(maximumIterations)
            + " times; the program is taken to loop for ever.");
}

GCodeProgramFlow::Outcome GCodeProgramFlow::run(GCodeBlock& block)
{
    using K = GCodeBlock::OKeyword;
    std::string const name = block.getOName();
    std::string_view const arguments = block.getOArguments();
    Frame& frame = frames.back();
    auto const condition = [&]() {
        std::size_t position = 0;
        if (arguments.empty() || arguments[0] != '[')
            fail("o" + name + " needs a condition in brackets.");
        double const value = expression.readRealValue(arguments, position);
        if (position != arguments.size())
            fail("Unexpected text after the condition of o" + name + ".");
        return value != 0.0;
    };
    auto const optionalValue = [&]() -> std::optional<double> {
        if (arguments.empty())
            return std::nullopt;
        std::size_t position = 0;
        double const value = expression.readRealValue(arguments, position);
        if (position != arguments.size())
            fail("Unexpected text after the value of o" + name + ".");
        return value;
    };
    auto const noArguments = [&]() {
        if (!arguments.empty())
            fail("Unexpected text after o" + name + ".");
    };
    auto const countIteration = [&]() { countIterations(1); };
    // The line being run must be held to be gone back to; in the main program it is the first line
    // held when no loop was open.
    auto const startIndex = [&]() {
        if (!frame.body && frame.current == SIZE_MAX) {
            held.clear();
            heldBytes = 0;
            hold(lastLine, lineNumber);
            frame.current = 0;
            frame.index = 1;
        }
        return frame.current;
    };
    // Break and continue belong to while and do loops, as in the control.
    auto const findLoop = [&](char const* what) -> std::size_t {
        for (std::size_t i = frame.loops.size(); i-- > 0;)
            if (frame.loops[i].name == name && frame.loops[i].kind != K::Repeat)
                return i;
        fail(std::string("o") + name + " " + what + " is not inside a loop o" + name + ".");
    };

    switch (block.getOKeyword()) {
    case K::Sub:
        noArguments();
        defineSub(name);
        return Outcome::Continued;
    case K::EndSub:
    case K::Return: {
        // The control returns from the subroutine being run whatever number the word has.
        if (!frame.body)
            fail("o" + name + (block.getOKeyword() == K::Return ? " return" : " endsub") + " outside a subroutine.");
        std::optional<double> const value = optionalValue();
        returnValue = value.value_or(0.0);
        valueReturned = value.has_value();
        frames.pop_back();
        parameters.leaveCall();
        return Outcome::Returned;
    }
    case K::Call: {
        auto const found = subs.find(name);
        if (found == subs.end())
            fail("Subroutine o" + name + " is not defined before its call (subroutines in other files are not read).");
        std::vector<double> values;
        std::size_t position = 0;
        while (position < arguments.size()) {
            if (arguments[position] != '[')
                fail("Arguments of o" + name + " call must be in brackets.");
            values.push_back(expression.readRealValue(arguments, position));
            if (values.size() > static_cast<std::size_t>(GCodeParameters::ArgumentCount))
                fail("More than 30 arguments in o" + name + " call.");
        }
        if (frames.size() > maximumCallDepth)
            fail("Subroutine calls nest deeper than " + std::to_string(maximumCallDepth) + ".");
        returnValue = 0.0;
        valueReturned = false;
        parameters.enterCall(values);
        Frame called;
        called.body = found->second;
        called.name = name;
        frames.push_back(std::move(called));
        return Outcome::Continued;
    }
    case K::If:
        if (condition()) {
            frame.conditionals.push_back(name);
            return Outcome::Continued;
        }
        for (;;) {
            skipTo(block, name, {K::ElseIf, K::Else, K::EndIf}, "if");
            if (block.getOKeyword() == K::EndIf)
                return Outcome::Continued;
            if (block.getOKeyword() == K::Else) {
                frame.conditionals.push_back(name);
                return Outcome::Continued;
            }
            std::size_t position = 0;
            std::string_view const next = block.getOArguments();
            if (next.empty() || next[0] != '[')
                fail("o" + name + " elseif needs a condition in brackets.");
            if (expression.readRealValue(next, position) != 0.0) {
                frame.conditionals.push_back(name);
                return Outcome::Continued;
            }
        }
    case K::ElseIf:
    case K::Else:
        if (frame.conditionals.empty() || frame.conditionals.back() != name)
            fail("o" + name + (block.getOKeyword() == K::Else ? " else" : " elseif") + " without its o" + name + " if.");
        frame.conditionals.pop_back();
        skipTo(block, name, {K::EndIf}, "if");
        return Outcome::Continued;
    case K::EndIf:
        noArguments();
        if (frame.conditionals.empty() || frame.conditionals.back() != name)
            fail("o" + name + " endif without its o" + name + " if.");
        frame.conditionals.pop_back();
        return Outcome::Continued;
    case K::Do: {
        noArguments();
        std::size_t const start = startIndex();
        frame.loops.push_back({name, K::Do, start + 1, 0, frame.conditionals.size()});
        return Outcome::Continued;
    }
    case K::While: {
        bool const value = condition();
        if (!frame.loops.empty() && frame.loops.back().name == name && frame.loops.back().kind == K::Do
            && frame.current != SIZE_MAX) {
            // The end of a do loop.
            if (!value) {
                frame.loops.pop_back();
                return Outcome::Continued;
            }
            countIteration();
            frame.conditionals.resize(frame.loops.back().conditionals);
            frame.index = frame.loops.back().start;
            return Outcome::Continued;
        }
        bool const again = !frame.loops.empty() && frame.loops.back().name == name
            && frame.loops.back().kind == K::While && frame.loops.back().start == frame.current;
        if (!value) {
            if (again)
                frame.loops.pop_back();
            skipTo(block, name, {K::EndWhile}, "while");
            return Outcome::Continued;
        }
        if (again) {
            countIteration();
            return Outcome::Continued;
        }
        std::size_t const start = startIndex();
        frame.loops.push_back({name, K::While, start, 0, frame.conditionals.size()});
        return Outcome::Continued;
    }
    case K::EndWhile: {
        noArguments();
        if (frame.loops.empty() || frame.loops.back().name != name || frame.loops.back().kind != K::While)
            fail("o" + name + " endwhile without its o" + name + " while.");
        frame.conditionals.resize(frame.loops.back().conditionals);
        frame.index = frame.loops.back().start;
        return Outcome::Continued;
    }
    case K::Repeat: {
        std::size_t position = 0;
        if (arguments.empty() || arguments[0] != '[')
            fail("o" + name + " repeat needs a count in brackets.");
        double const count = expression.readRealValue(arguments, position);
        std::optional<std::int64_t> const times = GCodeExpression::toInteger(count);
        if (!times)
            fail("o" + name + " repeat count is not a whole number.");
        if (*times <= 0) {
            skipTo(block, name, {K::EndRepeat}, "repeat");
            return Outcome::Continued;
        }
        std::size_t const start = startIndex();
        frame.loops.push_back({name, K::Repeat, start + 1, *times, frame.conditionals.size()});
        return Outcome::Continued;
    }
    case K::EndRepeat: {
        noArguments();
        if (frame.loops.empty() || frame.loops.back().name != name || frame.loops.back().kind != K::Repeat)
            fail("o" + name + " endrepeat without its o" + name + " repeat.");
        Loop& loop = frame.loops.back();
        if (--loop.remaining <= 0) {
            frame.loops.pop_back();
            return Outcome::Continued;
        }
        countIteration();
        frame.conditionals.resize(loop.conditionals);
        frame.index = loop.start;
        return Outcome::Continued;
    }
    case K::Break:
    case K::Continue: {
        noArguments();
        bool const isBreak = block.getOKeyword() == K::Break;
        std::size_t const at = findLoop(isBreak ? "break" : "continue");
        Loop const loop = frame.loops[at];
        frame.loops.resize(at + 1);
        frame.conditionals.resize(loop.conditionals);
        K const end = loop.kind == K::While ? K::EndWhile : loop.kind == K::Do ? K::While : K::EndRepeat;
        // Continue runs the loop's end line, which goes back or ends the loop; break passes it.
        skipTo(block, name, {end}, loop.kind == K::While ? "while" : loop.kind == K::Do ? "do" : "repeat");
        if (isBreak) {
            frame.loops.pop_back();
            return Outcome::Continued;
        }
        return run(block);
    }
    case K::None:
        break;
    }
    return Outcome::Continued;
}


} // namespace Quarn
