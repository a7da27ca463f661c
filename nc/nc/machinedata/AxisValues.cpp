// Checked access, tolerant comparison and persistence of axis positions.
#include "nc/nc/machinedata/AxisValues.h"

#include "util/utility/Debug.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Quarn {

persist::PersistentClass const AxisValue::s_class("AxisValue");
persist::PersistentClass const AxisValues::s_class("AxisValues");

void AxisValue::directMembers(persist::Persist& persist) { persist.member("m_value", number); }

AxisValues::AxisValues(int n) : values(static_cast<std::size_t>(std::max(n, 0))) {}

bool AxisValues::checkIndex(int index) const
{
    QUARN_ASSERT(0 <= index && index < size());
    return 0 <= index && index < size();
}

AxisValue AxisValues::value(int index) const
{
    if (!checkIndex(index))
        return std::numeric_limits<double>::quiet_NaN();
    return values[static_cast<std::size_t>(index)];
}

void AxisValues::setValue(int index, AxisValue value)
{
    if (checkIndex(index))
        values[static_cast<std::size_t>(index)] = value;
}

void AxisValues::directMembers(persist::Persist& persist) { persist.member("m_values", values); }

bool compareAxisValues(AxisValues const& a, AxisValues const& b, double tolerance)
{
    if (a.size() != b.size())
        return false;
    for (int i = 0; i < a.size(); ++i) {
        if (std::abs(a[i].value() - b[i].value()) > tolerance)
            return false;
    }
    return true;
}

} // namespace Quarn
