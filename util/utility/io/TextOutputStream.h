// Buffered text output: UTF-8 text into a byte stream.
#pragma once

#include "util/utility/io/BufferedOutputStream.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Quarn {

// Failures of the sink are BufferedOutputStream's: thrown, and thrown again by every later write.
class QUARN_NC_EXPORT TextOutputStream final {
public:
    static constexpr std::size_t DefaultBufferSize = 64 * 1024;

    // The sink is not owned.
    explicit TextOutputStream(OutputStream* sink, std::size_t bufferSize = DefaultBufferSize);

    void write(std::string_view text) { out.writeBytes(text.data(), text.size()); }

    // Writes the buffer into the sink and flushes the sink.
    void flush() { out.flush(); }

    // Bytes written by the caller.
    std::uint64_t getPosition() const noexcept { return out.getPosition(); }

private:
    BufferedOutputStream out;
};

} // namespace Quarn
