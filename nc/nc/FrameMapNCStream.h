// Base of the filters that re-express every move of a section in another work frame.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "util/utility/math/Matrix3x3.h"
#include "util/utility/math/Matrix4x4.h"

#include <vector>

namespace Quarn {

// Maps the positions and directions of every move through a local map set by the derived
// class's onContext and, when that map is a mirror image, swaps the sense of arcs and circles.
//
// Positions of three-axis moves, arc centres, curve and NURBS control points and point-valued
// parameters go through the point map; tool axes, x directions, surface and arc normals through
// the direction map. An active axial offset shifts three-axis positions along the outgoing local
// z and five-axis ends along their mapped tool axis. Extrusion moves, feedrates, flags and all
// other arguments pass unchanged.
class QUARN_NC_EXPORT FrameMapNCStream : public FilterNCStream {
public:
    ~FrameMapNCStream() override;

    using FilterNCStream::onParameter;
    // Every point-valued parameter is a position.
    bool onParameter(char const* name, Point3D const& value) override;
#include "nc/nc/NCMotionOverrides.inc"

protected:
    FrameMapNCStream() = default;
    // `mirrored`: whether arcs are swapped before the first setLocalMap.
    explicit FrameMapNCStream(SafePointer<NCStream> next, bool mirrored = false) noexcept
        : FilterNCStream(next), mirrored(mirrored)
    {
    }

    // The frame with the right and forward axes of m and the up axis forward x right:
    // right-handed also when m is a mirror image.
    static Matrix3x3 getRightHandedFrame(Matrix3x3 const& m) noexcept;

    // Takes the incoming work plane as it lies after the transformation (transformedPlane) into
    // the outgoing one: the local map becomes transpose(outgoingPlane) x transformedPlane, and
    // arcs are swapped from now on when `mirror` is true.
    void setLocalMap(Matrix3x3 const& outgoingPlane, Matrix3x3 const& transformedPlane, bool mirror) noexcept;

    // A position of a three-axis move, with the axial offset along the outgoing local z.
    Vector3D mapPosition(Vector3D const& position) const noexcept
    {
        Vector3D mapped = pointMap.transformPoint(position);
        if (axialOffsetActive)
            mapped.z += axialOffset;
        return mapped;
    }
    // The end of a five-axis move, with the axial offset along its already mapped tool axis.
    Vector3D mapToolEnd(Vector3D const& end, Vector3D const& mappedAxis) const noexcept
    {
        Vector3D mapped = pointMap.transformPoint(end);
        if (axialOffsetActive)
            mapped += axialOffset * mappedAxis;
        return mapped;
    }
    Vector3D mapDirection(Vector3D const& direction) const noexcept { return directionMap * direction; }

    // Left off by filters without an axial offset.
    bool axialOffsetActive = false;
    double axialOffset = 0.0;

private:
    bool mirrored = false;
    Matrix4x4 pointMap;
    Matrix3x3 directionMap;
    // Scratch space of onNURBS: grows to the largest count seen and is reused, so that no
    // event allocates once it has the size of the program's largest curve.
    std::vector<Vector3D> controlPoints;
};

} // namespace Quarn
