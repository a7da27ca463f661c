// Text that cannot be parsed, with the line where known and an optional second text (the input).
#pragma once

#include "util/utility/RuntimeException.h"

#include <optional>

namespace Quarn {

class QUARN_NC_EXPORT ParseException : public RuntimeException {
public:
    explicit ParseException(std::wstring message, std::optional<unsigned int> line = std::nullopt,
                            std::wstring detail = {});
    ~ParseException() override;

    std::optional<unsigned int> getLine() const noexcept { return line; }
    std::wstring const& getDetail() const noexcept { return detail; }

private:
    std::optional<unsigned int> line;
    std::wstring detail;
};

} // namespace Quarn
