// Out-of-line destructor of Persistent: keeps its virtual table in the library.
#include "nc/nc/persist/Persistent.h"

namespace Quarn::persist {

Persistent::~Persistent() = default;

} // namespace Quarn::persist
