// Message texts: construction, UTF-8 form and placeholder substitution.
#include "util/utility/text/Message.h"

#include "util/utility/Debug.h"
#include "util/utility/text/Unicode.h"

namespace Quarn {

Message::Message(wchar_t const* text) : text(text ? std::wstring(text) : std::wstring())
{
    QUARN_EXPECTS(text != nullptr);
}

std::string Message::getNarrow() const { return Unicode::toUTF8(text); }

std::wstring Message::substitute(std::initializer_list<Variant> arguments) const
{
    return Variant::getSubstitution(text, arguments);
}

std::wstring Message::substitute(std::span<Variant const> arguments) const
{
    return Variant::getSubstitution(text, arguments);
}

} // namespace Quarn
