// Failures of the file writers' output, and the string limit they share.
#include "nc/nc/io/WriterOutput.h"

#include "util/utility/text/Unicode.h"

#include <utility>

namespace Quarn {

void WriterOutput::fail(std::wstring what, std::uint64_t offset, IOException const& cause)
{
    throw IOException(std::move(what) + L": " + cause.getMessage(), offset);
}

void WriterOutput::failRecord(std::uint32_t code, std::uint64_t offset, IOException const& cause)
{
    fail(L"Cannot write record " + std::to_wstring(code), offset, cause);
}

std::uint32_t WriterOutput::checkedLength(std::string_view text, std::size_t limit, std::uint64_t offset)
{
    if (text.size() > limit)
        throw IOException(L"String too long.", offset);
    return static_cast<std::uint32_t>(text.size());
}

std::uint32_t WriterOutput::checkedLength(std::wstring_view text, std::size_t limit, std::uint64_t offset)
{
    // Never shorter in UTF-16 than in characters: too long already before counting pairs.
    std::size_t const length = text.size() > limit ? text.size() : Unicode::getUTF16Length(text);
    if (length > limit)
        throw IOException(L"String too long.", offset);
    return static_cast<std::uint32_t>(length);
}

} // namespace Quarn
