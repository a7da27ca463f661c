// Filter that remembers the end point and tool direction of the last move.
#pragma once

#include "nc/nc/FilterNCStream.h"

namespace Quarn {

// Three-axis moves set the direction to zero, five-axis moves to their tool axis; a new
// section makes the position unknown (not-a-number). The state is updated before forwarding.
class QUARN_NC_EXPORT PreviousPositionNCStream : public FilterNCStream {
public:
    using FilterNCStream::FilterNCStream;
    ~PreviousPositionNCStream() override;

    Vector3D const& getPosition() const noexcept { return position; }
    Vector3D const& getDirection() const noexcept { return direction; }

    using FilterNCStream::onParameter;
    bool onSection() override;
#include "nc/nc/NCMoveOverrides.inc"

protected:
    void setPrevious(Vector3D const& end, Vector3D const& toolDirection) noexcept
    {
        position = end;
        direction = toolDirection;
    }

private:
    Vector3D position = Vector3D::getNaN();
    Vector3D direction;
};

} // namespace Quarn
