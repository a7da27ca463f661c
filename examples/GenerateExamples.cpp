// Writes the bundled example programs (compact NCI, kernel output and cutter location data), or a
// long generated program:
//   quarn-generate-examples DIR              part-3axis.nci, swarf-5axis.nci, inch-part.nci, the
//                                            kernel toolpath pocket.kts and pocket.jsonl, the
//                                            five-axis part as swarf-5axis.cld and the kernel
//                                            toolpath as text CLD pocket.cldt in DIR
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
        return 0;
    } catch (RuntimeException const& e) {
        std::fprintf(stderr, "quarn-generate-examples: %s\n", e.what());
        return 1;
    }
}
