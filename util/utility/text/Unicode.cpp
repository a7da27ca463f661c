// UTF conversions: each decodes its input with nextCodePoint and encodes with appendCodePoint, so
// that the width of wchar_t is decided in those two alone.
#include "util/utility/text/Unicode.h"

namespace Quarn {

namespace {

template <class Out, class In> void convert(Out& out, In text)
{
    for (std::size_t at = 0; at < text.size();)
        Unicode::appendCodePoint(out, Unicode::nextCodePoint(text, at));
}

} // namespace

char32_t Unicode::nextCodePoint(std::string_view text, std::size_t& at) noexcept
{
    auto const lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) {
        ++at;
        return lead;
    }
    // The allowed range of the second byte excludes overlong forms, surrogates and code points
    // above U+10FFFF up front, so a bad sequence is cut at its first bad byte.
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
    for (; length != 0 && taken < length && at + taken < text.size(); ++taken) {
        auto const next = static_cast<unsigned char>(text[at + taken]);
        if (next < low || next > high)
            break;
        code = (code << 6) | (next & 0x3F);
        low = 0x80, high = 0xBF;
    }
    at += taken;
    // One replacement per maximal bad prefix, wherever it is cut, so the text after it survives.
    return taken == length ? code : Replacement;
}

void Unicode::appendCodePoint(std::string& out, char32_t c)
{
    if (!isScalarValue(c))
        c = Replacement;
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

void Unicode::appendUTF8(std::string& out, std::wstring_view text) { convert(out, text); }

std::string Unicode::toUTF8(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    appendUTF8(out, text);
    return out;
}

void Unicode::appendFromUTF8(std::wstring& out, std::string_view text) { convert(out, text); }

std::wstring Unicode::fromUTF8(std::string_view text)
{
    std::wstring out;
    out.reserve(text.size());
    appendFromUTF8(out, text);
    return out;
}

void Unicode::appendUTF16(std::u16string& out, std::wstring_view text) { convert(out, text); }

std::u16string Unicode::toUTF16(std::wstring_view text)
{
    std::u16string out;
    out.reserve(text.size());
    appendUTF16(out, text);
    return out;
}

void Unicode::appendFromUTF16(std::wstring& out, std::u16string_view text) { convert(out, text); }

std::wstring Unicode::fromUTF16(std::u16string_view text)
{
    std::wstring out;
    out.reserve(text.size());
    appendFromUTF16(out, text);
    return out;
}

std::size_t Unicode::getUTF16Length(std::wstring_view text) noexcept
{
    std::size_t length = 0;
    for (std::size_t at = 0; at < text.size();)
        length += nextCodePoint(text, at) >= 0x10000 ? 2 : 1;
    return length;
}

} // namespace Quarn
