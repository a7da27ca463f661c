// The words and habits of one G-code dialect, as one table that GCodeWriter writes from.
#pragma once

#include "nc/nc/NCCycle.h"
#include "nc/nc/NCStream.h"
#include "nc/nc/NCTool.h"
#include "util/utility/Export.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace Quarn {

// A plain table of constants: a second dialect is a second table, not a second writer. Words are
// the text written ("G0", "M6"); an empty word means the dialect has none, and the writer then
// leaves out (and counts) or expands what needed it. Letters are the address of a word whose
// number the writer formats ('X', 'F', 'N').
struct QUARN_NC_EXPORT GCodeDialect {
    // A canned hole cycle: the word of the cycle and the word of its form that dwells at the
    // bottom (P, seconds); an empty dwelling word means the cycle cannot dwell, so holes that
    // need a dwell are written as their moves. peck: the cycle takes the first peck as Q.
    // dwellRequired: the cycle always takes P, P0 without a dwell.
    struct CannedCycle {
        NCCycle::Cycle cycle = NCCycle::CYCLE_NONE;
        std::string_view word;
        std::string_view dwellingWord;
        bool peck = false;
        bool dwellRequired = false;
    };

    std::string_view name;

    // The line that starts and ends a program.
    std::string_view programDelimiter;
    char lineNumberLetter = 'N';

    // Units, indexed by NCUnit::Unit (INCHES, MILLIMETERS).
    std::array<std::string_view, 2> unitWords;
    // Decimals of numbers by default, indexed by NCUnit::Unit.
    std::array<unsigned int, 2> defaultDecimals {};
    // Whether a whole number keeps its decimal point ("10." rather than "10").
    bool wholeNumbersKeepPoint = false;

    // Words of the safe-start line besides units, plane and feed mode: absolute distances,
    // radius compensation off, length offset off, canned cycle off, arc centres relative to the
    // start. Empty words are left out.
    std::string_view absoluteWord;
    std::string_view compensationOffWord;
    std::string_view lengthOffsetCancelWord;
    std::string_view cycleCancelWord;
    std::string_view incrementalArcCenterWord;

    // G17, G18, G19: the planes normal to Z, Y and X, indexed by that axis (0 X, 1 Y, 2 Z).
    std::array<std::string_view, 3> planeWords;
    // Work offsets 1 to 9 (G54 to G59.3), at index offset - 1.
    std::array<std::string_view, 9> workOffsetWords;
    // Feed modes, indexed by NCContext::FeedMode (per minute, per revolution, inverse time).
    std::array<std::string_view, 3> feedModeWords;
    // Radius compensation, indexed by NCStream::Compensation (off, left, right).
    std::array<std::string_view, 3> compensationWords;

    // Motion.
    std::string_view rapidWord;
    std::string_view linearWord;
    std::string_view clockwiseArcWord;
    std::string_view counterClockwiseArcWord;
    // Arc centre offsets along X, Y and Z, and the address of the number of turns.
    std::array<char, 3> arcCenterLetters {};
    char turnsLetter = 'P';
    char feedLetter = 'F';

    // Dwell: the word and the address of its seconds.
    std::string_view dwellWord;
    char dwellLetter = 'P';

    // Tool change "T<n> M6" and length offset "G43 H<n>".
    char toolLetter = 'T';
    std::string_view toolChangeWord;
    std::string_view lengthOffsetWord;
    char lengthOffsetLetter = 'H';

    // Spindle: the speed's address and the words for clockwise, counter-clockwise and stop.
    char spindleSpeedLetter = 'S';
    std::string_view spindleClockwiseWord;
    std::string_view spindleCounterClockwiseWord;
    std::string_view spindleStopWord;

    // Coolant words by NCTool::Coolant (none is the off word), at most two, each written on a line
    // of its own (both belong to one modal group); empty: the dialect has none.
    std::array<std::array<std::string_view, 2>, NCTool::COOLANT_COUNT> coolantWords;

    std::string_view programEndWord;

    // Comments: the delimiters, and what replaces the delimiters and the line breaks and other
    // control characters inside the text.
    char commentOpen = '(';
    char commentClose = ')';
    char commentOpenReplacement = '[';
    char commentCloseReplacement = ']';
    char controlReplacement = ' ';
    // Starts of a comment (after leading blanks, case-insensitive) that the control reads as a
    // command rather than a remark; such a comment gets the neutraliser in front of its text.
    std::array<std::string_view, 16> activeCommentStarts; // empty entries are unused
    std::string_view activeCommentNeutraliser;

    // Canned hole cycles; cycles not listed are written as their moves (or left out when
    // NCCycleDefinition cannot expand them). Return to the initial level / the reference level.
    std::array<CannedCycle, 12> cannedCycles; // entries of CYCLE_NONE are unused
    std::string_view returnToInitialWord;
    std::string_view returnToReferenceWord;
    // Address of the reference height and of the peck.
    char referenceLetter = 'R';
    char peckLetter = 'Q';

    // Letters of the machine axes besides X, Y and Z that a program may move: the rotary axes
    // (degrees) and the further linear axes (lengths).
    std::string_view rotaryAxisLetters;
    std::string_view linearAxisLetters;

    // Words of onCommand by NCStream::Command; empty: the dialect has none. START_SPINDLE is
    // written with the spindle's direction instead.
    std::array<std::string_view, NCStream::COMMAND_COUNT> commandWords;

    // The table of the cycle, or nothing when the dialect has no canned form of it.
    std::optional<CannedCycle> findCannedCycle(NCCycle::Cycle cycle) const noexcept;

    // The RS274NGC dialect as LinuxCNC's interpreter reads it: "%" lines, G21/G20, G90, G17,
    // G94/G95/G93, G40, G49, G80, G91.1; G54 to G59.3; G0 to G3 with I J K relative to the start
    // and P turns; G4 P seconds; T M6, G43 H; S with M3/M4/M5; M7 mist, M8 flood, M7 and M8 for
    // both, M9 off; M30; comments in parentheses (parentheses replaced by brackets, control characters
    // by blanks; MSG, DEBUG, PRINT, LOG..., PROBE..., ABORT, PY..., AXIS and "O=" comments get
    // "_" in front); G81 drilling, G82 counter-boring, G83 deep-drilling, G73 chip-breaking, G84
    // right-tapping, G85/G89 boring, G86 stop-boring, G98 return; A B C rotary, U V W linear;
    // whole numbers without a point.
    static GCodeDialect const& getRS274NGC();
};

} // namespace Quarn
