// Filter that applies an affine transformation, mirrors included, to a whole program.
#pragma once

#include "nc/nc/FrameMapNCStream.h"

#include <optional>

namespace Quarn {

// Moves the work frame of each context by the transformation and re-expresses every move,
// point parameter and nominal direction in the resulting right-handed (or desired) work plane.
//
// The maps follow from the transformation at each onContext: set the transformation before the
// context of the section it is meant for. A transformation with shear or scale is applied as
// given.
class QUARN_NC_EXPORT AnyTransformNCStream : public FrameMapNCStream {
public:
    AnyTransformNCStream() = default;
    explicit AnyTransformNCStream(SafePointer<NCStream> next) noexcept : FrameMapNCStream(next) { }
    ~AnyTransformNCStream() override;

    void setTransform(Matrix4x4 const& newTransform) noexcept { transform = newTransform; }

    // Forces the outgoing work plane of every following context; it must be a proper rotation
    // (determinant > 0). Once set, it stays for the life of the filter.
    void setDesiredOrientation(Matrix3x3 const& orientation);

    // Shifts the program along the tool axis: three-axis positions along the outgoing local z,
    // five-axis ends along their tool axis. 0 switches the offset off.
    void setAxialOffset(double offset) noexcept
    {
        axialOffset = offset;
        axialOffsetActive = offset != 0.0;
    }

    // When on, the numeric parameters "nominalI", "nominalJ" and "nominalK" are held back until
    // all three have arrived and then sent on, in this order, as one mapped direction. Off by
    // default.
    void setTransformNominals(bool on) noexcept { transformNominals = on; }

    using FrameMapNCStream::onParameter;
    bool onContext(NCContext const& context) override;
    bool onParameter(char const* name, double value) override;

private:
    Matrix4x4 transform;
    std::optional<Matrix3x3> desiredOrientation;
    bool transformNominals = false;
    // The nominal direction collected so far; a NaN component has not arrived yet.
    Vector3D nominal = Vector3D::getNaN();
};

} // namespace Quarn
