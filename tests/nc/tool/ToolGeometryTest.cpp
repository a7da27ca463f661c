// ToolGeometry: the numbering, identifiers and kinds of all types, and unit conversion.
#include "nc/nc/tool/ToolGeometry.h"

#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

using namespace Quarn;

namespace {

// Kinds as letters: T turning, J jet, D depositing, P probe, M milling, H hole making.
struct TypeRow {
    ToolGeometry::Type type;
    unsigned int number;
    wchar_t const* name;
    char const* kinds;
};

constexpr TypeRow TYPE_ROWS[] = {
    {ToolGeometry::UNDEFINED, 0, L"undefined", ""},
    {ToolGeometry::DRILL, 1, L"drill", "H"},
    {ToolGeometry::CENTER_DRILL, 2, L"center-drill", "H"},
    {ToolGeometry::SPOT_DRILL, 3, L"spot-drill", "H"},
    {ToolGeometry::ENGRAVING_TOOL, 4, L"engraving-tool", "M"},
    {ToolGeometry::FLAT_END_MILL, 5, L"flat-end-mill", "M"},
    {ToolGeometry::BALL_END_MILL, 6, L"ball-end-mill", "M"},
    {ToolGeometry::LOLLIPOP_MILL, 7, L"lollipop-mill", "M"},
    {ToolGeometry::BULLNOSE_END_MILL, 8, L"bullnose-end-mill", "M"},
    {ToolGeometry::CHAMFER_MILL, 9, L"chamfer-mill", "M"},
    {ToolGeometry::FACE_MILL, 10, L"face-mill", "M"},
    {ToolGeometry::SLOT_MILL, 11, L"slot-mill", "M"},
    {ToolGeometry::RADIUS_MILL, 12, L"radius-mill", "M"},
    {ToolGeometry::DOVETAIL_MILL, 13, L"dovetail-mill", "M"},
    {ToolGeometry::TAPERED_MILL, 14, L"tapered-mill", "M"},
    {ToolGeometry::RIGHT_HAND_TAP, 15, L"right-hand-tap", "H"},
    {ToolGeometry::LEFT_HAND_TAP, 16, L"left-hand-tap", "H"},
    {ToolGeometry::REAMER, 17, L"reamer", "H"},
    {ToolGeometry::BORING_BAR, 18, L"boring-bar", "H"},
    {ToolGeometry::COUNTER_BORE, 19, L"counter-bore", "H"},
    {ToolGeometry::COUNTER_SINK, 20, L"counter-sink", "H"},
    {ToolGeometry::THREAD_MILL, 21, L"thread-mill", "M"},
    {ToolGeometry::FORM_MILL, 22, L"form-mill", "M"},
    {ToolGeometry::BARREL_MILL, 23, L"barrel-mill", "M"},
    {ToolGeometry::CIRCLE_SEGMENT_MILL, 24, L"circle-segment-mill", "M"},
    {ToolGeometry::BORING_HEAD, 25, L"boring-head", "H"},
    {ToolGeometry::BACK_BORING_TOOL, 26, L"back-boring-tool", "H"},
    {ToolGeometry::GUN_DRILL, 27, L"gun-drill", "H"},
    {ToolGeometry::STEP_DRILL, 28, L"step-drill", "H"},
    {ToolGeometry::TURNING_GENERAL, 29, L"turning-general", "T"},
    {ToolGeometry::TURNING_BORING, 30, L"turning-boring", "T"},
    {ToolGeometry::TURNING_GROOVING, 31, L"turning-grooving", "T"},
    {ToolGeometry::TURNING_BORING_GROOVING, 32, L"turning-boring-grooving", "T"},
    {ToolGeometry::TURNING_PARTING, 33, L"turning-parting", "T"},
    {ToolGeometry::TURNING_THREADING, 34, L"turning-threading", "T"},
    {ToolGeometry::TURNING_BORING_THREADING, 35, L"turning-boring-threading", "T"},
    {ToolGeometry::TURNING_FORM, 36, L"turning-form", "T"},
    {ToolGeometry::TURNING_BUTTON, 37, L"turning-button", "T"},
    {ToolGeometry::PROBE, 38, L"probe", "P"},
    {ToolGeometry::PROBE_TURNING, 39, L"probe-turning", "TP"},
    {ToolGeometry::WATERJET, 40, L"waterjet", "J"},
    {ToolGeometry::LASER_CUTTER, 41, L"laser-cutter", "J"},
    {ToolGeometry::PLASMA_CUTTER, 42, L"plasma-cutter", "J"},
    {ToolGeometry::DEPOSITING_WIRE, 43, L"depositing-wire", "D"},
    {ToolGeometry::DEPOSITING_POWDER, 44, L"depositing-powder", "D"},
    {ToolGeometry::DEPOSITING_FILAMENT, 45, L"depositing-filament", "D"},
    {ToolGeometry::CUSTOM, 46, L"custom", ""},
};
static_assert(std::size(TYPE_ROWS) == ToolGeometry::TYPE_COUNT);

// Each kind as its letter, its predicate on a type and on a record.
struct Kind {
    char letter;
    bool (*ofType)(ToolGeometry::Type) noexcept;
    bool (ToolGeometry::*ofTool)() const noexcept;
};

Kind const KINDS[] = {
    {'T', &ToolGeometry::isTurning, &ToolGeometry::isTurning},
    {'J', &ToolGeometry::isJetCutter, &ToolGeometry::isJetCutter},
    {'D', &ToolGeometry::isDepositing, &ToolGeometry::isDepositing},
    {'P', &ToolGeometry::isProbe, &ToolGeometry::isProbe},
    {'M', &ToolGeometry::isMilling, &ToolGeometry::isMilling},
    {'H', &ToolGeometry::isHoleMaking, &ToolGeometry::isHoleMaking},
};

std::string kindsOf(ToolGeometry::Type type)
{
    std::string kinds;
    for (Kind const& kind : KINDS)
        if (kind.ofType(type))
            kinds += kind.letter;
    return kinds;
}

std::string kindsOf(ToolGeometry const& tool)
{
    std::string kinds;
    for (Kind const& kind : KINDS)
        if ((tool.*kind.ofTool)())
            kinds += kind.letter;
    return kinds;
}

} // namespace

TEST(ToolGeometry, EveryTypeHasItsNumberNameAndKinds)
{
    for (TypeRow const& row : TYPE_ROWS) {
        SCOPED_TRACE(row.number);
        EXPECT_EQ(static_cast<unsigned int>(row.type), row.number);
        EXPECT_TRUE(ToolGeometry::isType(row.number));
        EXPECT_EQ(ToolGeometry::getTypeAsString(row.type), row.name);
        EXPECT_EQ(ToolGeometry::getAsType(row.name), row.type);
        EXPECT_EQ(kindsOf(row.type), row.kinds);
        ToolGeometry tool;
        tool.setType(row.type);
        EXPECT_EQ(kindsOf(tool), row.kinds);
    }
}

TEST(ToolGeometry, ValuesOutsideTheEnumerationHaveNoNameAndNoKind)
{
    auto const outside = static_cast<ToolGeometry::Type>(ToolGeometry::TYPE_COUNT);
    EXPECT_FALSE(ToolGeometry::isType(ToolGeometry::TYPE_COUNT));
    EXPECT_FALSE(ToolGeometry::isType(~0u));
    EXPECT_EQ(ToolGeometry::getTypeAsString(outside), L"");
    EXPECT_EQ(kindsOf(outside), "");
    for (wchar_t const* text : {L"", L"Drill", L"flat end mill", L"flat-end-mill ", L"47"})
        EXPECT_EQ(ToolGeometry::getAsType(text), std::nullopt) << text;

    TestSupport::AssertionCapture capture;
    ToolGeometry tool;
    tool.setType(outside);
    tool.setUnit(static_cast<NCUnit::Unit>(2));
    EXPECT_EQ(capture.texts(), (std::vector<std::string> {"EXPECTS:isType(value)", "EXPECTS:NCUnit::isUnit(value)"}));
}

TEST(ToolGeometry, ConvertToUnitScalesLengthsOnly)
{
    ToolGeometry tool;
    EXPECT_EQ(tool.getUnit(), NCUnit::MILLIMETERS);
    EXPECT_TRUE(tool.getTurningRegion().isNull());
    EXPECT_FALSE((ToolGeometry::Region {{0.0, 0.0}, {0.0, -1.0}}.isNull()));
    tool.setType(ToolGeometry::BULLNOSE_END_MILL);
    tool.setUnit(NCUnit::INCHES);
    tool.setDiameter(1.0);
    tool.setCornerRadius(2.0);
    tool.setTaperAngle(3.0);
    tool.setTipAngle(118.0);
    tool.setFluteLength(4.0);
    tool.setShoulderLength(5.0);
    tool.setBodyLength(6.0);
    tool.setShaftDiameter(7.0);
    tool.setShaftSections({{8.0, 9.0}, {10.0, 11.0}});
    tool.setThreadPitch(12.0);
    tool.setNumberOfTeeth(4);
    tool.setLength(13.0);
    tool.setJetDiameter(14.0);
    tool.setJetDistance(15.0);
    tool.setKerfWidth(16.0);
    tool.setBeadWidth(17.0);
    tool.setLayerThickness(18.0);
    tool.setStandoffDistance(19.0);
    tool.setTurningRegion({{-1.0, -2.0}, {3.0, 4.0}});
    ToolGeometry const inches = tool;

    tool.convertToUnit(NCUnit::MILLIMETERS);
    EXPECT_EQ(tool.getUnit(), NCUnit::MILLIMETERS);
    EXPECT_EQ(tool.getType(), ToolGeometry::BULLNOSE_END_MILL);
    EXPECT_EQ(tool.getDiameter(), 25.4);
    EXPECT_EQ(tool.getCornerRadius(), 2.0 * 25.4);
    EXPECT_EQ(tool.getTaperAngle(), 3.0);
    EXPECT_EQ(tool.getTipAngle(), 118.0);
    EXPECT_EQ(tool.getFluteLength(), 4.0 * 25.4);
    EXPECT_EQ(tool.getShoulderLength(), 5.0 * 25.4);
    EXPECT_EQ(tool.getBodyLength(), 6.0 * 25.4);
    EXPECT_EQ(tool.getShaftDiameter(), 7.0 * 25.4);
    EXPECT_EQ(tool.getShaftSections(),
        (std::vector<ToolGeometry::ShaftSection> {{8.0 * 25.4, 9.0 * 25.4}, {10.0 * 25.4, 11.0 * 25.4}}));
    EXPECT_EQ(tool.getThreadPitch(), 12.0 * 25.4);
    EXPECT_EQ(tool.getNumberOfTeeth(), 4u);
    EXPECT_EQ(tool.getLength(), 13.0 * 25.4);
    EXPECT_EQ(tool.getJetDiameter(), 14.0 * 25.4);
    EXPECT_EQ(tool.getJetDistance(), 15.0 * 25.4);
    EXPECT_EQ(tool.getKerfWidth(), 16.0 * 25.4);
    EXPECT_EQ(tool.getBeadWidth(), 17.0 * 25.4);
    EXPECT_EQ(tool.getLayerThickness(), 18.0 * 25.4);
    EXPECT_EQ(tool.getStandoffDistance(), 19.0 * 25.4);
    EXPECT_EQ(tool.getTurningRegion(), (ToolGeometry::Region {{-25.4, -2.0 * 25.4}, {3.0 * 25.4, 4.0 * 25.4}}));
    EXPECT_NE(tool, inches);

    ToolGeometry same = tool;
    same.convertToUnit(NCUnit::MILLIMETERS);
    EXPECT_EQ(same, tool);

    tool.convertToUnit(NCUnit::INCHES);
    EXPECT_EQ(tool.getUnit(), NCUnit::INCHES);
    EXPECT_DOUBLE_EQ(tool.getStandoffDistance(), 19.0);
    EXPECT_DOUBLE_EQ(tool.getShaftSections()[1].length, 11.0);
    EXPECT_EQ(tool.getTipAngle(), 118.0);
}
