// Out-of-line parts of RuntimeException (the key function anchors its type information).
#include "util/utility/RuntimeException.h"

#include "util/utility/text/Unicode.h"

namespace Quarn {

RuntimeException::RuntimeException(std::wstring message)
    : message(std::move(message)), utf8(Unicode::toUTF8(this->message))
{
}

RuntimeException::~RuntimeException() = default;

} // namespace Quarn
