// Conversions between UTF-8, UTF-16 and UTF-32 (wchar_t); malformed input becomes U+FFFD.
#pragma once

#include "util/utility/Export.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace Quarn {

class QUARN_NC_EXPORT Unicode {
public:
    static constexpr char32_t Replacement = 0xFFFD;

    static std::string toUTF8(std::wstring_view text);
    static void appendUTF8(std::string& out, std::wstring_view text);
    // Each maximal invalid prefix (bad lead byte, overlong form, surrogate, code point above
    // U+10FFFF, sequence cut short) becomes one U+FFFD; decoding goes on at the byte after it.
    static std::wstring fromUTF8(std::string_view text);
    static void appendFromUTF8(std::wstring& out, std::string_view text);

    // UTF-16 units; characters above U+FFFF become surrogate pairs.
    static std::u16string toUTF16(std::wstring_view text);
    // Pairs are joined; unpaired surrogates become U+FFFD.
    static std::wstring fromUTF16(std::u16string_view text);

    // Number of UTF-16 units toUTF16 would produce.
    static std::size_t getUTF16Length(std::wstring_view text) noexcept;

    // A code point that UTF-8/16 can carry (not a surrogate, at most U+10FFFF).
    static constexpr bool isScalarValue(char32_t c) noexcept { return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF); }
};

} // namespace Quarn
