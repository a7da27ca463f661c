// Scope guard that makes sure onClose reaches a stream when the scope ends.
#pragma once

#include "util/utility/Export.h"

namespace Quarn {

class NCStream;

// Not a stream itself; the stream is not owned.
class QUARN_NC_EXPORT NCAutoCloseStream {
public:
    explicit NCAutoCloseStream(NCStream* stream) noexcept : stream(stream) { }
    NCAutoCloseStream(NCAutoCloseStream const&) = delete;
    NCAutoCloseStream& operator=(NCAutoCloseStream const&) = delete;
    // Calls onClose when still attached; its result is ignored and nothing escapes.
    ~NCAutoCloseStream();

    // Closes now: false when already closed or detached, else the result of onClose.
    bool close();
    // Lets the scope end without closing.
    void detach() noexcept { stream = nullptr; }

private:
    NCStream* stream;
};

} // namespace Quarn
