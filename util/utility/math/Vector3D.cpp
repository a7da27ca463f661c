// Text form of Vector3D.
#include "util/utility/math/Vector3D.h"

#include "util/utility/text/NumberFormat.h"

namespace Quarn {

std::wstring Vector3D::getAsString() const
{
    std::wstring text = L"(";
    text += NumberFormat::toWString(x);
    text += L", ";
    text += NumberFormat::toWString(y);
    text += L", ";
    text += NumberFormat::toWString(z);
    text += L")";
    return text;
}

} // namespace Quarn
