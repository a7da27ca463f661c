// Filter that mirrors a whole program in a plane.
#pragma once

#include "nc/nc/FrameMapNCStream.h"

namespace Quarn {

// Reflects the work frame of each context in the plane and re-expresses every move and point
// parameter in the resulting right-handed work plane, with the sense of every arc and circle
// swapped, from construction on: before the first context the frame is the identity, whose
// mirror image is left-handed.
//
// The sense is swapped because the map from incoming to outgoing local coordinates is then a
// mirror image. A left-handed incoming plane is the one exception: its reflection is already
// right-handed, local coordinates pass unchanged and so do arcs, exactly as AnyTransformNCStream
// treats the same reflection given as a matrix.
class QUARN_NC_EXPORT MirrorTransformNCStream : public FrameMapNCStream {
public:
    MirrorTransformNCStream() noexcept : FrameMapNCStream(nullptr, true) { }
    explicit MirrorTransformNCStream(SafePointer<NCStream> next) noexcept : FrameMapNCStream(next, true) { }
    ~MirrorTransformNCStream() override;

    // The plane through point with the given normal, which must be of unit length (it is not
    // normalised). Takes effect at the next onContext.
    void setPlane(Vector3D const& point, Vector3D const& normal) noexcept
    {
        planePoint = point;
        planeNormal = normal;
    }

    bool onContext(NCContext const& context) override;

private:
    Vector3D planePoint;
    Vector3D planeNormal;
};

} // namespace Quarn
