// Filter that keeps the state of the section being read: position, direction, context and tool.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"

namespace Quarn {

// Contexts and tools take effect at the next onSection, which re-expresses the current position
// and direction from the previous section's work frame into the new one, so that they keep
// denoting the same physical point and direction. The first section starts at the origin with
// the tool along +z.
class QUARN_NC_EXPORT StateFilterNCStream : public FilterNCStream {
public:
    using FilterNCStream::FilterNCStream;
    ~StateFilterNCStream() override;

    Vector3D const& getCurrentPosition() const noexcept { return currentPosition; }
    void setCurrentPosition(Vector3D const& position) noexcept { currentPosition = position; }
    Vector3D const& getCurrentDirection() const noexcept { return currentDirection; }
    void setCurrentDirection(Vector3D const& direction) noexcept { currentDirection = direction; }
    // The tool and context of the section being read (set by onSection).
    NCTool const& getTool() const noexcept { return tool; }
    NCContext const& getSectionContext() const noexcept { return sectionContext; }
    // The last context received, in force from the next section on.
    NCContext const& getCurrentContext() const noexcept { return currentContext; }
    bool isInsideSection() const noexcept { return insideSection; }

    using FilterNCStream::onParameter;
    bool onOpen() override;
    bool onContext(NCContext const& context) override;
    bool onTool(NCTool const& tool) override;
    bool onSection() override;
    bool onSectionEnd() override;
#include "nc/nc/NCMotionOverrides.inc"

private:
    bool insideSection = false;
    bool firstSection = true;
    Vector3D currentPosition;
    Vector3D currentDirection = Vector3D::getForward();
    NCContext currentContext;
    NCContext sectionContext;
    NCTool receivedTool;
    NCTool tool;
};

} // namespace Quarn
