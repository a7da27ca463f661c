// Lines of a byte stream read front to back in blocks, with a bound on the length of a line.
#pragma once

#include "util/utility/SafePointer.h"
#include "util/utility/io/InputStream.h"
#include "util/utility/io/LineReader.h"

#include <cstdint>
#include <memory>

namespace Quarn {

// A last line without a line feed is still a line. A line longer than maximumLineLength bytes
// (not counting its end) throws IOException "Line too long." with the offset of its first byte.
class QUARN_NC_EXPORT SequentialLineReader final : public LineReader {
public:
    static constexpr std::size_t DefaultMaximumLineLength = std::size_t(1) << 20;

    // The source is not owned.
    explicit SequentialLineReader(InputStream* source, std::size_t maximumLineLength = DefaultMaximumLineLength);
    ~SequentialLineReader() override;
    SequentialLineReader(SequentialLineReader const&) = delete;
    SequentialLineReader& operator=(SequentialLineReader const&) = delete;

    bool readLine(std::string& line) override;
    unsigned int getLineNumber() const override { return lineNumber; }

    // Bytes consumed: up to the end of the last line read (plus the source's position when the
    // reader was made).
    std::uint64_t getPosition() const noexcept
    {
        return origin + static_cast<std::uint64_t>(current - block.get());
    }

private:
    bool refill();

    SafePointer<InputStream> source;
    std::size_t maximumLineLength;
    std::unique_ptr<char[]> block;
    char const* current;
    char const* end;
    std::uint64_t origin; // stream position of block[0]
    unsigned int lineNumber = 0;
};

} // namespace Quarn
