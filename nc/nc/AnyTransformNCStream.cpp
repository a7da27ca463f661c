// Context rewriting and the nominal directions of AnyTransformNCStream.
#include "nc/nc/AnyTransformNCStream.h"

#include "nc/nc/NCContext.h"
#include "util/utility/Debug.h"

#include <string_view>

namespace Quarn {

AnyTransformNCStream::~AnyTransformNCStream() = default;

void AnyTransformNCStream::setDesiredOrientation(Matrix3x3 const& orientation)
{
    QUARN_EXPECTS(orientation.getDeterminant() > 0);
    desiredOrientation = orientation;
}

bool AnyTransformNCStream::onContext(NCContext const& context)
{
    Matrix3x3 const transformedPlane = transform.getRotation() * context.getPlane();
    Matrix3x3 const outgoingPlane = desiredOrientation ? *desiredOrientation : getRightHandedFrame(transformedPlane);
    setLocalMap(outgoingPlane, transformedPlane, transformedPlane.getDeterminant() < 0);

    NCContext transformed = context;
    transformed.setOrigin(transform.transformPoint(context.getOrigin()));
    transformed.setPlane(outgoingPlane);
    return next->onContext(transformed);
}

bool AnyTransformNCStream::onParameter(char const* name, double value)
{
    if (!transformNominals)
        return next->onParameter(name, value);

    std::string_view const key(name);
    bool const consumed = key == "nominalI" || key == "nominalJ" || key == "nominalK";
    if (consumed)
        nominal[key.back() - 'I'] = value;

    // Checked for every numeric parameter, so that a direction held back by a refusal goes on
    // with the next one.
    if (!nominal.isNaN()) {
        Vector3D const direction = mapDirection(nominal);
        if (!(next->onParameter("nominalI", direction.x) && next->onParameter("nominalJ", direction.y)
                && next->onParameter("nominalK", direction.z)))
            return false;
        nominal = Vector3D::getNaN();
    }
    return consumed || next->onParameter(name, value);
}

} // namespace Quarn
