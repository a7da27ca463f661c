// Category selection of FilterNCStreamByCategories.
#include "nc/nc/FilterNCStreamByCategories.h"

namespace Quarn {

FilterNCStreamByCategories::~FilterNCStreamByCategories() = default;

bool FilterNCStreamByCategories::passes(NCEvent event) noexcept
{
    switch (event) {
    case NCEvent::onOpen:
    case NCEvent::onClose:
        return true;
    case NCEvent::onContext:
        return contexts;
    case NCEvent::onGroup:
    case NCEvent::onTurnGroup:
        inGroup = true;
        return groups;
    case NCEvent::onGroupEnd:
    case NCEvent::onTurnGroupEnd:
        inGroup = false;
        return groups;
    case NCEvent::onParameter:
        return passesParameters();
    default:
        return isMotionEvent(event) && passesMotion();
    }
}

#define QUARN_NC_EVENT(name, parameters, arguments)                                                                   \
    bool FilterNCStreamByCategories::name parameters { return !passes(NCEvent::name) || next->name arguments; }
#include "nc/nc/NCEvents.def"

} // namespace Quarn
