// Source of bytes: the abstract base of files, memory blocks and buffers read by the readers.
#pragma once

#include "util/utility/Export.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace Quarn {

class QUARN_NC_EXPORT InputStream {
public:
    virtual ~InputStream();

    // Reads up to size bytes into buffer and returns how many were read: fewer than asked
    // is allowed, 0 means the end of the stream (or size 0).
    virtual std::size_t read(void* buffer, std::size_t size) = 0;
    // Bytes consumed so far.
    virtual std::uint64_t getPosition() const = 0;
    // Total size in bytes when the source knows it; empty by default.
    virtual std::optional<std::uint64_t> getSize() const;
    // Releases the source; does nothing by default.
    virtual void close();

protected:
    InputStream() = default;
    InputStream(InputStream const&) = default;
    InputStream& operator=(InputStream const&) = default;
};

} // namespace Quarn
