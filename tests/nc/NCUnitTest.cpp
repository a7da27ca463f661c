// Unit tables of NCUnit: factors, their direction, the presentable scale and the names.
#include "nc/nc/NCUnit.h"

#include "tests/support/AssertionCapture.h"

#include <gtest/gtest.h>

using namespace Quarn;

TEST(NCUnit, LengthFactorsConvertBetweenUnits)
{
    EXPECT_EQ(NCUnit::getUnitConversionFactor(NCUnit::INCHES, NCUnit::MILLIMETERS), 25.4);
    EXPECT_EQ(NCUnit::getUnitConversionFactor(NCUnit::MILLIMETERS, NCUnit::INCHES), 0.03937007874015748);
    EXPECT_EQ(NCUnit::getUnitConversionFactor(NCUnit::INCHES, NCUnit::INCHES), 1.0);
    EXPECT_EQ(NCUnit::getUnitConversionFactor(NCUnit::MILLIMETERS, NCUnit::MILLIMETERS), 1.0);
    EXPECT_EQ(NCUnit::getMillimeters(2.0, NCUnit::INCHES), 50.8);
    EXPECT_EQ(NCUnit::getInches(25.4, NCUnit::MILLIMETERS), 25.4 * 0.03937007874015748);
    EXPECT_EQ(NCUnit::getInches(3.0, NCUnit::INCHES), 3.0);
}

TEST(NCUnit, PressureFactorRunsOppositeToLengths)
{
    EXPECT_EQ(NCUnit::getUnitConversionPressureFactor(NCUnit::INCHES, NCUnit::MILLIMETERS), 14.503773773);
    EXPECT_EQ(NCUnit::getUnitConversionPressureFactor(NCUnit::MILLIMETERS, NCUnit::INCHES), 0.06894757293178307);
    EXPECT_EQ(NCUnit::getUnitConversionPressureFactor(NCUnit::MILLIMETERS, NCUnit::MILLIMETERS), 1.0);
}

TEST(NCUnit, PresentableValueScalesOnlyInchesToMillimetres)
{
    EXPECT_DOUBLE_EQ(NCUnit::getPresentableValue(10.0, NCUnit::INCHES, NCUnit::MILLIMETERS), 10.16);
    EXPECT_EQ(NCUnit::getPresentableValue(10.0, NCUnit::MILLIMETERS, NCUnit::INCHES), 10.0);
    EXPECT_EQ(NCUnit::getPresentableValue(10.0, NCUnit::INCHES, NCUnit::INCHES), 10.0);
    EXPECT_EQ(NCUnit::getPresentableValue(10.0, NCUnit::MILLIMETERS, NCUnit::MILLIMETERS), 10.0);
}

TEST(NCUnit, NamesRoundTripAndUnknownTextIsInvalid)
{
    EXPECT_EQ(NCUnit::getUnitAsString(NCUnit::INCHES), L"inches");
    EXPECT_EQ(NCUnit::getUnitAsString(NCUnit::MILLIMETERS), L"millimeters");
    EXPECT_EQ(NCUnit::getAsUnit(std::wstring(L"inches")).get(), NCUnit::INCHES);
    EXPECT_EQ(NCUnit::getAsUnit(std::wstring(L"millimeters")).get(), NCUnit::MILLIMETERS);
    EXPECT_FALSE(NCUnit::getAsUnit(std::wstring(L"Inches")).isValid());
    EXPECT_FALSE(NCUnit::getAsUnit(Validified<std::wstring>()).isValid());
    EXPECT_TRUE(NCUnit::isUnit(1));
    EXPECT_FALSE(NCUnit::isUnit(2));
}

TEST(NCUnit, BadUnitsAreReportedInTestMode)
{
    auto bad = static_cast<NCUnit::Unit>(2);
    TestSupport::AssertionCapture capture(TestSupport::AssertionCapture::StopAtReport);
    EXPECT_THROW(NCUnit::getUnitConversionFactor(bad, NCUnit::INCHES), TestSupport::AssertionCapture::Stop);
    EXPECT_THROW(NCUnit::getPresentableValue(1.0, NCUnit::INCHES, bad), TestSupport::AssertionCapture::Stop);
    EXPECT_THROW(NCUnit::getUnitAsString(bad), TestSupport::AssertionCapture::Stop);
    ASSERT_EQ(capture.reports().size(), 3u);
    EXPECT_EQ(capture.texts()[0],
        "(static_cast<unsigned int>(sourceUnit) < lengthOf(FACTORS)) && "
        "(static_cast<unsigned int>(destinationUnit) < lengthOf(FACTORS))");
    EXPECT_EQ(capture.texts()[1],
        "(static_cast<unsigned int>(srcUnit) < lengthOf(FACTORS)) && "
        "(static_cast<unsigned int>(destUnit) < lengthOf(FACTORS))");
    EXPECT_EQ(capture.texts()[2], "static_cast<unsigned int>(unit) < lengthOf(UNITS)");
    EXPECT_EQ(capture.reports()[0].file, "nc/nc/NCUnit");
}
