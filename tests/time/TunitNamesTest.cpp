#include "grundel/time/TunitNames.h"

#include "grundel/core/TstringId.h"

#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

namespace {

std::string upper(std::string s) {
    for (char& c : s)
        c = char(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

// Each named code's long and short names read back (in either case) as that
// code, and no two units of a class share a name.
template <class Unit>
void expectRoundTrips(const std::vector<int>& codes) {
    std::set<std::string> seen;
    for (int code : codes) {
        const Unit unit = Unit(code);
        Tstring longName, shortName;
        ASSERT_TRUE(TunitNames::setToLongName(longName, unit)) << code;
        ASSERT_TRUE(TunitNames::setToShortName(shortName, unit)) << code;
        for (const Tstring& name : {longName, shortName, Tstring(upper(longName.asC()).c_str())}) {
            Unit back = Unit(code == 0 ? 1 : 0);
            EXPECT_TRUE(TunitNames::setFromName(name, back)) << name.asC();
            EXPECT_EQ(back, unit) << name.asC();
        }
        EXPECT_TRUE(seen.insert(upper(longName.asC())).second) << longName.asC();
        EXPECT_TRUE(seen.insert(upper(shortName.asC())).second) << shortName.asC();
    }
}

std::vector<int> range(int from, int to) {
    std::vector<int> v;
    for (int i = from; i < to; ++i)
        v.push_back(i);
    return v;
}

TEST(TunitNames, EveryUnitRoundTripsByLongAndShortName) {
    std::vector<int> time = range(0, kNumTimeUnits);
    time.push_back(kTimeUserRate);
    expectRoundTrips<TtimeUnitSystem>(time);
    expectRoundTrips<Tunit::TunitSystem>(range(0, Tunit::kNumUnits));
    expectRoundTrips<TangleUnitSystem>(range(0, kNumAngleUnits));

    Tstring name;
    ASSERT_TRUE(TunitNames::setToLongName(name, kTime24fps));
    EXPECT_STREQ(name.asC(), "24 frames per second");
    ASSERT_TRUE(TunitNames::setToShortName(name, Tunit::kCentimeter));
    EXPECT_STREQ(name.asC(), "cm");
    ASSERT_TRUE(TunitNames::setToShortName(name, kAngleDegrees));
    EXPECT_STREQ(name.asC(), "deg");
}

TEST(TunitNames, TimeLongNamesHoldTheirNumbersSkipping283) {
    EXPECT_EQ(TunitNames::longNameId(kTimeHours), 272);
    EXPECT_EQ(TunitNames::longNameId(kTime60fps), 282);
    EXPECT_EQ(TunitNames::longNameId(kTime2fps), 284);
    EXPECT_EQ(TunitNames::longNameId(kTime6000fps), 314);
    Tstring text;
    ASSERT_TRUE(TstringTable::lookup(272, text));
    EXPECT_STREQ(text.asC(), "hours");
    ASSERT_TRUE(TstringTable::lookup(284, text));
    EXPECT_STREQ(text.asC(), "2 frames per second");
    EXPECT_STREQ(Tstring(TstringIdNumber(314)).asC(), "6000 frames per second");
}

TEST(TunitNames, UnknownNamesAndUnnamedCodesAreRefused) {
    Tstring name("stale");
    EXPECT_FALSE(TunitNames::setToLongName(name, kTimeUnitEnd));
    EXPECT_TRUE(name.isEmpty());
    name = "stale";
    EXPECT_FALSE(TunitNames::setToShortName(name, TtimeUnitSystem(-5)));
    EXPECT_TRUE(name.isEmpty());
    EXPECT_FALSE(TunitNames::setToLongName(name, Tunit::TunitSystem(8)));
    EXPECT_FALSE(TunitNames::setToShortName(name, TangleUnitSystem(4)));

    TtimeUnitSystem time = kTime30fps;
    Tunit::TunitSystem linear = Tunit::kMeter;
    TangleUnitSystem angle = kAngleSeconds;
    for (const char* bad : {"", "furlongs", "24 fps ", " cm", "c", "cmm", "degrees!", "hours\nminutes"}) {
        EXPECT_FALSE(TunitNames::setFromName(Tstring(bad), time)) << bad;
        EXPECT_FALSE(TunitNames::setFromName(Tstring(bad), linear)) << bad;
        EXPECT_FALSE(TunitNames::setFromName(Tstring(bad), angle)) << bad;
    }
    EXPECT_FALSE(TunitNames::setFromName(Tstring("cm\0x", 4), linear)); // an embedded NUL
    EXPECT_EQ(time, kTime30fps);
    EXPECT_EQ(linear, Tunit::kMeter);
    EXPECT_EQ(angle, kAngleSeconds);
}

TEST(TunitNames, NamesSetTheCurrentUnitAndFollowTheTable) {
    TtimeUnit timeUnit;
    Tunit linearUnit;
    TangleUnit angleUnit;
    ASSERT_TRUE(TunitNames::setFromName(Tstring("30 FPS"), timeUnit));
    EXPECT_EQ(TtimeUnit::currentUnit(), kTime30fps);
    ASSERT_TRUE(TunitNames::setFromName(Tstring("Meters"), linearUnit));
    EXPECT_EQ(Tunit::currentUnit(), Tunit::kMeter);
    ASSERT_TRUE(TunitNames::setFromName(Tstring("rad"), angleUnit));
    EXPECT_EQ(TangleUnit::currentUnit(), kAngleRadians);
    EXPECT_FALSE(TunitNames::setFromName(Tstring("parsecs"), linearUnit));
    EXPECT_EQ(Tunit::currentUnit(), Tunit::kMeter);

    Tstring name;
    TunitNames::setToShortName(name, linearUnit);
    EXPECT_STREQ(name.asC(), "m");

    // An application's replacement name is the one shown and recognised.
    const int id = TunitNames::longNameId(Tunit::kMeter);
    TstringTable::set(id, "metres");
    TunitNames::setToLongName(name, linearUnit);
    EXPECT_STREQ(name.asC(), "metres");
    Tunit::TunitSystem unit = Tunit::kInch;
    EXPECT_TRUE(TunitNames::setFromName(Tstring("METRES"), unit));
    EXPECT_EQ(unit, Tunit::kMeter);
    TstringTable::set(id, "meters");

    EXPECT_TRUE(TtimeUnit::setCurrentUnit(kTime24fps));
    EXPECT_TRUE(Tunit::setCurrentUnit(Tunit::kCentimeter));
    EXPECT_TRUE(TangleUnit::setCurrentUnit(kAngleDegrees));
}

} // namespace
