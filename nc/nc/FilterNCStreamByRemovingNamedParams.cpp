// Name removal of FilterNCStreamByRemovingNamedParams.
#include "nc/nc/FilterNCStreamByRemovingNamedParams.h"

namespace Quarn {

FilterNCStreamByRemovingNamedParams::~FilterNCStreamByRemovingNamedParams() = default;

// `name` below is the parameter's name, so the macro calls the event `event`.
#define QUARN_NC_PARAMETER(event, parameters, arguments)                                                               \
    bool FilterNCStreamByRemovingNamedParams::event parameters                                                         \
    {                                                                                                                  \
        return isNamed(name) || FilterNCStream::onParameter arguments;                                                 \
    }
#include "nc/nc/NCEvents.def"

} // namespace Quarn
