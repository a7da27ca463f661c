// Context rewriting and the frame check of TransformNCStream.
#include "nc/nc/TransformNCStream.h"

#include "nc/nc/NCContext.h"
#include "util/utility/Debug.h"

#include <cmath>

namespace Quarn {

TransformNCStream::~TransformNCStream() = default;

void TransformNCStream::setTransform(Matrix4x4 const& newTransform)
{
    Matrix3x3 const rotation = newTransform.getRotation();
    Vector3D const right = rotation.getRight(), up = rotation.getUp(), forward = rotation.getForward();
    auto const isUnit = [](Vector3D const& v) { return std::abs(v.getModulus() - 1.0) < 1e-9; };
    bool const newRightHanded
        = isUnit(right) && isUnit(up) && isUnit(forward) && !(forward - right.cross(up)).isProper();
    QUARN_ASSERT(newRightHanded);
    rightHanded = newRightHanded;
    transform = newTransform;
}

bool TransformNCStream::onContext(NCContext const& context)
{
    NCContext transformed = context;
    transformed.setOrigin(transform.transformPoint(context.getOrigin()));
    transformed.setPlane(transform.getRotation() * context.getPlane());
    return next->onContext(transformed);
}

} // namespace Quarn
