// Base of the library's exceptions: a wide message, with what() giving it as UTF-8.
#pragma once

#include "util/utility/Export.h"

#include <exception>
#include <string>

namespace Quarn {

class QUARN_NC_EXPORT RuntimeException : public std::exception {
public:
    explicit RuntimeException(std::wstring message);
    ~RuntimeException() override;

    std::wstring const& getMessage() const noexcept { return message; }
    char const* what() const noexcept override { return utf8.c_str(); }

private:
    std::wstring message;
    std::string utf8;
};

} // namespace Quarn
