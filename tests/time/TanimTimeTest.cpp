#include "grundel/time/TanimTime.h"
#include "grundel/time/TtimeUnit.h"

#include "grundel/core/Tarrays.h"
#include "grundel/core/TfootprintInfo.h"
#include "TimeTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

namespace {

constexpr Tint32 kMax = 2147483647;
constexpr Tint32 kMin = -2147483647 - 1;

// Ticks per unit of codes 0 to 41, as the unit table defines them.
constexpr int kTicks[kNumTimeUnits] = {21600000, 360000, 6000, 6,  400, 250, 240, 200, 125, 120, 100,
                                       3000,     2000,   1500, 1200, 1000, 750, 600, 500, 375, 300, 150,
                                       80,       75,     60,   50,  48,  40,  30,  25,  24,  20,  16,
                                       15,       12,     10,   8,   5,   4,   3,   2,   1};

using grundel_test::Firings;

// Leaves the class-wide settings at their defaults.
class TanimTimeTest : public ::testing::Test {
protected:
    void TearDown() override {
        EXPECT_TRUE(TanimTime::setGlobalCurrentTimeUnit(kTime24fps));
        EXPECT_TRUE(TanimTime::setTimeConvert(250.0));
    }
    static void useUnit(TtimeUnitSystem unit) { ASSERT_TRUE(TanimTime::setGlobalCurrentTimeUnit(unit)); }
    static Tstring smpte(Tint32 ticks) { return TanimTime(ticks).valueInSmpteUnit(); }
};

TEST_F(TanimTimeTest, EveryUnitHasItsTickCount) {
    for (int u = 0; u < kNumTimeUnits; ++u) {
        const auto unit = TtimeUnitSystem(u);
        EXPECT_EQ(TanimTime(1.0, unit).inTicks(), kTicks[u]) << u;
        EXPECT_EQ(TanimTime(kTicks[u]).valueInThisUnit(unit), 1.0) << u;
        EXPECT_EQ(TtimeUnit::conversion(unit).fToInternal, kTicks[u]) << u;
    }
    EXPECT_EQ(TanimTime(3.0, kTimeUserRate).inTicks(), 750);
    ASSERT_TRUE(TanimTime::setTimeConvert(200.2)); // 29.97 frames per second
    EXPECT_EQ(TanimTime(10.0, kTimeUserRate).inTicks(), 2002);
    EXPECT_EQ(TanimTime(2002).valueInThisUnit(kTimeUserRate), 2002 / 200.2);

    // The end marker reads 0; codes beyond it hold plain ticks.
    EXPECT_EQ(TanimTime(5.0, kTimeUnitEnd).inTicks(), 0);
    EXPECT_EQ(TanimTime(777).valueInThisUnit(kTimeUnitEnd), 0.0);
    EXPECT_EQ(TanimTime(2.5, TtimeUnitSystem(44)).inTicks(), 2);
    EXPECT_EQ(TanimTime(777).valueInThisUnit(TtimeUnitSystem(-1)), 777.0);
    EXPECT_EQ(TtimeUnit::conversion(kTimeUnitEnd).fToInternal, 0.0);
    EXPECT_EQ(TtimeUnit::conversion(TtimeUnitSystem(99)).fToInternal, 1.0);
    EXPECT_EQ(TanimTime::oneSecond.inTicks(), 6000);
    EXPECT_EQ(TanimTime::minTime.inTicks(), kMin);
}

TEST_F(TanimTimeTest, SetValueRoundsHalvesToEven) {
    EXPECT_EQ(TanimTime(0.75, kTimeMilliseconds).inTicks(), 4); // 4.5 ticks
    EXPECT_EQ(TanimTime(0.25, kTimeMilliseconds).inTicks(), 2); // 1.5 ticks
    EXPECT_EQ(TanimTime(2.5, kTime6000fps).inTicks(), 2);
    EXPECT_EQ(TanimTime(-2.5, kTime6000fps).inTicks(), -2);
    EXPECT_EQ(TanimTime(-3.5, kTime6000fps).inTicks(), -4);
    EXPECT_EQ(TanimTime(2.5000001, kTime6000fps).inTicks(), 3);
    EXPECT_EQ(TtimeUnit::uiToInternal(0.002), 0); // 0.5 tick at 24 frames/s
    EXPECT_EQ(TtimeUnit::uiToInternal(0.006), 2); // 1.5 ticks
    EXPECT_EQ(TanimTime(5) * 0.5, TanimTime(2));
}

TEST_F(TanimTimeTest, ConversionsGoThroughWholeTicks) {
    EXPECT_EQ(TanimTime::convertFromUnitToUnit(1.0, kTime24fps, kTime30fps), 1.25);
    EXPECT_EQ(TanimTime::convertFromUnitToUnit(3.0, kTime15fps, kTime60fps), 12.0);
    EXPECT_EQ(TanimTime::convertFromUnitToUnit(7.0, kTime5fps, kTime5fps), 8400 * (1.0 / 1200));
    EXPECT_NE(TanimTime::convertFromUnitToUnit(1.0 / 7.0, kTimeSeconds, kTimeSeconds), 1.0 / 7.0);
    EXPECT_EQ(TanimTime::convertFromUnitToUnit(1.0 / 7.0, kTimeSeconds, kTimeSeconds), 857 / 6000.0 * 1.0);
    // One frame at 24 is 250 ticks: 1.25 frames at 30, quantised at 16.
    EXPECT_EQ(TanimTime::convertFromUnitToUnit(1.0, kTime24fps, kTime16fps), 250 * (1.0 / 375));
    EXPECT_EQ(TtimeUnit::internalToUI(500), 2.0);
    EXPECT_EQ(TtimeUnit::internal(), kTime6000fps);
}

TEST_F(TanimTimeTest, OutOfRangeSaturates) {
    const TanimTime max = TanimTime::maxTime, min = TanimTime::minTime, one(1);
    EXPECT_EQ(TanimTime(1e12, kTimeSeconds), max);
    EXPECT_EQ(TanimTime(-1e12, kTimeSeconds), min);
    EXPECT_EQ(TanimTime(std::numeric_limits<double>::infinity(), kTimeHours), max);
    EXPECT_EQ(TanimTime(std::nan(""), kTimeHours), TanimTime::zero);
    EXPECT_EQ(TanimTime(2147483647.4, kTime6000fps), max);
    EXPECT_EQ(TanimTime(-2147483648.4, kTime6000fps), min);
    EXPECT_EQ(max + one, max);
    EXPECT_EQ(min - one, min);
    EXPECT_EQ(-min, max);
    EXPECT_EQ(max * TanimTime(2), max);
    EXPECT_EQ(min * TanimTime(2), min);
    EXPECT_EQ(min / TanimTime(-1), max);
    EXPECT_EQ(TanimTime(7) / TanimTime(2), TanimTime(3));
    EXPECT_EQ(TanimTime(-7) / TanimTime(2), TanimTime(-3));
    EXPECT_EQ(TanimTime(5) / TanimTime::zero, max);
    EXPECT_EQ(TanimTime(-5) / TanimTime::zero, min);
    EXPECT_EQ(TanimTime::zero / TanimTime::zero, TanimTime::zero);
    EXPECT_EQ(TanimTime(5) / 0.0, max);
    EXPECT_EQ(TanimTime(-5) / 0.0, min);
    EXPECT_EQ(TanimTime::zero / 0.0, TanimTime::zero);
    EXPECT_EQ(TanimTime(100) * 1e300, max);
    TanimTime t(10);
    t += TanimTime(5);
    t -= TanimTime(3);
    t *= 2.5;
    t /= TanimTime(3);
    EXPECT_EQ(t, TanimTime(10));
    EXPECT_TRUE(TanimTime(1) < TanimTime(2) && TanimTime(2) >= TanimTime(2) && TanimTime(3) > TanimTime(2));

    EXPECT_EQ(TanimTime(50).clamp(TanimTime(0), TanimTime(10)), TanimTime(10));
    EXPECT_EQ(TanimTime(-5).clamp(TanimTime(0), TanimTime(10)), TanimTime(0));
    EXPECT_EQ(TanimTime(5).clamp(TanimTime(0), TanimTime(10)), TanimTime(5));
}

TEST_F(TanimTimeTest, SecondsInSinglePrecision) {
    EXPECT_EQ(TanimTime::maxTime.inSeconds(), 2147483648.0f * (1.0f / 6000.0f));
    EXPECT_EQ(TanimTime(9000).inSeconds(), 1.5f);
}

TEST_F(TanimTimeTest, SmpteTextOfFramesAndClockUnits) {
    EXPECT_EQ(smpte(22338000 + 1000), "01:02:03:04");
    EXPECT_EQ(smpte(-(22338000 + 1000)), "-01:02:03:04");
    EXPECT_EQ(smpte(5999), "00:00:01:00");      // rounds up to the rate: carried
    EXPECT_EQ(smpte(359999), "00:01:00:00");    // and on into the minutes
    EXPECT_EQ(smpte(125), "00:00:00:00");       // half a frame: to even
    EXPECT_EQ(smpte(375), "00:00:00:02");       // one and a half: to even
    EXPECT_EQ(smpte(-1), "00:00:00:00");        // nothing negative is left
    EXPECT_EQ(smpte(kMax), "99:25:13:23");      // 99h 25m 13s and 5647 ticks
    EXPECT_EQ(smpte(kMin), "-99:25:13:23");

    Tint32Array fields;
    TanimTime(-(22338000 + 1000)).getValueInSmpteUnit(fields);
    ASSERT_EQ(fields.length(), 4u);
    EXPECT_EQ(fields[0], -1);
    EXPECT_EQ(fields[3], -4);

    useUnit(kTimeSeconds);
    EXPECT_EQ(smpte(22338000 + 2759), "01:02:03:45"); // hundredths, truncated
    useUnit(kTimeHours);
    EXPECT_EQ(smpte(-59), "00:00:00:00");
    EXPECT_EQ(smpte(-60), "-00:00:00:01");
    useUnit(kTime6000fps);
    EXPECT_EQ(smpte(5999), "00:00:00:5999");
    useUnit(kTimeUserRate);
    ASSERT_TRUE(TanimTime::setTimeConvert(200.2));
    EXPECT_EQ(smpte(6000 + 2002), "00:00:01:10");
    EXPECT_EQ(smpte(5999), "00:00:01:00");

    // Extreme user rates stay defined: frames longer than a second, and
    // frames so short that every count saturates.
    ASSERT_TRUE(TanimTime::setTimeConvert(1e300));
    EXPECT_EQ(smpte(6001), "00:00:01:00");
    TanimTime t;
    EXPECT_TRUE(t.setValueFromSmpteUnit(Tstring("99:25:13:00")));
    ASSERT_TRUE(TanimTime::setTimeConvert(1e-300));
    EXPECT_EQ(smpte(kMax), "99:25:13:2147483647");
    EXPECT_TRUE(t.setValueFromSmpteUnit(Tstring("99:25:13:2147483647")));
    EXPECT_EQ(t, TanimTime(kMax - 5647));
}

TEST_F(TanimTimeTest, SmpteTextParsesBackInEveryUnit) {
    const Tint32 samples[] = {0, 1, 124, 125, 126, 5999, 6000, 22339000, 359999, 123456789, -7, -22339000,
                              kMax, kMin, kMax - 1, kMin + 1};
    for (int u = 0; u <= kTimeUserRate; ++u) {
        if (u == kTimeUnitEnd)
            continue;
        useUnit(TtimeUnitSystem(u));
        const bool frames = u > kTimeMilliseconds;
        const double step = u == kTimeUserRate ? 250.0 : frames ? kTicks[u] : 60.0;
        for (Tint32 ticks : samples) {
            const Tstring text = smpte(ticks);
            TanimTime back(12345);
            ASSERT_TRUE(back.setValueFromSmpteUnit(text)) << u << " " << text.asC();
            EXPECT_EQ(back.valueInSmpteUnit(), text) << u;
            const double off = double(back.inTicks()) - double(ticks);
            if (frames) // to the nearest frame (saturated at the ends)
                EXPECT_LE(std::abs(off), step / 2) << u << " " << ticks;
            else // toward zero, to the hundredth
                EXPECT_TRUE(std::abs(off) < step && (ticks >= 0 ? off <= 0 : off >= 0)) << u << " " << ticks;

            Tint32Array fields;
            TanimTime(ticks).getValueInSmpteUnit(fields);
            TanimTime fromFields;
            ASSERT_TRUE(fromFields.setValueFromSmpteUnit(fields)) << u << " " << ticks;
            EXPECT_EQ(fromFields, back);
        }
    }
}

TEST_F(TanimTimeTest, MalformedSmpteIsRefusedAndChangesNothing) {
    const char* const bad[] = {
        "",          "1:02:03:04",   "01:02:03",      "01:02:03:04:05", "01:60:00:00",   "01:02:60:00",
        "00:00:00:24", "-00:00:00:00", "01:-02:03:04", "+01:02:03:04",   " 01:02:03:04", "01:02:03:04 ",
        "001:02:03:04", "99999999999:00:00:00", "100:00:00:00", "aa:bb:cc:dd", "01:02:03:4", "--01:02:03:04",
        "01::02:03", "01:02:03:", "-", "99:25:14:00", "01.02.03.04", "01:02:03:04\n",
    };
    for (const char* text : bad) {
        TanimTime t(4242);
        EXPECT_FALSE(t.setValueFromSmpteUnit(Tstring(text))) << text;
        EXPECT_EQ(t.inTicks(), 4242) << text;
    }
    TanimTime t(4242);
    EXPECT_FALSE(t.setValueFromSmpteUnit(Tstring("01:02:03:04\0", 12))); // an embedded NUL
    EXPECT_TRUE(t.setValueFromSmpteUnit(Tstring("-99:25:13:23")));
    EXPECT_EQ(t, TanimTime::minTime);

    Tint32Array fields;
    for (Tint32 f : {1, 2, 3})
        fields.addLast(f);
    EXPECT_FALSE(t.setValueFromSmpteUnit(fields)); // three fields
    fields.addLast(-4);
    EXPECT_FALSE(t.setValueFromSmpteUnit(fields)); // mixed signs
    fields[3] = 4;
    fields[1] = 60;
    EXPECT_FALSE(t.setValueFromSmpteUnit(fields));
    fields[1] = 2;
    fields[0] = kMin;
    EXPECT_FALSE(t.setValueFromSmpteUnit(fields));
    EXPECT_EQ(t, TanimTime::minTime);
}

TEST_F(TanimTimeTest, CurrentUnitIsOneSettingAndFiresOncePerChange) {
    Firings fired(TtimeUnit::timeUnitChanged());
    EXPECT_EQ(TtimeUnit::currentUnit(), kTime24fps);
    EXPECT_TRUE(TtimeUnit::setCurrentUnit(kTime24fps));
    EXPECT_EQ(fired.count, 0);
    EXPECT_TRUE(TtimeUnit::setUI(kTime30fps));
    EXPECT_EQ(fired.count, 1);
    EXPECT_EQ(TanimTime::globalCurrentTimeUnit(), kTime30fps);
    EXPECT_EQ(TtimeUnit::ui(), kTime30fps);
    EXPECT_TRUE(TanimTime::setTimeConvert(300.0)); // not current: silent
    EXPECT_EQ(fired.count, 1);

    for (int bad : {42, 44, -1, 1000})
        EXPECT_FALSE(TanimTime::setGlobalCurrentTimeUnit(TtimeUnitSystem(bad))) << bad;
    for (double bad : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_FALSE(TanimTime::setTimeConvert(bad)) << bad;
    EXPECT_EQ(TanimTime::timeConvert(), 300.0);
    EXPECT_EQ(fired.count, 1);

    EXPECT_TRUE(TtimeUnit::setCurrentUnit(kTimeUserRate));
    EXPECT_TRUE(TanimTime::setTimeConvert(250.0));
    EXPECT_TRUE(TanimTime::setTimeConvert(250.0));
    EXPECT_EQ(fired.count, 3);
    EXPECT_EQ(Ttrigger::find("timeUnitChanged"), &TtimeUnit::timeUnitChanged());
}

TEST_F(TanimTimeTest, FootprintIsTheValueItself) {
    TfootprintInfo info;
    TanimTime::_fsRegister();
    TanimTime(5)._getFootprint(info);
    EXPECT_EQ(info.totalBytes(), sizeof(TanimTime));
    EXPECT_EQ(sizeof(TanimTime), 4u);
}

} // namespace
