// Filter that drops every motion event (answering true) and passes everything else.
#pragma once

#include "nc/nc/FilterNCStream.h"

namespace Quarn {

class QUARN_NC_EXPORT FilterNCStreamByRemovingMotion : public FilterNCStream {
public:
    using FilterNCStream::FilterNCStream;
    ~FilterNCStreamByRemovingMotion() override;

    using FilterNCStream::onParameter;
#include "nc/nc/NCMotionOverrides.inc"
};

} // namespace Quarn
