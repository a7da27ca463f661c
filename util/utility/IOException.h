// Failure of a byte stream or malformed bytes in a file, with the byte offset where known.
#pragma once

#include "util/utility/RuntimeException.h"

#include <cstdint>
#include <optional>

namespace Quarn {

class QUARN_NC_EXPORT IOException : public RuntimeException {
public:
    explicit IOException(std::wstring message, std::optional<std::uint64_t> offset = std::nullopt);
    ~IOException() override;

    // Byte offset in the input where the fault was found (the start of the bad record).
    std::optional<std::uint64_t> getOffset() const noexcept { return offset; }

private:
    std::optional<std::uint64_t> offset;
};

} // namespace Quarn
