// Fuzz target: arbitrary bytes read as text CLD into our own writer; whatever reads without error is
// written, and the text written must read and be written again as the same bytes. The bytes are
// also read in short pieces, so that lines straddle every block of the reader: that must give the
// same text, or the same error on the same line.
#include "ChunkedInputStream.h"
#include "nc/nc/NCParseException.h"
#include "nc/nc/io/KernelCLDReader.h"
#include "nc/nc/io/KernelCLDWriter.h"
#include "util/utility/IOException.h"
#include "util/utility/io/MemoryInputStream.h"
#include "util/utility/io/MemoryOutputStream.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

namespace {

using namespace Quarn;

// The text our writer makes of what the reader replays, or the reader's error.
struct Rewrite {
    std::string text;
    std::wstring error;
    unsigned int line = 0;
    std::wstring detail;
    bool operator==(Rewrite const&) const = default;
};

Rewrite rewrite(InputStream& in)
{
    MemoryOutputStream out;
    KernelCLDWriter writer(&out);
    KernelCLDReader reader;
    reader.setNCStream(&writer);
    try {
        if (!reader.import(&in))
            std::abort(); // the writer accepts every event and nothing aborts
    } catch (NCParseException const& e) {
        return {{}, e.getMessage(), e.getLine().value_or(0), e.getDetail()};
    } catch (IOException const& e) {
        // Memory does not fail and the reader sends no number the writer refuses; but a line at
        // the limit may come out longer (escapes, the blank after "#"), which the writer refuses.
        if (e.getMessage().find(L": Line too long.") == std::wstring::npos)
            std::abort();
        return {{}, e.getMessage(), 0, {}};
    }
    return {out.getData(), {}, 0, {}};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const read = [](InputStream& in) { return rewrite(in); };
    std::optional<Rewrite> const first = Fuzz::readWholeAndInPieces(data, size, read, read);
    if (!first || !first->error.empty())
        return 0;
    // The first rewrite settles the spelling (numbers, blanks, movement and feedrate lines);
    // from then on the text must stay the same.
    MemoryInputStream again(first->text);
    if (rewrite(again) != *first)
        std::abort();
    return 0;
}
