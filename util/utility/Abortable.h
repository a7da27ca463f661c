// Cancellation interface that long-running readers poll between records.
#pragma once

#include "util/utility/Export.h"

namespace Quarn {

class QUARN_NC_EXPORT Abortable {
public:
    virtual ~Abortable();
    virtual bool isAborted() const noexcept = 0;
};

} // namespace Quarn
