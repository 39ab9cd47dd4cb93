// Values as chunks: the exact bytes written, reading back through the
// registry, and the chunks that are short, unknown or refused.
#include "DataTestSupport.h"

#include <gtest/gtest.h>

namespace {

struct ReadResult {
    int code = -99;
    Tdata value;
    TiffTag tag;
};

ReadResult readFirst(const Bytes& file) {
    const TiffSpecialNames names;
    ReadResult result;
    TiffFile in(memName(file).c_str(), "r");
    TiffTag id, type;
    if (in.beginReadGroup(id, type) != 0)
        return result;
    result.code = TdataChunk::read(in, result.value, &result.tag);
    return result;
}

Bytes chunkFile(const char* tag, const Bytes& payload) {
    return writeToMemory([&](TiffFile& out) {
        ASSERT_EQ(out.putChunk(TiffTag(tag), Tint32(payload.size()), payload.data()), 0);
    });
}

Bytes rewritten(const Tdata& value) {
    return writeToMemory([&](TiffFile& out) { ASSERT_EQ(TdataChunk::write(out, value), 0); });
}

TEST(TdataChunk, ImmediatesWriteTheirBigEndianBytes) {
    EXPECT_EQ(payloadOf(Tdata(1.5)), (Bytes{0x3F, 0xF8, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(payloadOf(Tdata(-2.0)), (Bytes{0xC0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(payloadOf(Tdata(TanimTime(-2))), (Bytes{0xFF, 0xFF, 0xFF, 0xFE}));
    EXPECT_EQ(payloadOf(Tdata(new TcountedLetter(1.5))), (Bytes{0x3F, 0xF8, 0, 0, 0, 0, 0, 0}));

    const Bytes file = writeToMemory([](TiffFile& out) { ASSERT_EQ(TdataChunk::write(out, Tdata(1.5)), 0); });
    ASSERT_GE(file.size(), 20u);
    EXPECT_EQ(std::string(file.begin() + 12, file.begin() + 16), "DBLE");
}

TEST(TdataChunk, AddressesAndNULLWriteNothing) {
    const Bytes empty = writeToMemory([](TiffFile&) {});
    int object = 0;
    EXPECT_EQ(writeToMemory([&](TiffFile& out) { EXPECT_EQ(TdataChunk::write(out, Tdata(static_cast<void*>(&object))), -1); }),
              empty);
    EXPECT_EQ(writeToMemory([&](TiffFile& out) { EXPECT_EQ(TdataChunk::write(out, Tdata(TuInt64(5))), -1); }), empty);
    EXPECT_EQ(writeToMemory([](TiffFile& out) { EXPECT_EQ(TdataChunk::write(out, Tdata::fsNULL), 0); }), empty);
}

TEST(TdataChunk, ValuesComeBackThroughTheRegistry) {
    const int before = TcountedLetter::sLive;
    {
        ReadResult number = readFirst(rewritten(Tdata(0.1)));
        ASSERT_EQ(number.code, TdataChunk::kRead);
        EXPECT_TRUE(number.value.isNumeric());
        EXPECT_EQ(number.value.doubleValue(), 0.1);
        EXPECT_EQ(number.tag, TiffTag("DBLE"));

        ReadResult time = readFirst(rewritten(Tdata(TanimTime(-77))));
        ASSERT_EQ(time.code, TdataChunk::kRead);
        EXPECT_TRUE(time.value.isAnimTime());
        EXPECT_EQ(time.value.timeValue().inTicks(), -77);

        ReadResult counted = readFirst(rewritten(Tdata(new TcountedLetter(3.25))));
        ASSERT_EQ(counted.code, TdataChunk::kRead);
        EXPECT_EQ(counted.value.typeof(), &TcountedLetter::fsMetaclass);
        EXPECT_EQ(counted.value.doubleValue(), 3.25);
        EXPECT_EQ(counted.value.letter()->referenceCount(), 1);
    }
    EXPECT_EQ(TcountedLetter::sLive, before);
}

TEST(TdataChunk, UnknownAndRefusedChunksRoundTripTheirBytesExactly) {
    const struct {
        const char* tag;
        Bytes payload;
        int code;
    } cases[] = {
        {"ZZZZ", {1, 2, 3, 4, 5}, TdataChunk::kRead},       // unregistered, odd size (padded)
        {"ZZZZ", {}, TdataChunk::kRead},                    // unregistered, empty
        {"TST1", {0x3F, 0xF8, 0}, TdataChunk::kRefused},    // registered, too short
        {"DBLE", {1, 2, 3, 4, 5}, TdataChunk::kRefused},    // neither a double nor a time
        {"DBLE", {}, TdataChunk::kRefused},
        {"UNKN", {9, 9}, TdataChunk::kRead},
        {"BIG ", Bytes(1000, 0xA5), TdataChunk::kRead}, // beyond the small-chunk buffer
    };
    for (const auto& c : cases) {
        const Bytes original = chunkFile(c.tag, c.payload);
        ReadResult read = readFirst(original);
        ASSERT_EQ(read.code, c.code) << c.tag;
        const auto* unknown = static_cast<TdataUnknown*>(read.value.cast(&TdataUnknown::fsMetaclass));
        ASSERT_NE(unknown, nullptr) << c.tag;
        EXPECT_EQ(unknown->keptTag(), TiffTag(c.tag));
        EXPECT_EQ(Bytes(unknown->bytes(), unknown->bytes() + unknown->byteCount()), c.payload);
        EXPECT_EQ(rewritten(read.value), original) << c.tag;
    }
}

TEST(TdataChunk, DecodeReportsWhatTheValueLeftOver) {
    const char bytes[12] = {0x40, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4};
    Tdata value;
    TuInt32 unread = 99;
    ASSERT_EQ(TdataChunk::decode(TiffTag("TST1"), bytes, 12, value, &unread), TdataChunk::kRead);
    EXPECT_EQ(value.doubleValue(), 2.0);
    EXPECT_EQ(unread, 4u);
    ASSERT_EQ(TdataChunk::decode(TiffTag("ZZZZ"), bytes, 12, value, &unread), TdataChunk::kRead);
    EXPECT_EQ(unread, 0u);
    ASSERT_EQ(TdataChunk::decode(TiffTag("ZZZZ"), nullptr, 12, value, &unread), TdataChunk::kRead);
    EXPECT_EQ(static_cast<TdataUnknown*>(value.letter())->byteCount(), 0u);
}

TEST(TdataChunk, ReadBinaryConsumesNothingWhenShort) {
    const char bytes[9] = {0x11, 0x3F, static_cast<char>(0xF8), 0, 0, 0, 0, 0, 0};
    Tdata number(7.0);
    const char* cursor = bytes + 1; // unaligned on purpose
    TuInt32 remaining = 7;
    EXPECT_EQ(number.readBinary(Tdata::kTag, remaining, cursor), -1);
    EXPECT_EQ(cursor, bytes + 1);
    EXPECT_EQ(remaining, 7u);
    EXPECT_EQ(number.doubleValue(), 7.0);
    remaining = 8;
    ASSERT_EQ(number.readBinary(Tdata::kTag, remaining, cursor), 0);
    EXPECT_EQ(number.doubleValue(), 1.5);
    EXPECT_EQ(cursor, bytes + 9);
    EXPECT_EQ(remaining, 0u);

    Tdata time{TanimTime(5)};
    cursor = bytes;
    remaining = 3;
    EXPECT_EQ(time.readBinary(Tdata::kTag, remaining, cursor), -1);
    EXPECT_EQ(time.timeValue().inTicks(), 5);

    int object = 0;
    Tdata address(static_cast<void*>(&object));
    remaining = 8;
    ASSERT_EQ(address.readBinary(Tdata::kTag, remaining, cursor), 0);
    EXPECT_EQ(address.addrValue(), nullptr);
    EXPECT_EQ(remaining, 8u); // it reads nothing
}

TEST(TdataChunk, TruncatedFilesGiveTheLibrarysCodeAndLeaveTheValue) {
    for (const std::size_t payload : {std::size_t(8), std::size_t(600)}) {
        Bytes file = chunkFile("ZZZZ", Bytes(payload, 1));
        file.resize(file.size() - 5); // the chunk claims more than is there
        ReadResult read = readFirst(file);
        EXPECT_TRUE(read.code == kFLincomplete || read.code == kFLpastBoundary) << payload << ": " << read.code;
        EXPECT_TRUE(read.value.isNumeric());
        EXPECT_EQ(read.value.doubleValue(), 0.0);
    }
}

TEST(TdataChunk, ReadStopsAtGroupsAndTheEnd) {
    const Bytes file = writeToMemory([](TiffFile& out) {
        ASSERT_EQ(out.beginWriteGroup(TiffTag("LIST"), TiffTag("SUBS")), 0);
        ASSERT_EQ(out.beginWriteGroup(TiffTag("FORM"), TiffTag("INNR")), 0);
        ASSERT_EQ(TdataChunk::write(out, Tdata(1.0)), 0);
        ASSERT_EQ(out.endWriteGroup(), 0);
        ASSERT_EQ(out.endWriteGroup(), 0);
    });
    const TiffSpecialNames names;
    TiffFile in(memName(file).c_str(), "r");
    TiffTag id, type;
    ASSERT_EQ(in.beginReadGroup(id, type), 0);
    Tdata value(4.0);
    EXPECT_EQ(TdataChunk::read(in, value), kFLgroupHeader);
    EXPECT_EQ(value.doubleValue(), 4.0);
    ASSERT_EQ(in.skipGroup(), 0);
    EXPECT_EQ(TdataChunk::read(in, value), kFLend);
    TiffFile closed;
    EXPECT_NE(TdataChunk::read(closed, value), 0);
}

} // namespace
