// Filter that passes only the parameters whose names it is given (and onOpen, onClose).
#pragma once

#include "nc/nc/FilterNCStreamByCategories.h"

#include <set>
#include <string>
#include <string_view>

namespace Quarn {

// Every other event is dropped as by FilterNCStreamByCategories with only parameters on.
class QUARN_NC_EXPORT FilterNCStreamToOnlyNamedParams : public FilterNCStreamByCategories {
public:
    // Ordered with a transparent comparator, so looking up an event's name allocates nothing.
    using Names = std::set<std::string, std::less<>>;

    FilterNCStreamToOnlyNamedParams() = default;
    FilterNCStreamToOnlyNamedParams(SafePointer<NCStream> next, Names names)
        : FilterNCStreamByCategories(next, true, false, false, false), names(std::move(names))
    {
    }
    ~FilterNCStreamToOnlyNamedParams() override;


    using FilterNCStreamByCategories::onParameter;
#include "nc/nc/NCParameterOverrides.inc"

private:
    bool isNamed(char const* name) const
    {
        return name != nullptr && names.find(std::string_view(name)) != names.end();
    }

    Names names;
};

} // namespace Quarn
