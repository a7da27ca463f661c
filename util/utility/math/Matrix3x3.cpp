// Text form of Matrix3x3.
#include "util/utility/math/Matrix3x3.h"

namespace Quarn {

std::wstring Matrix3x3::getAsString() const
{
    return L"[" + getRight().getAsString() + L", " + getUp().getAsString() + L", " + getForward().getAsString() + L"]";
}

} // namespace Quarn
