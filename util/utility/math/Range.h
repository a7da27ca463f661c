// A closed interval [min, max] of an ordered type: axis limits, value bounds.
#pragma once

#include "util/utility/Export.h"

namespace Quarn {

template <class T>
class QUARN_NC_EXPORT Range {
public:
    // The single value T{}: [0, 0] for numbers.
    constexpr Range() = default;
    constexpr Range(T const& min, T const& max) : minimum(min), maximum(max) {}

    constexpr T const& getMin() const noexcept { return minimum; }
    constexpr T const& getMax() const noexcept { return maximum; }
    constexpr void setMin(T const& min) { minimum = min; }
    constexpr void setMax(T const& max) { maximum = max; }
    constexpr void set(T const& min, T const& max)
    {
        minimum = min;
        maximum = max;
    }

    // Widens the range just enough to contain v.
    constexpr void extend(T const& v)
    {
        if (v < minimum)
            minimum = v;
        if (maximum < v)
            maximum = v;
    }
    // Inclusive at both ends; a NaN is in no range of doubles.
    constexpr bool contains(T const& v) const { return minimum <= v && v <= maximum; }

    friend constexpr bool operator==(Range const&, Range const&) = default;

private:
    T minimum{};
    T maximum{};
};

} // namespace Quarn
