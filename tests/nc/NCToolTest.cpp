// NCTool: defaults, speed preconditions, coolant and material texts, categories, units, comparison.
#include "nc/nc/NCTool.h"

#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

using namespace Quarn;

TEST(NCTool, DefaultsKeepTheDeliberateLiveToolLimitsAndCapabilities)
{
    NCTool tool;
    EXPECT_TRUE(tool.isLiveTool());
    EXPECT_TRUE(tool.getSpindleDirection());
    EXPECT_EQ(tool.getCapabilities(), 3u);
    EXPECT_TRUE(tool.isCapableOfFinishing());
    EXPECT_TRUE(tool.isCapableOfRoughing());
    EXPECT_EQ(tool.getNumberOfFlutes(), 1u);
    EXPECT_EQ(tool.getMaximumRampAngle(), 90.0);
    EXPECT_EQ(tool.getMaximumAxialStep(), 100.0);
    EXPECT_EQ(tool.getMaximumRadialStep(), 100.0);
    EXPECT_EQ(tool.getCoolant(), NCTool::COOLANT_NONE);
    EXPECT_EQ(tool.getMaterial(), NCTool::MATERIAL_UNKNOWN);
    EXPECT_FALSE(tool.isNestedLiveTool());
    EXPECT_EQ(tool.getType(), ToolGeometry::UNDEFINED);
    EXPECT_EQ(tool.getUnit(), NCUnit::MILLIMETERS);
    EXPECT_EQ(tool, NCTool());

    tool.setCapableOfFinishing(false);
    EXPECT_EQ(tool.getCapabilities(), 2u);
    tool.setCapableOfRoughing(false);
    tool.setCapableOfFinishing(true);
    EXPECT_EQ(tool.getCapabilities(), 1u);
}

TEST(NCTool, NegativeSpindleSpeedsAreReportedInTestMode)
{
    NCTool tool;
    TestSupport::AssertionCapture capture;
    tool.setSpindleRPM(0);
    tool.setRampingSpindleRPM(0);
    EXPECT_TRUE(capture.reports().empty());
    tool.setSpindleRPM(-1);
    tool.setRampingSpindleRPM(-2);
    EXPECT_EQ(capture.texts(), (std::vector<std::string> {"newSpindleSpeed >= 0", "newRampingSpindleSpeed >= 0"}));
    EXPECT_EQ(capture.reports()[0].file, "nc/nc/NCTool");
    // Release code goes on with the value given.
    EXPECT_EQ(tool.getSpindleRPM(), -1.0);
    EXPECT_EQ(tool.getRampingSpindleRPM(), -2.0);
}

TEST(NCTool, CoolantAndMaterialTextsRoundTrip)
{
    std::set<std::wstring> seen;
    auto checkText = [&](std::wstring const& text) {
        EXPECT_FALSE(text.empty());
        EXPECT_EQ(text.find_first_not_of(L"abcdefghijklmnopqrstuvwxyz-"), std::wstring::npos) << text;
        EXPECT_TRUE(seen.insert(text).second) << text;
    };
    for (unsigned int value = 0; value < NCTool::COOLANT_COUNT; ++value) {
        auto coolant = static_cast<NCTool::Coolant>(value);
        std::wstring text = NCTool::getCoolantAsString(coolant);
        checkText(text);
        EXPECT_EQ(NCTool::getAsCoolant(text), coolant);
    }
    seen.clear();
    for (unsigned int value = 0; value < NCTool::MATERIAL_COUNT; ++value) {
        auto material = static_cast<NCTool::Material>(value);
        std::wstring text = NCTool::getMaterialAsString(material);
        checkText(text);
        EXPECT_EQ(NCTool::getAsMaterial(text), material);
    }
    EXPECT_EQ(NCTool::getCoolantAsString(NCTool::COOLANT_THROUGH_TOOL), L"through-tool");
    EXPECT_EQ(NCTool::getMaterialAsString(NCTool::MATERIAL_HIGH_SPEED_STEEL), L"high-speed-steel");
    EXPECT_EQ(NCTool::getCoolantAsString(static_cast<NCTool::Coolant>(NCTool::COOLANT_COUNT)), L"");
    EXPECT_EQ(NCTool::getMaterialAsString(static_cast<NCTool::Material>(NCTool::MATERIAL_COUNT)), L"");
    for (wchar_t const* bad : {L"", L"Flood", L"through tool", L"flood ", L"carbide"})
        EXPECT_FALSE(NCTool::getAsCoolant(bad).isValid()) << bad;
    for (wchar_t const* bad : {L"", L"Carbide", L"hss", L"none"})
        EXPECT_FALSE(NCTool::getAsMaterial(bad).isValid()) << bad;
}

TEST(NCTool, ToolCategoryTableCoversEveryTypeAndDefaultsBeyond)
{
    struct Row {
        unsigned int type;
        NCTool::ToolCategory category;
    };
    Row const rows[] = {
        {0, NCTool::TOOL_CATEGORY_OTHER},
        {1, NCTool::TOOL_CATEGORY_HOLE_MAKING},
        {5, NCTool::TOOL_CATEGORY_MILLING},
        {29, NCTool::TOOL_CATEGORY_TURNING},
        {39, NCTool::TOOL_CATEGORY_PROBING},
        {40, NCTool::TOOL_CATEGORY_JET},
        {45, NCTool::TOOL_CATEGORY_DEPOSITING},
        {46, NCTool::TOOL_CATEGORY_OTHER},
        {47, NCTool::TOOL_CATEGORY_OTHER},
        {1000, NCTool::TOOL_CATEGORY_OTHER},
    };
    for (Row row : rows)
        EXPECT_EQ(NCTool::getToolCategory(static_cast<ToolGeometry::Type>(row.type)), row.category) << row.type;

    // The table agrees with the kinds of the geometry, the turning probe counting as a probe.
    for (unsigned int value = 0; value < ToolGeometry::TYPE_COUNT; ++value) {
        auto type = static_cast<ToolGeometry::Type>(value);
        NCTool::ToolCategory expected = ToolGeometry::isProbe(type) ? NCTool::TOOL_CATEGORY_PROBING
            : ToolGeometry::isMilling(type)                         ? NCTool::TOOL_CATEGORY_MILLING
            : ToolGeometry::isHoleMaking(type)                      ? NCTool::TOOL_CATEGORY_HOLE_MAKING
            : ToolGeometry::isTurning(type)                         ? NCTool::TOOL_CATEGORY_TURNING
            : ToolGeometry::isJetCutter(type)                       ? NCTool::TOOL_CATEGORY_JET
            : ToolGeometry::isDepositing(type)                      ? NCTool::TOOL_CATEGORY_DEPOSITING
                                                                    : NCTool::TOOL_CATEGORY_OTHER;
        EXPECT_EQ(NCTool::getToolCategory(type), expected) << value;
    }
    NCTool tool;
    tool.setType(ToolGeometry::WATERJET);
    EXPECT_EQ(tool.getToolCategory(), NCTool::TOOL_CATEGORY_JET);
}

TEST(NCTool, ConvertToUnitScalesLengthsButNotAnglesOrSpeeds)
{
    NCTool tool;
    tool.setUnit(NCUnit::INCHES);
    tool.setDiameter(0.5);
    tool.setTaperAngle(5);
    tool.setCutHeight(0.1);
    tool.setPierceHeight(0.2);
    tool.setMinimumDiameter(0.25);
    tool.setMaximumAxialStep(2);
    tool.setSurfaceSpeed(10);
    tool.setSpindleRPM(1200);
    tool.setMaximumSpindleSpeed(5000);
    tool.setMaximumRampAngle(3);
    tool.setPressure(50);
    NCTool const inches = tool;

    tool.convertToUnit(NCUnit::MILLIMETERS);
    EXPECT_EQ(tool.getUnit(), NCUnit::MILLIMETERS);
    EXPECT_DOUBLE_EQ(tool.getDiameter(), 12.7);
    EXPECT_DOUBLE_EQ(tool.getCutHeight(), 2.54);
    EXPECT_DOUBLE_EQ(tool.getPierceHeight(), 5.08);
    EXPECT_DOUBLE_EQ(tool.getMinimumDiameter(), 6.35);
    EXPECT_DOUBLE_EQ(tool.getMaximumAxialStep(), 50.8);
    EXPECT_DOUBLE_EQ(tool.getSurfaceSpeed(), 254);
    EXPECT_EQ(tool.getTaperAngle(), 5.0);
    EXPECT_EQ(tool.getSpindleRPM(), 1200.0);
    EXPECT_EQ(tool.getMaximumSpindleSpeed(), 5000.0);
    EXPECT_EQ(tool.getMaximumRampAngle(), 3.0);
    EXPECT_EQ(tool.getPressure(), 50.0);

    NCTool same = inches;
    same.convertToUnit(NCUnit::INCHES);
    EXPECT_EQ(same, inches);
}

TEST(NCTool, IsSameComparesOnlyTheSelectedGroups)
{
    using Options = NCTool::ComparisonOptions;
    struct Row {
        char const* name;
        std::function<void(NCTool&)> change;
        bool Options::*group;
    };
    Row const rows[] = {
        {"diameter", [](NCTool& t) { t.setDiameter(6); }, &Options::geometry},
        {"length offset", [](NCTool& t) { t.setLengthOffset(7); }, &Options::numbering},
        {"spindle speed", [](NCTool& t) { t.setSpindleRPM(3000); }, &Options::spindle},
        {"coolant", [](NCTool& t) { t.setCoolant(NCTool::COOLANT_MIST); }, &Options::coolantAndMaterial},
        {"capabilities", [](NCTool& t) { t.setCapableOfRoughing(false); }, &Options::usage},
        {"comment", [](NCTool& t) { t.setComment(L"sharp"); }, &Options::texts},
        {"pressure", [](NCTool& t) { t.setPressure(3000); }, &Options::jet},
    };
    for (Row const& row : rows) {
        NCTool changed;
        row.change(changed);
        EXPECT_NE(changed, NCTool()) << row.name;
        EXPECT_FALSE(changed.isSame(NCTool())) << row.name;
        Options withoutGroup;
        withoutGroup.*row.group = false;
        EXPECT_TRUE(changed.isSame(NCTool(), withoutGroup)) << row.name;
        Options onlyGroup {false, false, false, false, false, false, false};
        onlyGroup.*row.group = true;
        EXPECT_FALSE(changed.isSame(NCTool(), onlyGroup)) << row.name;
    }
}
