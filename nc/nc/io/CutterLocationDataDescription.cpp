// The runs of descriptive parameters of cutter location data, turned back into a context or a tool.
#include "nc/nc/io/CutterLocationDataDescription.h"

#include "nc/nc/NCStream.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/CutterLocationDataImpl.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/text/NumberFormat.h"

#include <string>
#include <string_view>

namespace Quarn {

namespace {

using Impl = CutterLocationDataImpl;

bool is(char const* name, std::string_view expected) { return name != nullptr && expected == name; }

} // namespace

bool CutterLocationDataDescription::onText(NCStream& target, char const* name, char const* value)
{
    std::string_view const text = value != nullptr ? value : "";
    if (stage == Stage::ContextUnit && is(name, Impl::CompensationParameter)) {
        if (auto const found = Impl::findCompensation(text)) {
            compensation = *found;
            stage = Stage::ContextCompensation;
            return true;
        }
    }
    if (!flush(target))
        return false;
    bool const contextUnit = is(name, Impl::UnitParameter);
    if (contextUnit || is(name, Impl::ToolUnitParameter)) {
        if (auto const found = Impl::findUnit(text)) {
            unit = *found;
            stage = contextUnit ? Stage::ContextUnit : Stage::ToolUnit;
            return true;
        }
    }
    return target.onParameter(name, value);
}

bool CutterLocationDataDescription::onFloat(NCStream& target, char const* name, double value)
{
    switch (stage) {
    case Stage::ToolUnit:
        if (is(name, Impl::CutterDiameterParameter)) {
            diameter = value;
            stage = Stage::ToolDiameter;
            return true;
        }
        break;
    case Stage::ToolDiameter:
        if (is(name, Impl::CornerRadiusParameter)) {
            cornerRadius = value;
            stage = Stage::ToolCornerRadius;
            return true;
        }
        break;
    case Stage::ToolCornerRadius:
        if (is(name, Impl::TaperAngleParameter)) {
            taperAngle = value;
            stage = Stage::ToolTaperAngle;
            return true;
        }
        break;
    case Stage::ToolTaperAngle:
        if (is(name, Impl::FluteLengthParameter))
            return sendTool(target, value);
        break;
    default:
        break;
    }
    return flush(target) && target.onParameter(name, value);
}

bool CutterLocationDataDescription::onVector(NCStream& target, char const* name, Vector3D const& value)
{
    if (stage == Stage::ContextCompensation && is(name, Impl::OriginParameter)) {
        origin = value;
        stage = Stage::ContextOrigin;
        return true;
    }
    return flush(target) && sendVector(target, name, value);
}

bool CutterLocationDataDescription::onMatrix(NCStream& target, char const* name, Matrix3x3 const& value)
{
    if (stage == Stage::ContextOrigin && is(name, Impl::PlaneParameter))
        return sendContext(target, value);
    return flush(target) && sendMatrix(target, name, value);
}

bool CutterLocationDataDescription::flush(NCStream& target)
{
    Stage const held = stage;
    stage = Stage::None;
    if (held == Stage::None)
        return true;
    bool const isContext = held == Stage::ContextUnit || held == Stage::ContextCompensation || held == Stage::ContextOrigin;
    std::string const unitText(Impl::getUnitText(unit));
    if (isContext) {
        if (!target.onParameter(Impl::UnitParameter.data(), unitText.c_str()))
            return false;
        if (held == Stage::ContextUnit)
            return true;
        std::string const compensationText(Impl::getCompensationText(compensation));
        if (!target.onParameter(Impl::CompensationParameter.data(), compensationText.c_str()))
            return false;
        return held == Stage::ContextCompensation || sendVector(target, Impl::OriginParameter.data(), origin);
    }
    if (!target.onParameter(Impl::ToolUnitParameter.data(), unitText.c_str()))
        return false;
    if (held == Stage::ToolUnit)
        return true;
    if (!target.onParameter(Impl::CutterDiameterParameter.data(), diameter))
        return false;
    if (held == Stage::ToolDiameter)
        return true;
    if (!target.onParameter(Impl::CornerRadiusParameter.data(), cornerRadius))
        return false;
    return held == Stage::ToolCornerRadius || target.onParameter(Impl::TaperAngleParameter.data(), taperAngle);
}

bool CutterLocationDataDescription::sendVector(NCStream& target, char const* name, Vector3D const& value)
{
    return target.onParameter(name, Point3D(value));
}

bool CutterLocationDataDescription::sendMatrix(NCStream& target, char const* name, Matrix3x3 const& value)
{
    std::string text;
    char buffer[NumberFormat::MaxDoubleLength];
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            if (!text.empty())
                text += ' ';
            text.append(buffer, NumberFormat::formatShortest(value(row, column), buffer));
        }
    }
    return target.onParameter(name, text.c_str());
}

bool CutterLocationDataDescription::sendContext(NCStream& target, Matrix3x3 const& plane)
{
    stage = Stage::None;
    NCContext context;
    context.setUnit(unit);
    context.setCompensation(compensation);
    context.setOrigin(origin);
    context.setPlane(plane);
    return target.onContext(context);
}

bool CutterLocationDataDescription::sendTool(NCStream& target, double fluteLength)
{
    stage = Stage::None;
    NCTool tool;
    tool.setUnit(unit);
    tool.setDiameter(diameter);
    tool.setCornerRadius(cornerRadius);
    tool.setTaperAngle(taperAngle);
    tool.setFluteLength(fluteLength);
    return target.onTool(tool);
}

} // namespace Quarn
