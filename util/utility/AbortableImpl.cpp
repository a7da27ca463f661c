// Key function of AbortableImpl.
#include "util/utility/AbortableImpl.h"

namespace Quarn {

AbortableImpl::~AbortableImpl() = default;

} // namespace Quarn
