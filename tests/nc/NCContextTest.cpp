// NCContext: defaults, transformations, comparison, coordinate systems and axis substitution.
#include "nc/nc/NCContext.h"

#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

using namespace Quarn;

namespace {

// 90 degrees about Z: x goes to y.
Matrix3x3 const QUARTER_TURN_Z {Vector3D {0, 1, 0}, Vector3D {-1, 0, 0}, Vector3D {0, 0, 1}};

Matrix3x3 rotationAboutX(double angle)
{
    return {Vector3D {1, 0, 0}, Vector3D {0, std::cos(angle), std::sin(angle)},
        Vector3D {0, -std::sin(angle), std::cos(angle)}};
}

void expectNear(Vector3D const& actual, Vector3D const& expected, double tolerance = 1e-12)
{
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

void expectNear(Matrix4x4 const& actual, Matrix4x4 const& expected, double tolerance)
{
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            EXPECT_NEAR(actual(row, column), expected(row, column), tolerance) << row << "," << column;
}

} // namespace

TEST(NCContext, DefaultIsAMillimetreContextOnZWithoutOffsets)
{
    NCContext context;
    EXPECT_EQ(context.getToolAxis(), NCContext::TOOL_AXIS_Z);
    EXPECT_EQ(context.getToolAxisVector(), Vector3D(0, 0, 1));
    EXPECT_EQ(context.getUnit(), NCUnit::MILLIMETERS);
    EXPECT_EQ(context.getDynamicWorkOffset(), NCContext::NO_DYNAMIC_WORK_OFFSET);
    EXPECT_EQ(NCContext::NO_DYNAMIC_WORK_OFFSET, 4294967295u);
    EXPECT_EQ(context.getEffectiveWorkOffset(), 0u);
    EXPECT_EQ(context.getTransformation(), Matrix4x4());
    EXPECT_EQ(context.getGlobalTransformation(), Matrix4x4());
    EXPECT_EQ(context.getAxisSubstitutionRadius(), std::numeric_limits<double>::infinity());
    EXPECT_TRUE(context.isSame(NCContext()));
}

TEST(NCContext, EffectiveWorkOffsetPrefersTheDynamicOne)
{
    struct Row {
        unsigned int work, dynamic, effective;
    };
    for (Row row : {Row {3, NCContext::NO_DYNAMIC_WORK_OFFSET, 3}, Row {3, 0, 0}, Row {3, 7, 7}}) {
        NCContext context;
        context.setWorkOffset(row.work);
        context.setDynamicWorkOffset(row.dynamic);
        EXPECT_EQ(context.getEffectiveWorkOffset(), row.effective) << row.dynamic;
    }
}

TEST(NCContext, ToolAxisSelectsVectorAndComponent)
{
    struct Row {
        unsigned int axis;
        Vector3D vector;
        double component;
    };
    Vector3D const v {4, 5, 6};
    for (Row row : {Row {0, {1, 0, 0}, 4}, Row {1, {0, 1, 0}, 5}, Row {2, {0, 0, 1}, 6}, Row {9, {0, 0, 1}, 6}}) {
        NCContext context;
        context.setToolAxis(static_cast<NCContext::ToolAxis>(row.axis));
        EXPECT_EQ(context.getToolAxisVector(), row.vector) << row.axis;
        EXPECT_EQ(context.getAxis(v), row.component) << row.axis;
    }
}

TEST(NCContext, InchContextIsScaledEvenWithZeroOrigin)
{
    NCContext context;
    context.setUnit(NCUnit::INCHES);
    EXPECT_EQ(context.getTransformation(), Matrix4x4::makeUniformScale(25.4));
    EXPECT_EQ(context.getWCSTransformation(), Matrix4x4::makeUniformScale(25.4));
    expectNear(context.getTransformation().transformPoint({1, 2, 3}), {25.4, 50.8, 76.2});
}

TEST(NCContext, TransformationsApplyOriginAndPlaneThenScale)
{
    for (NCUnit::Unit unit : {NCUnit::MILLIMETERS, NCUnit::INCHES}) {
        double f = unit == NCUnit::INCHES ? 25.4 : 1.0;
        NCContext context;
        context.setUnit(unit);
        context.setOrigin({10, 20, 30});
        context.setPlane(QUARTER_TURN_Z);
        context.setWCSOrigin({-1, 0, 2});
        context.setWCSPlane(rotationAboutX(std::numbers::pi / 2));
        expectNear(context.getTransformation().transformPoint({1, 0, 0}), Vector3D {10, 21, 30} * f);
        expectNear(context.getWCSTransformation().transformPoint({0, 1, 0}), Vector3D {-1, 0, 3} * f);
        expectNear(context.getTransformation().transformDirection({1, 0, 0}), Vector3D {0, f, 0});
    }
    NCContext millimetres;
    millimetres.setOrigin({10, 20, 30});
    millimetres.setPlane(QUARTER_TURN_Z);
    EXPECT_EQ(millimetres.getTransformation(), millimetres.getWork());
}

TEST(NCContext, EachSystemIsItsOriginAndPlaneAsOneMatrix)
{
    using SetSystem = void (NCContext::*)(Matrix4x4 const&) noexcept;
    using GetSystem = Matrix4x4 (NCContext::*)() const noexcept;
    using GetOrigin = Vector3D const& (NCContext::*)() const noexcept;
    using GetPlane = Matrix3x3 const& (NCContext::*)() const noexcept;
    struct Row {
        char const* name;
        SetSystem set;
        GetSystem get;
        GetOrigin origin;
        GetPlane plane;
    };
    Row const rows[] = {
        {"work", &NCContext::setWork, &NCContext::getWork, &NCContext::getOrigin, &NCContext::getPlane},
        {"WCS", &NCContext::setWCS, &NCContext::getWCS, &NCContext::getWCSOrigin, &NCContext::getWCSPlane},
        {"dynamic WCS", &NCContext::setDynamicWCS, &NCContext::getDynamicWCS, &NCContext::getDynamicWCSOrigin,
            &NCContext::getDynamicWCSPlane},
        {"FCS", &NCContext::setFCS, &NCContext::getFCS, &NCContext::getFCSOrigin, &NCContext::getFCSPlane},
        {"model", &NCContext::setModel, &NCContext::getModel, &NCContext::getModelOrigin, &NCContext::getModelPlane},
    };
    Matrix4x4 system(QUARTER_TURN_Z);
    system.setTranslation({1, 2, 3});
    for (Row const& row : rows) {
        NCContext context;
        (context.*row.set)(system);
        EXPECT_EQ((context.*row.origin)(), Vector3D(1, 2, 3)) << row.name;
        EXPECT_EQ((context.*row.plane)(), QUARTER_TURN_Z) << row.name;
        EXPECT_EQ((context.*row.get)(), system) << row.name;
        EXPECT_NE(context, NCContext()) << row.name;
    }
}

TEST(NCContext, ZX2XYTransformTurnsTheLathePlaneIntoXY)
{
    Matrix3x3 const& transform = NCContext::getZX2XYTransform();
    EXPECT_EQ(transform * Vector3D(1, 2, 3), Vector3D(3, 1, 2));
    EXPECT_EQ(transform.getDeterminant(), 1.0);
    EXPECT_EQ(&transform, &NCContext::getZX2XYTransform());
}

TEST(NCContext, AxisSubstitutionRadiusIsStoredAsItsReciprocal)
{
    struct Row {
        double radius, stored, readBack;
    };
    for (Row row : {Row {4, 0.25, 4}, Row {0, -1, -1}, Row {-2, -1, -1}}) {
        NCContext context;
        context.setAxisSubstitutionRadius(row.radius);
        EXPECT_EQ(context.getInverseAxisSubstitutionRadius(), row.stored) << row.radius;
        EXPECT_EQ(context.getAxisSubstitutionRadius(), row.readBack) << row.radius;
    }
}

TEST(NCContext, IsSameToleratesOnlyTinyGeometricDifferences)
{
    using Shift = std::function<void(NCContext&, double)>;
    struct Row {
        char const* name;
        Shift shift;
    };
    auto plane = [](double d) { return Matrix3x3(Vector3D {1, d, 0}, Vector3D {0, 1, 0}, Vector3D {0, 0, 1}); };
    Row const rows[] = {
        {"origin",
            [](NCContext& c, double d) {
                c.setOrigin({d, 0, 0});
            }},
        {"WCS origin",
            [](NCContext& c, double d) {
                c.setWCSOrigin({0, d, 0});
            }},
        {"plane", [&](NCContext& c, double d) { c.setPlane(plane(d)); }},
        {"WCS plane", [&](NCContext& c, double d) { c.setWCSPlane(plane(d)); }},
        {"dynamic WCS plane", [&](NCContext& c, double d) { c.setDynamicWCSPlane(plane(d)); }},
        {"FCS plane", [&](NCContext& c, double d) { c.setFCSPlane(plane(d)); }},
    };
    for (Row const& row : rows) {
        NCContext near, far;
        row.shift(near, 1e-10);
        row.shift(far, 1e-8);
        EXPECT_TRUE(NCContext().isSame(near)) << row.name;
        EXPECT_FALSE(NCContext().isSame(far)) << row.name;
        EXPECT_NE(NCContext(), near) << row.name;
    }
}

TEST(NCContext, IsSameComparesModesExactlyAndIgnoresNamesAndOtherSystems)
{
    using Change = std::function<void(NCContext&)>;
    Change const compared[] = {
        [](NCContext& c) { c.setUnknownSystem(true); },
        [](NCContext& c) { c.setTurningToolOrientation(1e-300); },
        [](NCContext& c) { c.setUnit(NCUnit::INCHES); },
        [](NCContext& c) { c.setToolAxis(NCContext::TOOL_AXIS_X); },
        [](NCContext& c) { c.setCompensation(NCContext::COMPENSATION_CENTER); },
        [](NCContext& c) { c.setAxisSubstitution(true); },
        [](NCContext& c) { c.setAxisSubstitutionRadius(5); },
        [](NCContext& c) { c.setWorkOffset(1); },
        [](NCContext& c) { c.setDynamicWorkOffset(0); },
        [](NCContext& c) { c.setDisjoint(true); },
        [](NCContext& c) { c.setQuality(2); },
        [](NCContext& c) { c.setTailstock(true); },
        [](NCContext& c) { c.setPartCatcher(true); },
        [](NCContext& c) { c.setSpindle(1); },
        [](NCContext& c) { c.setFeedMode(NCContext::FEED_PER_REVOLUTION); },
        [](NCContext& c) { c.setInternalId(11); },
        [](NCContext& c) { c.setInternalGroupId(12); },
        [](NCContext& c) { c.setPatternId(13); },
        [](NCContext& c) { c.setOptional(true); },
        [](NCContext& c) { c.setMultiAxisMode(NCContext::MULTI_AXIS_UNCHECKED); },
        [](NCContext& c) { c.setForceToolChange(true); },
        [](NCContext& c) { c.setChannel(2); },
    };
    Change const ignored[] = {
        [](NCContext& c) { c.setType(NCContext::TYPE_TURNING); },
        [](NCContext& c) { c.setWorkName(L"G54"); },
        [](NCContext& c) {
            c.setFCSOrigin({1, 0, 0});
        },
        [](NCContext& c) { c.setModelPlane(QUARTER_TURN_Z); },
        [](NCContext& c) { c.setJetMode(NCContext::JET_ETCHING); },
    };
    for (std::size_t i = 0; i < std::size(compared); ++i) {
        NCContext changed;
        compared[i](changed);
        EXPECT_FALSE(NCContext().isSame(changed)) << "compared " << i;
        EXPECT_NE(NCContext(), changed) << "compared " << i;
    }
    for (std::size_t i = 0; i < std::size(ignored); ++i) {
        NCContext changed;
        ignored[i](changed);
        EXPECT_TRUE(NCContext().isSame(changed)) << "ignored " << i;
        EXPECT_NE(NCContext(), changed) << "ignored " << i;
    }
}

TEST(NCContext, CylindricalCoordinatesTurnAboutTheToolAxis)
{
    struct Row {
        NCContext::ToolAxis axis;
        Vector3D rectangular; // radius 2 at +90 degrees, height 5
    };
    double const quarter = std::numbers::pi / 2;
    for (Row row : {Row {NCContext::TOOL_AXIS_Z, {0, 2, 5}}, Row {NCContext::TOOL_AXIS_X, {5, 0, 2}},
             Row {NCContext::TOOL_AXIS_Y, {2, 5, 0}}}) {
        NCContext context;
        context.setToolAxis(row.axis);
        expectNear(context.rectangularToCylindrical(row.rectangular), {2, quarter, 5});
        expectNear(context.cylindricalToRectangular({2, quarter, 5}), row.rectangular);
        expectNear(
            context.cylindricalToRectangular(context.rectangularToCylindrical({-1.5, 0.25, 7})), {-1.5, 0.25, 7});
    }
}

TEST(NCContext, ReplacedAxisWrapsTheFlatProgramOntoTheCylinder)
{
    NCContext context;
    double const radius = 10;
    // A quarter of the circumference along Y at radial distance 10 reaches the Y axis.
    expectNear(context.getReplacedAxis({10, radius * std::numbers::pi / 2, 3}, radius), {0, 10, 3});
    // The radial distance is kept; the arc length is measured at the substitution radius.
    expectNear(context.getReplacedAxis({20, radius * std::numbers::pi, -1}, radius), {-20, 0, -1});

    TestSupport::AssertionCapture capture;
    context.getReplacedAxis({1, 1, 1}, 0);
    ASSERT_EQ(capture.texts(), std::vector<std::string> {"EXPECTS:radius > 0"});
    EXPECT_EQ(capture.reports()[0].file, "nc/nc/NCContext");
}

TEST(NCContext, WorkViewConvertedToWCSKeepsTheGlobalTransformation)
{
    NCContext context;
    context.setUnit(NCUnit::INCHES);
    context.setWCSOrigin({100, 0, 0});
    context.setWCSPlane(QUARTER_TURN_Z);
    context.setOrigin({100, 50, 10});
    context.setPlane(rotationAboutX(0.3));
    EXPECT_EQ(context.getOriginInWCS(), Vector3D(0, 50, 10));
    Matrix3x3 const planeInWCS = context.getPlaneInWCS();
    Matrix4x4 const before = context.getTransformation();

    context.convertWorkViewToWCS();
    expectNear(context.getOrigin(), {50, 0, 10});
    EXPECT_EQ(context.getPlane(), planeInWCS);
    expectNear(QUARTER_TURN_Z * context.getPlane().getUp(), rotationAboutX(0.3).getUp());
    expectNear(context.getGlobalTransformation(), before, 1e-9);
}

TEST(NCContext, MakeNiceViewsSnapsNearlyAxisAlignedPlanes)
{
    NCContext context;
    context.setPlane({Vector3D {1, 1e-9, 0}, Vector3D {-1e-9, 1, 0}, Vector3D {0, 0, 1 + 1e-10}});
    context.setWCSPlane({Vector3D {1e-9, 1, 0}, Vector3D {-1, 0, 0}, Vector3D {0, 0, 1}});
    // A mirrored plane stays mirrored.
    context.setFCSPlane({Vector3D {1, 0, 0}, Vector3D {0, -1 + 1e-9, 0}, Vector3D {0, 0, 1}});
    // Components far from 0 and 1 are kept; the plane only becomes orthonormal.
    double const c = std::cos(0.5), s = std::sin(0.5);
    context.setModelPlane({Vector3D {c, s, 1e-9}, Vector3D {-s, c, 0}, Vector3D {0, 0, 1}});

    context.makeNiceViews(1e-6);
    EXPECT_EQ(context.getPlane(), Matrix3x3());
    EXPECT_EQ(context.getWCSPlane(), QUARTER_TURN_Z);
    EXPECT_EQ(context.getFCSPlane(), Matrix3x3(Vector3D {1, 0, 0}, Vector3D {0, -1, 0}, Vector3D {0, 0, 1}));
    EXPECT_EQ(context.getDynamicWCSPlane(), Matrix3x3());
    Matrix3x3 const model = context.getModelPlane();
    EXPECT_EQ(model.getRight().z, 0.0);
    expectNear(model.getRight(), {c, s, 0});
    EXPECT_NEAR(model.getRight().dot(model.getUp()), 0.0, 1e-15);
    EXPECT_NEAR(model.getDeterminant(), 1.0, 1e-15);
}
