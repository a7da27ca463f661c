// Number and wide-text conversions of TextOutputStream, through to_chars and Unicode.
#include "util/utility/io/TextOutputStream.h"

#include "util/utility/text/NumberFormat.h"
#include "util/utility/text/Unicode.h"

#include <charconv>

namespace Quarn {

TextOutputStream::TextOutputStream(OutputStream* sink, std::size_t bufferSize) : out(sink, bufferSize)
{
}

void TextOutputStream::write(std::wstring_view text)
{
    utf8.clear();
    Unicode::appendUTF8(utf8, text);
    write(std::string_view(utf8));
}

void TextOutputStream::write(double value)
{
    char digits[NumberFormat::MaxDoubleLength];
    out.writeBytes(digits, NumberFormat::formatShortest(value, digits));
}

void TextOutputStream::write(std::int64_t value)
{
    char digits[24];
    auto result = std::to_chars(digits, digits + sizeof digits, value);
    out.writeBytes(digits, static_cast<std::size_t>(result.ptr - digits));
}

void TextOutputStream::write(std::uint64_t value)
{
    char digits[24];
    auto result = std::to_chars(digits, digits + sizeof digits, value);
    out.writeBytes(digits, static_cast<std::size_t>(result.ptr - digits));
}

} // namespace Quarn
