// Base of the classes whose objects are stored and restored through the member protocol.
#pragma once

// Every persistent class lists its members through Persist, so it comes along.
#include "nc/nc/persist/Persist.h"
#include "nc/nc/persist/PersistentClass.h"
#include "util/utility/Export.h"

namespace Quarn::persist {

// A persistent class names its class record and lists its members, once, through Persist;
// the same listing writes and reads (Persist::isReading tells which).
class QUARN_NC_EXPORT Persistent {
public:
    virtual ~Persistent();

    virtual PersistentClass const& iceDynamicClass() const = 0;
    virtual void iceListMembers(Persist& persist) = 0;

    // Holds no state; lets value types that derive from it default their comparison.
    bool operator==(Persistent const&) const noexcept = default;

protected:
    Persistent() = default;
    Persistent(Persistent const&) = default;
    Persistent(Persistent&&) = default;
    Persistent& operator=(Persistent const&) = default;
    Persistent& operator=(Persistent&&) = default;
};

} // namespace Quarn::persist
