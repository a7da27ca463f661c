// The class record of a persistent class: the name stored as the type tag of its objects.
#pragma once

#include "util/utility/Export.h"

namespace Quarn::persist {

// Each persistent class defines one as a constant (`static PersistentClass const s_class;`);
// the name is what marks its objects in stored data, so it must never change.
class QUARN_NC_EXPORT PersistentClass {
public:
    constexpr explicit PersistentClass(char const* name) noexcept : name(name) { }

    constexpr char const* getName() const noexcept { return name; }

private:
    char const* name;
};

} // namespace Quarn::persist
