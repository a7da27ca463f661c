// Positions of machine axes, one and all (grouped here on purpose: assertion reports name this file).
#pragma once

#include "nc/nc/persist/Persistent.h"
#include "util/utility/Export.h"
#include "util/utility/math/Degree.h"
#include "util/utility/math/Radian.h"

#include <initializer_list>
#include <utility>
#include <vector>

namespace Quarn {

// One axis position in the axis' own unit: millimetres for a linear axis, degrees for a
// rotary one. The value does not know which kind of axis it belongs to. Comparisons are
// exact floating-point ones, so every comparison with NaN except != is false.
class QUARN_NC_EXPORT AxisValue : public persist::Persistent {
public:
    static persist::PersistentClass const s_class;

    AxisValue() = default;
    AxisValue(double value) noexcept : number(value) {}
    AxisValue(Degree angle) noexcept : number(angle.value()) {}
    AxisValue(Radian angle) noexcept : number(angle.toDegree().value()) {}

    double value() const noexcept { return number; }
    double mm() const noexcept { return number; }
    Degree degrees() const noexcept { return Degree(number); }
    Radian radians() const noexcept { return Degree(number).toRadian(); }

    friend bool operator==(AxisValue const& a, AxisValue const& b) noexcept { return a.number == b.number; }
    friend bool operator<(AxisValue const& a, AxisValue const& b) noexcept { return a.number < b.number; }
    friend bool operator<=(AxisValue const& a, AxisValue const& b) noexcept { return a.number <= b.number; }

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override { directMembers(persist); }
    void directMembers(persist::Persist& persist);

private:
    double number = 0.0;
};

// The positions of all axes of an ordering: entry i belongs to axis i of the AxisOrdering
// last sent on the same stream.
//
// Index checks are debug assertions; outside test mode an index out of range is still safe:
// value and operator[] return NaN (an unknown position) and setValue does nothing.
class QUARN_NC_EXPORT AxisValues : public persist::Persistent {
public:
    static persist::PersistentClass const s_class;

    AxisValues() = default;
    // n positions of 0.0.
    explicit AxisValues(int n);
    AxisValues(std::initializer_list<AxisValue> positions) : values(positions) {}
    explicit AxisValues(std::vector<AxisValue> positions) : values(std::move(positions)) {}

    int size() const noexcept { return static_cast<int>(values.size()); }
    AxisValue value(int index) const;
    AxisValue operator[](int index) const { return value(index); }
    void setValue(int index, AxisValue value);

    // Exact and element-wise; see compareAxisValues for a tolerance.
    friend bool operator==(AxisValues const& a, AxisValues const& b) { return a.values == b.values; }

    persist::PersistentClass const& iceDynamicClass() const override { return s_class; }
    void iceListMembers(persist::Persist& persist) override { directMembers(persist); }
    void directMembers(persist::Persist& persist);

private:
    // Reports an index out of range and tells whether it may be used.
    bool checkIndex(int index) const;

    std::vector<AxisValue> values;
};

// True when both have the same size and no position differs by more than tolerance (a
// difference of exactly the tolerance counts as equal).
QUARN_NC_EXPORT bool compareAxisValues(AxisValues const& a, AxisValues const& b, double tolerance);

} // namespace Quarn
