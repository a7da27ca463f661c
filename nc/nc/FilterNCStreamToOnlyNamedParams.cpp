// Name selection of FilterNCStreamToOnlyNamedParams.
#include "nc/nc/FilterNCStreamToOnlyNamedParams.h"

namespace Quarn {

FilterNCStreamToOnlyNamedParams::~FilterNCStreamToOnlyNamedParams() = default;

bool FilterNCStreamToOnlyNamedParams::onParameter(char const* name, Point3D const& value)
{
    return !isNamed(name) || FilterNCStreamByCategories::onParameter(name, value);
}

bool FilterNCStreamToOnlyNamedParams::onParameter(char const* name, double value)
{
    return !isNamed(name) || FilterNCStreamByCategories::onParameter(name, value);
}

bool FilterNCStreamToOnlyNamedParams::onParameter(char const* name, int value)
{
    return !isNamed(name) || FilterNCStreamByCategories::onParameter(name, value);
}

bool FilterNCStreamToOnlyNamedParams::onParameter(char const* name, wchar_t const* value)
{
    return !isNamed(name) || FilterNCStreamByCategories::onParameter(name, value);
}

bool FilterNCStreamToOnlyNamedParams::onParameter(char const* name, char const* value)
{
    return !isNamed(name) || FilterNCStreamByCategories::onParameter(name, value);
}

} // namespace Quarn
