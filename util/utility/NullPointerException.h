// Use of an empty pointer.
#pragma once

#include "util/utility/RuntimeException.h"

namespace Quarn {

class QUARN_NC_EXPORT NullPointerException : public RuntimeException {
public:
    explicit NullPointerException(std::wstring message = L"Null pointer.");
    ~NullPointerException() override;
};

} // namespace Quarn
