// Out-of-line parts of IOException.
#include "util/utility/IOException.h"

namespace Quarn {

IOException::IOException(std::wstring message, std::optional<std::uint64_t> offset)
    : RuntimeException(std::move(message)), offset(offset)
{
}

IOException::~IOException() = default;

} // namespace Quarn
