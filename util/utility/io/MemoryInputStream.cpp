// MemoryInputStream: copies out of the block, never past its end.
#include "util/utility/io/MemoryInputStream.h"

#include <algorithm>
#include <cstring>

namespace Quarn {

MemoryInputStream::MemoryInputStream(std::string bytes)
    : owned(std::move(bytes)), data(reinterpret_cast<unsigned char const*>(owned.data())), size(owned.size())
{
}

MemoryInputStream::MemoryInputStream(void const* data, std::size_t size) noexcept
    : data(static_cast<unsigned char const*>(data)), size(size)
{
}

std::size_t MemoryInputStream::read(void* buffer, std::size_t count)
{
    count = std::min(count, size - position);
    if (count != 0)
        std::memcpy(buffer, data + position, count);
    position += count;
    return count;
}

} // namespace Quarn
