// Coolant and material names, the category table, unit conversion and comparison of NCTool.
#include "nc/nc/NCTool.h"

#include "util/utility/Basic.h"
#include "util/utility/Debug.h"

#include <tuple>

namespace Quarn {

namespace {

// Indexed by NCTool::Coolant.
constexpr wchar_t const* COOLANTS[] = {
    L"none", L"flood", L"mist", L"through-tool", L"air", L"air-through-tool", L"suction", L"flood-mist",
    L"flood-through-tool",
};
static_assert(lengthOf(COOLANTS) == NCTool::COOLANT_COUNT);

// Indexed by NCTool::Material.
constexpr wchar_t const* MATERIALS[] = {
    L"unknown", L"high-speed-steel", L"carbide", L"coated-carbide", L"cermet", L"ceramic", L"cubic-boron-nitride",
    L"diamond",
};
static_assert(lengthOf(MATERIALS) == NCTool::MATERIAL_COUNT);

constexpr NCTool::ToolCategory OTHER = NCTool::TOOL_CATEGORY_OTHER;
constexpr NCTool::ToolCategory MILLING = NCTool::TOOL_CATEGORY_MILLING;
constexpr NCTool::ToolCategory HOLE = NCTool::TOOL_CATEGORY_HOLE_MAKING;
constexpr NCTool::ToolCategory TURNING = NCTool::TOOL_CATEGORY_TURNING;
constexpr NCTool::ToolCategory PROBING = NCTool::TOOL_CATEGORY_PROBING;
constexpr NCTool::ToolCategory JET = NCTool::TOOL_CATEGORY_JET;
constexpr NCTool::ToolCategory DEPOSITING = NCTool::TOOL_CATEGORY_DEPOSITING;

// Indexed by ToolGeometry::Type.
constexpr NCTool::ToolCategory CATEGORIES[] = {
    OTHER, //                        0 undefined
    HOLE, HOLE, HOLE, //             1 drill, center drill, spot drill
    MILLING, MILLING, MILLING, //    4 engraving tool, flat end, ball end
    MILLING, MILLING, MILLING, //    7 lollipop, bullnose, chamfer
    MILLING, MILLING, MILLING, //   10 face, slot, radius
    MILLING, MILLING, //            13 dovetail, tapered
    HOLE, HOLE, HOLE, HOLE, //      15 right and left hand taps, reamer, boring bar
    HOLE, HOLE, //                  19 counter bore, counter sink
    MILLING, MILLING, MILLING, //   21 thread, form, barrel
    MILLING, //                     24 circle segment
    HOLE, HOLE, HOLE, HOLE, //      25 boring head, back boring tool, gun drill, step drill
    TURNING, TURNING, TURNING, //   29 general, boring, grooving
    TURNING, TURNING, TURNING, //   32 boring grooving, parting, threading
    TURNING, TURNING, TURNING, //   35 boring threading, form, button
    PROBING, PROBING, //            38 probe, turning probe
    JET, JET, JET, //               40 waterjet, laser, plasma
    DEPOSITING, DEPOSITING, //      43 wire, powder
    DEPOSITING, //                  45 filament
    OTHER, //                       46 custom
};
static_assert(lengthOf(CATEGORIES) == ToolGeometry::TYPE_COUNT);

template <class Enumeration, std::size_t N>
Validified<Enumeration> parse(wchar_t const* const (&names)[N], std::wstring_view text)
{
    for (unsigned int value = 0; value < N; ++value)
        if (text == names[value])
            return static_cast<Enumeration>(value);
    return {};
}

} // namespace

std::wstring NCTool::getCoolantAsString(Coolant coolant)
{
    return coolant < COOLANT_COUNT ? COOLANTS[coolant] : L"";
}

std::wstring NCTool::getMaterialAsString(Material material)
{
    return material < MATERIAL_COUNT ? MATERIALS[material] : L"";
}

Validified<NCTool::Coolant> NCTool::getAsCoolant(std::wstring_view text)
{
    return parse<Coolant>(COOLANTS, text);
}

Validified<NCTool::Material> NCTool::getAsMaterial(std::wstring_view text)
{
    return parse<Material>(MATERIALS, text);
}

NCTool::ToolCategory NCTool::getToolCategory(ToolGeometry::Type type) noexcept
{
    return ToolGeometry::isType(type) ? CATEGORIES[type] : TOOL_CATEGORY_OTHER;
}

void NCTool::setSpindleRPM(double newSpindleSpeed)
{
    QUARN_ASSERT(newSpindleSpeed >= 0);
    spindleRPM = newSpindleSpeed;
}

void NCTool::setRampingSpindleRPM(double newRampingSpindleSpeed)
{
    QUARN_ASSERT(newRampingSpindleSpeed >= 0);
    rampingSpindleRPM = newRampingSpindleSpeed;
}

void NCTool::convertToUnit(NCUnit::Unit unit)
{
    double factor = NCUnit::getUnitConversionFactor(getUnit(), unit);
    for (double* length : {&surfaceSpeed, &minimumDiameter, &maximumAxialStep, &maximumRadialStep, &cutHeight,
                           &pierceHeight})
        *length *= factor;
    ToolGeometry::convertToUnit(unit);
}

bool NCTool::isSame(NCTool const& other, ComparisonOptions const& options) const
{
    auto geometry = [](NCTool const& t) {
        return std::tie(static_cast<ToolGeometry const&>(t), t.numberOfFlutes, t.boringBarOrientation,
                        t.minimumDiameter);
    };
    auto numbering = [](NCTool const& t) {
        return std::tie(t.number, t.turret, t.holderNumber, t.stationNumber, t.halfIndex, t.customId,
                        t.diameterOffset, t.lengthOffset, t.secondaryLengthOffset, t.compensationOffset,
                        t.secondaryCompensationOffset);
    };
    auto spindle = [](NCTool const& t) {
        return std::tie(t.spindleMode, t.spindleRPM, t.rampingSpindleRPM, t.spindleDirection, t.surfaceSpeed,
                        t.maximumSpindleSpeed, t.maximumRotationalSpeed, t.liveTool, t.nestedLiveTool);
    };
    auto coolantAndMaterial = [](NCTool const& t) { return std::tie(t.coolant, t.material); };
    auto usage = [](NCTool const& t) {
        return std::tie(t.capabilities, t.maximumRampAngle, t.maximumAxialStep, t.maximumRadialStep,
                        t.manualToolChange, t.breakControl);
    };
    auto texts = [](NCTool const& t) {
        return std::tie(t.toolId, t.description, t.comment, t.vendor, t.productId, t.productLink,
                        t.nestedDescription, t.nestedComment, t.nestedVendor, t.nestedProductId,
                        t.nestedProductLink, t.chuckCollect, t.customToolPath, t.aggregateId);
    };
    auto jet = [](NCTool const& t) {
        return std::tie(t.machineQualityControl, t.cutHeight, t.pierceHeight, t.pressure, t.pierceTime,
                        t.abrasiveFlowRate, t.piercePower, t.cutPower, t.assistGas);
    };
    return (!options.geometry || geometry(*this) == geometry(other))
        && (!options.numbering || numbering(*this) == numbering(other))
        && (!options.spindle || spindle(*this) == spindle(other))
        && (!options.coolantAndMaterial || coolantAndMaterial(*this) == coolantAndMaterial(other))
        && (!options.usage || usage(*this) == usage(other)) && (!options.texts || texts(*this) == texts(other))
        && (!options.jet || jet(*this) == jet(other));
}

} // namespace Quarn
