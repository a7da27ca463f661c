// A frame with a name and, optionally, the name of the frame it is given in.
#pragma once

#include "util/utility/Export.h"
#include "util/utility/math/Frame.h"

#include <string>
#include <utility>

namespace Quarn {

class QUARN_NC_EXPORT TaggedFrame {
public:
    TaggedFrame() = default;
    // An empty baseFrameTag means the frame is given in world coordinates.
    TaggedFrame(std::string tag, std::string baseFrameTag, Frame const& frame)
        : tagText(std::move(tag)), baseTagText(std::move(baseFrameTag)), value(frame)
    {
    }

    std::string const& tag() const noexcept { return tagText; }
    std::string const& baseFrameTag() const noexcept { return baseTagText; }
    bool hasBaseFrame() const noexcept { return !baseTagText.empty(); }
    Frame const& frame() const noexcept { return value; }

    friend bool operator==(TaggedFrame const& a, TaggedFrame const& b) = default;

private:
    std::string tagText;
    std::string baseTagText;
    Frame value;
};

} // namespace Quarn
