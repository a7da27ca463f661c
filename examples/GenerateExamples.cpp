// Writes the bundled example programs (compact NCI, kernel output, cutter location data, a
// CAM system's NCI file and G-code), or a long generated program:
//   quarn-generate-examples DIR              part-3axis.nci, swarf-5axis.nci, inch-part.nci, the
//                                            kernel toolpath pocket.kts and pocket.jsonl, the
//                                            five-axis part as swarf-5axis.cld, the kernel
//                                            toolpath as text CLD pocket.cldt, the synthetic
//                                            NCI toolpath synthetic-mill.nci, the three-axis
//                                            part as G-code part-3axis.ngc and the hand-style
//                                            G-code program bolt-circle.ngc in DIR, a copy of
//                                            part-3axis.ngc edited by hand,
//                                            part-3axis-edited.ngc, and pictures of two of
//                                            them, part-3axis.svg (iso) and bolt-circle.svg
//                                            (top)
//   quarn-generate-examples --moves N FILE   a generated program of N moves
#include "examples/ExampleProgram.h"
#include "examples/ExampleToolpath.h"

#include "nc/nc/NCBoundingBox.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"
#include "nc/nc/io/CutterLocationDataWriter.h"
#include "nc/nc/io/GCodeReader.h"
#include "nc/nc/io/GCodeWriter.h"
#include "nc/nc/io/KernelCLDWriter.h"
#include "nc/nc/io/SVGPlotWriter.h"
#include "nc/nc/kernelstream/JSONOutputStream.h"
#include "nc/nc/kernelstream/KernelNCReader.h"
#include "nc/nc/kernelstream/KernelOutputStream.h"
#include "util/utility/RuntimeException.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/io/FileOutputStream.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/text/Unicode.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace {

using namespace Quarn;

template <class Writer = CompactNCIWriter>
void write(std::string const& path, std::function<bool(NCStream&)> const& program)
{
    FileOutputStream file(Unicode::fromUTF8(path));
    Writer writer(&file);
    if (!program(writer))
        throw RuntimeException(L"The writer refused the program.");
    file.close();
    std::printf("wrote %s\n", path.c_str());
}

// The example kernel toolpath through a kernel writer (binary stream or JSON Lines).
template <class Writer> void writeToolpath(std::string const& path)
{
    FileOutputStream file(Unicode::fromUTF8(path));
    Writer writer(&file);
    Examples::writeKernelToolpath(writer);
    writer.closeStream();
    std::printf("wrote %s\n", path.c_str());
}

// The example kernel toolpath as an NC program, as the kernel stream reader gives it.
bool sendToolpathProgram(NCStream& target)
{
    MemoryOutputStream stream;
    KernelOutputStream kernel(&stream);
    Examples::writeKernelToolpath(kernel);
    kernel.closeStream();
    MemoryInputStream in(stream.getData().data(), stream.getData().size());
    KernelNCReader reader;
    reader.setNCStream(&target);
    return reader.import(&in);
}

// An NCI toolpath in the record layouts the format's notes call firm, written by hand: an inch
// plate of 4 x 3 with corners of radius 0.5, origin at the lower left corner of its top. A
// half-inch end mill cuts the outside profile (compensated in the control), helixes down a bore
// of 1 and runs a five-axis chamfer along the front edge; a quarter-inch drill pecks three holes.
// One record a row: the code and its value line.
struct NCIRecord {
    std::string_view code;
    std::string_view values;
};

constexpr NCIRecord SyntheticMill[] = {
    // version, date, time and file name; machine name, group comment, group name, file descriptor
    {"1050", "1 0 3 14 2025 9 41 12 synthetic-mill"},
    {"1051", "GENERIC 5-AXIS TRUNNION MILL"},
    {"1052", "PLATE 4 X 3 X 0.5 ALUMINIUM"},
    {"1053", "Machine Group-1"},
    {"1054", "SYNTHETIC EXAMPLE"},
    {"1005", "SYNTHETIC EXAMPLE WRITTEN BY QUARN-GENERATE-EXAMPLES, NOT OUTPUT OF THE CAM SYSTEM"},

    // Operation 1: outside profile and bore, T2 flat end mill D0.5.
    {"1008", "OUTSIDE PROFILE AND BORE D1.0"},
    {"10000", "Contour"},
    {"10001", "0.01"},
    {"10002", ""},
    {"10010", "2D CONTOUR, CLIMB, CONTROL COMPENSATION"},
    {"20001", "1/2 FLAT END MILL"},
    // tool number, type, -, -, diameter, corner radius, -, -, offsets, feed, plunge, retract,
    // spindle, coolant, flutes
    {"20004", "2 10 0. 0. 0.5 0. 0. 0. 2 2 20. 8. 50. 5000 1 3"},
    // compensation side, diameter, corner radius, six unknown numbers, tool library
    {"1013", "41 0.5 0. 0. 0. 0. 0. 0. 0. D:\\TOOLING\\INCH MILL.TLIB"},
    {"1011", "0. 0. 0. 0. 0. 0. 0. 0. 0. 0."},
    {"1012", "0 0 0 0 0 0 0 0 0 0"},
    {"1016", "0 0 0 0 0 1 0 0 0 0 0 0 0 0 0 0 0"},
    {"1014", "1. 0. 0. 0. 1. 0. 0. 0. 1."},
    {"1017", "1. 0. 0. 0. 1. 0. 0. 0. 1."},
    {"1027", "1. 0. 0. 0. 1. 0. 0. 0. 1. 0. 0. 0."},
    // program, sequence start and step, tool, offsets, plane, spindle, feed, coolant, start, home
    {"1001", "1000 100 2 2 2 2 0 5000 20. 1 -0.75 1. 1. 0. 0. 10. 0 0."},
    // cutter compensation, x, y, z, feed (-2 rapid, -1 the last one), contour flags
    {"0", "0 -0.75 1. 1. -2. 0"},
    {"0", "0 -0.75 1. 0.1 -2. 0"},
    {"1", "0 -0.75 1. -0.25 8. 0"},
    {"1", "41 -0.25 1. -0.25 20. 3000"},
    // plane, cutter compensation, end, centre, end on the normal axis, feed, flags, full circle
    {"3", "0 0 0. 1.25 -0.25 1.25 -0.25 -1. 0 0"},
    {"1", "0 0. 2.5 -0.25 -1. 0"},
    {"2", "0 0 0.5 3. 0.5 2.5 -0.25 -1. 0 0"},
    {"1", "0 3.5 3. -0.25 -1. 0"},
    {"2", "0 0 4. 2.5 3.5 2.5 -0.25 -1. 0 0"},
    {"1", "0 4. 0.5 -0.25 -1. 0"},
    {"2", "0 0 3.5 0. 3.5 0.5 -0.25 -1. 0 0"},
    {"1", "0 0.5 0. -0.25 -1. 0"},
    {"2", "0 0 0. 0.5 0.5 0.5 -0.25 -1. 0 0"},
    {"1", "0 0. 1.25 -0.25 -1. 0"},
    {"3", "0 0 -0.25 1.5 -0.25 1.25 -0.25 -1. 0 0"},
    {"1", "40 -0.75 1.5 -0.25 -1. 300"},
    {"0", "0 -0.75 1.5 1. -2. 0"},
    // The bore: two helix halves, a full helix turn, a full circle at the bottom.
    {"0", "0 2.25 1.5 1. -2. 0"},
    {"0", "0 2.25 1.5 0.1 -2. 0"},
    {"1", "0 2.25 1.5 0. 8. 1000"},
    {"3", "0 0 1.75 1.5 2. 1.5 -0.05 15. 0 0"},
    {"3", "0 0 2.25 1.5 2. 1.5 -0.1 -1. 0 0"},
    {"3", "0 0 2.25 1.5 2. 1.5 -0.2 -1. 0 1"},
    {"3", "0 0 2.25 1.5 2. 1.5 -0.2 -1. 0 1"},
    {"1", "0 2. 1.5 -0.2 -1. 100"},
    {"0", "0 2. 1.5 1. -2. 0"},

    // Operation 2: chamfer of the front edge with the same tool tilted by 45 degrees.
    {"1008", "FIVE-AXIS CHAMFER OF THE FRONT EDGE"},
    {"10000", "Multiaxis"},
    {"10001", "0.001"},
    {"10002", ""},
    {"10010", "SWARF ALONG EDGE, TOOL TILTED 45 DEG"},
    {"1013", "0 0.5 0. 0. 0. 0. 0. 0. 0. D:\\TOOLING\\INCH MILL.TLIB"},
    {"1011", "0. 0. 0. 0. 0. 0. 0. 0. 0. 0."},
    {"1012", "0 0 0 0 0 0 0 0 0 0"},
    {"1016", "0 0 0 0 0 1 0 0 0 0 0 0 0 0 0 0 0"},
    {"1014", "1. 0. 0. 0. 1. 0. 0. 0. 1."},
    {"1017", "1. 0. 0. 0. 1. 0. 0. 0. 1."},
    {"1027", "1. 0. 0. 0. 1. 0. 0. 0. 1. 0. 0. 0."},
    {"1000", "1000 100 2 2 2 2 0 5000 25. 1 0.5 -0.1 1. 0. 0. 10. 0 0."},
    // tip, a second point on the tool axis, feed, unknown, contour flags, surface normal
    {"11", "0.5 -0.1 1. 0.5 -1.1 2. -2. 0 0"},
    {"11", "0.5 -0.1 -0.05 0.5 -1.1 0.95 10. 0 1000"},
    {"11", "2. -0.1 -0.05 2. -1.1 0.95 25. 0 0 0. -0.7071068 0.7071068"},
    {"11", "3.5 -0.1 -0.05 3.5 -1.1 0.95 -1. 0 100 0. -0.7071068 0.7071068"},
    // dwell time, spindle speed
    {"4", "0.5 5000"},
    {"11", "3.5 -0.1 1. 3.5 -1.1 2. -2. 0 0"},

    // Operation 3: three peck-drilled holes, T3 drill D0.25.
    {"1008", "PECK DRILL 3 HOLES D0.25"},
    {"10000", "Drill"},
    {"10001", "0.01"},
    {"10002", ""},
    {"10010", "PECK DRILL, FULL RETRACT"},
    {"20001", "1/4 DRILL"},
    {"20004", "3 3 0. 0. 0.25 0. 0. 0. 3 3 6. 6. 50. 2500 1 2"},
    {"1013", "0 0.25 0. 0. 0. 0. 0. 0. 0. D:\\TOOLING\\INCH MILL.TLIB"},
    {"1011", "0. 0. 0. 0. 0. 0. 0. 0. 0. 0."},
    {"1012", "0 0 0 0 0 0 0 0 0 0"},
    {"1016", "0 0 0 0 0 1 0 0 0 0 0 0 0 0 0 0 0"},
    {"1014", "1. 0. 0. 0. 1. 0. 0. 0. 1."},
    {"1017", "1. 0. 0. 0. 1. 0. 0. 0. 1."},
    {"1027", "1. 0. 0. 0. 1. 0. 0. 0. 1. 0. 0. 0."},
    {"1002", "1000 100 2 3 3 3 0 2500 6. 1 0.75 0.75 1. 0. 0. 10. 0 0."},
    {"0", "0 0.75 0.75 1. -2. 0"},
    // type, bottom, dwell, feed, first and further pecks, peck clearance, -, clearance height,
    // reference height, top of stock, shift, top, flags, reverse
    {"81", "1 0.75 0.75 -0.35 0. 6. 0.1 0.1 0.02 0. 1. 0.1 0. 0. 0.75 0.75 0. 0 0"},
    // -, bottom, clearance height, reference height, dwell, feed, top, flags, reverse
    {"100", "0 3.25 0.75 -0.35 1. 0.1 0. 6. 3.25 0.75 0. 0 0"},
    {"100", "0 3.25 2.25 -0.35 1. 0.1 0. 6. 3.25 2.25 0. 0 0"},
    {"80", "0"},
    {"0", "0 0. 0. 10. -2. 0"},
    {"1003", "0. 0. 0."},
};

// The synthetic NCI toolpath, with the CR LF line ends the CAM system writes.
void writeSyntheticNCI(std::string const& path)
{
    std::string text;
    for (NCIRecord const& record : SyntheticMill)
        text.append(record.code).append("\r\n").append(record.values).append("\r\n");
    FileOutputStream file(Unicode::fromUTF8(path));
    file.write(text.data(), text.size());
    file.close();
    std::printf("wrote %s\n", path.c_str());
}

// A G-code program as a machinist writes it by hand for LinuxCNC's dialect: named parameters, a
// subroutine with arguments called from a while loop, an if/else, G81 drilling with G99 between
// holes and G98 after the last, a helix of three turns (P), a full circle, half circles by R in
// a repeat loop, and comments of every kind. Written as text, so that it keeps its layout.
constexpr std::string_view BoltCircle = R"(%
(bolt-circle.ngc: six holes on a bolt circle, a counterbore and the outside profile of a flange)
(SYNTHETIC EXAMPLE WRITTEN BY QUARN-GENERATE-EXAMPLES IN THE STYLE OF A HAND-WRITTEN PROGRAM)
(Flange 110 mm across, 20 mm thick, origin at the centre of its top face; millimetres)
(MSG, Bolt circle: 6 holes of 8.5 mm on a circle of 80 mm)

#<holes> = 6                 (holes on the circle)
#<circle_d> = 80             (diameter of the bolt circle)
#<first_angle> = 15          (angle of the first hole from +X, degrees)
#<hole_depth> = -22          (through the flange)
#<retract> = 2               (R plane of the drill cycle)
#<clear> = 25                (clearance height between operations)

; One hole of the bolt circle: #1 angle, #2 radius, #3 depth, #4 R plane, #5 98 or 99
o<bolt_hole> sub
  #<x> = [#2 * COS[#1]]
  #<y> = [#2 * SIN[#1]]
  o<return_mode> if [#5 EQ 98]
    G98 G81 X#<x> Y#<y> Z#3 R#4 F150
  o<return_mode> else
    G99 G81 X#<x> Y#<y> Z#3 R#4 F150
  o<return_mode> endif
o<bolt_hole> endsub

G21 G90 G17 G94 G40 G49 G80 G91.1
G54

(Drill the bolt circle, back to the R plane between holes, to the start height after the last)
T1 M6 (8.5 mm drill)
G43 H1
S1800 M3
M8
G0 X0 Y0 Z#<clear>
#<i> = 0
o<each_hole> while [#<i> LT #<holes>]
  #<mode> = 99
  o<last> if [#<i> EQ [#<holes> - 1]]
    #<mode> = 98
  o<last> endif
  o<bolt_hole> call [#<first_angle> + 360 * #<i> / #<holes>] [#<circle_d> / 2] [#<hole_depth>] [#<retract>] [#<mode>]
  #<i> = [#<i> + 1]
o<each_hole> endwhile
G80
M9

(Counterbore of 30 mm in the centre: a helix of three turns down to 6 mm, a circle at the bottom)
T2 M6 (10 mm flat end mill)
G43 H2
S6000 M3
M8
#<bore_r> = [15 - 5]         (bore radius less the tool radius)
G0 X#<bore_r> Y0
G0 Z2
G1 Z0 F300
G3 X#<bore_r> Y0 Z-6 I[-#<bore_r>] J0 P3 F400
G3 X#<bore_r> Y0 I[-#<bore_r>] J0
G1 X[#<bore_r> - 1]
G0 Z#<clear>

(Outside profile of 110 mm, climb milled in two passes of 2.5 mm, half circles by R)
#<profile_r> = [55 + 5]
G0 X[-#<profile_r>] Y0
G0 Z2
#<pass> = 1
o<passes> repeat [2]
  G1 Z[-2.5 * #<pass>] F300
  G2 X#<profile_r> Y0 R#<profile_r> F800
  G2 X[-#<profile_r>] Y0 R#<profile_r>
  #<pass> = [#<pass> + 1]
o<passes> endrepeat
G0 Z#<clear>
M9
M5
M2
%
)";

void writeText(std::string const& path, std::string_view text)
{
    FileOutputStream file(Unicode::fromUTF8(path));
    file.write(text.data(), text.size());
    file.close();
    std::printf("wrote %s\n", path.c_str());
}

// The part's G-code as a machinist edits it at the machine: the second hole, at X90 Y10, drilled
// 0.02 mm deeper. The one changed number is what quarnnc diff finds.
void writeEditedCopy(std::string const& path, std::string const& originalPath)
{
    std::string text;
    FileInputStream original(Unicode::fromUTF8(originalPath));
    char buffer[4096];
    while (std::size_t const got = original.read(buffer, sizeof buffer))
        text.append(buffer, got);
    constexpr std::string_view hole = "X90\nG1 Z-12\n";
    std::size_t const at = text.find(hole);
    if (at == std::string::npos)
        throw RuntimeException(L"The part's G-code has no second hole to edit.");
    text.replace(at, hole.size(), "X90\nG1 Z-12.02\n");
    writeText(path, text);
}

// A picture of an example program, as quarnnc plot draws it: its extent first, then the drawing.
void writePlot(std::string const& path, std::string const& programPath, NCReader& reader, SVGPlotWriter::View view)
{
    auto const readInto = [&](NCStream& stream) {
        FileInputStream program(Unicode::fromUTF8(programPath));
        reader.setNCStream(&stream);
        if (!reader.import(&program))
            throw RuntimeException(L"The plot refused the program.");
    };
    NCStreamDefaultImpl sink;
    NCBoundingBox extent(&sink);
    readInto(extent);
    FileOutputStream file(Unicode::fromUTF8(path));
    SVGPlotWriter plot(&file);
    plot.setExtent(extent.getTotal(), extent.getUnit());
    plot.setView(view);
    plot.setTitle(std::filesystem::path(programPath).filename().string());
    readInto(plot);
    file.close();
    std::printf("wrote %s\n", path.c_str());
}

} // namespace

int main(int argc, char** argv)
{
    try {
        std::string const first = argc > 1 ? argv[1] : "";
        if (first == "--moves" && argc == 4) {
            unsigned long long const moves = std::strtoull(argv[2], nullptr, 10);
            write(argv[3], [moves](NCStream& s) { return Examples::sendGeneratedProgram(s, moves); });
            return 0;
        }
        if (argc != 2) {
            std::fprintf(stderr, "usage: quarn-generate-examples DIR | --moves N FILE\n");
            return 64;
        }
        write(first + "/part-3axis.nci", Examples::sendThreeAxisPart);
        write(first + "/swarf-5axis.nci", Examples::sendSwarfPart);
        write(first + "/inch-part.nci", Examples::sendInchPart);
        writeToolpath<KernelOutputStream>(first + "/pocket.kts");
        writeToolpath<JSONOutputStream>(first + "/pocket.jsonl");
        write<CutterLocationDataWriter>(first + "/swarf-5axis.cld", Examples::sendSwarfPart);
        write<KernelCLDWriter>(first + "/pocket.cldt", sendToolpathProgram);
        writeSyntheticNCI(first + "/synthetic-mill.nci");
        write<GCodeWriter>(first + "/part-3axis.ngc", Examples::sendThreeAxisPart);
        writeText(first + "/bolt-circle.ngc", BoltCircle);
        writeEditedCopy(first + "/part-3axis-edited.ngc", first + "/part-3axis.ngc");
        CompactNCIReader compact;
        writePlot(first + "/part-3axis.svg", first + "/part-3axis.nci", compact, SVGPlotWriter::View::ISO);
        GCodeReader gcode;
        writePlot(first + "/bolt-circle.svg", first + "/bolt-circle.ngc", gcode, SVGPlotWriter::View::TOP);
        return 0;
    } catch (RuntimeException const& e) {
        std::fprintf(stderr, "quarn-generate-examples: %s\n", e.what());
        return 1;
    }
}
