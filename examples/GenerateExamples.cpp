// Writes the bundled example programs (compact NCI, kernel output, cutter location data and a
// CAM system's NCI file), or a long generated program:
//   quarn-generate-examples DIR              part-3axis.nci, swarf-5axis.nci, inch-part.nci, the
//                                            kernel toolpath pocket.kts and pocket.jsonl, the
//                                            five-axis part as swarf-5axis.cld, the kernel
//                                            toolpath as text CLD pocket.cldt and the synthetic
//                                            NCI toolpath synthetic-mill.nci in DIR
//   quarn-generate-examples --moves N FILE   a generated program of N moves
#include "examples/ExampleProgram.h"
#include "examples/ExampleToolpath.h"

#include "nc/nc/io/CompactNCIWriter.h"
#include "nc/nc/io/CutterLocationDataWriter.h"
#include "nc/nc/io/KernelCLDWriter.h"
#include "nc/nc/kernelstream/JSONOutputStream.h"
#include "nc/nc/kernelstream/KernelNCReader.h"
#include "nc/nc/kernelstream/KernelOutputStream.h"
#include "util/utility/RuntimeException.h"
#include "util/utility/io/FileOutputStream.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"
#include "util/utility/text/Unicode.h"

#include <cstdio>
#include <cstdlib>
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
        return 0;
    } catch (RuntimeException const& e) {
        std::fprintf(stderr, "quarn-generate-examples: %s\n", e.what());
        return 1;
    }
}
