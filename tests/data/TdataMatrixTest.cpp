// The matrix letter: its two binary forms, the length rule that picks one,
// and its text forms.
#include "DataTestSupport.h"

#include <gtest/gtest.h>

namespace {

const T4dDblMatrix kPlain(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16.5);

TxformMatrix sampleTransform() {
    // Scale 2, 3, 4 and a translation: decomposes exactly.
    return TxformMatrix(T4dDblMatrix(2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 10, -20, 30, 1));
}

Bytes repeat(const Bytes& bytes, std::size_t times) {
    Bytes out;
    for (std::size_t i = 0; i < times; ++i)
        out.insert(out.end(), bytes.begin(), bytes.end());
    return out;
}

struct Read {
    int result = -9;
    TuInt32 remaining = 0;
    std::ptrdiff_t consumed = 0;
    bool transform = false;
};

Read readMatrix(const Bytes& payload) {
    TdataMatrix letter;
    Read r;
    r.remaining = TuInt32(payload.size());
    const char* start = reinterpret_cast<const char*>(payload.data());
    const char* cursor = start;
    r.result = letter.readBinary(TdataMatrix::kTag, r.remaining, cursor);
    r.consumed = cursor - start;
    r.transform = letter.isTransform();
    return r;
}

TEST(TdataMatrix, PlainMatrixIsSixteenBigEndianDoublesRowByRow) {
    const Bytes bytes = payloadOf(Tdata(new TdataMatrix(kPlain)));
    ASSERT_EQ(bytes.size(), 128u);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 16),
              (Bytes{0x3F, 0xF0, 0, 0, 0, 0, 0, 0, 0x40, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Bytes(bytes.end() - 8, bytes.end()), (Bytes{0x40, 0x30, 0x80, 0, 0, 0, 0, 0}));
    EXPECT_EQ(payloadOf(Tdata(new TdataMatrix())).size(), 128u);
}

TEST(TdataMatrix, TransformationIsItsStoredRecord) {
    const TxformMatrix t = sampleTransform();
    TxformMatrixV1 record;
    t.fillFileIOClass(record);
    unsigned char expected[TxformMatrixV1::kRecordSize];
    record.write(expected);
    const Bytes bytes = payloadOf(Tdata(new TdataMatrix(t)));
    EXPECT_EQ(bytes, Bytes(expected, expected + sizeof expected));

    Tdata back;
    ASSERT_EQ(TdataChunk::decode(TdataMatrix::kTag, bytes.data(), TuInt32(bytes.size()), back), TdataChunk::kRead);
    const auto* m = static_cast<const TdataMatrix*>(back.cast(&TdataMatrix::fsMetaclass));
    ASSERT_NE(m, nullptr);
    EXPECT_TRUE(m->isTransform());
    EXPECT_TRUE(m->transform().equivalent(t));
    EXPECT_EQ(m->matrix().m[3][1], -20);
    EXPECT_EQ(payloadOf(back), bytes);
}

// Fewer than 128 bytes, or a count that neither 128 nor 328 divides, is
// refused; 128 is tested first; one value is consumed, the rest left over.
TEST(TdataMatrix, LengthRule) {
    const Bytes plain = payloadOf(Tdata(new TdataMatrix(kPlain)));
    const Bytes record = payloadOf(Tdata(new TdataMatrix(sampleTransform())));
    for (std::size_t size : {std::size_t(0), std::size_t(8), std::size_t(127), std::size_t(129), std::size_t(200),
                             std::size_t(327), std::size_t(329), std::size_t(456)}) {
        const Read r = readMatrix(Bytes(size, 0));
        EXPECT_EQ(r.result, -1) << size;
        EXPECT_EQ(r.consumed, 0) << size;
        EXPECT_EQ(r.remaining, size) << size;
    }
    Read r = readMatrix(plain);
    EXPECT_TRUE(r.result == 0 && !r.transform && r.consumed == 128 && r.remaining == 0);
    r = readMatrix(repeat(plain, 2));
    EXPECT_TRUE(r.result == 0 && !r.transform && r.consumed == 128 && r.remaining == 128);
    r = readMatrix(record);
    EXPECT_TRUE(r.result == 0 && r.transform && r.consumed == 328 && r.remaining == 0);
    r = readMatrix(repeat(record, 3));
    EXPECT_TRUE(r.result == 0 && r.transform && r.consumed == 328 && r.remaining == 656);
    // 41984 bytes is 328 x 128: a plain matrix.
    r = readMatrix(repeat(record, 128));
    EXPECT_TRUE(r.result == 0 && !r.transform && r.consumed == 128);

    int code = 0;
    Tdata kept;
    const Bytes odd(200, 7);
    code = TdataChunk::decode(TdataMatrix::kTag, odd.data(), TuInt32(odd.size()), kept);
    EXPECT_EQ(code, TdataChunk::kRefused);
    EXPECT_EQ(payloadOf(kept), odd);
}

TEST(TdataMatrix, TextRoundTripsBothForms) {
    for (const Tdata& value : {Tdata(new TdataMatrix(kPlain)), Tdata(new TdataMatrix(sampleTransform()))}) {
        Tfile file;
        ASSERT_EQ(value.writeASCII(file, 0, true), 0);
        const TargList args(file.text());
        Tdata back;
        int index = 0;
        ASSERT_EQ(back.readASCII(args, index), 0) << file.text();
        EXPECT_EQ(index, args.count() - 1);
        EXPECT_EQ(payloadOf(back), payloadOf(value));
    }
    Tfile plain;
    (void)TdataMatrix().writeASCII(plain, 0);
    EXPECT_EQ(plain.text(), "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 ");
}

TEST(TdataMatrix, BadTextChangesNothing) {
    TdataMatrix m(kPlain);
    for (const char* line : {"1 2 3", "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 x", "xform 1 2 3",
                             "xform 1 1 1 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 1 0 0 0 1 1 1 1 0 0 0 1 0 -1",
                             "xform 1 1 1 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 1 0 0 0 1 1 1 1 0 0 0 1 0 0.5"}) {
        const TargList args(line);
        int index = 0;
        EXPECT_EQ(m.readASCII(args, index, 0), -1) << line;
        EXPECT_EQ(index, 0);
    }
    EXPECT_FALSE(m.isTransform());
    EXPECT_EQ(m.matrix().m[3][3], 16.5);
}

} // namespace
