// The table of the RS274NGC dialect as LinuxCNC reads it.
#include "nc/nc/io/GCodeDialect.h"

namespace Quarn {

namespace {

std::array<std::string_view, NCStream::COMMAND_COUNT> makeRS274NGCCommands() noexcept
{
    std::array<std::string_view, NCStream::COMMAND_COUNT> words {};
    words[NCStream::COMMAND_STOP] = "M0";
    words[NCStream::COMMAND_OPTIONAL_STOP] = "M1";
    words[NCStream::COMMAND_SPINDLE_CLOCKWISE] = "M3";
    words[NCStream::COMMAND_SPINDLE_COUNTERCLOCKWISE] = "M4";
    words[NCStream::COMMAND_STOP_SPINDLE] = "M5";
    words[NCStream::COMMAND_ORIENTATE_SPINDLE] = "M19";
    words[NCStream::COMMAND_LOAD_TOOL] = "M6";
    words[NCStream::COMMAND_COOLANT_ON] = "M8";
    words[NCStream::COMMAND_COOLANT_OFF] = "M9";
    words[NCStream::COMMAND_CHANGE_PALLET] = "M60";
    return words;
}

GCodeDialect makeRS274NGC() noexcept
{
    GCodeDialect d;
    d.name = "RS274NGC";
    d.programDelimiter = "%";
    d.lineNumberLetter = 'N';
    d.unitWords = {"G20", "G21"};
    d.defaultDecimals = {4, 3};
    d.wholeNumbersKeepPoint = false;
    d.absoluteWord = "G90";
    d.compensationOffWord = "G40";
    d.lengthOffsetCancelWord = "G49";
    d.cycleCancelWord = "G80";
    d.incrementalArcCenterWord = "G91.1";
    d.planeWords = {"G19", "G18", "G17"};
    d.workOffsetWords = {"G54", "G55", "G56", "G57", "G58", "G59", "G59.1", "G59.2", "G59.3"};
    d.feedModeWords = {"G94", "G95", "G93"};
    d.compensationWords = {"G40", "G41", "G42"};
    d.rapidWord = "G0";
    d.linearWord = "G1";
    d.clockwiseArcWord = "G2";
    d.counterClockwiseArcWord = "G3";
    d.arcCenterLetters = {'I', 'J', 'K'};
    d.turnsLetter = 'P';
    d.feedLetter = 'F';
    d.dwellWord = "G4";
    d.dwellLetter = 'P';
    d.toolLetter = 'T';
    d.toolChangeWord = "M6";
    d.lengthOffsetWord = "G43";
    d.lengthOffsetLetter = 'H';
    d.spindleSpeedLetter = 'S';
    d.spindleClockwiseWord = "M3";
    d.spindleCounterClockwiseWord = "M4";
    d.spindleStopWord = "M5";
    d.coolantWords[NCTool::COOLANT_NONE] = {"M9", ""};
    d.coolantWords[NCTool::COOLANT_FLOOD] = {"M8", ""};
    d.coolantWords[NCTool::COOLANT_MIST] = {"M7", ""};
    d.coolantWords[NCTool::COOLANT_FLOOD_MIST] = {"M7", "M8"};
    d.programEndWord = "M30";
    d.commentOpen = '(';
    d.commentClose = ')';
    d.commentOpenReplacement = '[';
    d.commentCloseReplacement = ']';
    d.controlReplacement = ' ';
    // The interpreter's active comments, and those of its user interfaces and plasma screens.
    d.activeCommentStarts = {"MSG,", "DEBUG,", "PRINT,", "LOG,", "LOGOPEN,", "LOGAPPEND,", "LOGCLOSE", "PROBEOPEN",
        "PROBECLOSE", "ABORT,", "PY,", "PYRUN,", "AXIS,", "O=", "", ""};
    d.activeCommentNeutraliser = "_";
    d.cannedCycles = {{
        {NCCycle::CYCLE_DRILLING, "G81", "", false, false},
        {NCCycle::CYCLE_COUNTER_BORING, "G82", "G82", false, true},
        {NCCycle::CYCLE_DEEP_DRILLING, "G83", "", true, false},
        {NCCycle::CYCLE_CHIP_BREAKING, "G73", "", true, false},
        {NCCycle::CYCLE_RIGHT_TAPPING, "G84", "G84", false, false},
        {NCCycle::CYCLE_BORING, "G85", "G89", false, false},
        {NCCycle::CYCLE_STOP_BORING, "G86", "G86", false, true},
        {},
        {},
        {},
        {},
        {},
    }};
    d.returnToInitialWord = "G98";
    d.returnToReferenceWord = "G99";
    d.referenceLetter = 'R';
    d.peckLetter = 'Q';
    d.rotaryAxisLetters = "ABC";
    d.linearAxisLetters = "UVW";
    d.commandWords = makeRS274NGCCommands();
    return d;
}

} // namespace

std::optional<GCodeDialect::CannedCycle> GCodeDialect::findCannedCycle(NCCycle::Cycle cycle) const noexcept
{
    for (CannedCycle const& canned : cannedCycles)
        if (canned.cycle == cycle && cycle != NCCycle::CYCLE_NONE && !canned.word.empty())
            return canned;
    return std::nullopt;
}

GCodeDialect const& GCodeDialect::getRS274NGC()
{
    static GCodeDialect const dialect = makeRS274NGC();
    return dialect;
}

} // namespace Quarn
