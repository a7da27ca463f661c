// Defaults of OutputStream.
#include "util/utility/io/OutputStream.h"

namespace Quarn {

OutputStream::~OutputStream() = default;

void OutputStream::flush()
{
}

void OutputStream::close()
{
    flush();
}

bool OutputStream::isOpen() const
{
    return true;
}

} // namespace Quarn
