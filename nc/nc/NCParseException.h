// Thrown by NC program readers for input they cannot parse, with the line where it happened.
#pragma once

#include "util/utility/ParseException.h"

namespace Quarn {

class QUARN_NC_EXPORT NCParseException : public ParseException {
public:
    NCParseException();
    explicit NCParseException(unsigned int line);
    NCParseException(unsigned int line, std::wstring const& message);
    // The second text is the offending input (the line as read).
    NCParseException(unsigned int line, std::wstring const& message, std::wstring const& text);
    ~NCParseException() override;
};

} // namespace Quarn
