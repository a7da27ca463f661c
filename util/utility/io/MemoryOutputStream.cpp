// MemoryOutputStream: appends to its string.
#include "util/utility/io/MemoryOutputStream.h"

namespace Quarn {

void MemoryOutputStream::write(void const* bytes, std::size_t size)
{
    data.append(static_cast<char const*>(bytes), size);
}

} // namespace Quarn
