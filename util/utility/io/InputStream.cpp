// Defaults of InputStream and the loop over short reads.
#include "util/utility/io/InputStream.h"

#include "util/utility/IOException.h"

namespace Quarn {

InputStream::~InputStream() = default;

std::optional<std::uint64_t> InputStream::getSize() const
{
    return std::nullopt;
}

void InputStream::close()
{
}

void InputStream::readFully(void* buffer, std::size_t size)
{
    std::uint64_t start = getPosition();
    auto* out = static_cast<unsigned char*>(buffer);
    while (size != 0) {
        std::size_t count = read(out, size);
        if (count == 0)
            throw IOException(L"Unexpected end of stream.", start);
        out += count;
        size -= count;
    }
}

} // namespace Quarn
