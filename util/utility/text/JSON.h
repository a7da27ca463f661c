// JSON string literals of wide and UTF-8 texts.
#pragma once

#include "util/utility/Export.h"

#include <string>
#include <string_view>

namespace Quarn {

class QUARN_NC_EXPORT JSON {
public:
    // The text quoted, with '"' and '\' escaped and control characters below U+0020 written as
    // \b \f \n \r \t or \u00xx (lowercase hex). Every other character, non-ASCII and above U+FFFF
    // included, is kept as it is.
    static std::wstring stringify(std::wstring_view text);
    // The same for UTF-8 text; malformed bytes become U+FFFD.
    static std::wstring stringify(std::string_view utf8);
};

} // namespace Quarn
