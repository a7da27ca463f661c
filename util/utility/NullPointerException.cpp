// Out-of-line parts of NullPointerException.
#include "util/utility/NullPointerException.h"

namespace Quarn {

NullPointerException::NullPointerException(std::wstring message) : RuntimeException(std::move(message)) {}

NullPointerException::~NullPointerException() = default;

} // namespace Quarn
