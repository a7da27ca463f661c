// Duplicate detection of RemoveDuplicateRapidsNCStream.
#include "nc/nc/RemoveDuplicateRapidsNCStream.h"

namespace Quarn {

RemoveDuplicateRapidsNCStream::~RemoveDuplicateRapidsNCStream() = default;

bool RemoveDuplicateRapidsNCStream::onRapid(Vector3D const& end, unsigned int flags)
{
    return isDuplicate(end, Vector3D()) || PreviousPositionNCStream::onRapid(end, flags);
}

bool RemoveDuplicateRapidsNCStream::onRapid5D(
    Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags)
{
    return isDuplicate(end, z) || PreviousPositionNCStream::onRapid5D(end, z, x, n, flags);
}

bool RemoveDuplicateRapidsNCStream::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    return isDuplicate(end, direction) || PreviousPositionNCStream::onRapid5D(end, direction, flags);
}

} // namespace Quarn
