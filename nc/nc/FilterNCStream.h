// Base of every filter: forwards each event unchanged to the next stream and returns its result.
#pragma once

#include "nc/nc/NCStream.h"
#include "util/utility/SafePointer.h"

namespace Quarn {

// The next stream is not owned; the caller keeps it alive while the filter is used. Forwarding
// through an empty pointer reports "object" in test mode and throws NullPointerException.
class QUARN_NC_EXPORT FilterNCStream : public NCStream {
public:
    FilterNCStream() = default;
    explicit FilterNCStream(SafePointer<NCStream> next) noexcept : next(next) { }
    ~FilterNCStream() override;

    SafePointer<NCStream> getNCStream() const noexcept { return next; }
    void setNCStream(SafePointer<NCStream> stream) noexcept { next = stream; }

    // The kinded parameter is not forwarded as such: the base sends "kind" and the value through
    // this stream's own overloads, so a filter sees both.
    using NCStream::onParameter;

#include "nc/nc/NCEventOverrides.inc"

protected:
    SafePointer<NCStream> next;
};

} // namespace Quarn
