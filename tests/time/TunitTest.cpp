#include "grundel/time/Tlinear.h"
#include "grundel/time/Tunit.h"

#include "TimeTestSupport.h"

#include <gtest/gtest.h>

namespace {

// Counts the firings of a trigger while it lives.
using grundel_test::Firings;

// Leaves the process-wide linear units at their defaults.
class TunitTest : public ::testing::Test {
protected:
    void TearDown() override {
        EXPECT_TRUE(Tunit::setInternal(Tunit::kCentimeter));
        EXPECT_TRUE(Tunit::setCurrentUnit(Tunit::kCentimeter));
    }
};

TEST_F(TunitTest, CentimeterTableHoldsTheExactDecimals) {
    struct Row {
        Tunit::TunitSystem unit;
        double out, back;
    };
    const Row rows[] = {
        {Tunit::kInch, 0.39370078740157477, 2.54},   {Tunit::kFoot, 0.03280839895013123, 30.48},
        {Tunit::kYard, 0.010936132983377079, 91.44}, {Tunit::kMile, 6.21371192237334e-06, 160934.4},
        {Tunit::kMillimeter, 10, 0.1},               {Tunit::kCentimeter, 1, 1},
        {Tunit::kKilometer, 1e-05, 100000},          {Tunit::kMeter, 0.01, 100},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(Tunit::conversion(r.unit).fFromInternal, r.out) << r.unit;
        EXPECT_EQ(Tunit::conversion(r.unit).fToInternal, r.back) << r.unit;
    }
    EXPECT_EQ(Tunit::convert(1.0, Tunit::kMile, Tunit::kCentimeter), 160934.4);
    EXPECT_NEAR(Tunit::convert(160934.4, Tunit::kCentimeter, Tunit::kMile), 1.0, 1e-15);
}

TEST_F(TunitTest, OtherInternalUnitsUseTheSameDefinitions) {
    EXPECT_TRUE(Tunit::setInternal(Tunit::kInch));
    EXPECT_EQ(Tunit::conversion(Tunit::kFoot).fToInternal, 12.0);
    EXPECT_EQ(Tunit::conversion(Tunit::kFoot).fFromInternal, 1.0 / 12.0);
    EXPECT_EQ(Tunit::conversion(Tunit::kMile).fToInternal, 63360.0);
    EXPECT_EQ(Tunit::conversion(Tunit::kCentimeter).fFromInternal, 2.54);
    EXPECT_EQ(Tunit::conversion(Tunit::kCentimeter).fToInternal, 1.0 / 2.54);
    EXPECT_TRUE(Tunit::setInternal(Tunit::kMeter));
    EXPECT_EQ(Tunit::conversion(Tunit::kMile).fToInternal, 1609.344);
    EXPECT_EQ(Tunit::conversion(Tunit::kMillimeter).fToInternal, 0.001);
    EXPECT_EQ(Tunit::conversion(Tunit::kMillimeter).fFromInternal, 1000.0);
    EXPECT_EQ(Tunit::conversion(Tunit::kFoot).fToInternal, 0.3048);
    // Between two units that are not internal the value passes through it.
    EXPECT_DOUBLE_EQ(Tunit::convert(3.0, Tunit::kFoot, Tunit::kYard), 1.0);
}

TEST_F(TunitTest, CurrentUnitConvertsAndFiresOncePerChange) {
    Firings fired(Tunit::linearUnitChanged());
    EXPECT_TRUE(Tunit::setCurrentUnit(Tunit::kMeter));
    EXPECT_TRUE(Tunit::setUI(Tunit::kMeter)); // unchanged: silent
    EXPECT_EQ(fired.count, 1);
    EXPECT_EQ(Tunit::ui(), Tunit::kMeter);
    EXPECT_EQ(Tunit::convertToCurrent(250.0), 2.5);
    EXPECT_EQ(Tunit::convertToDflt(2.5), 250.0);
    EXPECT_EQ(Tunit::internalToUI(250.0f), 2.5f);
    EXPECT_EQ(Tunit::uiToInternal(2.5f), 250.0f);

    EXPECT_TRUE(Tunit::setInternal(Tunit::kMillimeter));
    EXPECT_TRUE(Tunit::setInternal(Tunit::kMillimeter));
    EXPECT_EQ(fired.count, 2);
    EXPECT_EQ(Tunit::convertToCurrent(2500.0), 2.5);

    EXPECT_FALSE(Tunit::setCurrentUnit(Tunit::TunitSystem(8)));
    EXPECT_FALSE(Tunit::setInternal(Tunit::TunitSystem(-1)));
    EXPECT_EQ(Tunit::ui(), Tunit::kMeter);
    EXPECT_EQ(Tunit::internal(), Tunit::kMillimeter);
    EXPECT_EQ(fired.count, 2);
    EXPECT_EQ(Tunit::conversion(Tunit::TunitSystem(99)).fToInternal, 1.0);
}

TEST_F(TunitTest, LinearCombinesThroughTheInternalUnit) {
    Tlinear a(1.0, Tunit::kMeter);
    const Tlinear b(50.0, Tunit::kCentimeter);
    EXPECT_EQ(a.value(Tunit::kCentimeter), 100.0);
    a += b;
    EXPECT_EQ(a.unit(), Tunit::kMeter);
    EXPECT_EQ(a.value(), 1.5);
    a -= Tlinear(0.5, Tunit::kMeter);
    EXPECT_EQ(a, Tlinear().cmSet(100.0));
    EXPECT_NE(a, Tlinear(100.0, Tunit::kMillimeter));

    Tlinear inch(1.0, Tunit::kInch);
    inch.convertInto(Tunit::kMillimeter);
    EXPECT_EQ(inch.value(), 25.4);
    inch.setUnit(Tunit::kCentimeter); // relabels only
    EXPECT_EQ(inch.value(), 25.4);
    inch.convertInto(Tunit::TunitSystem(42));
    inch.setUnit(Tunit::TunitSystem(-3));
    EXPECT_EQ(inch.unit(), Tunit::kCentimeter);
    inch *= 2.0;
    inch /= 4.0;
    EXPECT_EQ(inch.value(), 12.7);
    EXPECT_EQ(Tlinear(3.0, Tunit::TunitSystem(12)).unit(), Tunit::kCentimeter);
}

} // namespace
