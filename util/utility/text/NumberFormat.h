// Locale-free number text: shortest round-trip doubles and plain integers, via to_chars.
#pragma once

#include "util/utility/Export.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Quarn {

class QUARN_NC_EXPORT NumberFormat {
public:
    // Enough for any double in shortest form ("-2.2250738585072014e-308").
    static constexpr std::size_t MaxDoubleLength = 32;

    // Writes the shortest text that reads back as exactly value ("0.1", "1e-09", "nan", "-inf"),
    // the text of std::to_chars(value) but for NaN; returns its length (no terminator). buffer must hold
    // MaxDoubleLength characters: the bytes after the text may be overwritten too.
    static std::size_t formatShortest(double value, char* buffer) noexcept;
    static std::string toString(double value);
    static std::wstring toWString(double value);
    static std::wstring toWString(std::int64_t value);
    static std::wstring toWString(std::uint64_t value);
};

} // namespace Quarn
