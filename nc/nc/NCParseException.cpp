// Constructors of NCParseException.
#include "nc/nc/NCParseException.h"

namespace Quarn {

NCParseException::NCParseException() : ParseException(L"Cannot parse the NC program.") { }

NCParseException::NCParseException(unsigned int line) : ParseException(L"Cannot parse the NC program.", line) { }

NCParseException::NCParseException(unsigned int line, std::wstring const& message) : ParseException(message, line) { }

NCParseException::NCParseException(unsigned int line, std::wstring const& message, std::wstring const& text)
    : ParseException(message, line, text)
{
}

NCParseException::~NCParseException() = default;

} // namespace Quarn
