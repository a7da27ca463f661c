// Range keeping of NCABCInputRange.
#include "nc/nc/NCABCInputRange.h"

#include "util/utility/Debug.h"

namespace Quarn {

namespace {

// Limit by limit: a smaller minimum or a larger maximum replaces the one of range.
void widen(Range<double>& range, Range<double> const& by)
{
    if (by.getMin() < range.getMin())
        range.setMin(by.getMin());
    if (range.getMax() < by.getMax())
        range.setMax(by.getMax());
}

} // namespace

NCABCInputRange::~NCABCInputRange() = default;

void NCABCInputRange::startSection() noexcept
{
    first = true;
    current = ABC();
}

// A three-axis move leaves the rotary axes where they are; the five-axis moves after it extend
// the ranges from the zeros of onSection instead of starting them afresh.
void NCABCInputRange::observe(Vector3D const& axisValues, unsigned int flags)
{
    if (first) {
        current.a = {axisValues.x, axisValues.x};
        current.b = {axisValues.y, axisValues.y};
        current.c = {axisValues.z, axisValues.z};
    } else {
        // extend ignores a NaN: it compares false both ways.
        current.a.extend(axisValues.x);
        current.b.extend(axisValues.y);
        current.c.extend(axisValues.z);
    }
    first = false;
    QUARN_ASSERT((flags & FLAG_ABSOLUTE_DIRECTION) == 0);
}

bool NCABCInputRange::onOpen()
{
    startSection();
    return next->onOpen();
}

bool NCABCInputRange::onSection()
{
    startSection();
    return next->onSection();
}

bool NCABCInputRange::onSectionEnd()
{
    if (sections.empty()) {
        total = current;
    } else {
        widen(total.a, current.a);
        widen(total.b, current.b);
        widen(total.c, current.c);
    }
    sections.push_back(current);
    return next->onSectionEnd();
}

bool NCABCInputRange::onRapid(Vector3D const& end, unsigned int flags)
{
    first = false;
    return next->onRapid(end, flags);
}

bool NCABCInputRange::onRapid5D(Vector3D const& end, Vector3D const& direction, unsigned int flags)
{
    observe(direction, flags);
    return next->onRapid5D(end, direction, flags);
}

bool NCABCInputRange::onLinear(Vector3D const& end, double feedrate, unsigned int flags)
{
    first = false;
    return next->onLinear(end, feedrate, flags);
}

bool NCABCInputRange::onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags)
{
    observe(direction, flags);
    return next->onLinear5D(end, direction, feedrate, flags);
}

bool NCABCInputRange::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    first = false;
    return next->onCWArc(center, end, normal, feedrate, flags);
}

bool NCABCInputRange::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    first = false;
    return next->onCCWArc(center, end, normal, feedrate, flags);
}

bool NCABCInputRange::onCircular(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, unsigned int flags)
{
    first = false;
    return next->onCircular(center, end, normal, sweep, feedrate, flags);
}

bool NCABCInputRange::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    first = false;
    return next->onCWCircle(center, end, normal, feedrate, flags);
}

bool NCABCInputRange::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, unsigned int flags)
{
    first = false;
    return next->onCCWCircle(center, end, normal, feedrate, flags);
}

} // namespace Quarn
