// The full context, tool and program of the compact NCI tests.
#include "tests/nc/io/CompactNCITesting.h"

#include "nc/nc/machinedata/AxisOrdering.h"
#include "nc/nc/machinedata/AxisValues.h"
#include "util/utility/math/Point3D.h"
#include "util/utility/math/TaggedFrame.h"

namespace Quarn::TestSupport {

NCContext fullContext()
{
    Matrix3x3 const turned({0, 1, 0}, {-1, 0, 0}, {0, 0, 1});
    Matrix3x3 const tilted({1, 0, 0}, {0, 0, 1}, {0, -1, 0});
    NCContext c;
    c.setType(NCContext::TYPE_MILL_TURN);
    c.setUnknownSystem(true);
    c.setUnit(NCUnit::INCHES);
    c.setToolAxis(NCContext::TOOL_AXIS_X);
    c.setCompensation(NCContext::COMPENSATION_CENTER);
    c.setOrigin({1, 2, 3});
    c.setPlane(turned);
    c.setWorkName(L"G54 \U0001F600");
    c.setWCSOrigin({4, 5, 6});
    c.setWCSPlane(tilted);
    c.setDynamicWCSOrigin({7, 8, 9});
    c.setDynamicWCSPlane(turned);
    c.setFixtureName(L"vise");
    c.setFCSOrigin({10, 11, 12});
    c.setFCSPlane(tilted);
    c.setModelOrigin({13, 14, 15});
    c.setModelPlane(turned);
    c.setTurningToolOrientation(0.1);
    c.setTiltMode(NCContext::TILT_TOOL_CENTER_POINT);
    c.setJetMode(NCContext::JET_ETCHING);
    c.setAxisSubstitution(true);
    c.setAxisSubstitutionRadius(30.0);
    c.setWorkOffset(3);
    c.setDynamicWorkOffset(4);
    c.setDisjoint(true);
    c.setQuality(5);
    c.setTailstock(true);
    c.setPartCatcher(true);
    c.setSpindle(2);
    c.setFeedMode(NCContext::FEED_PER_REVOLUTION);
    c.setInternalId(11);
    c.setInternalGroupId(12);
    c.setPatternId(13);
    c.setOptional(true);
    c.setMultiAxisMode(NCContext::MULTI_AXIS_UNCHECKED);
    c.setForceToolChange(true);
    c.setChannel(3);
    return c;
}

NCTool fullTool()
{
    NCTool t;
    t.setType(ToolGeometry::BULLNOSE_END_MILL);
    t.setUnit(NCUnit::INCHES);
    t.setDiameter(0.1);
    t.setCornerRadius(0.2);
    t.setTaperAngle(0.3);
    t.setTipAngle(118.5);
    t.setFluteLength(0.4);
    t.setShoulderLength(0.5);
    t.setBodyLength(0.6);
    t.setShaftDiameter(0.7);
    std::vector<ToolGeometry::ShaftSection> sections;
    for (int i = 0; i < 30; ++i)
        sections.push_back({1.0 + i, 0.5 * i});
    t.setShaftSections(sections);
    t.setThreadPitch(1.25);
    t.setNumberOfTeeth(4);
    t.setLength(75.1);
    t.setJetDiameter(0.8);
    t.setJetDistance(0.9);
    t.setKerfWidth(1.1);
    t.setBeadWidth(1.2);
    t.setLayerThickness(1.3);
    t.setStandoffDistance(1.4);
    t.setTurningRegion({{-1.5, -1.6}, {1.7, 1.8}});
    t.setToolId(L"T-\U0001F527");
    t.setNumber(21);
    t.setTurret(22);
    t.setHolderNumber(23);
    t.setSpindleMode(NCTool::SPINDLE_MODE_SURFACE_SPEED);
    t.setSpindleRPM(1234.5);
    t.setRampingSpindleRPM(987.6);
    t.setSpindleDirection(false);
    t.setSurfaceSpeed(150.1);
    t.setMaximumSpindleSpeed(8000.1);
    t.setDiameterOffset(24);
    t.setLengthOffset(25);
    t.setSecondaryLengthOffset(26);
    t.setCompensationOffset(27);
    t.setSecondaryCompensationOffset(28);
    t.setManualToolChange(true);
    t.setBreakControl(true);
    t.setLiveTool(false);
    t.setCoolant(NCTool::COOLANT_THROUGH_TOOL);
    t.setMaterial(NCTool::MATERIAL_COATED_CARBIDE);
    t.setCapabilities(NCTool::CAPABLE_OF_ROUGHING);
    t.setNumberOfFlutes(3);
    t.setBoringBarOrientation(45.1);
    t.setDescription(L"bull nose");
    t.setComment(L"comment");
    t.setVendor(L"vendor");
    t.setProductId(L"product");
    t.setProductLink(L"https://example.com/product");
    t.setNestedDescription(L"holder");
    t.setNestedComment(L"holder comment");
    t.setNestedVendor(L"holder vendor");
    t.setNestedProductId(L"holder product");
    t.setNestedProductLink(L"https://example.com/holder");
    t.setNestedLiveTool(true);
    t.setChuckCollect(L"ER32");
    t.setCustomToolPath(L"/tools/custom");
    t.setCustomId(29);
    t.setAggregateId(L"aggregate");
    t.setMinimumDiameter(2.1);
    t.setMaximumRampAngle(3.1);
    t.setMaximumAxialStep(4.1);
    t.setMaximumRadialStep(5.1);
    t.setMachineQualityControl(L"fine");
    t.setCutHeight(6.1);
    t.setPierceHeight(7.1);
    t.setPressure(8.1);
    t.setPierceTime(9.1);
    t.setAbrasiveFlowRate(10.1);
    t.setPiercePower(11.1);
    t.setCutPower(12.1);
    t.setAssistGas(L"nitrogen");
    t.setHalfIndex(true);
    t.setStationNumber(30);
    t.setMaximumRotationalSpeed(2000.1);
    return t;
}

bool sendEveryRecord(NCStream& s)
{
    AxisOrdering const ordering {AxisInfo("head", "A"), AxisInfo("table", "C")};
    AxisValues const values {AxisValue(10.0), AxisValue(-20.1)};
    TaggedFrame const frame("fixture", "world", Frame({1.1, 2, 3}, {0, 1, 0}, {0, 0, 1}));
    Vector3D const points[] = {{0, 0, 0}, {1, 1, 0}};
    double const knots[] = {0, 0, 1, 1};
    Vector3D const z(0, 0, 1), x(1, 0, 0), n(0, 1, 0);
    unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING) | NCStream::FLAG_COMPENSATION_LEFT;

    return s.onOpen() && s.onContext(fullContext()) && s.onTool(fullTool()) && s.onSection()
        && s.passThrough(L"wide pass \U0001F600") && s.passThrough("narrow pass") && s.onComment(L"wide comment")
        && s.onComment("narrow comment") && s.onCommand(NCStream::COMMAND_COOLANT_ON) && s.onToolpathEntityIndex({3, 4})
        && s.onMachineCommand(42) && s.onCoolant(2, NCStream::COOLANT_LEVEL_HIGH) && s.onSpindleSpeed(12000.0)
        && s.onRadiusCompensationMode(true) && s.onRadiusCompensation(NCStream::COMPENSATION_LEFT)
        && s.onParameter("point", Point3D(0.1, 0.2, 0.3))
        && s.onParameter("kinded", 2.5, NCStream::PARAMETER_KIND_LENGTH) && s.onParameter("double", 0.1)
        && s.onParameter("int", -3) && s.onParameter("wide", L"wide value") && s.onParameter("narrow", "narrow value")
        && s.onStock({-1, -1, -1}, {1, 1, 1}) && s.onToolChange() && s.onGroup("group") && s.onTurnGroup("turn group")
        && s.onTurnGroupEnd() && s.onGroupEnd() && s.onDwell(1.5, NCStream::FLAG_DWELL_REVOLUTIONS)
        && s.onRapid({0, 0, 10}, 0) && s.onRapid5D({1, 0, 10}, z, x, n, 0) && s.onRapid5D({2, 0, 10}, z, 0)
        && s.onLinear({3, 0, 0}, 100.0, cut) && s.onLinear5D({4, 0, 0}, z, x, n, 110.0, cut)
        && s.onLinear5D({5, 0, 0}, z, 120.0, cut) && s.onLinearExtrude({6, 0, 0}, 130.0, 0.5)
        && s.onCWArc({6, 1, 0}, {6, 2, 0}, z, 140.0, cut) && s.onCCWArc({6, 3, 0}, {6, 4, 0}, z, 150.0, cut)
        && s.onCircular({6, 5, 0}, {6, 6, 0}, z, -1.5, 160.0, cut)
        && s.onCWArcExtrude({7, 1, 0}, {7, 2, 0}, z, 170.0, 0.25, cut)
        && s.onCCWArcExtrude({7, 3, 0}, {7, 4, 0}, z, 180.0, 0.75, cut)
        && s.onCircularExtrude({7, 5, 0}, {7, 6, 0}, z, 2.5, 190.0, 0.125, cut)
        && s.onCWCircle({8, 1, 0}, {8, 2, 0}, z, 200.0, cut) && s.onCCWCircle({8, 3, 0}, {8, 4, 0}, z, 210.0, cut)
        && s.onSpline({9, 1, 0}, {9, 2, 0}, {9, 3, 0}, 220.0, cut)
        && s.onBezier({9, 4, 0}, {9, 5, 0}, {9, 6, 0}, 230.0, cut) && s.onNURBS(points, 2, knots, 4, 240.0, cut)
        && s.onSkip() && s.onLineNumber(77) && s.onMachineAxisOrdering(ordering) && s.onMachineAxisValues(values)
        && s.onFrame(frame) && s.onSectionEnd() && s.onClose();
}

} // namespace Quarn::TestSupport
