// Filter that records the A, B and C ranges of five-axis moves, per section and in total.
#pragma once

#include "nc/nc/FilterNCStream.h"
#include "util/utility/math/Range.h"

#include <vector>

namespace Quarn {

// Observes only: every event goes on unchanged. Meant for programs whose five-axis direction
// carries rotary axis values (x, y, z read as A, B, C) rather than a tool axis; a move with
// FLAG_ABSOLUTE_DIRECTION is reported in test mode and counted all the same. The four-vector
// five-axis forms are not observed.
class QUARN_NC_EXPORT NCABCInputRange : public FilterNCStream {
public:
    struct ABC {
        Range<double> a;
        Range<double> b;
        Range<double> c;
        friend bool operator==(ABC const&, ABC const&) = default;
    };

    using FilterNCStream::FilterNCStream;
    ~NCABCInputRange() override;

    unsigned int getNumberOfSections() const noexcept { return static_cast<unsigned int>(sections.size()); }
    // All zeros for an index past the last finished section.
    ABC getSectionRanges(unsigned int index) const noexcept
    {
        return index < sections.size() ? sections[index] : ABC();
    }
    std::vector<ABC> const& getSectionRanges() const noexcept { return sections; }
    // Over all finished sections.
    ABC const& getTotalRanges() const noexcept { return total; }
    // The ranges of the section being read; after onSectionEnd those of the section just
    // finished, until the next onSection or onOpen.
    Range<double> const& getARange() const noexcept { return current.a; }
    Range<double> const& getBRange() const noexcept { return current.b; }
    Range<double> const& getCRange() const noexcept { return current.c; }

    using FilterNCStream::onLinear5D;
    using FilterNCStream::onParameter;
    using FilterNCStream::onRapid5D;
    bool onOpen() override;
    bool onSection() override;
    bool onSectionEnd() override;
    bool onRapid(Vector3D const& end, unsigned int flags) override;
    bool onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags) override;
    bool onLinear(Vector3D const& end, double feedrate, unsigned int flags) override;
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override;
    bool onCWArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCCWArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep, double feedrate,
        unsigned int flags) override;
    bool onCWCircle(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;
    bool onCCWCircle(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override;

private:
    void startSection() noexcept;
    void observe(Vector3D const& axisValues, unsigned int flags);

    // True while the current section has had no move yet.
    bool first = false;
    ABC current;
    std::vector<ABC> sections;
    ABC total;
};

} // namespace Quarn
