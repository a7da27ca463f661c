// Running RS274NGC programs: the modal state of the control and the events of each block in the
// control's order of execution; GCodeProgramFlow hands out the lines as O words order them.
//
// What is read and what is sent:
//   blocks        one per line; "/" blocks run unless block delete is on; a first line "%" makes
//                 the program end at the next "%" line; M2 and M30 end it too; nothing after the
//                 end is read. A file that ends before either is an error.
//   comments      onComment with the text between "(" ")" or after ";" (when comments are passed
//                 on); "(ABORT, text)" stops the program with an error
//   line numbers  onLineNumber(N) for blocks with an N word; with setPassThroughLineNumbers, the
//                 file's line of every block instead
//   sections      opened before the first event that needs one (moves, dwells, cycles, coolant,
//                 spindle speed, compensation) with onContext (unit G20/G21; work offset 1 to 9 for
//                 G54 to G59.3; feed mode G93/G94/G95; the work system: origin = the active G54..
//                 offset (G10 L2/L20) + the G92/G52 offset turned by the offset's rotation R,
//                 plane = that rotation about Z; the WCS the G54.. offset and rotation alone), onTool
//                 (number of the last M6 or M61 tool, length offset H while G43 is on, spindle
//                 speed and direction, coolant) and onSection. A tool change (M6, M61) ends the
//                 section; a changed context or length offset ends it before the next such event.
//                 Spindle speed and direction (M3/M4/M5), coolant and compensation set before a
//                 section travel in its tool and its first events (a speed set while the spindle
//                 stands still as onSpindleSpeed after onSection: a tool's speed means it runs).
//   moves         G0 onRapid, G1 onLinear (feed as programmed: per minute, per revolution or
//                 inverse time as the context says), movement rapid / cutting, compensation flags
//                 of G41/G42; G2/G3 onCWArc / onCCWArc about +Z, +Y, +X in G17, G18, G19 (centre at
//                 the start's level along the axis; a changed level is a helix), onCWCircle /
//                 onCCWCircle when the end is the start, onCircular for P turns > 1 and full helix
//                 turns; G4 onDwell(seconds); moves of axes A B C U V W send onMachineAxisOrdering
//                 (X Y Z A B C U V W, once) and onMachineAxisValues (millimetres and degrees) before
//                 them; G53 moves in machine coordinates; G28/G30 via their point to home;
//                 G33 onLinear at K times the spindle speed between onCommand(COMMAND_ACTIVATE_
//                 SPEED_FEED_SYNCHRONIZATION) and its DEACTIVATE, G33.1 the same there and back.
//   cycles        G73, G74, G81 to G89 as a group GCodeCannedCycle::getGroupUri with the cycle's
//                 values (NCCycleDefinition parameters, again when one changes) and the moves of
//                 each hole; the group ends at G80, another motion or another cycle.
//   commands      M0 stop, M1 optional stop, M3/M4/M5 spindle, M19 orientation, M60 pallet change
//                 (onCommand); M7/M8/M9 onCoolant; M48-M53 and M62-M68 onMachineCommand(M number);
//                 S onSpindleSpeed; G40/G41/G42 onRadiusCompensation; G61/G61.1/G64 and G96/G97
//                 the text parameters "path-control" and "spindle-mode"; G10 L1/L10/L11 the text
//                 parameter "tool-table" (the block); M2, M30 onCommand(COMMAND_END), onClose.
//   language      parameters and expressions (GCodeExpression), settings at the end of the
//                 block's reading, O words: sub/endsub/return with values, call with arguments,
//                 if/elseif/else/endif, while/endwhile, do/while, repeat/endrepeat,
//                 break/continue (of while and do loops), within the file; M70-M73 modal state.
// Everything else is an NCParseException naming the line and the word: codes the dialect has but
// this reader does not run (G5 splines, G38 probing, G70-G72 and G76 lathe cycles, UVW planes,
// M100-M199), codes it does not have, a word no code of its block uses, a subroutine not defined
// before its call in the file (one in another file is not read).
#include "nc/nc/io/GCodeReader.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCParseException.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/GCodeBlock.h"
#include "nc/nc/io/GCodeCannedCycle.h"
#include "nc/nc/io/GCodeExpression.h"
#include "nc/nc/io/GCodeProgramFlow.h"
#include "nc/nc/io/TextLines.h"
#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/SafePointer.h"
#include "util/utility/io/InputStream.h"
#include "util/utility/io/LineReader.h"
#include "util/utility/io/SequentialLineReader.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <numbers>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Quarn {

namespace {

constexpr double Pi = std::numbers::pi;
constexpr char AxisLetters[] = "xyzabcuvw";
constexpr std::size_t AxisCount = 9;
using Axes = std::array<double, AxisCount>;

constexpr bool isLinearAxis(std::size_t axis) noexcept { return axis < 3 || axis > 5; }

constexpr std::uint32_t wordBits(std::string_view letters) noexcept
{
    std::uint32_t bits = 0;
    for (char letter : letters)
        bits |= 1u << GCodeBlock::letterIndex(letter);
    return bits;
}
constexpr std::uint32_t OtherAxisWordMask = wordBits("abcuvw");
constexpr std::uint32_t AxisWordMask = wordBits("xyzabcuvw") | wordBits({&GCodeBlock::PolarDistance, 1})
    | wordBits({&GCodeBlock::PolarAngle, 1});

// The file's lines, whichever form the input has.
template <class Source> class LinesOf final : public GCodeProgramFlow::Lines {
public:
    explicit LinesOf(Source& lines) : lines(lines) { }
    bool next(std::string_view& line, unsigned int& number) override
    {
        if (!lines.next(line))
            return false;
        number = lines.getLineNumber();
        return true;
    }

private:
    Source& lines;
};

// --- The modal state of the control.

struct Modes {
    int motion = -1; // ten times the G number of the motion mode; -1 none yet
    int plane = 170;
    bool absolute = true;
    bool arcAbsolute = false;
    int feedMode = 940;
    bool inches = false;
    int compensation = 400;
    int coordinateSystem = 1; // 1..9 for G54..G59.3
    bool retractToReference = true; // G99, the control's mode at start
    bool diameterMode = false;
    bool lengthOffsetOn = false;
    unsigned int lengthOffset = 0;
    bool spindleClockwise = true;
    bool spindleOn = false;
    bool surfaceSpeedMode = false;
    bool mist = false;
    bool flood = false;
    double feed = 0.0;
    double speed = 0.0;
};

// --- The program.

class Interpreter final : public GCodeParameters::SystemValues {
public:
    Interpreter(GCodeReader& reader, NCStream& target, GCodeProgramFlow::Lines& file)
        : reader(reader)
        , target(target)
        , expression(parameters)
        , flow(file, parameters, reader.getMaximumLoopIterations(), GCodeReader::MaximumCallDepth,
              GCodeReader::MaximumHeldText)
    {
        parameters.setSystemValues(this);
        modes.inches = reader.getUnit() == NCUnit::INCHES;
        parameters.set(5220, 1.0);
    }

    bool run();

    std::optional<double> getNumbered(int number) const override;
    std::optional<double> getNamed(std::string_view name) const override;

private:
    // Blocks.
    bool runLine(std::string_view line, unsigned int number);
    bool runBlock();
    std::optional<bool> runPlainMove();
    bool endProgram();
    void restoreModes();

    // Steps of a block.
    void checkCodes();
    bool comments();
    bool setTool();
    bool spindle();
    bool coolant();
    bool overrides();
    bool dwell();
    void setUnits(bool inches);
    bool compensation();
    void lengthOffset();
    bool coordinateSystemData();
    bool motion();
    void checkFeed(char const* move);
    bool straight(bool rapid, Axes const& end);
    bool arc(bool clockwise, Axes const& end);
    bool synchronised(bool rigidTap, Axes const& end);
    bool cycle(int word, Axes const& end);
    bool homeMove(int word);

    // Events.
    bool ensureSection();
    bool endSection();
    bool endCycleGroup();
    bool sendAxisValues(Axes const& end);
    unsigned int moveFlags(bool rapid) const noexcept;
    NCContext makeContext() const;
    NCTool makeTool() const;
    Vector3D point(Axes const& axes) const noexcept { return {axes[0], axes[1], axes[2]}; }

    // Coordinates.
    Axes endOf(bool machine) const;
    Axes offsetOf(int system) const;
    double rotationOf(int system) const;
    Axes toMachine(Axes const& program) const;
    Axes fromMachine(Axes const& machine) const;
    void setOffsets(std::optional<Axes> const& g92);
    double lengthScale() const noexcept { return modes.inches ? 25.4 : 1.0; }

    // Words.
    void use(char letter) noexcept { used |= 1u << GCodeBlock::letterIndex(letter); }
    bool has(char letter) const noexcept { return block.has(letter); }
    double word(char letter) noexcept
    {
        use(letter);
        return block.get(letter);
    }
    std::optional<int> gOf(int group) const noexcept { return gCodes[static_cast<std::size_t>(group)]; }
    std::optional<int> mOf(int group) const noexcept { return mCodes[static_cast<std::size_t>(group)]; }
    bool hasAxisWords() const noexcept;
    [[noreturn]] void fail(std::string const& message) const { throw GCodeError(message); }

    GCodeReader& reader;
    NCStream& target;
    GCodeParameters parameters;
    GCodeExpression expression;
    GCodeBlock block;
    std::uint32_t used = 0;
    std::array<std::optional<int>, 16> gCodes {}; // by modal group
    std::array<std::optional<int>, 11> mCodes {};
    bool gNonModalHasAxes = false;

    // Program text.
    GCodeProgramFlow flow;
    bool percentFirst = false;
    bool started = false; // a line besides blanks was read
    bool ended = false;

    // Machine state.
    Modes modes;
    std::optional<Modes> savedModes; // M70
    Axes position {};
    Axes g92 {};
    unsigned int currentTool = 0;
    int selectedTool = -1;
    std::vector<std::pair<std::size_t, Modes>> restores; // M73: the call level and its state

    // Events.
    bool sectionOpen = false;
    bool toolChanged = false; // since the section opened
    bool contextTouched = true; // what the context or tool depend on may have changed
    NCContext sectionContext;
    unsigned int sectionTool = 0;
    unsigned int sectionLengthOffset = 0;
    bool otherAxes = false; // a block has named A, B, C, U, V or W, or set offsets
    bool axesNamed = false; // the ordering has been sent
    bool axesSent = false; // sentAxes are the last values sent, in this unit
    Axes sentAxes {};

    // Canned cycles.
    bool cycleGroupOpen = false;
    int cycleGroupWord = 0;
    NCCycleDefinition cycleGroupDefinition;
    double cycleReference = 0.0; // sticky R
    double cycleBottom = 0.0; // sticky Z (along the plane's axis)
    double cyclePeck = 0.0;
    double cycleDwell = 0.0;
    std::optional<double> cycleSeriesLevel; // the level where the series of cycle blocks began
};

// ---------------------------------------------------------------------------------------------
// Blocks.

bool Interpreter::run()
{
    if (!target.onOpen())
        return false;
    Abortable& abort = *reader.getAbortable();
    std::string_view line;
    try {
        while (!ended) {
            if (abort.isAborted())
                return false;
            if (!flow.nextLine(line))
                break;
            if (!runLine(line, flow.getLineNumber()))
                return false;
        }
    } catch (GCodeError const& error) {
        throw NCParseException(
            flow.getLineNumber(), Unicode::fromUTF8(error.getMessage()), Unicode::fromUTF8(flow.getLineText()));
    }
    unsigned int const lineNumber = flow.getLineNumber();
    if (!ended) {
        if (flow.getCallLevel() > 0)
            throw NCParseException(lineNumber,
                L"File ends inside subroutine o" + Unicode::fromUTF8(flow.getSubroutineName()) + L".", L"");
        throw NCParseException(lineNumber,
            percentFirst ? L"File ends without its closing '%'." : L"File ends without M2, M30 or a closing '%'.", L"");
    }
    return !abort.isAborted() && target.onClose();
}

bool Interpreter::runLine(std::string_view line, unsigned int number)
{
    std::size_t first = 0;
    while (first < line.size() && (line[first] == ' ' || line[first] == '\t' || line[first] == '\r'))
        ++first;
    if (first == line.size())
        return true;
    if (line[first] == '%' && line.find_first_not_of(" \t\r", first + 1) == std::string_view::npos) {
        if (!started) {
            started = true;
            percentFirst = true;
            return true;
        }
        return endProgram();
    }
    if (!started && number == 1 && line.substr(first).starts_with("\xEF\xBB\xBF"))
        return runLine(line.substr(first + 3), number);
    started = true;
    if (!block.readPlain(line))
        block.read(line, expression);
    if (block.isBlockDelete() && reader.getBlockDelete())
        return true;
    if (reader.getPassThroughLineNumbers()) {
        if (!target.onLineNumber(number))
            return false;
    } else if (std::optional<double> const n = block.getLineNumber()) {
        if (*n >= 0.0 && *n < 4294967296.0 && !target.onLineNumber(static_cast<unsigned int>(*n)))
            return false;
    }
    if (block.getOKeyword() != GCodeBlock::OKeyword::None) {
        if (!comments())
            return false;
        if (flow.run(block) == GCodeProgramFlow::Outcome::Returned)
            restoreModes();
        return true;
    }
    return runBlock();
}

// The modes M73 saved in the subroutine that has returned.
void Interpreter::restoreModes()
{
    while (!restores.empty() && restores.back().first > flow.getCallLevel()) {
        Modes const saved = restores.back().second;
        restores.pop_back();
        setUnits(saved.inches);
        modes = saved;
        contextTouched = true;
    }
}

bool Interpreter::endProgram()
{
    ended = true;
    return endCycleGroup() && endSection();
}

// ---------------------------------------------------------------------------------------------
// The codes a block may hold: their modal groups, and the ones this reader does not run.

// Modal groups of G codes (ten times their number); 0 holds the codes that act once.
int gGroup(int code) noexcept
{
    switch (code) {
    case 40: case 100: case 280: case 281: case 300: case 301: case 520: case 530: case 920: case 921: case 922:
    case 923:
        return 0;
    case 0: case 10: case 20: case 30: case 730: case 740: case 800: case 810: case 820: case 830: case 840:
    case 850: case 860: case 870: case 880: case 890:
    case 50: case 51: case 52: case 53: case 330: case 331: case 382: case 383: case 384: case 385: case 760:
    case 700: case 710: case 711: case 712: case 720: case 721: case 722:
        return 1;
    case 170: case 180: case 190: case 171: case 181: case 191:
        return 2;
    case 900: case 910:
        return 3;
    case 901: case 911:
        return 4;
    case 930: case 940: case 950:
        return 5;
    case 200: case 210:
        return 6;
    case 400: case 410: case 420: case 411: case 421:
        return 7;
    case 430: case 431: case 432: case 490:
        return 8;
    case 980: case 990:
        return 10;
    case 540: case 550: case 560: case 570: case 580: case 590: case 591: case 592: case 593:
        return 12;
    case 610: case 611: case 640:
        return 13;
    case 960: case 970:
        return 14;
    case 70: case 80:
        return 15;
    default:
        return -1;
    }
}

// Why a G code of the dialect is not run; nothing for the codes that are.
std::optional<std::string_view> gUnsupported(int code) noexcept
{
    switch (code) {
    case 50: case 51: case 52: case 53:
        return "splines are not read";
    case 382: case 383: case 384: case 385:
        return "probing moves depend on what the probe touches";
    case 760: case 700: case 710: case 711: case 712: case 720: case 721: case 722:
        return "lathe threading and turning cycles are not read";
    case 171: case 181: case 191:
        return "arcs in the UVW planes are not read";
    default:
        return std::nullopt;
    }
}

// Modal groups of M codes; -1 for codes the dialect does not have.
int mGroup(int code) noexcept
{
    switch (code) {
    case 0: case 10: case 20: case 300: case 600:
        return 4;
    case 60: case 610:
        return 6;
    case 30: case 40: case 50: case 190:
        return 7;
    case 70: case 80: case 90:
        return 8;
    case 480: case 490: case 500: case 510: case 520: case 530:
        return 9;
    case 620: case 630: case 640: case 650: case 660: case 670: case 680:
        return 5;
    case 700: case 710: case 720: case 730:
        return 3;
    default:
        return code >= 1000 && code <= 1990 && code % 10 == 0 ? 10 : -1;
    }
}

// A word as text: its letter and the shortest number that reads back as the value.
std::string wordText(char letter, double value)
{
    char buffer[40];
    buffer[0] = letter;
    auto const [end, error] = std::to_chars(buffer + 1, buffer + sizeof buffer, value);
    return std::string(buffer, error == std::errc() ? end : buffer + 1);
}

std::string codeText(char letter, int code)
{
    std::string text(1, letter);
    text += std::to_string(code / 10);
    if (code % 10 != 0)
        text += "." + std::to_string(code % 10);
    return text;
}

void Interpreter::checkCodes()
{
    gCodes.fill(std::nullopt);
    mCodes.fill(std::nullopt);
    gNonModalHasAxes = false;
    for (std::size_t i = 0; i < block.getGCount(); ++i) {
        int const code = block.getG(i);
        int const group = gGroup(code);
        if (group < 0)
            fail("Unknown G code " + codeText('G', code) + ".");
        if (std::optional<std::string_view> const why = gUnsupported(code))
            fail(codeText('G', code) + " is not supported: " + std::string(*why) + ".");
        auto& slot = gCodes[static_cast<std::size_t>(group)];
        if (slot)
            fail("Two G codes of one modal group in one block: " + codeText('G', *slot) + " and " + codeText('G', code) + ".");
        slot = code;
        if (code == 100 || code == 280 || code == 300 || code == 520 || code == 920)
            gNonModalHasAxes = true;
    }
    if (gCodes[8] == 431)
        gNonModalHasAxes = true;
    for (std::size_t i = 0; i < block.getMCount(); ++i) {
        int const code = block.getM(i);
        int const group = mGroup(code);
        if (group < 0)
            fail("Unknown M code " + codeText('M', code) + ".");
        if (group == 10)
            fail(codeText('M', code) + " is not supported: it runs a program of the machine.");
        auto& slot = mCodes[static_cast<std::size_t>(group)];
        if (slot)
            fail("Two M codes of one modal group in one block: " + codeText('M', *slot) + " and " + codeText('M', code) + ".");
        slot = code;
    }
    if (block.getMCount() > 4)
        fail("More than four M codes in one block.");
    if (gNonModalHasAxes && gCodes[1] && hasAxisWords())
        fail("Two G codes that both use the axis words: " + codeText('G', *gCodes[1]) + " and " + codeText('G', *gCodes[0]) + ".");
    if (gCodes[1] == 800 && hasAxisWords() && !gNonModalHasAxes)
        fail("G80 with axis words.");
}

bool Interpreter::hasAxisWords() const noexcept { return (block.getWords() & AxisWordMask) != 0; }

// ---------------------------------------------------------------------------------------------
// The steps of a block, in the control's order.

// The blocks most programs are made of: G0, G1, G2 or G3 (or none, in one of their modes) with X, Y,
// Z and F, and for arcs I, J, K, R and P, nothing else. They run without the steps of a general
// block, to the same effect (every word is used, by the move or by its error).
std::optional<bool> Interpreter::runPlainMove()
{
    constexpr std::uint32_t StraightWords = wordBits("xyzf");
    constexpr std::uint32_t ArcWords = wordBits("xyzfijkrp");
    std::uint32_t const words = block.getWords();
    if (block.getMCount() != 0 || block.getGCount() > 1 || (words & ~ArcWords) != 0 || !block.getComments().empty()
        || block.hasAssignments() || cycleGroupOpen || modes.diameterMode)
        return std::nullopt;
    int const code = block.getGCount() == 1 ? block.getG(0) : modes.motion;
    bool const straightMove = code == 0 || code == 10;
    bool const arcMove = code == 20 || code == 30;
    if (!(straightMove && (words & ~StraightWords) == 0 && (words & AxisWordMask) != 0)
        && !(arcMove && (words & wordBits("xyzijkr")) != 0))
        return std::nullopt;
    modes.motion = code;
    if ((words & wordBits("f")) != 0) {
        if (block.get('f') < 0.0)
            fail("Negative feed rate F.");
        modes.feed = block.get('f');
    }
    // The end from X, Y and Z alone (no polar words, no diameter mode here).
    Axes end = position;
    for (std::size_t axis = 0; axis < 3; ++axis)
        if ((words & (1u << GCodeBlock::letterIndex(AxisLetters[axis]))) != 0) {
            double const value = block.get(AxisLetters[axis]);
            end[axis] = modes.absolute ? value : end[axis] + value;
        }
    if (arcMove) {
        used = 0;
        if (!arc(code == 20, end))
            return false;
        if (std::uint32_t const unused = words & ~used & ~StraightWords)
            fail(std::string("Word ") + static_cast<char>('A' + std::countr_zero(unused))
                + " is not used by any code of the block.");
        return true;
    }
    return straight(code == 0, end);
}

bool Interpreter::runBlock()
{
    if (std::optional<bool> const plain = runPlainMove())
        return *plain;
    used = 0;
    checkCodes();
    block.applyAssignments(expression);
    if (!comments())
        return false;
    if (std::optional<int> const mode = gOf(5)) {
        modes.feedMode = *mode;
        contextTouched = true;
    }
    if (has('f')) {
        double const feed = word('f');
        if (feed < 0.0)
            fail("Negative feed rate F.");
        modes.feed = feed;
    }
    if (std::optional<int> const spindleMode = gOf(14)) {
        modes.surfaceSpeedMode = *spindleMode == 960;
        std::string text = codeText('G', *spindleMode);
        if (has('d'))
            text += " " + wordText('D', word('d'));
        if (!target.onParameter(GCodeReader::getParameterName("spindle-mode").c_str(), text.c_str()))
            return false;
    }
    if (has('s')) {
        double const speed = word('s');
        if (speed < 0.0)
            fail("Negative spindle speed S.");
        bool const changed = speed != modes.speed;
        modes.speed = speed;
        if (changed && sectionOpen && !target.onSpindleSpeed(speed))
            return false;
    }
    if (has('t')) {
        std::optional<std::int64_t> const tool = GCodeExpression::toInteger(word('t'));
        if (!tool || *tool < 0 || *tool > 99999999)
            fail("Tool number T is not a whole number from 0.");
        selectedTool = static_cast<int>(*tool);
    }
    if (!setTool() || !spindle())
        return false;
    if (std::optional<int> const state = mOf(3)) {
        if (*state == 700)
            savedModes = modes;
        else if (*state == 710)
            savedModes.reset();
        else if (*state == 720) {
            if (!savedModes)
                fail("M72 without a state saved by M70.");
            setUnits(savedModes->inches);
            modes = *savedModes;
            contextTouched = true;
        } else {
            // In the main program nothing returns, so nothing is restored.
            restores.emplace_back(flow.getCallLevel(), modes);
        }
    }
    if (!coolant() || !overrides() || !dwell())
        return false;
    if (std::optional<int> const plane = gOf(2))
        modes.plane = *plane;
    if (std::optional<int> const units = gOf(6))
        setUnits(*units == 200);
    if (!compensation())
        return false;
    lengthOffset();
    if (std::optional<int> const system = gOf(12)) {
        int const number = *system < 591 ? (*system - 540) / 10 + 1 : *system - 591 + 7;
        // The tool stays where it is on the machine; its coordinates are the new system's.
        Axes const machine = toMachine(position);
        modes.coordinateSystem = number;
        parameters.set(5220, number);
        position = fromMachine(machine);
        contextTouched = true;
    }
    if (std::optional<int> const path = gOf(13)) {
        std::string text = codeText('G', *path);
        if (*path == 640) {
            for (char letter : {'p', 'q'})
                if (has(letter))
                    text += " " + wordText(static_cast<char>(letter - 'a' + 'A'), word(letter));
        }
        if (!target.onParameter(GCodeReader::getParameterName("path-control").c_str(), text.c_str()))
            return false;
    }
    if (std::optional<int> const distance = gOf(3))
        modes.absolute = *distance == 900;
    if (std::optional<int> const arcDistance = gOf(4))
        modes.arcAbsolute = *arcDistance == 901;
    if (std::optional<int> const retract = gOf(10))
        modes.retractToReference = *retract == 990;
    if (std::optional<int> const lathe = gOf(15))
        modes.diameterMode = *lathe == 70;
    if (!coordinateSystemData() || !motion())
        return false;
    if (std::optional<int> const stop = mOf(4)) {
        if (*stop == 20 || *stop == 300) {
            if (!target.onCommand(NCStream::COMMAND_END))
                return false;
            return endProgram();
        }
        NCStream::Command const command = *stop == 0 ? NCStream::COMMAND_STOP
            : *stop == 10                         ? NCStream::COMMAND_OPTIONAL_STOP
                                                  : NCStream::COMMAND_CHANGE_PALLET;
        if (!target.onCommand(command))
            return false;
    }
    if (std::uint32_t const unused = block.getWords() & ~used) {
        int letter = 0;
        while ((unused >> letter & 1u) == 0)
            ++letter;
        char const name = letter == GCodeBlock::letterIndex(GCodeBlock::PolarDistance) ? '@'
            : letter == GCodeBlock::letterIndex(GCodeBlock::PolarAngle)                ? '^'
                                                                                       : static_cast<char>('A' + letter);
        fail(std::string("Word ") + name + " is not used by any code of the block.");
    }
    return true;
}

bool Interpreter::comments()
{
    for (std::string_view comment : block.getComments()) {
        std::string_view text = comment;
        while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
            text.remove_prefix(1);
        if (text.size() >= 6) {
            std::string start(text.substr(0, 6));
            std::transform(start.begin(), start.end(), start.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
            if (start == "abort,")
                fail("Program aborted:" + std::string(text.substr(6)));
        }
        if (reader.getPassOnComments() && !target.onComment(std::string(comment).c_str()))
            return false;
    }
    return true;
}

bool Interpreter::setTool()
{
    std::optional<int> const change = mOf(6);
    if (!change)
        return true;
    unsigned int next = 0;
    if (*change == 610) {
        if (!has('q'))
            fail("M61 without the tool number Q.");
        std::optional<std::int64_t> const tool = GCodeExpression::toInteger(word('q'));
        if (!tool || *tool < 0 || *tool > 99999999)
            fail("Tool number Q of M61 is not a whole number from 0.");
        next = static_cast<unsigned int>(*tool);
    } else {
        next = selectedTool < 0 ? currentTool : static_cast<unsigned int>(selectedTool);
    }
    // A tool changed to and changed from again before it made a move still gets its section.
    if (toolChanged && !sectionOpen && !ensureSection())
        return false;
    if (!endSection())
        return false;
    currentTool = next;
    toolChanged = true;
    contextTouched = true;
    return true;
}

bool Interpreter::spindle()
{
    std::optional<int> const code = mOf(7);
    if (!code)
        return true;
    NCStream::Command command = NCStream::COMMAND_STOP_SPINDLE;
    switch (*code) {
    case 30:
        modes.spindleOn = true;
        modes.spindleClockwise = true;
        command = NCStream::COMMAND_SPINDLE_CLOCKWISE;
        break;
    case 40:
        modes.spindleOn = true;
        modes.spindleClockwise = false;
        command = NCStream::COMMAND_SPINDLE_COUNTERCLOCKWISE;
        break;
    case 50:
        modes.spindleOn = false;
        break;
    default:
        for (char letter : {'r', 'q', 'p'})
            if (has(letter))
                word(letter);
        command = NCStream::COMMAND_ORIENTATE_SPINDLE;
        break;
    }
    // Before a section the spindle's state travels in the section's tool, after its change.
    if (!sectionOpen && *code != 190)
        return true;
    return target.onCommand(command);
}

bool Interpreter::coolant()
{
    std::optional<int> const code = mOf(8);
    if (!code)
        return true;
    if (*code == 90) {
        modes.mist = false;
        modes.flood = false;
    } else {
        modes.mist = modes.mist || *code == 70;
        modes.flood = modes.flood || *code == 80;
    }
    if (!sectionOpen)
        return true;
    NCTool::Coolant const kind = modes.flood && modes.mist ? NCTool::COOLANT_FLOOD_MIST
        : modes.flood                                       ? NCTool::COOLANT_FLOOD
        : modes.mist                                        ? NCTool::COOLANT_MIST
                                                            : NCTool::COOLANT_NONE;
    return target.onCoolant(kind, NCStream::COOLANT_LEVEL_DEFAULT);
}

bool Interpreter::overrides()
{
    for (int group : {9, 5}) {
        std::optional<int> const code = mOf(group);
        if (!code)
            continue;
        for (char letter : {'p', 'e', 'l', 'q'})
            if (has(letter) && (group == 5 || letter == 'p'))
                word(letter);
        if (!target.onMachineCommand(static_cast<unsigned int>(*code / 10)))
            return false;
    }
    return true;
}

bool Interpreter::dwell()
{
    if (gOf(0) != 40)
        return true;
    if (!has('p'))
        fail("G4 without the dwell time P.");
    double const seconds = word('p');
    if (seconds < 0.0)
        fail("Negative dwell time P.");
    return ensureSection() && target.onDwell(seconds, 0);
}

void Interpreter::setUnits(bool inches)
{
    if (inches == modes.inches)
        return;
    double const factor = inches ? 1.0 / 25.4 : 25.4;
    for (std::size_t i = 0; i < AxisCount; ++i)
        if (isLinearAxis(i)) {
            position[i] *= factor;
            g92[i] *= factor;
            for (int base : {5161, 5181, 5211})
                parameters.set(base + static_cast<int>(i), parameters.get(base + static_cast<int>(i)) * factor);
            for (int system = 1; system <= 9; ++system) {
                int const number = 5201 + 20 * system + static_cast<int>(i);
                parameters.set(number, parameters.get(number) * factor);
            }
        }
    axesSent = false;
    modes.inches = inches;
    contextTouched = true;
}

bool Interpreter::compensation()
{
    std::optional<int> const code = gOf(7);
    if (!code)
        return true;
    if (has('d'))
        word('d');
    if ((*code == 411 || *code == 421) && has('l'))
        word('l');
    modes.compensation = *code == 411 ? 410 : *code == 421 ? 420 : *code;
    if (!sectionOpen)
        return true;
    NCStream::Compensation const side = modes.compensation == 410 ? NCStream::COMPENSATION_LEFT
        : modes.compensation == 420                                ? NCStream::COMPENSATION_RIGHT
                                                                   : NCStream::COMPENSATION_OFF;
    return target.onRadiusCompensation(side);
}

void Interpreter::lengthOffset()
{
    std::optional<int> const code = gOf(8);
    if (!code)
        return;
    contextTouched = true;
    if (*code == 490) {
        modes.lengthOffsetOn = false;
        return;
    }
    if (*code == 431) {
        for (char letter : std::string_view(AxisLetters))
            if (has(letter))
                word(letter);
        return;
    }
    modes.lengthOffsetOn = true;
    unsigned int offset = currentTool;
    if (has('h')) {
        std::optional<std::int64_t> const h = GCodeExpression::toInteger(word('h'));
        if (!h || *h < 0 || *h > 99999999)
            fail("Length offset H is not a whole number from 0.");
        offset = static_cast<unsigned int>(*h);
    }
    modes.lengthOffset = offset;
}

// G10, G28/G30 and their .1 forms, G52 and the G92 family.
bool Interpreter::coordinateSystemData()
{
    std::optional<int> const code = gOf(0);
    if (!code || *code == 40 || *code == 530)
        return true;
    contextTouched = true;
    otherAxes = true;
    auto const axisWord = [&](std::size_t axis) -> std::optional<double> {
        char const letter = AxisLetters[axis];
        if (!has(letter))
            return std::nullopt;
        double value = word(letter);
        if (axis == 0 && modes.diameterMode)
            value /= 2.0;
        return value;
    };
    switch (*code) {
    case 100: {
        if (!has('l'))
            fail("G10 without L.");
        std::optional<std::int64_t> const l = GCodeExpression::toInteger(word('l'));
        if (l == 1 || l == 10 || l == 11) {
            for (char letter : {'p', 'r', 'i', 'j', 'q'})
                if (has(letter))
                    word(letter);
            for (std::size_t axis = 0; axis < AxisCount; ++axis)
                axisWord(axis);
            return target.onParameter(
                GCodeReader::getParameterName("tool-table").c_str(), std::string(flow.getLineText()).c_str());
        }
        if (l != 2 && l != 20)
            fail("G10 L" + std::to_string(l.value_or(-1)) + " is not supported.");
        if (!has('p'))
            fail("G10 L" + std::to_string(*l) + " without the coordinate system P.");
        std::optional<std::int64_t> const p = GCodeExpression::toInteger(word('p'));
        if (!p || *p < 0 || *p > 9)
            fail("Coordinate system P of G10 is not 0 to 9.");
        int const system = *p == 0 ? modes.coordinateSystem : static_cast<int>(*p);
        int const base = 5201 + 20 * system;
        Axes const machine = toMachine(position);
        for (std::size_t axis = 0; axis < AxisCount; ++axis) {
            std::optional<double> const value = axisWord(axis);
            if (!value)
                continue;
            double offset = *value;
            if (*l == 20) {
                // The offset that makes the current position read as the value.
                offset = machine[axis] - (*value + g92[axis]);
                if (axis < 2 && rotationOf(system) != 0.0) {
                    Axes program = position;
                    program[axis] = *value;
                    offset = machine[axis] - toMachine(program)[axis] + parameters.get(base + static_cast<int>(axis));
                }
            }
            parameters.set(base + static_cast<int>(axis), offset);
        }
        if (has('r'))
            parameters.set(base + 9, word('r'));
        if (system == modes.coordinateSystem)
            position = fromMachine(machine);
        return true;
    }
    case 280:
    case 300:
        return homeMove(*code);
    case 281:
    case 301: {
        Axes const machine = toMachine(position);
        int const base = *code == 281 ? 5161 : 5181;
        for (std::size_t axis = 0; axis < AxisCount; ++axis)
            parameters.set(base + static_cast<int>(axis), machine[axis]);
        return true;
    }
    case 520:
    case 920: {
        Axes next = g92;
        bool any = false;
        for (std::size_t axis = 0; axis < AxisCount; ++axis) {
            std::optional<double> const value = axisWord(axis);
            if (!value)
                continue;
            any = true;
            // G92: the offset that makes the current position read as the value; G52: the value.
            next[axis] = *code == 920 ? position[axis] + g92[axis] - *value : *value;
        }
        if (!any)
            fail(codeText('G', *code) + " without axis words.");
        setOffsets(next);
        return true;
    }
    case 921:
    case 922:
        setOffsets(Axes {});
        if (*code == 921)
            for (int number = 5210; number <= 5219; ++number)
                parameters.set(number, 0.0);
        return true;
    case 923: {
        Axes stored {};
        for (std::size_t axis = 0; axis < AxisCount; ++axis)
            stored[axis] = parameters.get(5211 + static_cast<int>(axis));
        setOffsets(stored);
        return true;
    }
    default:
        return true;
    }
}

// A new G92 offset: the position keeps its place on the machine; the stored values follow.
void Interpreter::setOffsets(std::optional<Axes> const& next)
{
    Axes const machine = toMachine(position);
    g92 = *next;
    bool any = false;
    for (std::size_t axis = 0; axis < AxisCount; ++axis) {
        any = any || g92[axis] != 0.0;
        if (g92[axis] != 0.0 || gOf(0) != 922)
            parameters.set(5211 + static_cast<int>(axis), g92[axis]);
    }
    if (gOf(0) != 922)
        parameters.set(5210, any ? 1.0 : 0.0);
    position = fromMachine(machine);
}

bool Interpreter::homeMove(int code)
{
    int const base = code == 280 ? 5161 : 5181;
    Axes home {};
    for (std::size_t axis = 0; axis < AxisCount; ++axis)
        home[axis] = parameters.get(base + static_cast<int>(axis));
    Axes const homeProgram = fromMachine(home);
    used |= block.getWords() & AxisWordMask;
    if (!hasAxisWords())
        return straight(true, homeProgram);
    Axes const via = endOf(false);
    Axes end = via;
    for (std::size_t axis = 0; axis < AxisCount; ++axis)
        if (block.has(AxisLetters[axis]))
            end[axis] = homeProgram[axis];
    return straight(true, via) && straight(true, end);
}

// ---------------------------------------------------------------------------------------------
// Motion.

// The end of a move from the block's axis words: absolute or incremental, polar in the XY plane,
// X as a diameter in G7, machine coordinates with G53.
Axes Interpreter::endOf(bool machine) const
{
    Axes end = machine ? toMachine(position) : position;
    for (std::size_t axis = 0; axis < AxisCount; ++axis) {
        char const letter = AxisLetters[axis];
        if (!block.has(letter))
            continue;
        double value = block.get(letter);
        if (axis == 0 && modes.diameterMode)
            value /= 2.0;
        end[axis] = modes.absolute || machine ? value : end[axis] + value;
    }
    bool const distance = block.has(GCodeBlock::PolarDistance), angle = block.has(GCodeBlock::PolarAngle);
    if (distance || angle) {
        double radius = std::hypot(position[0], position[1]);
        double degrees = std::atan2(position[1], position[0]) * 180.0 / Pi;
        if (distance)
            radius = modes.absolute ? block.get(GCodeBlock::PolarDistance) : radius + block.get(GCodeBlock::PolarDistance);
        if (angle)
            degrees = modes.absolute ? block.get(GCodeBlock::PolarAngle) : degrees + block.get(GCodeBlock::PolarAngle);
        end[0] = radius * std::cos(degrees * Pi / 180.0);
        end[1] = radius * std::sin(degrees * Pi / 180.0);
    }
    return machine ? fromMachine(end) : end;
}

bool Interpreter::motion()
{
    if (std::optional<int> const code = gOf(1)) {
        if (*code != modes.motion && !endCycleGroup())
            return false;
        modes.motion = *code;
        if (GCodeCannedCycle::getCycle(*code) == NCCycle::CYCLE_NONE)
            cycleSeriesLevel.reset();
    }
    bool const g53 = gOf(0) == 530;
    bool const axes = hasAxisWords() && !gNonModalHasAxes;
    if (block.has(GCodeBlock::PolarDistance) || block.has(GCodeBlock::PolarAngle)) {
        if (block.has('x') || block.has('y'))
            fail("Polar coordinates with X or Y in one block.");
    }
    // A motion code moves even without axis words: to where the tool is, or a full circle.
    bool const explicitMotion = gOf(1).has_value() && *gOf(1) != 800 && !gNonModalHasAxes;
    // In G2/G3 mode, centre offsets or a radius alone make an arc (a full circle) too.
    bool const arcWords = (modes.motion == 20 || modes.motion == 30) && !gOf(1) && !gNonModalHasAxes
        && (block.getWords() & wordBits("ijkr")) != 0;
    if (!axes && !explicitMotion && !arcWords) {
        if (g53)
            fail("G53 without axis words.");
        return true;
    }
    used |= block.getWords() & AxisWordMask;
    otherAxes = otherAxes || (block.getWords() & OtherAxisWordMask) != 0;
    int const mode = modes.motion;
    if (mode < 0)
        fail("Axis words without a motion mode (G0, G1, ...).");
    if (mode == 800)
        fail("Axis words in G80 mode, with no motion to use them.");
    if (g53 && mode != 0 && mode != 10)
        fail("G53 with another motion than G0 or G1.");
    if (g53 && !modes.absolute)
        fail("G53 in incremental distance mode (G91).");
    if (modes.compensation != 400 && g53)
        fail("G53 with cutter compensation on.");
    switch (mode) {
    case 0:
        return straight(true, endOf(g53));
    case 10:
        return straight(false, endOf(g53));
    case 20:
    case 30:
        return arc(mode == 20, endOf(false));
    case 330:
    case 331:
        return synchronised(mode == 331, endOf(false));
    default:
        return cycle(mode, endOf(false));
    }
}

unsigned int Interpreter::moveFlags(bool rapid) const noexcept
{
    unsigned int flags = NCStream::getMovementFlags(rapid ? NCStream::MOVEMENT_RAPID : NCStream::MOVEMENT_CUTTING);
    if (modes.compensation == 410)
        flags |= NCStream::FLAG_COMPENSATION_LEFT;
    else if (modes.compensation == 420)
        flags |= NCStream::FLAG_COMPENSATION_RIGHT;
    return flags;
}

void Interpreter::checkFeed(char const* move)
{
    if (modes.feedMode == 930) {
        if (!block.has('f'))
            fail(std::string("Inverse time feed (G93) without F in a ") + move + " block.");
        if (modes.feed <= 0.0)
            fail(std::string("Zero inverse time feed F in a ") + move + " block.");
    } else if (modes.feed <= 0.0) {
        fail(std::string(move) + " with a feed rate F of zero.");
    }
}

bool Interpreter::straight(bool rapid, Axes const& end)
{
    if (!rapid)
        checkFeed("G1");
    if (!ensureSection() || !sendAxisValues(end))
        return false;
    position = end;
    return rapid ? target.onRapid(point(end), moveFlags(true))
                 : target.onLinear(point(end), modes.feed, moveFlags(false));
}

bool Interpreter::sendAxisValues(Axes const& end)
{
    // Values go with the moves of the other axes only: a program that never moves them sends none.
    if (!otherAxes)
        return true;
    bool needed = false;
    for (std::size_t axis = 3; axis < AxisCount; ++axis)
        needed = needed || end[axis] != (axesSent ? sentAxes[axis] : 0.0);
    if (!needed)
        return true;
    if (!axesNamed) {
        std::vector<AxisInfo> infos;
        for (char letter : std::string_view(AxisLetters))
            infos.emplace_back(MachinePartId(), AxisName(static_cast<char>(letter - 'a' + 'A')));
        if (!target.onMachineAxisOrdering(AxisOrdering(std::move(infos))))
            return false;
        axesNamed = true;
    }
    std::vector<AxisValue> values;
    for (std::size_t axis = 0; axis < AxisCount; ++axis)
        values.emplace_back(isLinearAxis(axis) ? end[axis] * lengthScale() : end[axis]);
    sentAxes = end;
    axesSent = true;
    return target.onMachineAxisValues(AxisValues(std::move(values)));
}

// G33 and G33.1: moves whose feed follows the spindle, K per revolution, between the commands that
// start and end that synchronisation; a rigid tap (G33.1) goes back to its start.
bool Interpreter::synchronised(bool rigidTap, Axes const& end)
{
    std::string const name = rigidTap ? "G33.1" : "G33";
    if (!has('k'))
        fail("K word missing with " + name + ".");
    double const pitch = word('k');
    if (pitch <= 0.0)
        fail("Distance per revolution K of " + name + " is not above zero.");
    if (rigidTap && has('i'))
        word('i');
    if (!modes.spindleOn || modes.speed <= 0.0)
        fail("Spindle not turning in " + name + ".");
    double const feed = pitch * modes.speed;
    Axes const start = position;
    unsigned int const flags = moveFlags(false);
    if (!ensureSection() || !target.onCommand(NCStream::COMMAND_ACTIVATE_SPEED_FEED_SYNCHRONIZATION)
        || !sendAxisValues(end) || !target.onLinear(point(end), feed, flags))
        return false;
    position = end;
    if (rigidTap) {
        if (!sendAxisValues(start) || !target.onLinear(point(start), feed, flags))
            return false;
        position = start;
    }
    return target.onCommand(NCStream::COMMAND_DEACTIVATE_SPEED_FEED_SYNCHRONIZATION);
}

bool Interpreter::arc(bool clockwise, Axes const& end)
{
    checkFeed(clockwise ? "G2" : "G3");
    // The plane's two axes (a, b, turning counter-clockwise about the third, n) and their offsets.
    std::size_t const n = modes.plane == 170 ? 2 : modes.plane == 180 ? 1 : 0;
    std::size_t const a = (n + 1) % 3, b = (n + 2) % 3;
    constexpr char OffsetLetters[] = "ijk";
    Axes const start = position;
    double centreA = 0.0, centreB = 0.0;
    if (has(OffsetLetters[n]))
        fail(std::string("Arc centre offset ") + static_cast<char>(OffsetLetters[n] - 'a' + 'A') + " along the axis of the plane.");
    if (has('r')) {
        if (has(OffsetLetters[a]) || has(OffsetLetters[b]))
            fail("Arc with both a radius R and centre offsets.");
        double radius = word('r');
        double const da = end[a] - start[a], db = end[b] - start[b];
        double const half = std::hypot(da, db) / 2.0;
        if (half == 0.0)
            fail("Arc given by a radius R ends where it starts.");
        double const tolerance = modes.inches ? 0.0005 : 0.0127;
        if (std::abs(radius) < half) {
            if (half - std::abs(radius) > tolerance)
                fail("Arc radius R too small to reach the end point.");
            radius = std::copysign(half, radius);
        }
        double const distance = std::sqrt(std::max(0.0, radius * radius - half * half));
        // The centre lies left of the chord for a counter-clockwise arc of at most half a turn.
        double const side = (clockwise ? -1.0 : 1.0) * (radius < 0.0 ? -1.0 : 1.0);
        centreA = (start[a] + end[a]) / 2.0 - db / (2.0 * half) * distance * side;
        centreB = (start[b] + end[b]) / 2.0 + da / (2.0 * half) * distance * side;
    } else {
        if (!has(OffsetLetters[a]) && !has(OffsetLetters[b]))
            fail("Arc without a radius R or centre offsets.");
        double const offsetA = has(OffsetLetters[a]) ? word(OffsetLetters[a]) : 0.0;
        double const offsetB = has(OffsetLetters[b]) ? word(OffsetLetters[b]) : 0.0;
        centreA = modes.arcAbsolute ? offsetA : start[a] + offsetA;
        centreB = modes.arcAbsolute ? offsetB : start[b] + offsetB;
        double const startRadius = std::hypot(start[a] - centreA, start[b] - centreB);
        double const endRadius = std::hypot(end[a] - centreA, end[b] - centreB);
        if (startRadius == 0.0)
            fail("Arc of zero radius: its centre is its start.");
        // The control refuses an end off the circle by more than an absolute and a relative
        // tolerance (measured against it: about 0.0028 mm or 0.003 in, and 0.1%).
        double const difference = std::abs(endRadius - startRadius);
        if (difference > (modes.inches ? 0.003 : 0.028) && difference > 0.001 * endRadius)
            fail("Arc end is not on its circle: radius to the start " + std::to_string(startRadius) + ", to the end "
                + std::to_string(endRadius) + ".");
    }
    int turns = 1;
    if (has('p')) {
        std::optional<std::int64_t> const p = GCodeExpression::toInteger(word('p'));
        if (!p || *p < 1 || *p > 1000000)
            fail("Arc turns P is not a whole number from 1.");
        turns = static_cast<int>(*p);
    }
    Vector3D normal;
    normal[static_cast<int>(n)] = 1.0;
    Vector3D centre;
    centre[static_cast<int>(a)] = centreA;
    centre[static_cast<int>(b)] = centreB;
    centre[static_cast<int>(n)] = start[n];
    bool const full = end[a] == start[a] && end[b] == start[b];
    if (!ensureSection() || !sendAxisValues(end))
        return false;
    position = end;
    Vector3D const to = point(end);
    unsigned int const flags = moveFlags(false);
    if (turns == 1 && !full)
        return clockwise ? target.onCWArc(centre, to, normal, modes.feed, flags)
                         : target.onCCWArc(centre, to, normal, modes.feed, flags);
    if (turns == 1 && full && end[n] == start[n])
        return clockwise ? target.onCWCircle(centre, to, normal, modes.feed, flags)
                         : target.onCCWCircle(centre, to, normal, modes.feed, flags);
    double angle = 2.0 * Pi;
    if (!full) {
        double const from = std::atan2(start[b] - centreB, start[a] - centreA);
        double const at = std::atan2(end[b] - centreB, end[a] - centreA);
        angle = at - from;
        if (clockwise)
            angle = -angle;
        while (angle <= 0.0)
            angle += 2.0 * Pi;
        while (angle > 2.0 * Pi)
            angle -= 2.0 * Pi;
    }
    double const sweep = (angle + 2.0 * Pi * (turns - 1)) * (clockwise ? -1.0 : 1.0);
    return target.onCircular(centre, to, normal, sweep, modes.feed, flags);
}

bool Interpreter::cycle(int word, Axes const& end)
{
    std::size_t const n = modes.plane == 170 ? 2 : modes.plane == 180 ? 1 : 0;
    std::size_t const a = (n + 1) % 3, b = (n + 2) % 3;
    char const axisLetter = AxisLetters[n];
    bool const sameCycle = cycleGroupOpen && cycleGroupWord == word;
    if (has('r'))
        cycleReference = this->word('r');
    else if (!sameCycle)
        fail("Canned cycle " + codeText('G', word) + " without the reference level R.");
    if (has(axisLetter))
        cycleBottom = this->word(axisLetter);
    else if (!sameCycle)
        fail("Canned cycle " + codeText('G', word) + " without the bottom " + static_cast<char>(axisLetter - 'a' + 'A') + ".");
    if (word == 730 || word == 830) {
        if (has('q'))
            cyclePeck = this->word('q');
        else if (!sameCycle)
            fail("Canned cycle " + codeText('G', word) + " without the peck Q.");
        if (cyclePeck <= 0.0)
            fail("Peck Q of " + codeText('G', word) + " is not above zero.");
    }
    // Only the cycles that dwell take P; in the others it is a word no code uses.
    bool const dwells = word == 740 || word == 820 || word == 840 || word == 860 || word == 880 || word == 890;
    if (dwells && has('p'))
        cycleDwell = this->word('p');
    else if (!sameCycle)
        cycleDwell = 0.0;
    if (cycleDwell < 0.0)
        fail("Negative dwell time P.");
    std::int64_t repeats = 1;
    if (has('l')) {
        std::optional<std::int64_t> const l = GCodeExpression::toInteger(this->word('l'));
        if (!l || *l < 0 || *l > 1000000)
            fail("Repeat count L is not a whole number from 0 to 1000000.");
        repeats = *l;
    }
    checkFeed(codeText('G', word).c_str());
    GCodeCannedCycle::Block hole;
    hole.word = word;
    hole.axis = static_cast<int>(n);
    // The level before this series of cycles began: incremental R counts from it, and G98 goes
    // back to it.
    if (!cycleSeriesLevel)
        cycleSeriesLevel = position[n];
    double const initial = *cycleSeriesLevel;
    hole.reference = modes.absolute ? cycleReference : initial + cycleReference;
    hole.bottom = modes.absolute ? cycleBottom : hole.reference + cycleBottom;
    hole.clear = modes.retractToReference ? hole.reference : std::max(initial, hole.reference);
    hole.counterClockwise = !modes.spindleClockwise;
    if (word == 840 || word == 740 || word == 860 || word == 870 || word == 880) {
        std::string const name = codeText('G', word);
        if (!modes.spindleOn || modes.speed <= 0.0)
            fail("Spindle not turning in " + name + ".");
        if (word == 840 && !modes.spindleClockwise)
            fail("Spindle turning counter-clockwise in G84.");
        if (word == 740 && modes.spindleClockwise)
            fail("Spindle turning clockwise in G74.");
    }
    hole.peck = cyclePeck;
    hole.dwell = cycleDwell;
    hole.feedrate = modes.feed;
    hole.inches = modes.inches;
    if (word == 870) {
        // The offset across the axis and the level along it; in G91 the level counts from the bottom.
        constexpr char OffsetLetters[] = "ijk";
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (!has(OffsetLetters[axis]))
                fail(std::string(1, static_cast<char>(OffsetLetters[axis] - 'a' + 'A')) + " word missing with G87.");
            double const value = this->word(OffsetLetters[axis]);
            hole.backBoringOffset[static_cast<int>(axis)] = axis == n && !modes.absolute ? hole.bottom + value : value;
        }
    }
    if (hole.bottom > hole.reference)
        fail("Bottom of the hole above its reference level R.");
    if (!ensureSection())
        return false;
    NCCycleDefinition const definition = GCodeCannedCycle::getDefinition(hole);
    if (!sameCycle) {
        if (!endCycleGroup())
            return false;
        if (!target.onGroup(GCodeCannedCycle::getGroupUri(word).c_str()) || !definition.sendParameters(target))
            return false;
        cycleGroupOpen = true;
        cycleGroupWord = word;
    } else {
        for (unsigned int value = 0; value < NCCycleDefinition::VALUE_COUNT; ++value) {
            auto const v = static_cast<NCCycleDefinition::Value>(value);
            if (definition.getValue(v) != cycleGroupDefinition.getValue(v) && !definition.sendParameter(target, v))
                return false;
        }
    }
    cycleGroupDefinition = definition;
    if (repeats == 0)
        return true;
    // The holes after the first are a loop of the control and count as its iterations.
    flow.countIterations(static_cast<std::uint64_t>(repeats - 1));
    Vector3D current = point(position);
    if (!GCodeCannedCycle::sendPreliminary(target, hole, current))
        return false;
    // The first hole is at the block's position; in G91 each repeat moves on by the block's
    // increments (in polar coordinates by its polar increments).
    Axes at = end;
    Axes const step = [&] {
        Axes increments {};
        for (std::size_t axis = 0; axis < AxisCount; ++axis)
            increments[axis] = end[axis] - position[axis];
        return increments;
    }();
    Axes last = position;
    for (std::int64_t i = 0; i < repeats; ++i) {
        if (i > 0 && !modes.absolute) {
            if (block.has(GCodeBlock::PolarDistance) || block.has(GCodeBlock::PolarAngle)) {
                Axes const saved = position;
                position = at;
                at = endOf(false);
                position = saved;
            } else {
                at[a] += step[a];
                at[b] += step[b];
            }
        }
        Vector3D holeAt = current;
        holeAt[static_cast<int>(a)] = at[a];
        holeAt[static_cast<int>(b)] = at[b];
        if (!GCodeCannedCycle::sendHole(target, hole, holeAt, current))
            return false;
        if (reader.getAbortable()->isAborted())
            return false;
    }
    last[0] = current.x;
    last[1] = current.y;
    last[2] = current.z;
    for (std::size_t axis = 3; axis < AxisCount; ++axis)
        last[axis] = position[axis];
    position = last;
    return true;
}

// ---------------------------------------------------------------------------------------------
// Sections and groups.

NCContext Interpreter::makeContext() const
{
    NCContext context;
    context.setUnit(modes.inches ? NCUnit::INCHES : NCUnit::MILLIMETERS);
    context.setWorkOffset(static_cast<unsigned int>(modes.coordinateSystem));
    context.setFeedMode(modes.feedMode == 930 ? NCContext::FEED_INVERSE_TIME
            : modes.feedMode == 950             ? NCContext::FEED_PER_REVOLUTION
                                                : NCContext::FEED_PER_MINUTE);
    Axes const offset = offsetOf(modes.coordinateSystem);
    double const angle = rotationOf(modes.coordinateSystem) * Pi / 180.0;
    Matrix3x3 const turn = angle == 0.0 ? Matrix3x3::getIdentity()
                                        : Matrix3x3(Vector3D(std::cos(angle), std::sin(angle), 0.0),
                                            Vector3D(-std::sin(angle), std::cos(angle), 0.0), Vector3D(0.0, 0.0, 1.0));
    Vector3D const origin(offset[0], offset[1], offset[2]);
    context.setWCSOrigin(origin);
    context.setWCSPlane(turn);
    context.setOrigin(origin + turn * Vector3D(g92[0], g92[1], g92[2]));
    context.setPlane(turn);
    return context;
}

NCTool Interpreter::makeTool() const
{
    NCTool tool;
    tool.setUnit(modes.inches ? NCUnit::INCHES : NCUnit::MILLIMETERS);
    tool.setNumber(currentTool);
    tool.setLengthOffset(modes.lengthOffsetOn ? modes.lengthOffset : 0);
    if (modes.surfaceSpeedMode) {
        tool.setSpindleMode(NCTool::SPINDLE_MODE_SURFACE_SPEED);
        tool.setSurfaceSpeed(modes.speed);
    } else {
        tool.setSpindleRPM(modes.speed);
    }
    tool.setSpindleDirection(modes.spindleClockwise);
    if (!modes.spindleOn) {
        tool.setSpindleRPM(0.0);
        tool.setSurfaceSpeed(0.0);
    }
    tool.setCoolant(modes.flood && modes.mist ? NCTool::COOLANT_FLOOD_MIST
            : modes.flood                     ? NCTool::COOLANT_FLOOD
            : modes.mist                      ? NCTool::COOLANT_MIST
                                              : NCTool::COOLANT_NONE);
    return tool;
}

bool Interpreter::ensureSection()
{
    if (sectionOpen && !contextTouched)
        return true;
    contextTouched = false;
    NCContext const context = makeContext();
    unsigned int const offset = modes.lengthOffsetOn ? modes.lengthOffset : 0;
    if (sectionOpen && context.getUnit() == sectionContext.getUnit()
        && context.getWorkOffset() == sectionContext.getWorkOffset()
        && context.getFeedMode() == sectionContext.getFeedMode() && context.getOrigin() == sectionContext.getOrigin()
        && context.getPlane() == sectionContext.getPlane() && context.getWCSOrigin() == sectionContext.getWCSOrigin()
        && sectionTool == currentTool && sectionLengthOffset == offset)
        return true;
    if (!endSection())
        return false;
    sectionContext = context;
    sectionTool = currentTool;
    sectionLengthOffset = offset;
    toolChanged = false;
    if (!target.onContext(context) || !target.onTool(makeTool()) || !target.onSection())
        return false;
    sectionOpen = true;
    // A speed set while the spindle stands still is not in the tool (a tool's speed means it runs).
    if (!modes.spindleOn && modes.speed > 0.0 && !target.onSpindleSpeed(modes.speed))
        return false;
    if (modes.compensation != 400)
        return target.onRadiusCompensation(
            modes.compensation == 410 ? NCStream::COMPENSATION_LEFT : NCStream::COMPENSATION_RIGHT);
    return true;
}

bool Interpreter::endSection()
{
    if (!sectionOpen)
        return true;
    if (!endCycleGroup())
        return false;
    sectionOpen = false;
    return target.onSectionEnd();
}

bool Interpreter::endCycleGroup()
{
    if (!cycleGroupOpen)
        return true;
    cycleGroupOpen = false;
    return target.onGroupEnd();
}

// ---------------------------------------------------------------------------------------------
// Coordinates: a point of the program is, on the machine, the G92 offset added, turned by the
// coordinate system's rotation about Z, and the system's offset added.

Axes Interpreter::offsetOf(int system) const
{
    Axes offset {};
    for (std::size_t axis = 0; axis < AxisCount; ++axis)
        offset[axis] = parameters.get(5201 + 20 * system + static_cast<int>(axis));
    return offset;
}

double Interpreter::rotationOf(int system) const { return parameters.get(5210 + 20 * system); }

Axes Interpreter::toMachine(Axes const& program) const
{
    Axes const offset = offsetOf(modes.coordinateSystem);
    double const angle = rotationOf(modes.coordinateSystem) * Pi / 180.0;
    Axes machine {};
    for (std::size_t axis = 0; axis < AxisCount; ++axis)
        machine[axis] = program[axis] + g92[axis];
    if (angle != 0.0) {
        double const x = machine[0], y = machine[1];
        machine[0] = x * std::cos(angle) - y * std::sin(angle);
        machine[1] = x * std::sin(angle) + y * std::cos(angle);
    }
    for (std::size_t axis = 0; axis < AxisCount; ++axis)
        machine[axis] += offset[axis];
    return machine;
}

Axes Interpreter::fromMachine(Axes const& machine) const
{
    Axes const offset = offsetOf(modes.coordinateSystem);
    double const angle = rotationOf(modes.coordinateSystem) * Pi / 180.0;
    Axes program {};
    for (std::size_t axis = 0; axis < AxisCount; ++axis)
        program[axis] = machine[axis] - offset[axis];
    if (angle != 0.0) {
        double const x = program[0], y = program[1];
        program[0] = x * std::cos(angle) + y * std::sin(angle);
        program[1] = -x * std::sin(angle) + y * std::cos(angle);
    }
    for (std::size_t axis = 0; axis < AxisCount; ++axis)
        program[axis] -= g92[axis];
    return program;
}

// ---------------------------------------------------------------------------------------------
// Values of the state that a program reads.

std::optional<double> Interpreter::getNumbered(int number) const
{
    if (number == 5400)
        return currentTool;
    if (number >= 5401 && number <= 5413)
        return 0.0;
    if (number >= 5420 && number <= 5428)
        return position[static_cast<std::size_t>(number - 5420)];
    return std::nullopt;
}

std::optional<double> Interpreter::getNamed(std::string_view name) const
{
    auto const flag = [](bool value) { return value ? 1.0 : 0.0; };
    if (name.size() == 2 && name[0] == '_') {
        std::size_t const axis = std::string_view(AxisLetters).find(name[1]);
        if (axis != std::string_view::npos)
            return position[axis];
    }
    if (name.size() == 6 && name.starts_with("_abs_")) {
        std::size_t const axis = std::string_view(AxisLetters).find(name[5]);
        if (axis != std::string_view::npos && axis < 6)
            return toMachine(position)[axis];
    }
    struct Entry {
        std::string_view name;
        double value;
    };
    Entry const entries[] = {
        {"_vmajor", 2.9},
        {"_vminor", 0.0},
        {"_line", static_cast<double>(flow.getLineNumber())},
        {"_motion_mode", modes.motion < 0 ? 0.0 : static_cast<double>(modes.motion)},
        {"_plane", static_cast<double>(modes.plane)},
        {"_ccomp", static_cast<double>(modes.compensation)},
        {"_metric", flag(!modes.inches)},
        {"_imperial", flag(modes.inches)},
        {"_absolute", flag(modes.absolute)},
        {"_incremental", flag(!modes.absolute)},
        {"_inverse_time", flag(modes.feedMode == 930)},
        {"_units_per_minute", flag(modes.feedMode == 940)},
        {"_units_per_rev", flag(modes.feedMode == 950)},
        {"_coord_system", modes.coordinateSystem <= 6 ? 530.0 + 10.0 * modes.coordinateSystem
                                                      : 584.0 + modes.coordinateSystem},
        {"_tool_offset", flag(modes.lengthOffsetOn)},
        {"_retract_r_plane", flag(modes.retractToReference)},
        {"_retract_old_z", flag(!modes.retractToReference)},
        {"_spindle_rpm_mode", flag(!modes.surfaceSpeedMode)},
        {"_spindle_css_mode", flag(modes.surfaceSpeedMode)},
        {"_ijk_absolute_mode", flag(modes.arcAbsolute)},
        {"_lathe_diameter_mode", flag(modes.diameterMode)},
        {"_lathe_radius_mode", flag(!modes.diameterMode)},
        {"_spindle_on", flag(modes.spindleOn)},
        {"_spindle_cw", flag(modes.spindleClockwise)},
        {"_mist", flag(modes.mist)},
        {"_flood", flag(modes.flood)},
        {"_speed_override", 1.0},
        {"_feed_override", 1.0},
        {"_adaptive_feed", 0.0},
        {"_feed_hold", 0.0},
        {"_feed", modes.feed},
        {"_rpm", modes.speed},
        {"_current_tool", static_cast<double>(currentTool)},
        {"_current_pocket", static_cast<double>(currentTool)},
        {"_selected_tool", static_cast<double>(selectedTool)},
        {"_selected_pocket", static_cast<double>(selectedTool)},
        {"_value", flow.getReturnValue()},
        {"_value_returned", flag(flow.isValueReturned())},
        {"_task", 0.0},
        {"_call_level", static_cast<double>(flow.getCallLevel())},
        {"_remap_level", 0.0},
    };
    for (Entry const& entry : entries)
        if (entry.name == name)
            return entry.value;
    return std::nullopt;
}

template <class Lines> bool importLines(Lines& lines, GCodeReader& reader)
{
    NCStream& target = *SafePointer<NCStream>(reader.getNCStream());
    LinesOf<Lines> file(lines);
    Interpreter interpreter(reader, target, file);
    return interpreter.run();
}

// What a start of a file holds when it is G-code: its first non-blank lines.
bool looksLikeGCode(std::string_view text) noexcept
{
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    int blocks = 0;
    while (!text.empty() && blocks < 4) {
        std::size_t const end = text.find('\n');
        bool const complete = end != std::string_view::npos;
        std::string_view line = text.substr(0, end);
        text = complete ? text.substr(end + 1) : std::string_view();
        for (char c : line)
            if ((static_cast<unsigned char>(c) < 32 && c != '\t' && c != '\r') || c == 127)
                return false;
        std::size_t const first = line.find_first_not_of(" \t\r");
        if (first == std::string_view::npos)
            continue;
        line.remove_prefix(first);
        char c = line[0];
        if (c == '%' || c == '(' || c == ';')
            continue;
        if (c == '/')
            line.remove_prefix(1);
        std::size_t const letter = line.find_first_not_of(" \t");
        if (letter == std::string_view::npos)
            return false;
        c = static_cast<char>(line[letter] >= 'a' && line[letter] <= 'z' ? line[letter] - 'a' + 'A' : line[letter]);
        if (std::string_view("ABCDFGHIJKLMNOPQRSTUVWXYZ#").find(c) == std::string_view::npos)
            return false;
        std::size_t const next = line.find_first_not_of(" \t", letter + 1);
        if (next == std::string_view::npos)
            return false;
        char const after = line[next];
        bool const number = (after >= '0' && after <= '9') || after == '.' || after == '-' || after == '+';
        if (!(number || (c == 'O' && after == '<') || c == '#' || after == '[' || after == '#'))
            return false;
        ++blocks;
        if (!complete)
            break;
    }
    return blocks > 0;
}

} // namespace

GCodeReader::GCodeReader() { setPassOnComments(true); }

GCodeReader::~GCodeReader() = default;

std::wstring GCodeReader::getUri() const
{
    return Unicode::fromUTF8(NCStream::NamespaceBaseA) + L"/namespace/nc/format/gcode-rs274ngc";
}

bool GCodeReader::import(SequentialLineReader& reader) { return import(static_cast<LineReader*>(&reader)); }

bool GCodeReader::import(LineReader* reader)
{
    ReaderLines lines(*SafePointer<LineReader>(reader), MaximumLineLength);
    return importLines(lines, *this);
}

bool GCodeReader::import(InputStream* stream)
{
    BlockLines lines(*SafePointer<InputStream>(stream), MaximumLineLength);
    return importLines(lines, *this);
}

bool GCodeReader::isValid(std::wstring const& fileName)
{
    try {
        return isGCode(readFileStart(fileName, 4096));
    } catch (...) {
        return false;
    }
}

bool GCodeReader::isGCode(std::string_view start) noexcept { return looksLikeGCode(start); }

std::string GCodeReader::getParameterName(std::string_view shortName)
{
    return std::string(NCStream::NamespaceBaseA) + "/namespace/nc/parameter/gcode/" + std::string(shortName);
}

} // namespace Quarn
