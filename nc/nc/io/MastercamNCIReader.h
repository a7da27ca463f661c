// Reader of the CAM system's ASCII intermediate toolpath files (NCI).
#pragma once

#include "nc/nc/NCReader.h"
#include "nc/nc/NCUnit.h"
#include "nc/nc/tool/ToolGeometry.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Quarn {

// An NCI file is a sequence of two-line records: a line holding the record code (an unsigned
// integer, blanks around it allowed), then one line of values separated by blanks, which may be
// empty. Lines end with "\n" or "\r\n" and hold at most MaximumLineLength bytes besides that end.
// The first record is the version header 1050; the record 1003 ends the program, and nothing after
// it is read.
//
// Every record code the reader knows has one row in the table of layouts in
// MastercamNCIReader.cpp: the printf-style template of its values ("%u %g %g %g %g %u": %u an
// unsigned integer, %d a signed one, %g a real, a literal that is read and ignored), the least
// number of values it needs, the meaning of each value and what it drives. Values are read by
// position; values beyond a row's template are kept as text. A real is a decimal number as
// "1069", "1.", "-0.", ".5" or "-3.876529e-2"; an integer also takes a real with no fraction ("1.").
//
// What the program sends (names are getParameterName(short name); "text" parameters carry the
// value line as read, without its end):
//   onOpen                    at the header
//   1000, 1001, 1002          an operation: ends the open group and section, then onContext,
//                             onTool, onSection and the text parameter "null-tool-change",
//                             "first-tool-change" or "tool-change"; the context has the reader's
//                             unit (setUnit), the last tool plane (1014; else the last
//                             construction plane, 1017) as its plane, and the last work coordinate
//                             system (1027) as its WCS (a matrix's nine values are its rows, the
//                             axes x, y and z, so they become the plane's columns; 1027's last three
//                             the origin); the tool has the record's number, offsets,
//                             spindle speed (its sign the direction) and coolant, the diameter and
//                             corner radius of the last 1013 (else of the last 20004), the type of
//                             the last 20004 and the name of the last 20001 as its description.
//                             The record's feedrate is the feedrate of the moves until one gives
//                             another.
//   0, 1                      onRapid, or onLinear with the feedrate as given (-1: the last one;
//                             -2: a rapid); flags: the movement and the cutter compensation
//   2, 3                      an arc clockwise / counter-clockwise about +Z (plane XY), +X (YZ)
//                             or +Y (XZ), as G2 and G3 turn in G17, G19 and G18; the centre is
//                             absolute, at the start's height on the normal axis; a changed
//                             height makes a helix. onCWArc / onCCWArc, onCWCircle / onCCWCircle
//                             for a full circle (the full-circle value 1, or without that value an
//                             end equal to the start), onCircular with a sweep of one turn for a
//                             full helix turn
//   11                        onLinear5D / onRapid5D with the unit tool axis and
//                             FLAG_ABSOLUTE_DIRECTION; the surface normal, when given, as the
//                             Point3D parameter "surface-normal" before the move
//   4                         onDwell(seconds, 0)
//   81, 100, 80               a drill cycle: a group of the cycle (NCCycleDefinition) with its
//                             values, then per hole a rapid to the top of the hole (the depth
//                             parameter again before a hole whose depth differs) or, with
//                             setExpandCycles(true), the moves of the hole in the expanded group.
//                             Cycle types: 0 drilling (counter-boring with a dwell), 1
//                             deep-drilling, 2 chip-breaking, 3 and 7 right-tapping (left-tapping
//                             when the spindle turns counter-clockwise), 4 boring, 5 stop-boring,
//                             6 fine-boring, 8 to 19 custom (never expanded). The text parameters
//                             "drill-cycle" and "drill-hole" carry each 81 and 100 line
//   1004                      onRadiusCompensation(COMPENSATION_OFF); the moves after it are
//                             uncompensated
//   1005 - 1008, 1026         onComment(the line), when comments are passed on (the default)
//   misc and text records     text parameters: "misc-reals" (1011), "misc-integers" (1012),
//                             "tool-parameters" (1013), "tool-plane" (1014), "misc-parameters"
//                             (1016), "construction-plane" (1017), "subprogram-start" (1018),
//                             "subprogram-end" (1019), "stock" (1020), "canned-text" (1025),
//                             "work-coordinate-system" (1027), "version" (1050), "machine-name"
//                             (1051), "group-comment" (1052), "group-name" (1053),
//                             "file-descriptor" (1054), "axis-combination" (950), "end-of-file"
//                             (1003), and the code itself for 1031, 1032, 10000 - 19999
//                             (operation parameters) and 20000 - 29999 (tool parameters)
//   any other code            the text parameter "unknown-" + code, counted
//                             (getUnknownRecordCount); it never stops the program
//   1003                      ends the open group and section, then onClose, whose answer import
//                             returns
// With setPassThroughLineNumbers(true), every record begins with onLineNumber(the line of its code).
// Values of a move that no event carries travel as int parameters, sent before a move whenever
// they differ from the last ones sent (0 at first): "contour-flags", "canned-text-number" (the
// cutter compensation value / 1000), "five-axis-value" (the unknown eighth value of 11) and
// "dwell-spindle-speed" (a double). Values beyond a motion record's template go as the text
// parameter "extra-values" before it. A move before the first operation opens a section with the
// context as it stands and a tool without a number.
//
// Malformed input throws NCParseException(line number, text, the line as read; "" for the two
// line errors):
//   "Not an NCI file: binary data."                 a first line holding bytes no text holds
//   "Not an NCI file: a circuit-board drill file."  a first line starting "M48"
//   "Not an NCI file: it starts with '%' as G-code programs and drill files do."
//   "Not an NCI file: the first record is not 1050."
//   "Line too long."                                a line longer than MaximumLineLength
//   "NUL byte in line."
//   "Invalid record code 'x'."
//   "Record 1 has no value line."                   the file ends after a record code
//   "Record 1 needs 5 values, not 4."
//   "Invalid number 'x' in value 3 (y) of record 1."
//   "Number out of range 'x' in value 3 (y) of record 1."
//   "Invalid integer 'x' in value 1 (cutter compensation) of record 1."
//   "Unknown cutter compensation 43 in record 1."
//   "Unknown arc plane 3 in record 2."
//   "Tool axis of zero length in record 11."
//   "Tool axis out of range in record 11."          points too far apart for a double
//   "Unknown drill cycle type 20 in record 81."
//   "Drill hole without a drill cycle in record 100."
//   "Hole depth out of range in record 81."         top and bottom too far apart for a double
//   the text of NCCycleDefinition::checkHole, when a hole is expanded
//   "File ends without its end record 1003."
// A quoted piece of a line longer than 40 bytes is cut to 40 (less when that would split a UTF-8
// character) followed by "...".
//
// The abort source is polled before every record; an abort or a false from the stream stops at
// once and import returns false.
class QUARN_NC_EXPORT MastercamNCIReader final : public NCReader {
public:
    // Bytes of a line besides its end. The input and file forms of import read lines of their
    // own and refuse longer ones with "Line too long."; so does the line-reader form, behind a
    // line reader whose own limit (and IOException) comes first.
    static constexpr std::size_t MaximumLineLength = 65536;
    // The code of the version header, the first record of every file.
    static constexpr unsigned int HeaderCode = 1050;

    // Passes comments on; inches; cycles not expanded.
    MastercamNCIReader();
    ~MastercamNCIReader() override;
    MastercamNCIReader(MastercamNCIReader const&) = default;
    MastercamNCIReader& operator=(MastercamNCIReader const&) = default;

    // NamespaceBaseA + "/namespace/nc/format/mastercam-ascii-nci".
    std::wstring getUri() const override;

    using NCReader::import;
    bool import(SequentialLineReader& reader) override;
    bool import(LineReader* reader) override;
    bool import(InputStream* stream) override;

    // Whether the file's first line is the unsigned integer 1050 (blanks around it allowed);
    // false for a file that cannot be read.
    bool isValid(std::wstring const& fileName) override;
    bool isIntermediateFormat() const override;

    // Whether drill cycles are sent as the moves they make (NCCycleDefinition::expandHole).
    void setExpandCycles(bool expand) noexcept { expandCycles = expand; }
    bool getExpandCycles() const noexcept { return expandCycles; }
    // The unit of the file's lengths, which the file does not say: the unit of every context and
    // tool sent.
    void setUnit(NCUnit::Unit value) noexcept { unit = value; }
    NCUnit::Unit getUnit() const noexcept { return unit; }

    // Records of unknown codes in the last import.
    std::uint64_t getUnknownRecordCount() const noexcept { return unknownRecords; }

    // The tool type of an NCI tool type number: 1 center drill, 2 spot drill, 3/21/22 drill, 4
    // right-hand tap, 5 left-hand tap, 6 reamer, 7 boring bar, 8 counterbore, 9 countersink, 10
    // flat end mill, 11 ball end mill, 12 bullnose end mill, 13 chamfer mill, 14 face mill, 15 slot
    // mill, 16 radius mill, 17 dovetail mill, 18 tapered mill, 19 lollipop mill, 20 engraving tool;
    // UNDEFINED for any other number.
    static ToolGeometry::Type getToolTypeFromMastercamToolType(unsigned int type) noexcept;

    // NamespaceBaseA + "/namespace/nc/parameter/mastercam-nci/" + shortName.
    static std::string getParameterName(std::string_view shortName);

private:
    bool expandCycles = false;
    NCUnit::Unit unit = NCUnit::INCHES;
    std::uint64_t unknownRecords = 0;
};

} // namespace Quarn
