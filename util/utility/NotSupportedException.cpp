// Out-of-line parts of NotSupportedException.
#include "util/utility/NotSupportedException.h"

namespace Quarn {

NotSupportedException::NotSupportedException(std::wstring message) : RuntimeException(std::move(message)) {}

NotSupportedException::~NotSupportedException() = default;

} // namespace Quarn
