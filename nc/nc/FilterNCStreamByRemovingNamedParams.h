// Filter that drops the parameters whose names it is given and passes everything else.
#pragma once

#include "nc/nc/FilterNCStream.h"

#include <set>
#include <string>
#include <string_view>

namespace Quarn {

class QUARN_NC_EXPORT FilterNCStreamByRemovingNamedParams : public FilterNCStream {
public:
    // Ordered with a transparent comparator, so looking up an event's name allocates nothing.
    using Names = std::set<std::string, std::less<>>;

    FilterNCStreamByRemovingNamedParams() = default;
    FilterNCStreamByRemovingNamedParams(SafePointer<NCStream> next, Names names)
        : FilterNCStream(next), names(std::move(names))
    {
    }
    ~FilterNCStreamByRemovingNamedParams() override;


    using FilterNCStream::onParameter;
#include "nc/nc/NCParameterOverrides.inc"

private:
    bool isNamed(char const* name) const
    {
        return name != nullptr && names.find(std::string_view(name)) != names.end();
    }

    Names names;
};

} // namespace Quarn
