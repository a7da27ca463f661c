// Filter that moves the work frame of every context and leaves the moves as they are.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "util/utility/math/Matrix4x4.h"

namespace Quarn {

// Rewrites the origin and plane of each context by a rigid transformation. Moves are given in
// the local work frame and so move with it untouched.
class QUARN_NC_EXPORT TransformNCStream : public FilterNCStream {
public:
    using FilterNCStream::FilterNCStream;
    ~TransformNCStream() override;

    // Stores the transformation and checks that its rotation part is a right-handed orthonormal
    // frame: axes of unit length within 1e-9 and forward = right x up. A failed check is
    // reported as "newRightHanded" in test mode; the transformation is stored and applied anyway.
    void setTransform(Matrix4x4 const& newTransform);
    // The result of the last check.
    bool isRightHanded() const noexcept { return rightHanded; }

    bool onContext(NCContext const& context) override;

private:
    bool rightHanded = true;
    Matrix4x4 transform;
};

} // namespace Quarn
