// Fuzz target: arbitrary bytes replayed as a cutter location data file into our own writer; whatever
// reads without error must be written, read back and written again to the same bytes. The bytes
// are also read in short pieces, so that records straddle every block of the reader's buffer: that
// must give the same file, or the same error.
#include "ChunkedInputStream.h"
#include "nc/nc/io/CutterLocationDataReader.h"
#include "nc/nc/io/CutterLocationDataWriter.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

namespace {

using namespace Quarn;

// The file our writer makes of what the reader replays from the input; throws for malformed bytes.
std::string rewrite(InputStream& in)
{
    MemoryOutputStream out;
    CutterLocationDataWriter writer(&out);
    CutterLocationDataReader reader;
    reader.setNCStream(&writer);
    if (!reader.import(&in))
        std::abort(); // the writer accepts every event and nothing aborts
    return out.getData();
}

std::string rewrite(void const* data, std::size_t size)
{
    MemoryInputStream in(data, size);
    return rewrite(in);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const read = [](InputStream& in) { return rewrite(in); };
    std::optional<std::string> const first = Fuzz::readWholeAndInPieces(data, size, read, read);
    if (!first)
        return 0;
    // The first rewrite settles what the format keeps (the machine's byte order, vectors and
    // matrices outside a context as parameters of their own kinds, texts cut at a zero byte);
    // from then on the bytes must stay the same, and our own output must always read.
    if (rewrite(first->data(), first->size()) != *first)
        std::abort();
    return 0;
}
