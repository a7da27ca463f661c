// Default answers of NCStreamDefaultImpl.
#include "nc/nc/NCStreamDefaultImpl.h"

namespace Quarn {

NCStreamDefaultImpl::~NCStreamDefaultImpl() = default;

// Every answer ignores the event's arguments.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#define QUARN_NC_MOVE_REDUCIBLE(name, parameters, arguments)
#define QUARN_NC_EVENT(name, parameters, arguments)                                                                   \
    bool NCStreamDefaultImpl::name parameters { return answer(NCEvent::name); }
#include "nc/nc/NCEvents.def"
#pragma GCC diagnostic pop

} // namespace Quarn
