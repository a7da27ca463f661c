// Out-of-line parts of ParseException.
#include "util/utility/ParseException.h"

namespace Quarn {

ParseException::ParseException(std::wstring message, std::optional<unsigned int> line, std::wstring detail)
    : RuntimeException(std::move(message)), line(line), detail(std::move(detail))
{
}

ParseException::~ParseException() = default;

} // namespace Quarn
