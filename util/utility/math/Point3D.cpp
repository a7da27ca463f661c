// Text form of Point3D.
#include "util/utility/math/Point3D.h"

namespace Quarn {

std::wstring Point3D::getAsString() const
{
    return toVector().getAsString();
}

} // namespace Quarn
