#include "grundel/time/Tduration.h"
#include "grundel/time/TexpandableEnum.h"
#include "grundel/time/TtimeRange.h"
#include "grundel/time/TtimeValue.h"

#include <gtest/gtest.h>

namespace {

TEST(TtimeValue, EitherKindReadsAsTheOther) {
    const TtimeValue time(TanimTime(9000));
    const TtimeValue number(2.5f);
    EXPECT_TRUE(time.isAnimTime() && !time.isFloat());
    EXPECT_TRUE(number.isFloat() && !number.isAnimTime());
    EXPECT_EQ(time.floatValue(), 1.5f);
    EXPECT_EQ(number.animTime(), TanimTime(15000));
    EXPECT_NE(TtimeValue(TanimTime(15000)), number); // kinds differ
    TtimeValue v;
    EXPECT_EQ(v, TtimeValue(TanimTime::zero));
    v.set(2.5f);
    EXPECT_EQ(v, number);
}

TEST(TtimeRange, OrdersItsEndsAndMeasures) {
    const TtimeRange r(TanimTime(500), TanimTime(100));
    EXPECT_EQ(r.start(), TanimTime(100));
    EXPECT_EQ(r.duration().length(), TanimTime(400));
    EXPECT_TRUE(r.contains(TanimTime(500)) && !r.contains(TanimTime(501)));
    EXPECT_EQ(r.clamp(TanimTime(-3)), TanimTime(100));
    EXPECT_TRUE(r.intersects(TtimeRange(TanimTime(500), TanimTime(900))));
    EXPECT_FALSE(r.intersects(TtimeRange(TanimTime(501), TanimTime(900))));
    EXPECT_EQ(r.unite(TtimeRange(TanimTime(700), TanimTime(800))), TtimeRange(TanimTime(100), TanimTime(800)));

    EXPECT_TRUE(Tduration(TanimTime(5), TanimTime(1)).isZero());
    const Tduration whole(TanimTime::minTime, TanimTime::maxTime); // saturates
    EXPECT_EQ(whole.length(), TanimTime::maxTime);
    EXPECT_EQ((whole + Tduration(TanimTime(1))).length(), TanimTime::maxTime);
}

TEST(TexpandableEnum, DefaultsToTheBadValue) {
    TexpandableEnum e;
    EXPECT_FALSE(e.isValid());
    EXPECT_EQ(e.value(), TexpandableEnum::kBadEnumValue);
    e.set(12);
    EXPECT_TRUE(e.isValid());
    EXPECT_EQ(e, TexpandableEnum(12));
    EXPECT_FALSE(e.invalidate().isValid());
}

} // namespace
