// Bytes of a block in memory, either owned (a string) or borrowed (pointer and size).
#pragma once

#include "util/utility/io/InputStream.h"

#include <string>

namespace Quarn {

class QUARN_NC_EXPORT MemoryInputStream final : public InputStream {
public:
    // Owns the bytes.
    explicit MemoryInputStream(std::string bytes);
    // Borrows the bytes: they must outlive the stream.
    MemoryInputStream(void const* data, std::size_t size) noexcept;
    MemoryInputStream(MemoryInputStream const&) = delete;
    MemoryInputStream& operator=(MemoryInputStream const&) = delete;

    std::size_t read(void* buffer, std::size_t size) override;
    std::uint64_t getPosition() const override { return position; }
    std::optional<std::uint64_t> getSize() const override { return size; }

private:
    std::string owned;
    unsigned char const* data;
    std::size_t size;
    std::size_t position = 0;
};

} // namespace Quarn
