// Values as text: every hint, the shortest exact numbers, and reading back
// what was written, with and without types.
#include "DataTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace {

std::string textOf(const Tdata& value, int hint, bool withType = false) {
    Tfile file;
    EXPECT_EQ(value.writeASCII(file, hint, withType), 0);
    return file.text();
}

std::string shortest(double value) {
    Tfile file;
    (void)file.putDouble(value);
    return file.text();
}

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(TdataText, EveryHintOfANumber) {
    const Tdata value(2.75);
    EXPECT_EQ(textOf(value, 0), "2.75");
    EXPECT_EQ(textOf(value, 4), "2.75");
    EXPECT_EQ(textOf(value, 1), "1");
    EXPECT_EQ(textOf(Tdata(0.0), 1), "0");
    EXPECT_EQ(textOf(value, 2), "2");
    EXPECT_EQ(textOf(Tdata(-1e20), 2), "-2147483648");
    EXPECT_EQ(textOf(value, 3), "");
    EXPECT_EQ(textOf(value, 5), "");
    EXPECT_EQ(textOf(value, 9), "");
    EXPECT_EQ(textOf(value, -1), "");
    EXPECT_EQ(textOf(value, 6), shortest(Tunit::internalToUI(2.75)));
    EXPECT_EQ(textOf(value, 7), shortest(TangleUnit::internalToUI(2.75)));
    // Hint 8: ticks times the single-precision 1/6000, written as a float.
    EXPECT_EQ(textOf(Tdata(6000.0), 8), "1");
    EXPECT_EQ(textOf(Tdata(3000.0), 8), "0.5");
    EXPECT_EQ(textOf(Tdata(100.0), 8), "0.016666666");
    EXPECT_EQ(textOf(Tdata(0.1), 0), "0.1");
    EXPECT_EQ(textOf(Tdata(1e300), 0), "1e+300");
}

TEST(TdataText, TimesAddressesLettersAndNULL) {
    EXPECT_EQ(textOf(Tdata(TanimTime(6000)), 0), shortest(TanimTime(6000).valueInThisUnit(kTimeUserRate)));
    EXPECT_EQ(textOf(Tdata(TanimTime(6000)), 3), textOf(Tdata(TanimTime(6000)), 0)); // whatever the hint
    EXPECT_EQ(textOf(Tdata(TuInt64(18446744073709551615ull)), 0), "18446744073709551615");
    EXPECT_EQ(textOf(Tdata::fsNULL, 0, true), "");
    const Tdata counted(new TcountedLetter(7.5));
    EXPECT_EQ(textOf(counted, 0), "7.5");
    EXPECT_EQ(textOf(counted, 0, true), "-type \"testValue\" 7.5");
}

TEST(TdataText, NumbersReadBackExactly) {
    std::mt19937_64 random(7);
    std::vector<double> values = {0.0,
                                  -0.0,
                                  1.0 / 3.0,
                                  5e-324,
                                  std::numeric_limits<double>::max(),
                                  -std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN()};
    for (int i = 0; i < 2000; ++i) {
        TuInt64 bits = random();
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof value);
        values.push_back(value);
    }
    for (double value : values) {
        const std::string text = textOf(Tdata(value), 0);
        const TargList args(text);
        Tdata read(123.0);
        int index = 0;
        ASSERT_EQ(read.readASCII(args, index), 0) << text;
        EXPECT_EQ(index, 0);
        if (std::isnan(value))
            EXPECT_TRUE(std::isnan(read.doubleValue())) << text;
        else
            EXPECT_TRUE(sameBits(read.doubleValue(), value)) << text;
    }
}

TEST(TdataText, AcceptedAndRefusedNumbers) {
    const auto read = [](const char* line, Tdata start = Tdata(9.0)) {
        const TargList args(line);
        int index = 0;
        const int result = start.readASCII(args, index);
        return std::make_pair(result, start.doubleValue());
    };
    EXPECT_EQ(read("+1.5"), std::make_pair(0, 1.5));
    EXPECT_EQ(read("-2e-07"), std::make_pair(0, -2e-07));
    EXPECT_EQ(read("1"), std::make_pair(0, 1.0));
    for (const char* bad : {"", "1.5x", "abc", "--1", "+-1", "++1", "1e999", "0x10", " ", "1,5", "\"\""})
        EXPECT_EQ(read(bad), std::make_pair(-1, 9.0)) << bad;

    // The kind of the envelope decides how the number is taken.
    TargList args("2");
    int index = 0;
    Tdata time{TanimTime()};
    ASSERT_EQ(time.readASCII(args, index), 0);
    EXPECT_TRUE(time.isAnimTime());
    EXPECT_EQ(time.timeValue(), TanimTime(2.0, kTimeUserRate));
    Tdata address(static_cast<void*>(nullptr));
    args.parse("18446744073709551615");
    ASSERT_EQ(address.readASCII(args, index), 0);
    EXPECT_EQ(address.uInt64Value(), 18446744073709551615ull);

    index = 5; // past the end
    EXPECT_EQ(address.readASCII(args, index), -1);
    EXPECT_EQ(index, 5);
}

TEST(TdataText, TypedValuesRoundTrip) {
    const int before = TcountedLetter::sLive;
    {
        const TargList args(textOf(Tdata(new TcountedLetter(-4.25)), 0, true) + " trailing");
        Tdata read;
        int index = 0;
        ASSERT_EQ(read.readASCII(args, index), 0);
        EXPECT_EQ(index, 2); // on the number, the last argument used
        ASSERT_EQ(read.typeof(), &TcountedLetter::fsMetaclass);
        EXPECT_EQ(read.doubleValue(), -4.25);

        const TargList plain("-type Tdata 8");
        index = 0;
        ASSERT_EQ(read.readASCII(plain, index), 0);
        EXPECT_TRUE(read.isNumeric());
        EXPECT_EQ(read.doubleValue(), 8.0);
    }
    EXPECT_EQ(TcountedLetter::sLive, before);

    for (const char* bad : {"-type", "-type testValue", "-type testValue x", "-type Tdata", "-type Tdata y"}) {
        const TargList args(bad);
        Tdata read(1.0);
        int index = 0;
        EXPECT_EQ(read.readASCII(args, index), -1) << bad;
        EXPECT_EQ(index, 0);
        EXPECT_EQ(read.doubleValue(), 1.0);
    }
    EXPECT_EQ(TcountedLetter::sLive, before);
}

TEST(TdataText, UnknownTypesKeepTheRestOfTheLine) {
    const TargList args("-type mystery a \"b c\" \"\" \"q\\\"uote\" z");
    Tdata read;
    int index = 0;
    ASSERT_EQ(read.readASCII(args, index), 0);
    EXPECT_EQ(index, args.count() - 1);
    auto* unknown = static_cast<TdataUnknown*>(read.cast(&TdataUnknown::fsMetaclass));
    ASSERT_NE(unknown, nullptr);
    EXPECT_TRUE(unknown->isFromText());
    EXPECT_EQ(unknown->typeName(), "mystery");

    // Written back with its type, it reads as the same arguments.
    const TargList again(textOf(read, 0, true));
    ASSERT_EQ(again.count(), args.count());
    for (int i = 0; i < args.count(); ++i)
        EXPECT_EQ(again[i], args[i]) << i;

    // A type name with a quote in it is escaped within its quotes.
    const TargList odd("-type Tdata\"1 x");
    index = 0;
    ASSERT_EQ(read.readASCII(odd, index), 0);
    EXPECT_EQ(textOf(read, 0, true), "-type \"Tdata\\\"1\"  x");
    const TargList oddAgain(textOf(read, 0, true));
    EXPECT_EQ(oddAgain[1], "Tdata\"1");

    // The unknown class's own name is kept too.
    const TargList named("-type TdataUnknown 1 2");
    index = 0;
    ASSERT_EQ(read.readASCII(named, index), 0);
    EXPECT_EQ(textOf(read, 0, true), "-type \"TdataUnknown\"  1 2");

    // A type with nothing after it is an unknown with no text.
    const TargList bare("-type mystery");
    index = 0;
    ASSERT_EQ(read.readASCII(bare, index), 0);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(textOf(read, 0, true), "-type \"mystery\"  ");
}

} // namespace
