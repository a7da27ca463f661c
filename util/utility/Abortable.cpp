// Key function of Abortable.
#include "util/utility/Abortable.h"

namespace Quarn {

Abortable::~Abortable() = default;

} // namespace Quarn
