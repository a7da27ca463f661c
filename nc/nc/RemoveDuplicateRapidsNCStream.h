// Filter that drops a rapid to exactly where the tool already is, with the same direction.
#pragma once

#include "nc/nc/PreviousPositionNCStream.h"

namespace Quarn {

// Comparison is exact (no tolerance). The position is unknown at the start and after each
// onSection, so the first rapid of a program or section always passes.
class QUARN_NC_EXPORT RemoveDuplicateRapidsNCStream : public PreviousPositionNCStream {
public:
    using PreviousPositionNCStream::PreviousPositionNCStream;
    ~RemoveDuplicateRapidsNCStream() override;

    using PreviousPositionNCStream::onParameter;
    bool onRapid(Vector3D const& end, unsigned int flags) override;
    bool onRapid5D(
        Vector3D const& end, Vector3D const& z, Vector3D const& x, Vector3D const& n, unsigned int flags) override;
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override;

private:
    bool isDuplicate(Vector3D const& end, Vector3D const& direction) const noexcept
    {
        return end == getPosition() && direction == getDirection();
    }
};

} // namespace Quarn
