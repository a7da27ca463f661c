// Name removal of FilterNCStreamByRemovingNamedParams.
#include "nc/nc/FilterNCStreamByRemovingNamedParams.h"

namespace Quarn {

FilterNCStreamByRemovingNamedParams::~FilterNCStreamByRemovingNamedParams() = default;

bool FilterNCStreamByRemovingNamedParams::onParameter(char const* name, Point3D const& value)
{
    return isNamed(name) || FilterNCStream::onParameter(name, value);
}

bool FilterNCStreamByRemovingNamedParams::onParameter(char const* name, double value)
{
    return isNamed(name) || FilterNCStream::onParameter(name, value);
}

bool FilterNCStreamByRemovingNamedParams::onParameter(char const* name, int value)
{
    return isNamed(name) || FilterNCStream::onParameter(name, value);
}

bool FilterNCStreamByRemovingNamedParams::onParameter(char const* name, wchar_t const* value)
{
    return isNamed(name) || FilterNCStream::onParameter(name, value);
}

bool FilterNCStreamByRemovingNamedParams::onParameter(char const* name, char const* value)
{
    return isNamed(name) || FilterNCStream::onParameter(name, value);
}

} // namespace Quarn
