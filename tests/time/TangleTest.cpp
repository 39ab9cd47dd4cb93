#include "grundel/time/Tangle.h"

#include "TimeTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr double kPi = 3.141592653589793;

using grundel_test::Firings;

// Leaves the process-wide angular units at their defaults.
class TangleTest : public ::testing::Test {
protected:
    void TearDown() override {
        EXPECT_TRUE(TangleUnit::setInternal(kAngleRadians));
        EXPECT_TRUE(TangleUnit::setCurrentUnit(kAngleDegrees));
    }
};

TEST_F(TangleTest, FactorsBothWays) {
    EXPECT_EQ(TangleUnit::internal(), kAngleRadians);
    EXPECT_EQ(TangleUnit::ui(), kAngleDegrees);
    EXPECT_EQ(TangleUnit::conversion(kAngleDegrees).fFromInternal, 57.29577951308232);
    EXPECT_EQ(TangleUnit::conversion(kAngleMinutes).fFromInternal, 3437.74677078494);
    EXPECT_EQ(TangleUnit::conversion(kAngleSeconds).fFromInternal, 206264.8062470964);
    EXPECT_EQ(TangleUnit::conversion(kAngleDegrees).fToInternal, 1.0 / 57.29577951308232);
    EXPECT_EQ(TangleUnit::conversion(kAngleRadians).fToInternal, 1.0);

    EXPECT_TRUE(TangleUnit::setInternal(kAngleDegrees));
    EXPECT_EQ(TangleUnit::conversion(kAngleMinutes).fFromInternal, 60.0);
    EXPECT_EQ(TangleUnit::conversion(kAngleSeconds).fFromInternal, 3600.0);
    EXPECT_EQ(TangleUnit::conversion(kAngleSeconds).fToInternal, 1.0 / 3600.0);
    EXPECT_EQ(TangleUnit::conversion(kAngleRadians).fToInternal, 57.29577951308232);
    EXPECT_EQ(TangleUnit::convertToCurrent(90.0), 90.0);

    EXPECT_TRUE(TangleUnit::setInternal(kAngleSeconds));
    EXPECT_EQ(TangleUnit::conversion(kAngleMinutes).fToInternal, 60.0);
    EXPECT_EQ(TangleUnit::conversion(kAngleRadians).fFromInternal, 1.0 / 206264.8062470964);
    EXPECT_EQ(TangleUnit::convert(2.0, kAngleDegrees, kAngleMinutes), 120.0);
}

TEST_F(TangleTest, CurrentUnitFiresOncePerChange) {
    Firings fired(TangleUnit::angularUnitChanged());
    EXPECT_TRUE(TangleUnit::setCurrentUnit(kAngleDegrees)); // already so
    EXPECT_EQ(fired.count, 0);
    EXPECT_TRUE(TangleUnit::setUI(kAngleMinutes));
    EXPECT_EQ(fired.count, 1);
    EXPECT_EQ(TangleUnit::currentUnit(), kAngleMinutes);
    EXPECT_DOUBLE_EQ(TangleUnit::internalToUI(kPi), 180.0 * 60.0);
    EXPECT_FLOAT_EQ(TangleUnit::uiToInternal(60.0f), float(kPi / 180.0));
    EXPECT_FALSE(TangleUnit::setCurrentUnit(TangleUnitSystem(4)));
    EXPECT_FALSE(TangleUnit::setInternal(TangleUnitSystem(-1)));
    EXPECT_EQ(fired.count, 1);
    EXPECT_EQ(Ttrigger::find("angularUnitChanged"), &TangleUnit::angularUnitChanged());
}

TEST_F(TangleTest, MixedUnitsCompareAndCombineInTheInternalUnit) {
    const Tangle right = Tangle::degrees(90.0);
    EXPECT_DOUBLE_EQ(right.inRadians(), kPi / 2);
    EXPECT_TRUE(Tangle(kPi / 2) == right);
    EXPECT_TRUE(Tangle(1.0) < right && right > Tangle(1.0));
    EXPECT_TRUE(right <= Tangle::degrees(90.0) && right >= Tangle::degrees(90.0));
    EXPECT_TRUE(Tangle(3.0, kAngleMinutes) > Tangle(179.0, kAngleSeconds));

    Tangle sum = right + Tangle(kPi / 2);
    EXPECT_EQ(sum.unit(), kAngleDegrees);
    EXPECT_DOUBLE_EQ(sum.value(), 180.0);
    sum -= Tangle::degrees(30.0); // same unit: exact
    EXPECT_EQ(sum.value(), 150.0);
    EXPECT_EQ((sum * 2.0).value(), 300.0);
    EXPECT_EQ((-sum).value(), -150.0);
    EXPECT_DOUBLE_EQ(sum / right, 150.0 / 90.0);

    // The bool converts into the internal unit at construction.
    const Tangle held(180.0, kAngleDegrees, true);
    EXPECT_EQ(held.unit(), kAngleRadians);
    EXPECT_DOUBLE_EQ(held.value(), kPi);
    EXPECT_EQ(Tangle(180.0, kAngleDegrees, false).unit(), kAngleDegrees);

    const Tangle nan(std::nan(""));
    EXPECT_FALSE(nan == nan || nan < right || nan <= right || nan >= right || nan > right);
    EXPECT_TRUE(nan != right);
    EXPECT_EQ(Tangle(1.0, TangleUnitSystem(7)).unit(), kAngleRadians);
}

} // namespace
