// The envelope: flags and payload of every plain value, conversions, and the
// references it takes and gives back on its letters.
#include "DataTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <thread>

namespace {

TuInt64 bitsOf(const Tdata& d) {
    TuInt64 bits = 0;
    std::memcpy(&bits, d.privateData(), 8);
    return bits;
}

TuInt64 bitsOf(double value) {
    TuInt64 bits = 0;
    std::memcpy(&bits, &value, 8);
    return bits;
}

TEST(Tdata, ConstructionFromPlainValuesSetsTheTableFlags) {
    EXPECT_EQ(Tdata().flags(), 1u);
    EXPECT_EQ(bitsOf(Tdata()), bitsOf(0.0));
    EXPECT_EQ(Tdata(2.5).flags(), 1u);
    EXPECT_EQ(bitsOf(Tdata(2.5)), bitsOf(2.5));
    EXPECT_EQ(bitsOf(Tdata(true)), bitsOf(1.0));
    EXPECT_EQ(bitsOf(Tdata(false)), bitsOf(0.0));
    EXPECT_EQ(bitsOf(Tdata(-7)), bitsOf(-7.0));
    EXPECT_EQ(bitsOf(Tdata(short(-32768))), bitsOf(-32768.0));
    // The unsigned rule: the top bit does not make the value negative.
    EXPECT_EQ(Tdata(4294967295u).doubleValue(), 4294967295.0);
    EXPECT_EQ(Tdata(2147483648u).doubleValue(), 2147483648.0);

    const Tdata time(TanimTime(6000));
    EXPECT_EQ(time.flags(), 2u);
    EXPECT_TRUE(time.isAnimTime());
    EXPECT_FALSE(time.isNumeric());
    Tint32 firstWord = 0;
    std::memcpy(&firstWord, time.privateData(), 4);
    EXPECT_EQ(firstWord, 6000);

    int object = 0;
    const Tdata address(static_cast<void*>(&object));
    EXPECT_EQ(address.flags(), 17u);
    EXPECT_TRUE(address.isAddr() && address.isNumeric());
    EXPECT_EQ(address.addrValue(), &object);
    const Tdata big(Tint64(-2));
    EXPECT_EQ(big.flags(), 17u);
    EXPECT_EQ(bitsOf(big), 0xFFFFFFFFFFFFFFFEull);
    EXPECT_EQ(Tdata(TuInt64(1) << 40).uInt64Value(), TuInt64(1) << 40);

    const Tdata empty(static_cast<TdataLetter*>(nullptr));
    EXPECT_TRUE(empty.isNULL());
    EXPECT_EQ(empty.flags(), 8u);
    EXPECT_TRUE(Tdata::fsNULL.isNULL());
    EXPECT_EQ(sizeof(Tdata), 16u);
}

TEST(Tdata, AssignmentSetsTheValueFlagsWithHolderAndKeepsTheCacheMark) {
    Tdata d;
    d.fromCache();
    d = 3;
    EXPECT_EQ(d.flags(), 1u | 4u | 8u);
    d = TanimTime(5);
    EXPECT_EQ(d.flags(), 2u | 4u | 8u);
    EXPECT_EQ(d.timeValue().inTicks(), 5);
    d = static_cast<void*>(nullptr);
    EXPECT_EQ(d.flags(), 17u | 4u | 8u);
    d = 1.5;
    EXPECT_EQ(d.flags(), 1u | 4u | 8u); // kAddr and kAnimTime cleared
    d.reset();
    EXPECT_TRUE(d.isNULL());
    EXPECT_EQ(d.flags(), 4u | 8u);
    d.fromCache(false);
    d = 4294967295u;
    EXPECT_EQ(d.doubleValue(), 4294967295.0);
    EXPECT_EQ(d.uInt32Value(), 4294967295u);
}

TEST(Tdata, NarrowReadsSaturateAndTimesRoundHalvesToEven) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Tdata(1e9).int16Value(), 32767);
    EXPECT_EQ(Tdata(-1e9).int16Value(), -32768);
    EXPECT_EQ(Tdata(nan).int16Value(), 0);
    EXPECT_EQ(Tdata(1e300).int32Value(), 2147483647);
    EXPECT_EQ(Tdata(-1e300).int32Value(), -2147483647 - 1);
    EXPECT_EQ(Tdata(nan).int32Value(), 0);
    EXPECT_EQ(Tdata(-2.9).int32Value(), -2); // toward zero
    EXPECT_EQ(Tdata(-1.0).uInt32Value(), 0u);
    EXPECT_EQ(Tdata(300.0).byteValue(), 255);
    EXPECT_EQ(Tdata(-300.0).charValue(), -128);
    EXPECT_FALSE(Tdata(nan).booleanValue());
    EXPECT_TRUE(Tdata(-0.5).booleanValue());
    EXPECT_FALSE(Tdata(-0.0).booleanValue());

    EXPECT_EQ(Tdata(0.5).timeValue().inTicks(), 0);
    EXPECT_EQ(Tdata(1.5).timeValue().inTicks(), 2);
    EXPECT_EQ(Tdata(2.5).timeValue().inTicks(), 2);
    EXPECT_EQ(Tdata(-2.5).timeValue().inTicks(), -2);
    EXPECT_EQ(Tdata(-3.5).timeValue().inTicks(), -4);
    EXPECT_EQ(Tdata(2.5000001).timeValue().inTicks(), 3);
    EXPECT_EQ(Tdata(1e12).timeValue().inTicks(), 2147483647);
    EXPECT_EQ(Tdata(nan).timeValue().inTicks(), 0);

    EXPECT_EQ(Tdata(TanimTime(-12)).doubleValue(), -12.0);
    EXPECT_EQ(Tdata(TanimTime(-12)).int32Value(), -12);
    EXPECT_EQ(Tdata(new TcountedLetter(7.75)).doubleValue(), 7.75);
    EXPECT_EQ(Tdata(new TcountedLetter(7.75)).int16Value(), 7);
    EXPECT_EQ(Tdata::fsNULL.doubleValue(), 0.0);
}

TEST(Tdata, LettersAreReferencedAndReleasedExactly) {
    const int before = TcountedLetter::sLive;
    {
        auto* letter = new TcountedLetter(1.0);
        Tdata a(letter);
        EXPECT_EQ(letter->referenceCount(), 1);
        EXPECT_EQ(a.letter(), letter);
        EXPECT_TRUE(a.isLetterWritable());
        {
            Tdata b(a);
            Tdata c;
            c = a;
            EXPECT_EQ(letter->referenceCount(), 3);
            EXPECT_EQ(b.letter(), letter);
            Tdata moved(std::move(b));
            EXPECT_EQ(letter->referenceCount(), 3);
            EXPECT_FALSE(a.isLetterWritable());
            c = 2.0; // gives its reference back
            EXPECT_EQ(letter->referenceCount(), 2);
            moved = moved; // self-assignment keeps the reference
            EXPECT_EQ(letter->referenceCount(), 2);
            a = letter; // the same letter again
            EXPECT_EQ(letter->referenceCount(), 2);
        }
        EXPECT_EQ(letter->referenceCount(), 1);
        EXPECT_EQ(TcountedLetter::sLive, before + 1);
    }
    EXPECT_EQ(TcountedLetter::sLive, before);

    // Replacing one letter by another releases the first.
    Tdata d(new TcountedLetter(1.0));
    d = new TcountedLetter(2.0);
    EXPECT_EQ(TcountedLetter::sLive, before + 1);
    d.setToNULL();
    EXPECT_EQ(TcountedLetter::sLive, before);
}

TEST(Tdata, WritersGetPrivateLettersAndCopiesOfWrittenLettersAreTheirOwn) {
    const int before = TcountedLetter::sLive;
    {
        Tdata a(new TcountedLetter(1.0));
        Tdata b(a);
        ASSERT_EQ(a.letter(), b.letter());
        auto* mine = static_cast<TcountedLetter*>(b.makeWritable());
        ASSERT_NE(mine, nullptr);
        EXPECT_NE(mine, a.letter());
        mine->fValue = 5.0;
        EXPECT_EQ(a.doubleValue(), 1.0);
        EXPECT_EQ(b.doubleValue(), 5.0);
        EXPECT_EQ(TcountedLetter::sLive, before + 2);

        ASSERT_NE(b.makeWriter(), nullptr);
        EXPECT_TRUE(b.hasWriter());
        Tdata c(b); // b writes: c gets a copy
        EXPECT_NE(c.letter(), b.letter());
        EXPECT_FALSE(c.hasWriter());
        EXPECT_EQ(c.doubleValue(), 5.0);
        b = 0.0; // the writer lets go
        EXPECT_FALSE(c.hasWriter());
    }
    EXPECT_EQ(TcountedLetter::sLive, before);

    // A letter that cannot copy itself stays shared.
    Tdata plain(new TdataLetter());
    Tdata other(plain);
    EXPECT_EQ(other.makeWritable(), nullptr);
    EXPECT_EQ(other.letter(), plain.letter());
    EXPECT_EQ(Tdata(1.0).makeWritable(), nullptr);
}

TEST(Tdata, KindsOfValueAndDefaultLetterOperations) {
    EXPECT_EQ(Tdata(1.0).typeof(), &Tdata::fsMetaclass);
    EXPECT_EQ(Tdata(1.0).tag(), TiffTag("DBLE"));
    EXPECT_EQ(Tdata(TanimTime(1)).tag(), TiffTag("DBLE"));
    EXPECT_EQ(Tdata::fsNULL.tag(), TiffTag());
    Tdata counted(new TcountedLetter(1.0));
    EXPECT_EQ(counted.typeof(), &TcountedLetter::fsMetaclass);
    EXPECT_EQ(counted.tag(), TiffTag("TST1"));
    EXPECT_EQ(counted.cast(&TdataLetter::fsMetaclass), static_cast<void*>(counted.letter()));
    EXPECT_EQ(counted.cast(&TdataUnknown::fsMetaclass), nullptr);

    TdataLetter plain;
    EXPECT_THROW((void)(plain == Tdata(1.0)), TincompatibleData);
    EXPECT_THROW((void)(plain < plain), TincompatibleData);
    EXPECT_THROW(plain += Tdata(1.0), TincompatibleData);
    EXPECT_THROW((void)(plain / plain), TincompatibleData);
    TargList args("1");
    int index = 0;
    TuInt32 remaining = 0;
    const char* cursor = nullptr;
    Tfile text;
    EXPECT_EQ(plain.readASCII(args, index, 0), -1);
    EXPECT_EQ(plain.readBinary(TiffTag("X   "), remaining, cursor), -1);
    EXPECT_EQ(plain.writeASCII(text, 0), -1);
    TiffFile closed;
    EXPECT_EQ(plain.writeBinary(closed), -1);
}

TEST(Tdata, FreeListRecyclesBlocksPerThreadAndStaysBounded) {
    std::thread([] {
        EXPECT_EQ(Tdata::sFreeListLength(), 0);
        Tdata* first = new Tdata(1.0);
        delete first;
        EXPECT_EQ(Tdata::sFreeListLength(), 1);
        Tdata* again = new Tdata(2.0);
        EXPECT_EQ(again, first); // the block came back
        EXPECT_EQ(Tdata::sFreeListLength(), 0);
        delete again;
        std::vector<std::unique_ptr<Tdata>> many;
        for (int i = 0; i < 1000; ++i)
            many.emplace_back(new Tdata(i));
        many.clear();
        EXPECT_GT(Tdata::sFreeListLength(), 0);
        EXPECT_LE(Tdata::sFreeListLength(), 64);
    }).join();
}

} // namespace
