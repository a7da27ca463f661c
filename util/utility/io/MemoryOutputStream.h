// Bytes collected in a string in memory.
#pragma once

#include "util/utility/io/OutputStream.h"

#include <string>

namespace Quarn {

class QUARN_NC_EXPORT MemoryOutputStream final : public OutputStream {
public:
    MemoryOutputStream() = default;

    void write(void const* data, std::size_t size) override;

    std::string const& getData() const noexcept { return data; }
    // Forgets the bytes written but keeps the memory for the next ones.
    void clear() noexcept { data.clear(); }

private:
    std::string data;
};

} // namespace Quarn
