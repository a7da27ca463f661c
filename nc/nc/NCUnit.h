// Length units of NC programs and the conversion factors between them.
#pragma once

#include "util/utility/Export.h"
#include "util/utility/Validified.h"

#include <string>

namespace Quarn {

class QUARN_NC_EXPORT NCUnit {
public:
    enum Unit : unsigned int { INCHES = 0, MILLIMETERS = 1 };

    static bool isUnit(unsigned int unit) noexcept { return unit <= MILLIMETERS; }

    // A length in source units times this factor is the length in destination units.
    static double getUnitConversionFactor(Unit sourceUnit, Unit destinationUnit);
    static double getInches(double value, Unit unit);
    static double getMillimeters(double value, Unit unit);

    // Pressure factor; from INCHES to MILLIMETERS it is 14.503773773 (psi per bar), the
    // reverse sense of the length table, which callers rely on.
    static double getUnitConversionPressureFactor(Unit sourceUnit, Unit destinationUnit);

    // Scales by 1.016 only from inches to millimetres, so whole inch values stay whole.
    static double getPresentableValue(double value, Unit srcUnit, Unit destUnit);

    // "inches" or "millimeters".
    static std::wstring getUnitAsString(Unit unit);
    static Validified<Unit> getAsUnit(Validified<std::wstring> const& text);
};

} // namespace Quarn
