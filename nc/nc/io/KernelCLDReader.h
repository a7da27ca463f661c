// Reader of the CAM kernel's plain-text cutter location data (text CLD), and the format's grammar.
#pragma once

#include "nc/nc/NCReader.h"
#include "nc/nc/NCStream.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Quarn {

// Text CLD is written and read by eye by the kernel's developers: one statement a line, a keyword
// and comma-separated values. KernelCLDWriter writes exactly this grammar.
//
// Lines end with "\n" or "\r\n" and hold at most MaximumLineLength bytes besides that end. The
// first line is the header, exactly getHeader(). Every other line is
//
//   line      = [blanks] [statement [blanks]] ["#" comment]
//   statement = keyword {[blanks] "," [blanks] value}
//   keyword   = letters, digits and "_"; case counts
//   value     = number | string
//   number    = ["+" | "-"] (digits ["." [digits]] | "." digits) [("e" | "E") ["+" | "-"] digits]
//   string    = '"' {any byte but '"' and '\' | escape} '"'
//   escape    = '\"' | '\\' | '\n' | '\r' | '\t' | '\x' two hex digits (not 00)
//   blanks    = spaces and tabs;  comment = any bytes to the end of the line
//
// A number is read as the nearest double ("inf", "nan" and hexadecimal are not numbers); a string
// is bytes, UTF-8 by convention. No line may hold a NUL byte. A line of blanks and a comment
// only is a comment of the program: sent as onComment(the bytes after "#" and one space, if
// there is one) while getPassOnComments() is true, as the constructor sets it. A comment after a
// statement is dropped; so is the header.
//
// The reader keeps the movement of the moves (CUTTING at first), their feedrate (0 at first) and
// the position the last move ended at, from the header to the end of the file. The statements
// (n a number, s a string, "x, y, z" three numbers) and what they send:
//
//   OPEN                       onSection
//   CLOSE                      onSectionEnd
//   RAPID, CUTTING, ...        alone: sets the movement of the moves that follow (table below)
//   FEEDRATE, n                sets the feedrate of the non-rapid moves that follow
//   GOTO, x, y, z              onRapid(p, flags) under RAPID, else onLinear(p, feedrate, flags);
//                              flags = NCStream::getMovementFlags(movement)
//   GOTO, x, y, z, i, j, k     onRapid5D / onLinear5D(p, tool axis, [feedrate,] flags |
//                              FLAG_ABSOLUTE_DIRECTION)
//   ARC, end, centre, normal   an arc counter-clockwise about the normal (nine numbers), sent as
//                              ToolpathNCStreamBinder sends a kernel arc: onCCWArc(centre, end,
//                              normal) when the normal points to the positive side (z > 0; or
//                              z == 0 and y > 0; or z == y == 0 and x >= 0), else
//                              onCWArc(centre, end, -normal); onCCWCircle / onCWCircle when the
//                              end is exactly where the last move ended
//   ARC, end, centre, normal, sweep
//                              onCircular(centre, end, normal, sweep, feedrate, flags): the
//                              signed sweep in radians about the normal, as written
//   TOOLAXIS, i, j, k          onParameter(KernelParameterNames::getToolAxisName(), Point3D)
//   CONTACTNORMAL, i, j, k     onParameter(KernelParameterNames::getContactNormalName(), Point3D)
//   DWELL, n                   onDwell(n seconds, 0)
//   DWELL, n, "revolutions"    onDwell(n, FLAG_DWELL_REVOLUTIONS)
//   COMMAND, n                 onCommand(n): an integer 0 to 4294967295, passed as read
//   GROUP, s                   onGroup(s)
//   GROUP_END                  onGroupEnd
//   PARAMETER, s, value...     a parameter named s, below
//   turnFarmTestInsert, value...   onParameter(getTurnFarmTestInsertName(), the text of the values
//   turnFarmTestContour, value...  as written, from the first to the end of the last; "" for
//                              none), and getTurnFarmTestContourName(): the kernel's turning
//                              test fixtures, an insert and a contour, carried as they stand
//
// Arcs and GOTO lines under a rapid movement are rapid: their flags hold MOVEMENT_RAPID and arcs
// have the feedrate 0. Every move, arc or line, sets the last position.
//
// PARAMETER values: a string is narrow text; an integer (no point, no exponent) that fits an int
// is an int; any other number a double; three numbers a vector; nine numbers a matrix, row after
// row. Text, double, vector and matrix go through CutterLocationDataDescription, so that the
// runs a writer makes of a context ("cld:unit", "cld:compensation", "cld:origin", "cld:plane")
// and of a tool ("cld:tool-unit", "cld:cutter-diameter", "cld:corner-radius", "cld:taper-angle",
// "cld:flute-length") come back as onContext and onTool, and a vector or matrix outside a run as
// that class sends them. Whatever it holds is sent before an int parameter, before the events of
// every other statement and comment, and at the end of the file.
//
// The header sends onOpen and the end of the file onClose, whose answer import returns. The abort
// source is polled before every line; an abort or a false from the stream stops at once and
// import returns false.
//
// Malformed input throws NCParseException(line number, text, the line as read), with these
// texts (a quoted piece of the line longer than 40 bytes is cut to 40 followed by "..."):
//   "Missing header."                  the first line is not the header (an empty file too)
//   "Line too long."                   a line longer than MaximumLineLength; the line is not given
//   "NUL byte in line."
//   "Expected a keyword."              a line that starts with neither a keyword nor "#"
//   "Unknown statement 'FOO'."
//   "Missing comma."                   after a keyword or value, what is not ",", "#" or the end
//   "Missing value."                   nothing after a comma
//   "Invalid number 'abc'."
//   "Number out of range '1e999'."     beyond the doubles, or so small it would read as zero
//   "Unterminated string."
//   "Invalid escape '\q'."
//   "GOTO takes 3 or 6 values, not 4." and the like for every statement: "OPEN takes no values,
//                                      not 1.", "FEEDRATE takes 1 value, not 2.", "ARC takes 9 or
//                                      10 values, ...", "DWELL takes 1 or 2 values, ...",
//                                      "PARAMETER takes 2, 4 or 10 values, ..."
//   "Expected a number."               a string where the statement takes a number
//   "Expected a string."               a number as the name of a parameter or a group
//   "Expected "revolutions"."          any other second value of DWELL
//   "Invalid command '1.5'."           a command that is not an integer 0 to 4294967295
//
// The movement keywords, one per NCStream::Movement in the enumeration's order: RAPID, LEAD_IN,
// CUTTING, LEAD_OUT, LINK_TRANSITION (MOVEMENT_TRANSITION), LINK_DIRECT (MOVEMENT_DIRECT),
// HELIX_RAMP, PROFILE_RAMP, ZIGZAG_RAMP, RAMP, PLUNGE, PREDRILL, EXTENDED, HIGH_ENGAGEMENT
// (MOVEMENT_REDUCED: the reduced feed of a fully engaged cut), FINISH_CUTTING, HIGH_FEED,
// DEPOSITING, LINK_CONNECTION (MOVEMENT_CONNECTION), DRILL_BREAKTHROUGH, GUN_DRILL_POSITIONING,
// GUIDED_LEAD, GUIDED_RAPID.
class QUARN_NC_EXPORT KernelCLDReader final : public NCReader {
public:
    // Bytes of a line besides its end. The input and file forms of import read lines of their
    // own and refuse longer ones with "Line too long."; so does the line-reader form, behind a
    // line reader whose own limit (and IOException) comes first.
    static constexpr std::size_t MaximumLineLength = std::size_t(1) << 20;

    // Passes comments on.
    KernelCLDReader();
    ~KernelCLDReader() override;
    KernelCLDReader(KernelCLDReader const&) = default;
    KernelCLDReader& operator=(KernelCLDReader const&) = default;

    // NamespaceBaseA + "/namespace/nc/format/simplified-cld".
    std::wstring getUri() const override;

    using NCReader::import;
    bool import(SequentialLineReader& reader) override;
    bool import(LineReader* reader) override;
    bool import(InputStream* stream) override;

    // Whether the file's first line is the header (ended by "\n", "\r\n" or the end of the file).
    bool isValid(std::wstring const& fileName) override;
    bool isIntermediateFormat() const override;

    // "# " + NamespaceBaseC + "/namespace/camkernel/format/cld", without a line end.
    static std::string const& getHeader();
    // NamespaceBaseA + "/namespace/camkernel/turn-farm-test-insert" and ".../turn-farm-test-contour".
    static std::string const& getTurnFarmTestInsertName();
    static std::string const& getTurnFarmTestContourName();

    // The movement a keyword sets; empty for any other text.
    static std::optional<NCStream::Movement> findMovement(std::string_view keyword) noexcept;
    // The keyword of a movement; empty for values that are not movements.
    static std::string_view getMovementKeyword(NCStream::Movement movement) noexcept;

    // Whether text is what a turn-farm statement carries: values separated by commas (and blanks),
    // with nothing before the first or after the last, or nothing at all.
    static bool isValueList(std::string_view text);
};

} // namespace Quarn
