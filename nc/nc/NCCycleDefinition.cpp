// Parameter names, URIs, hole checks and the moves of one hole of a hole-making cycle.
#include "nc/nc/NCCycleDefinition.h"

#include "nc/nc/NCStream.h"
#include "util/utility/Debug.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace Quarn {

namespace {

using Definition = NCCycleDefinition;

// Short names in the order of Value.
constexpr std::string_view ValueNames[Definition::VALUE_COUNT] = {"clearance-height", "reference-height", "depth",
    "first-peck", "subsequent-peck", "peck-clearance", "dwell", "feedrate", "shift"};

constexpr std::string_view ValuePrefix = "cycle/";

struct ParameterNames {
    // The parameter namespace without its base ("/namespace/nc/parameter"): what a legacy
    // parameter namespace ends with as well.
    std::string path;
    std::array<std::string, Definition::VALUE_COUNT> full;
};

ParameterNames const& parameterNames()
{
    static ParameterNames const names = [] {
        ParameterNames result;
        std::string const space = NCStream::DEFAULT_PARAMETER_NAMESPACE.getNarrow();
        QUARN_ASSERT(space.starts_with(NCStream::NamespaceBaseA));
        result.path = space.substr(std::min(space.size(), NCStream::NamespaceBaseA.size()));
        for (unsigned int value = 0; value < Definition::VALUE_COUNT; ++value)
            result.full[value] = space + "/" + std::string(ValuePrefix) + std::string(ValueNames[value]);
        return result;
    }();
    return names;
}

constexpr unsigned int RapidFlags = NCStream::getMovementFlags(NCStream::MOVEMENT_RAPID);
constexpr unsigned int FeedFlags = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);

// Below this length the part of +X across a hole's axis is rounding: the axis is X.
constexpr double AcrossTolerance = 1e-9;

// The unit vector of a finite vector, computed on a scaled copy so that neither tiny nor huge
// components underflow or overflow; zero stays zero.
Vector3D unitOf(Vector3D vector) noexcept
{
    double const scale = std::max({std::abs(vector.x), std::abs(vector.y), std::abs(vector.z)});
    if (!(scale > 0.0))
        return {};
    return (vector / scale).getNormalized();
}

// A hole along its axis: heights are coordinates along the axis.
struct Hole {
    Vector3D axis;
    Vector3D bottom;
    double bottomHeight;
    // Where the axis line meets the plane of height 0: for an axis along X, Y or Z the height's
    // coordinate is exactly 0 there, so the points of the heights hold them exactly.
    Vector3D base;

    Hole(Vector3D const& top, Vector3D const& bottom) noexcept
        : axis(Definition::getHoleAxis(top, bottom)), bottom(bottom), bottomHeight(bottom.dot(axis)),
          base(bottom - bottomHeight * axis)
    {
    }

    Vector3D at(double height) const noexcept { return base + height * axis; }

    // Fine boring's direction across the axis.
    Vector3D across() const noexcept
    {
        Vector3D const partOfX = Vector3D(1.0, 0.0, 0.0) - axis.x * axis;
        if (partOfX.getModulus() >= AcrossTolerance)
            return unitOf(partOfX);
        return unitOf(Vector3D(0.0, 1.0, 0.0) - axis.y * axis);
    }
};

bool isPecking(NCCycle::Cycle cycle) noexcept
{
    return cycle == NCCycle::CYCLE_DEEP_DRILLING || cycle == NCCycle::CYCLE_CHIP_BREAKING;
}

// Depths below R of the pecks of a hole. The count is computed, not counted out, so that a hole
// that needs too many pecks is refused before its first move; it is a double because absurd
// values give counts beyond every integer.
struct Pecks {
    double first;
    double step;
    double total; // from R to the bottom
    double count;

    Pecks(Definition const& definition, Hole const& hole) noexcept
        : first(definition.getValue(Definition::VALUE_FIRST_PECK)),
          step(definition.getValue(Definition::VALUE_SUBSEQUENT_PECK)),
          total(definition.getValue(Definition::VALUE_REFERENCE_HEIGHT) - hole.bottomHeight),
          count(1.0)
    {
        if (!(step > 0.0))
            step = first;
        if (first > 0.0 && total > first)
            count = 1.0 + std::ceil((total - first) / step);
    }

    bool isBounded() const noexcept { return count <= Definition::MaximumPecks; }
};

enum class Problem { None, Value, Top, Bottom, Range, Pecks };

struct Check {
    Problem problem = Problem::None;
    unsigned int value = 0; // of Problem::Value
};

// Every point a move reaches lies between C, R, B, chip breaking's highest back-off and fine
// boring's shifted points, so these being finite is enough.
bool isInRange(Definition const& definition, Hole const& hole) noexcept
{
    double const clearance = definition.getValue(Definition::VALUE_CLEARANCE_HEIGHT);
    double const reference = definition.getValue(Definition::VALUE_REFERENCE_HEIGHT);
    Vector3D const c = hole.at(clearance);
    if (!c.isFinite() || !hole.at(reference).isFinite())
        return false;
    double const backOff = definition.getValue(Definition::VALUE_PECK_CLEARANCE);
    if (definition.getCycle() == NCCycle::CYCLE_CHIP_BREAKING && backOff > 0.0
        && !hole.at(reference + backOff).isFinite())
        return false;
    if (definition.getCycle() == NCCycle::CYCLE_FINE_BORING) {
        Vector3D const shift = definition.getValue(Definition::VALUE_SHIFT) * hole.across();
        return (c + shift).isFinite() && (hole.bottom + shift).isFinite();
    }
    return true;
}

Check checkOf(Definition const& definition, Vector3D const& top, Vector3D const& bottom) noexcept
{
    for (unsigned int value = 0; value < Definition::VALUE_COUNT; ++value)
        if (!std::isfinite(definition.getValue(static_cast<Definition::Value>(value))))
            return {Problem::Value, value};
    if (!top.isFinite())
        return {Problem::Top};
    if (!bottom.isFinite())
        return {Problem::Bottom};
    Hole const hole(top, bottom);
    if (!isInRange(definition, hole))
        return {Problem::Range};
    if (isPecking(definition.getCycle()) && !Pecks(definition, hole).isBounded())
        return {Problem::Pecks};
    return {};
}

// Sends the moves of a hole, leaving out those that would not move. The position before the
// first move is unknown, so the first move is always sent.
class Mover {
public:
    Mover(NCStream& target, Vector3D const& axis, double feedrate) noexcept
        : target(target), axis(axis), feedrate(feedrate), fiveAxis(!(axis == Vector3D::getForward()))
    {
    }

    bool rapid(Vector3D const& end)
    {
        if (!moves(end))
            return true;
        return fiveAxis ? target.onRapid5D(end, axis, RapidFlags | NCStream::FLAG_ABSOLUTE_DIRECTION)
                        : target.onRapid(end, RapidFlags);
    }

    bool feed(Vector3D const& end)
    {
        if (!moves(end))
            return true;
        return fiveAxis ? target.onLinear5D(end, axis, feedrate, FeedFlags | NCStream::FLAG_ABSOLUTE_DIRECTION)
                        : target.onLinear(end, feedrate, FeedFlags);
    }

    bool dwell(double seconds) { return !(seconds > 0.0) || target.onDwell(seconds, 0); }

private:
    // Whether a move to end moves; takes end as the new position.
    bool moves(Vector3D const& end) noexcept
    {
        if (known && position == end)
            return false;
        known = true;
        position = end;
        return true;
    }

    NCStream& target;
    Vector3D axis;
    double feedrate;
    bool fiveAxis;
    bool known = false;
    Vector3D position;
};

} // namespace

std::string const& NCCycleDefinition::getParameterName(Value value)
{
    QUARN_EXPECTS(value < VALUE_COUNT);
    static std::string const none;
    return value < VALUE_COUNT ? parameterNames().full[value] : none;
}

std::optional<NCCycleDefinition::Value> NCCycleDefinition::findValue(char const* name) noexcept
{
    char const* const stripped = NCStream::stripNamespace(name);
    if (stripped == name)
        return std::nullopt;
    // Only the parameter namespaces: stripNamespace also strips the cycle and plain ones.
    std::string_view const space(name, static_cast<std::size_t>(stripped - name) - 1);
    std::string_view shortName(stripped);
    if (!space.ends_with(parameterNames().path) || !shortName.starts_with(ValuePrefix))
        return std::nullopt;
    shortName.remove_prefix(ValuePrefix.size());
    for (unsigned int value = 0; value < VALUE_COUNT; ++value)
        if (shortName == ValueNames[value])
            return static_cast<Value>(value);
    return std::nullopt;
}

bool NCCycleDefinition::setFromParameter(char const* name, double number) noexcept
{
    std::optional<Value> const value = findValue(name);
    if (value)
        values[*value] = number;
    return value.has_value();
}

std::string NCCycleDefinition::getUri(NCCycle::Cycle cycle)
{
    char const* const name = NCCycle::getName(cycle);
    if (name == nullptr)
        return {};
    return NCStream::DEFAULT_CYCLE_NAMESPACE.getNarrow() + "/" + name;
}

std::string NCCycleDefinition::getExpandedUri(NCCycle::Cycle cycle)
{
    return isExpandable(cycle) ? getUri(cycle) + "/expanded" : std::string();
}

bool NCCycleDefinition::isExpandable(NCCycle::Cycle cycle) noexcept
{
    switch (cycle) {
    case NCCycle::CYCLE_DRILLING:
    case NCCycle::CYCLE_COUNTER_BORING:
    case NCCycle::CYCLE_DEEP_DRILLING:
    case NCCycle::CYCLE_CHIP_BREAKING:
    case NCCycle::CYCLE_RIGHT_TAPPING:
    case NCCycle::CYCLE_LEFT_TAPPING:
    case NCCycle::CYCLE_BORING:
    case NCCycle::CYCLE_STOP_BORING:
    case NCCycle::CYCLE_FINE_BORING:
        return true;
    default:
        return false;
    }
}

bool NCCycleDefinition::sendParameters(NCStream& target) const
{
    for (unsigned int value = 0; value < VALUE_COUNT; ++value)
        if (!sendParameter(target, static_cast<Value>(value)))
            return false;
    return true;
}

bool NCCycleDefinition::sendParameter(NCStream& target, Value value) const
{
    QUARN_EXPECTS(value < VALUE_COUNT);
    if (value >= VALUE_COUNT)
        return true;
    return target.onParameter(getParameterName(value).c_str(), values[value]);
}

std::optional<std::wstring> NCCycleDefinition::checkHole(Vector3D const& top, Vector3D const& bottom) const
{
    Check const check = checkOf(*this, top, bottom);
    switch (check.problem) {
    case Problem::None:
        return std::nullopt;
    case Problem::Value: {
        std::string_view const name = ValueNames[check.value];
        return L"Cycle value '" + std::wstring(name.begin(), name.end()) + L"' is not a number.";
    }
    case Problem::Top:
        return L"Hole top is not a number.";
    case Problem::Bottom:
        return L"Hole bottom is not a number.";
    case Problem::Range:
        return L"Hole moves are out of range.";
    case Problem::Pecks:
        return L"Too many pecks.";
    }
    return std::nullopt;
}

bool NCCycleDefinition::expandHole(NCStream& target, Vector3D const& top, Vector3D const& bottom) const
{
    QUARN_EXPECTS(isExpandable(cycle));
    Check const check = checkOf(*this, top, bottom);
    QUARN_EXPECTS(check.problem == Problem::None);
    if (!isExpandable(cycle) || check.problem != Problem::None)
        return false;

    Hole const hole(top, bottom);
    double const referenceHeight = values[VALUE_REFERENCE_HEIGHT];
    Vector3D const c = hole.at(values[VALUE_CLEARANCE_HEIGHT]);
    Vector3D const r = hole.at(referenceHeight);
    double const dwell = values[VALUE_DWELL];
    Mover move(target, hole.axis, values[VALUE_FEEDRATE]);
    if (!move.rapid(c) || !move.rapid(r))
        return false;

    switch (cycle) {
    case NCCycle::CYCLE_DRILLING:
        return move.feed(bottom) && move.rapid(c);
    case NCCycle::CYCLE_COUNTER_BORING:
    case NCCycle::CYCLE_STOP_BORING:
        return move.feed(bottom) && move.dwell(dwell) && move.rapid(c);
    case NCCycle::CYCLE_RIGHT_TAPPING:
    case NCCycle::CYCLE_LEFT_TAPPING:
    case NCCycle::CYCLE_BORING:
        return move.feed(bottom) && move.dwell(dwell) && move.feed(r) && move.rapid(c);
    case NCCycle::CYCLE_FINE_BORING: {
        Vector3D const shift = values[VALUE_SHIFT] * hole.across();
        return move.feed(bottom) && move.dwell(dwell) && move.rapid(bottom + shift) && move.rapid(c + shift)
            && move.rapid(c);
    }
    default:
        break;
    }

    // Deep drilling and chip breaking. checkOf has bounded the count by MaximumPecks.
    Pecks const pecks(*this, hole);
    bool const deep = cycle == NCCycle::CYCLE_DEEP_DRILLING;
    double const backOff = values[VALUE_PECK_CLEARANCE];
    auto const count = static_cast<unsigned int>(pecks.count);
    for (unsigned int peck = 0; peck < count; ++peck) {
        double const reached = pecks.first + peck * pecks.step;
        // Rounding may reach the bottom a peck early: then that peck is the last.
        if (peck + 1 == count || !(reached < pecks.total))
            break;
        if (!move.feed(hole.at(referenceHeight - reached)))
            return false;
        if (deep) {
            if (!move.rapid(r))
                return false;
            // Not above R: a larger clearance would rapid out of the hole again.
            if (backOff > 0.0 && reached - backOff >= 0.0 && !move.rapid(hole.at(referenceHeight - reached + backOff)))
                return false;
        } else if (backOff > 0.0 && !move.rapid(hole.at(referenceHeight - reached + backOff))) {
            return false;
        }
    }
    return move.feed(bottom) && move.dwell(dwell) && move.rapid(c);
}

Vector3D NCCycleDefinition::getPointAtHeight(Vector3D const& top, Vector3D const& bottom, double height) noexcept
{
    return Hole(top, bottom).at(height);
}

Vector3D NCCycleDefinition::getHoleAxis(Vector3D const& top, Vector3D const& bottom) noexcept
{
    Vector3D difference = top - bottom;
    // Finite points far apart: halves cannot overflow.
    if (!difference.isFinite() && top.isFinite() && bottom.isFinite())
        difference = top * 0.5 - bottom * 0.5;
    if (difference == Vector3D())
        return Vector3D::getForward();
    return unitOf(difference);
}

} // namespace Quarn
