// Text form of Vector2D.
#include "util/utility/math/Vector2D.h"

#include "util/utility/text/NumberFormat.h"

namespace Quarn {

std::wstring Vector2D::getAsString() const
{
    return L"(" + NumberFormat::toWString(x) + L", " + NumberFormat::toWString(y) + L")";
}

} // namespace Quarn
