// Conversions between UTF-8, UTF-16 and wide text (wchar_t); malformed input becomes U+FFFD.
#pragma once

#include "util/utility/Export.h"

#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

namespace Quarn {

// Wide text holds UTF-32 where wchar_t has 32 bits (Linux, macOS) and UTF-16 where it has 16
// (Windows). Every conversion of wide text in the library goes through this class, and within it
// through nextCodePoint and appendCodePoint, the only two places that look at the width of a unit.
class QUARN_NC_EXPORT Unicode {
public:
    static constexpr char32_t Replacement = 0xFFFD;

    // The code units nextCodePoint and appendCodePoint take besides char (UTF-8): 16 bits are
    // UTF-16, 32 bits UTF-32, wchar_t whichever its width is.
    template <class Unit>
    static constexpr bool isWideUnit
        = std::same_as<Unit, wchar_t> || std::same_as<Unit, char16_t> || std::same_as<Unit, char32_t>;

    static std::string toUTF8(std::wstring_view text);
    static void appendUTF8(std::string& out, std::wstring_view text);
    // Each maximal invalid prefix (bad lead byte, overlong form, surrogate, code point above
    // U+10FFFF, sequence cut short) becomes one U+FFFD; decoding goes on at the byte after it.
    static std::wstring fromUTF8(std::string_view text);
    static void appendFromUTF8(std::wstring& out, std::string_view text);

    // UTF-16 units; characters above U+FFFF become surrogate pairs.
    static std::u16string toUTF16(std::wstring_view text);
    static void appendUTF16(std::u16string& out, std::wstring_view text);
    // Pairs are joined; unpaired surrogates become U+FFFD.
    static std::wstring fromUTF16(std::u16string_view text);
    static void appendFromUTF16(std::wstring& out, std::u16string_view text);

    // Number of UTF-16 units toUTF16 would produce.
    static std::size_t getUTF16Length(std::wstring_view text) noexcept;

    // A code point that UTF-8/16 can carry (not a surrogate, at most U+10FFFF).
    static constexpr bool isScalarValue(char32_t c) noexcept { return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF); }

    // The code point that starts at text[at] (at < text.size()), moving at past its units. What
    // is not a scalar value reads as U+FFFD: in UTF-8 each maximal invalid prefix, in UTF-16 an
    // unpaired surrogate, in UTF-32 a surrogate or a value above U+10FFFF.
    static char32_t nextCodePoint(std::string_view text, std::size_t& at) noexcept;
    template <class Unit>
    requires isWideUnit<Unit>
    static constexpr char32_t nextCodePoint(std::basic_string_view<Unit> text, std::size_t& at) noexcept
    {
        // A signed 32-bit wchar_t below zero turns into a value above U+10FFFF.
        auto const unit = static_cast<char32_t>(static_cast<std::make_unsigned_t<Unit>>(text[at++]));
        if constexpr (sizeof(Unit) == 4) {
            return isScalarValue(unit) ? unit : Replacement;
        } else {
            if (unit < 0xD800 || unit > 0xDFFF)
                return unit;
            if (unit <= 0xDBFF && at < text.size()) {
                auto const next = static_cast<char32_t>(static_cast<std::make_unsigned_t<Unit>>(text[at]));
                if (next >= 0xDC00 && next <= 0xDFFF) {
                    ++at;
                    return 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00);
                }
            }
            return Replacement;
        }
    }

    // Appends c in the encoding of the string's unit: UTF-8, UTF-16 (a pair above U+FFFF) or
    // UTF-32. A c that is not a scalar value is appended as U+FFFD.
    static void appendCodePoint(std::string& out, char32_t c);
    template <class Unit>
    requires isWideUnit<Unit>
    static void appendCodePoint(std::basic_string<Unit>& out, char32_t c)
    {
        if (!isScalarValue(c))
            c = Replacement;
        if (sizeof(Unit) == 4 || c < 0x10000) {
            out.push_back(static_cast<Unit>(c));
        } else {
            c -= 0x10000;
            out.push_back(static_cast<Unit>(0xD800 + (c >> 10)));
            out.push_back(static_cast<Unit>(0xDC00 + (c & 0x3FF)));
        }
    }
};

static_assert(sizeof(wchar_t) == 2 || sizeof(wchar_t) == 4, "wide text is expected to be UTF-16 or UTF-32");

} // namespace Quarn
