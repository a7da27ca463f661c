// Closed interval of allowed positions of one axis (grouped here on purpose: assertion reports name this file).
#pragma once

#include "nc/nc/machinedata/AxisValues.h"
#include "nc/nc/persist/Persistent.h"
#include "util/utility/Export.h"

#include <limits>
#include <optional>

namespace Quarn {

// [min, max] with both limits finite and min <= max, or the whole line (-inf, +inf).
// A half-open range (one limit infinite) is not a range.
class QUARN_NC_EXPORT AxisValueRange : public persist::Persistent {
public:
    static persist::PersistentClass const s_class;

    // The whole line.
    AxisValueRange() = default;
    // Invalid limits are a debug assertion and are stored as given; code that must not
    // fail uses make instead.
    AxisValueRange(AxisValue min, AxisValue max);
    AxisValueRange(double min, double max) : AxisValueRange(AxisValue(min), AxisValue(max)) {}
    AxisValueRange(AxisValueRange const&) = default;
    AxisValueRange& operator=(AxisValueRange const&) = default;

    // Both limits valid: that range; neither given: the whole line; otherwise no range.
    static std::optional<AxisValueRange> make(std::optional<AxisValue> min, std::optional<AxisValue> max);

    AxisValue min() const noexcept { return minimum; }
    AxisValue max() const noexcept { return maximum; }
    // max - min; infinite for the whole line.
    double difference() const noexcept { return maximum.value() - minimum.value(); }
    bool isInfinite() const noexcept;

    // Both ends inclusive; NaN is in no range.
    bool contains(AxisValue value) const noexcept { return minimum <= value && value <= maximum; }
    bool contains(AxisValueRange const& range) const noexcept
    {
        return minimum <= range.minimum && range.maximum <= maximum;
    }
    // The common part; ranges that only touch give that point, disjoint ones no range.
    std::optional<AxisValueRange> intersect(AxisValueRange const& range) const;

    // Brings an angle of a rotary axis into a range at least one turn wide. A value below
    // the range lands in its top turn and one above in its bottom turn, so with [0, 360]
    // -360 gives 360 and 720 gives 0; values inside stay unchanged.
    AxisValue remapCyclic(AxisValue value) const;

    friend bool operator==(AxisValueRange const& a, AxisValueRange const& b) noexcept
    {
        return a.minimum == b.minimum && a.maximum == b.maximum;
    }

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override { directMembers(persist); }
    // "m_min" then "m_max", each a nested AxisValue.
    void directMembers(persist::Persist& persist);

private:
    static bool areValidLimits(AxisValue min, AxisValue max) noexcept;

    AxisValue minimum = -std::numeric_limits<double>::infinity();
    AxisValue maximum = std::numeric_limits<double>::infinity();
};

} // namespace Quarn
