// An operation that this object does not support.
#pragma once

#include "util/utility/RuntimeException.h"

namespace Quarn {

class QUARN_NC_EXPORT NotSupportedException : public RuntimeException {
public:
    explicit NotSupportedException(std::wstring message = L"Operation not supported.");
    ~NotSupportedException() override;
};

} // namespace Quarn
