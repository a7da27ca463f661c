// Name selection of FilterNCStreamToOnlyNamedParams.
#include "nc/nc/FilterNCStreamToOnlyNamedParams.h"

namespace Quarn {

FilterNCStreamToOnlyNamedParams::~FilterNCStreamToOnlyNamedParams() = default;

// `name` below is the parameter's name, so the macro calls the event `event`.
#define QUARN_NC_PARAMETER(event, parameters, arguments)                                                               \
    bool FilterNCStreamToOnlyNamedParams::event parameters                                                             \
    {                                                                                                                  \
        return !isNamed(name) || FilterNCStreamByCategories::onParameter arguments;                                    \
    }
#include "nc/nc/NCEvents.def"

} // namespace Quarn
