// The URI and the descriptive texts of cutter location data.
#include "nc/nc/io/CutterLocationDataImpl.h"

#include "nc/nc/NCStream.h"

namespace Quarn {

std::string const& CutterLocationDataImpl::getUri()
{
    static std::string const uri = std::string(NCStream::NamespaceBaseA) + "/namespace/nc/format/cutter-location-data";
    return uri;
}

std::string_view CutterLocationDataImpl::getUnitText(NCUnit::Unit unit) noexcept
{
    return unit == NCUnit::MILLIMETERS ? "millimeters" : "inches";
}

std::optional<NCUnit::Unit> CutterLocationDataImpl::findUnit(std::string_view text) noexcept
{
    if (text == "millimeters")
        return NCUnit::MILLIMETERS;
    if (text == "inches")
        return NCUnit::INCHES;
    return std::nullopt;
}

std::string_view CutterLocationDataImpl::getCompensationText(NCContext::Compensation compensation) noexcept
{
    return compensation == NCContext::COMPENSATION_TIP ? "tip" : "center";
}

std::optional<NCContext::Compensation> CutterLocationDataImpl::findCompensation(std::string_view text) noexcept
{
    if (text == "tip")
        return NCContext::COMPENSATION_TIP;
    if (text == "center")
        return NCContext::COMPENSATION_CENTER;
    return std::nullopt;
}

} // namespace Quarn
