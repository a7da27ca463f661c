// Motion removal of FilterNCStreamByRemovingMotion.
#include "nc/nc/FilterNCStreamByRemovingMotion.h"

namespace Quarn {

FilterNCStreamByRemovingMotion::~FilterNCStreamByRemovingMotion() = default;

// Every motion event is dropped, whatever its arguments.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#define QUARN_NC_MOTION(name, parameters, arguments)                                                                  \
    bool FilterNCStreamByRemovingMotion::name parameters { return true; }
#include "nc/nc/NCEvents.def"
#pragma GCC diagnostic pop

} // namespace Quarn
