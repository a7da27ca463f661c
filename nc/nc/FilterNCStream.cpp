// Plain forwarding of every event of FilterNCStream.
#include "nc/nc/FilterNCStream.h"

namespace Quarn {

FilterNCStream::~FilterNCStream() = default;

#define QUARN_NC_EVENT(name, parameters, arguments)                                                                   \
    bool FilterNCStream::name parameters { return next->name arguments; }
#include "nc/nc/NCEvents.def"

} // namespace Quarn
