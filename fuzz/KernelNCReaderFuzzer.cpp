// Fuzz target: arbitrary bytes read as an NC program by KernelNCReader (the kernel stream reader and
// its binder to NC events) into our compact NCI writer. Whatever reads without error must be a
// program that the compact NCI reader reads back to its end; read whole or in short pieces, the
// bytes must give the same program or the same error.
#include "ChunkedInputStream.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"
#include "nc/nc/kernelstream/KernelNCReader.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

namespace {

using namespace Quarn;

// The program as a compact NCI file, and whether the reader reached the end of the stream.
struct Program {
    std::string file;
    bool completed = false;
    bool operator==(Program const&) const = default;
};

Program readAsProgram(InputStream& in)
{
    MemoryOutputStream out;
    CompactNCIWriter writer(&out);
    KernelNCReader reader;
    reader.setNCStream(&writer);
    bool const completed = reader.import(&in);
    return {out.getData(), completed};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::optional<Program> const program = Fuzz::readWholeAndInPieces(data, size, readAsProgram, readAsProgram);
    if (!program || !program->completed)
        return 0;
    // A completed program was opened and closed: its file holds every event and reads back whole.
    MemoryInputStream file(program->file);
    NCStreamDefaultImpl end;
    CompactNCIReader reader;
    reader.setNCStream(&end);
    if (!reader.import(&file))
        std::abort();
    return 0;
}
