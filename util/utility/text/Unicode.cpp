// UTF conversions. wchar_t is UTF-32 on the platforms the library targets.
#include "util/utility/text/Unicode.h"

namespace Quarn {

static_assert(sizeof(wchar_t) == 4, "wide strings are expected to hold UTF-32");

namespace {

char32_t scalar(wchar_t c) noexcept
{
    auto code = static_cast<char32_t>(c);
    return Unicode::isScalarValue(code) ? code : Unicode::Replacement;
}

} // namespace

void Unicode::appendUTF8(std::string& out, std::wstring_view text)
{
    for (wchar_t w : text) {
        char32_t c = scalar(w);
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
        } else if (c < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else if (c < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (c >> 12)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (c >> 18)));
            out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
}

std::string Unicode::toUTF8(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    appendUTF8(out, text);
    return out;
}

void Unicode::appendFromUTF8(std::wstring& out, std::string_view text)
{
    std::size_t i = 0;
    while (i < text.size()) {
        auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80) {
            out.push_back(static_cast<wchar_t>(lead));
            ++i;
            continue;
        }
        // The allowed range of the second byte excludes overlong forms, surrogates and
        // code points above U+10FFFF up front, so a bad sequence is cut at its first bad byte.
        std::size_t length = 0;
        char32_t code = 0;
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2, code = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3, code = lead & 0x0F;
            if (lead == 0xE0)
                low = 0xA0;
            else if (lead == 0xED)
                high = 0x9F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4, code = lead & 0x07;
            if (lead == 0xF0)
                low = 0x90;
            else if (lead == 0xF4)
                high = 0x8F;
        }
        std::size_t taken = 1;
        for (; length != 0 && taken < length && i + taken < text.size(); ++taken) {
            auto next = static_cast<unsigned char>(text[i + taken]);
            if (next < low || next > high)
                break;
            code = (code << 6) | (next & 0x3F);
            low = 0x80, high = 0xBF;
        }
        if (taken == length) {
            out.push_back(static_cast<wchar_t>(code));
        } else {
            // One replacement per maximal bad prefix, wherever it is cut, so the text after it survives.
            out.push_back(static_cast<wchar_t>(Replacement));
        }
        i += taken;
    }
}

std::wstring Unicode::fromUTF8(std::string_view text)
{
    std::wstring out;
    out.reserve(text.size());
    appendFromUTF8(out, text);
    return out;
}

std::u16string Unicode::toUTF16(std::wstring_view text)
{
    std::u16string out;
    out.reserve(text.size());
    for (wchar_t w : text) {
        char32_t c = scalar(w);
        if (c < 0x10000) {
            out.push_back(static_cast<char16_t>(c));
        } else {
            c -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
        }
    }
    return out;
}

std::wstring Unicode::fromUTF16(std::u16string_view text)
{
    std::wstring out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char16_t unit = text[i];
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
            char32_t c = 0x10000 + ((char32_t(unit) - 0xD800) << 10) + (char32_t(text[i + 1]) - 0xDC00);
            out.push_back(static_cast<wchar_t>(c));
            ++i;
        } else if (unit >= 0xD800 && unit <= 0xDFFF) {
            out.push_back(static_cast<wchar_t>(Replacement));
        } else {
            out.push_back(static_cast<wchar_t>(unit));
        }
    }
    return out;
}

std::size_t Unicode::getUTF16Length(std::wstring_view text) noexcept
{
    std::size_t length = 0;
    for (wchar_t w : text)
        length += scalar(w) >= 0x10000 ? 2 : 1;
    return length;
}

} // namespace Quarn
