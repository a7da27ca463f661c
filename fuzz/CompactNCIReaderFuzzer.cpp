// Fuzz target: arbitrary bytes replayed as a compact NCI file into our own writer; whatever reads
// without error must be written, read back and written again to the same bytes. The bytes are
// also read in short pieces, so that records straddle every block of the reader's buffer: that
// must give the same file, or the same error.
#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"
#include "util/utility/IOException.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

namespace {

using namespace Quarn;

// Gives its bytes in reads of at most chunk bytes.
class ChunkedInputStream final : public InputStream {
public:
    ChunkedInputStream(void const* data, std::size_t size, std::size_t chunk)
        : data(static_cast<unsigned char const*>(data)), size(size), chunk(chunk)
    {
    }
    std::size_t read(void* buffer, std::size_t count) override
    {
        count = std::min({count, chunk, size - position});
        std::memcpy(buffer, data + position, count);
        position += count;
        return count;
    }
    std::uint64_t getPosition() const override { return position; }
    std::optional<std::uint64_t> getSize() const override { return size; }

private:
    unsigned char const* data;
    std::size_t size;
    std::size_t chunk;
    std::size_t position = 0;
};

// The file our writer makes of what the reader replays from the input; throws for malformed bytes.
std::string rewrite(InputStream& in)
{
    MemoryOutputStream out;
    CompactNCIWriter writer(&out);
    CompactNCIReader reader;
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

// The rewrite of the bytes read in pieces, or the error that reading them throws.
struct Outcome {
    std::string file;
    std::wstring error;
    std::optional<std::uint64_t> offset;
    bool operator==(Outcome const&) const = default;
};

Outcome rewriteInPieces(void const* data, std::size_t size)
{
    ChunkedInputStream in(data, size, 1 + size % 61);
    try {
        return {rewrite(in), {}, {}};
    } catch (IOException const& e) {
        return {{}, e.getMessage(), e.getOffset()};
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string first;
    try {
        first = rewrite(data, size);
    } catch (IOException const& e) {
        if (rewriteInPieces(data, size) != Outcome {{}, e.getMessage(), e.getOffset()})
            std::abort();
        return 0;
    }
    if (rewriteInPieces(data, size) != Outcome {first, {}, {}})
        std::abort();
    // The first rewrite settles what the format keeps (floats, flags, reserved bytes); from
    // then on the bytes must stay the same, and our own output must always read.
    if (rewrite(first.data(), first.size()) != first)
        std::abort();
    return 0;
}
