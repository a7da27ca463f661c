// Context reflection of MirrorTransformNCStream.
#include "nc/nc/MirrorTransformNCStream.h"

#include "nc/nc/NCContext.h"

namespace Quarn {

MirrorTransformNCStream::~MirrorTransformNCStream() = default;

bool MirrorTransformNCStream::onContext(NCContext const& context)
{
    auto const reflect = [this](Vector3D const& v) { return v - 2.0 * planeNormal.dot(v) * planeNormal; };
    Matrix3x3 const& plane = context.getPlane();
    Matrix3x3 const reflectedPlane(reflect(plane.getRight()), reflect(plane.getUp()), reflect(plane.getForward()));
    Matrix3x3 const outgoingPlane = getRightHandedFrame(reflectedPlane);
    setLocalMap(outgoingPlane, reflectedPlane, reflectedPlane.getDeterminant() < 0);

    Vector3D const& origin = context.getOrigin();
    NCContext reflected = context;
    reflected.setOrigin(origin - 2.0 * (origin - planePoint).dot(planeNormal) * planeNormal);
    reflected.setPlane(outgoingPlane);
    return next->onContext(reflected);
}

} // namespace Quarn
