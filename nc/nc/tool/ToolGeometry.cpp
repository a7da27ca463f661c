// The type table of ToolGeometry (identifiers and kinds) and its unit conversion.
#include "nc/nc/tool/ToolGeometry.h"

#include "util/utility/Basic.h"
#include "util/utility/Debug.h"

namespace Quarn {

namespace {

enum Kind : unsigned int {
    KIND_NONE = 0,
    KIND_TURNING = 1u << 0,
    KIND_JET = 1u << 1,
    KIND_DEPOSITING = 1u << 2,
    KIND_PROBE = 1u << 3,
    KIND_MILLING = 1u << 4,
    KIND_HOLE = 1u << 5
};

struct TypeInfo {
    wchar_t const* name;
    unsigned int kinds;
};

// Indexed by ToolGeometry::Type.
constexpr TypeInfo TYPES[] = {
    {L"undefined", KIND_NONE},
    {L"drill", KIND_HOLE},
    {L"center-drill", KIND_HOLE},
    {L"spot-drill", KIND_HOLE},
    {L"engraving-tool", KIND_MILLING},
    {L"flat-end-mill", KIND_MILLING},
    {L"ball-end-mill", KIND_MILLING},
    {L"lollipop-mill", KIND_MILLING},
    {L"bullnose-end-mill", KIND_MILLING},
    {L"chamfer-mill", KIND_MILLING},
    {L"face-mill", KIND_MILLING},
    {L"slot-mill", KIND_MILLING},
    {L"radius-mill", KIND_MILLING},
    {L"dovetail-mill", KIND_MILLING},
    {L"tapered-mill", KIND_MILLING},
    {L"right-hand-tap", KIND_HOLE},
    {L"left-hand-tap", KIND_HOLE},
    {L"reamer", KIND_HOLE},
    {L"boring-bar", KIND_HOLE},
    {L"counter-bore", KIND_HOLE},
    {L"counter-sink", KIND_HOLE},
    {L"thread-mill", KIND_MILLING},
    {L"form-mill", KIND_MILLING},
    {L"barrel-mill", KIND_MILLING},
    {L"circle-segment-mill", KIND_MILLING},
    {L"boring-head", KIND_HOLE},
    {L"back-boring-tool", KIND_HOLE},
    {L"gun-drill", KIND_HOLE},
    {L"step-drill", KIND_HOLE},
    {L"turning-general", KIND_TURNING},
    {L"turning-boring", KIND_TURNING},
    {L"turning-grooving", KIND_TURNING},
    {L"turning-boring-grooving", KIND_TURNING},
    {L"turning-parting", KIND_TURNING},
    {L"turning-threading", KIND_TURNING},
    {L"turning-boring-threading", KIND_TURNING},
    {L"turning-form", KIND_TURNING},
    {L"turning-button", KIND_TURNING},
    {L"probe", KIND_PROBE},
    {L"probe-turning", KIND_PROBE | KIND_TURNING},
    {L"waterjet", KIND_JET},
    {L"laser-cutter", KIND_JET},
    {L"plasma-cutter", KIND_JET},
    {L"depositing-wire", KIND_DEPOSITING},
    {L"depositing-powder", KIND_DEPOSITING},
    {L"depositing-filament", KIND_DEPOSITING},
    {L"custom", KIND_NONE},
};
static_assert(lengthOf(TYPES) == ToolGeometry::TYPE_COUNT);

bool hasKind(ToolGeometry::Type type, Kind kind) noexcept
{
    return ToolGeometry::isType(type) && (TYPES[type].kinds & kind) != 0;
}

} // namespace

bool ToolGeometry::isTurning(Type type) noexcept { return hasKind(type, KIND_TURNING); }

bool ToolGeometry::isJetCutter(Type type) noexcept { return hasKind(type, KIND_JET); }

bool ToolGeometry::isDepositing(Type type) noexcept { return hasKind(type, KIND_DEPOSITING); }

bool ToolGeometry::isProbe(Type type) noexcept { return hasKind(type, KIND_PROBE); }

bool ToolGeometry::isMilling(Type type) noexcept { return hasKind(type, KIND_MILLING); }

bool ToolGeometry::isHoleMaking(Type type) noexcept { return hasKind(type, KIND_HOLE); }

std::wstring ToolGeometry::getTypeAsString(Type type) { return isType(type) ? TYPES[type].name : L""; }

std::optional<ToolGeometry::Type> ToolGeometry::getAsType(std::wstring_view text)
{
    for (unsigned int type = 0; type < TYPE_COUNT; ++type)
        if (text == TYPES[type].name)
            return static_cast<Type>(type);
    return std::nullopt;
}

void ToolGeometry::setType(Type value)
{
    QUARN_EXPECTS(isType(value));
    type = value;
}

void ToolGeometry::setUnit(NCUnit::Unit value)
{
    QUARN_EXPECTS(NCUnit::isUnit(value));
    unit = value;
}

void ToolGeometry::convertToUnit(NCUnit::Unit newUnit)
{
    QUARN_EXPECTS(NCUnit::isUnit(newUnit));
    double const factor = NCUnit::getUnitConversionFactor(unit, newUnit);
    for (double* value :
        {&diameter, &cornerRadius, &fluteLength, &shoulderLength, &bodyLength, &shaftDiameter, &threadPitch, &length,
            &jetDiameter, &jetDistance, &kerfWidth, &beadWidth, &layerThickness, &standoffDistance})
        *value *= factor;
    for (ShaftSection& section : shaftSections) {
        section.diameter *= factor;
        section.length *= factor;
    }
    turningRegion.minimum = turningRegion.minimum * factor;
    turningRegion.maximum = turningRegion.maximum * factor;
    unit = newUnit;
}

} // namespace Quarn
