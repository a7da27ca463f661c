// Validation, intersection and cyclic remapping of axis ranges.
#include "nc/nc/machinedata/AxisValueRange.h"

#include "util/utility/Debug.h"

#include <cmath>

namespace Quarn {

namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();
constexpr double FullTurn = 360.0;

} // namespace

persist::PersistentClass const AxisValueRange::s_class("AxisValueRange");

AxisValueRange::AxisValueRange(AxisValue min, AxisValue max) : minimum(min), maximum(max)
{
    QUARN_EXPECTS(areValidLimits(min, max));
}

bool AxisValueRange::areValidLimits(AxisValue min, AxisValue max) noexcept
{
    bool const finite = std::isfinite(min.value()) && std::isfinite(max.value());
    bool const wholeLine = min.value() == -Infinity && max.value() == Infinity;
    return (finite || wholeLine) && min <= max;
}

std::optional<AxisValueRange> AxisValueRange::make(std::optional<AxisValue> min, std::optional<AxisValue> max)
{
    if (!min && !max)
        return AxisValueRange();
    if (!min || !max || !areValidLimits(*min, *max))
        return std::nullopt;
    return AxisValueRange(*min, *max);
}

bool AxisValueRange::isInfinite() const noexcept
{
    return minimum.value() == -Infinity && maximum.value() == Infinity;
}

std::optional<AxisValueRange> AxisValueRange::intersect(AxisValueRange const& range) const
{
    AxisValue const lower = minimum < range.minimum ? range.minimum : minimum;
    AxisValue const upper = range.maximum < maximum ? range.maximum : maximum;
    return make(lower, upper);
}

AxisValue AxisValueRange::remapCyclic(AxisValue value) const
{
    QUARN_EXPECTS(difference() >= 360);
    // Whole turns below min land on min + 360 and whole turns above max on max - 360:
    // callers rely on these results, so this is not a nearest-equivalent rule.
    if (value < minimum)
        return minimum.value() + FullTurn - std::fmod(minimum.value() - value.value(), FullTurn);
    if (maximum < value)
        return maximum.value() - FullTurn + std::fmod(value.value() - maximum.value(), FullTurn);
    return value;
}

void AxisValueRange::directMembers(persist::Persist& persist)
{
    persist.member("m_min", minimum);
    persist.member("m_max", maximum);
}

} // namespace Quarn
