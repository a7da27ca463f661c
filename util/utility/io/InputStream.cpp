// Defaults of InputStream.
#include "util/utility/io/InputStream.h"

namespace Quarn {

InputStream::~InputStream() = default;

std::optional<std::uint64_t> InputStream::getSize() const
{
    return std::nullopt;
}

void InputStream::close()
{
}

} // namespace Quarn
