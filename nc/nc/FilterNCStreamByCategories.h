// Filter that passes events by category: parameters, contexts, groups and motion, with
// everything inside a passed group going through.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "nc/nc/NCEvent.h"

namespace Quarn {

// Drops (answering true) what its switches exclude. Parameters and motion inside a group pass
// whenever groups pass; machine state, comments, sections, tools and the like never pass;
// onOpen and onClose always do.
class QUARN_NC_EXPORT FilterNCStreamByCategories : public FilterNCStream {
public:
    FilterNCStreamByCategories() = default;
    FilterNCStreamByCategories(
        SafePointer<NCStream> next, bool parameters, bool context, bool groups, bool motion) noexcept
        : FilterNCStream(next), parameters(parameters), contexts(context), groups(groups), motion(motion)
    {
    }
    ~FilterNCStreamByCategories() override;

    bool isInGroup() const noexcept { return inGroup; }

    using FilterNCStream::onParameter;

#include "nc/nc/NCEventOverrides.inc"

protected:
    bool passesParameters() const noexcept { return parameters || (groups && inGroup); }
    bool passesMotion() const noexcept { return motion || (groups && inGroup); }

private:
    // Whether the category switches let the event through; group events first update inGroup.
    bool passes(NCEvent event) noexcept;

    bool inGroup = false;
    bool parameters = true;
    bool contexts = true;
    bool groups = true;
    bool motion = true;
};

} // namespace Quarn
