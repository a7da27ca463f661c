// Unit tables of NCUnit.
#include "nc/nc/NCUnit.h"

#include "util/utility/Basic.h"
#include "util/utility/Debug.h"

namespace Quarn {

namespace {

constexpr double FACTORS[2][2] = {{1.0, 25.4}, {0.03937007874015748, 1.0}};
constexpr double PRESSURE[2][2] = {{1.0, 14.503773773}, {0.06894757293178307, 1.0}};
constexpr double PRESENT[2][2] = {{1.0, 1.0}, {1.016, 1.0}};
constexpr wchar_t const* UNITS[2] = {L"inches", L"millimeters"};

} // namespace

double NCUnit::getUnitConversionFactor(Unit sourceUnit, Unit destinationUnit)
{
    QUARN_ASSERT((static_cast<unsigned int>(sourceUnit) < lengthOf(FACTORS)) && (static_cast<unsigned int>(destinationUnit) < lengthOf(FACTORS)));
    return FACTORS[sourceUnit][destinationUnit];
}

double NCUnit::getInches(double value, Unit unit)
{
    return value * getUnitConversionFactor(unit, INCHES);
}

double NCUnit::getMillimeters(double value, Unit unit)
{
    return value * getUnitConversionFactor(unit, MILLIMETERS);
}

double NCUnit::getUnitConversionPressureFactor(Unit sourceUnit, Unit destinationUnit)
{
    QUARN_ASSERT((static_cast<unsigned int>(sourceUnit) < lengthOf(FACTORS)) && (static_cast<unsigned int>(destinationUnit) < lengthOf(FACTORS)));
    return PRESSURE[sourceUnit][destinationUnit];
}

double NCUnit::getPresentableValue(double value, Unit srcUnit, Unit destUnit)
{
    QUARN_ASSERT((static_cast<unsigned int>(srcUnit) < lengthOf(FACTORS)) && (static_cast<unsigned int>(destUnit) < lengthOf(FACTORS)));
    return value * PRESENT[destUnit][srcUnit];
}

std::wstring NCUnit::getUnitAsString(Unit unit)
{
    QUARN_ASSERT(static_cast<unsigned int>(unit) < lengthOf(UNITS));
    // Outside test mode a bad unit has no name rather than a read past the table.
    return static_cast<unsigned int>(unit) < lengthOf(UNITS) ? UNITS[unit] : L"";
}

Validified<NCUnit::Unit> NCUnit::getAsUnit(Validified<std::wstring> const& text)
{
    if (!text.isValid())
        return {};
    for (unsigned int unit = 0; unit < lengthOf(UNITS); ++unit)
        if (text.get() == UNITS[unit])
            return static_cast<Unit>(unit);
    return {};
}

} // namespace Quarn
