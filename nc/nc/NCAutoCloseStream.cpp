// Closing of NCAutoCloseStream.
#include "nc/nc/NCAutoCloseStream.h"

#include "nc/nc/NCStream.h"

namespace Quarn {

NCAutoCloseStream::~NCAutoCloseStream()
{
    if (stream == nullptr)
        return;
    try {
        stream->onClose();
    } catch (...) {
        // A destructor may run during unwinding; the close is best effort.
    }
}

bool NCAutoCloseStream::close()
{
    if (stream == nullptr)
        return false;
    NCStream* closing = stream;
    stream = nullptr;
    return closing->onClose();
}

} // namespace Quarn
