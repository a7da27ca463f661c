// Construction of TextOutputStream.
#include "util/utility/io/TextOutputStream.h"

namespace Quarn {

TextOutputStream::TextOutputStream(OutputStream* sink, std::size_t bufferSize) : out(sink, bufferSize)
{
}

} // namespace Quarn
