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
    bool onRapid(Vector3D const& end, unsigned int flags) override;
    bool onRapid5D(
        Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags) override;
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override;
    bool onLinear(Vector3D const& end, double feedrate, unsigned int flags) override;
    bool onLinear5D(Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, double feedrate,
        unsigned int flags) override;
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override;
    bool onLinearExtrude(Vector3D const& end, double feedrate, double extrusion) override;
    bool onCWArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCCWArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep, double feedrate,
        unsigned int flags) override;
    bool onCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        double extrusion, unsigned int flags) override;
    bool onCCWArcExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        double extrusion, unsigned int flags) override;
    bool onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
        double feedrate, double extrusion, unsigned int flags) override;
    bool onCWCircle(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCCWCircle(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onSpline(Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate,
        unsigned int flags) override;
    bool onBezier(Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double feedrate,
        unsigned int flags) override;

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
