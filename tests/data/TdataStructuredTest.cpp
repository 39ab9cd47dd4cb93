// Binary data, compounds and attribute arrays: exact bytes, byte-exact
// round trips, refusals of malformed chunks, and text.
#include "DataTestSupport.h"

#include <gtest/gtest.h>

namespace {

Tdata int32s(std::initializer_list<Tint32> values) {
    auto* letter = new TdataInt32Array;
    letter->assign(values.begin(), TuInt32(values.size()));
    return Tdata(letter);
}

Tdata decodedAs(const char* tag, const Bytes& bytes, int expected) {
    Tdata value;
    EXPECT_EQ(TdataChunk::decode(TiffTag(tag), bytes.data(), TuInt32(bytes.size()), value), expected);
    return value;
}

std::string typedText(const Tdata& value) {
    Tfile file;
    EXPECT_EQ(value.writeASCII(file, 0, true), 0);
    return file.text();
}

Tdata fromText(const std::string& line, int expected = 0) {
    const TargList args(line);
    Tdata value;
    int index = 0;
    EXPECT_EQ(value.readASCII(args, index), expected) << line;
    return value;
}

Tdata nested(int depth) {
    auto* outer = new TdataCompound;
    if (depth > 1)
        outer->addChild(nested(depth - 1));
    return Tdata(outer);
}

TEST(TdataBinary, BytesAsTheyAreAndAsHex) {
    const Bytes bytes = {0x00, 0xFF, 0x7A};
    const Tdata value(new TdataBinary(bytes.data(), 3));
    EXPECT_EQ(payloadOf(value), bytes);
    const Tdata back = decodedAs("BINA", bytes, TdataChunk::kRead);
    EXPECT_TRUE(*back.letter() == *value.letter());

    EXPECT_EQ(typedText(value), "-type \"binary\" 3 00ff7a ");
    EXPECT_TRUE(*fromText(typedText(value)).letter() == *value.letter());
    EXPECT_TRUE(*fromText("-type binary 3 00FF7A").letter() == *value.letter());
    EXPECT_EQ(static_cast<const TdataBinary*>(fromText("-type binary 0").letter())->byteCount(), 0u);
    for (const char* bad : {"-type binary 2 00ff7a", "-type binary 3 00ff7", "-type binary 1 0g", "-type binary 1",
                            "-type binary 4294967295 00"})
        fromText(bad, -1);
}

TEST(TdataCompound, ChildrenAsPaddedChunks) {
    auto* compound = new TdataCompound;
    compound->addChild(int32s({7}));
    compound->addChild(Tdata(1.5));
    const Bytes one = {0xAB};
    compound->addChild(Tdata(new TdataBinary(one.data(), 1)));
    const Tdata value(compound);
    const Bytes expected = {'I', '3', '2', '#', 0, 0, 0, 4, 0, 0, 0, 7,                      //
                            'D', 'B', 'L', 'E', 0, 0, 0, 8, 0x3F, 0xF8, 0, 0, 0, 0, 0, 0, //
                            'B', 'I', 'N', 'A', 0, 0, 0, 1, 0xAB, 0, 0, 0};
    EXPECT_EQ(payloadOf(value), expected);

    const Tdata back = decodedAs("CMPD", expected, TdataChunk::kRead);
    const auto* read = static_cast<const TdataCompound*>(back.cast(&TdataCompound::fsMetaclass));
    ASSERT_NE(read, nullptr);
    ASSERT_EQ(read->count(), 3u);
    EXPECT_EQ(read->child(0).typeof(), &TdataInt32Array::fsMetaclass);
    EXPECT_EQ(read->child(1).doubleValue(), 1.5);
    EXPECT_EQ(payloadOf(back), expected);

    // Unknown tags inside stay as they were, even those no data chunk may
    // have on its own.
    for (const char* tag : {"ZZZZ", "FORM", "    "}) {
        Bytes unknown = {0, 0, 0, 0, 0, 0, 0, 3, 1, 2, 3, 0};
        std::copy(tag, tag + 4, unknown.begin());
        EXPECT_EQ(payloadOf(decodedAs("CMPD", unknown, TdataChunk::kRead)), unknown) << tag;
    }
    EXPECT_EQ(payloadOf(Tdata(new TdataCompound)), Bytes{});
}

TEST(TdataCompound, MalformedChunksAreKeptAsBytes) {
    const Bytes cases[] = {
        {'I', '3', '2', '#', 0, 0, 0, 8, 0, 0, 0, 7},          // length past the end
        {'B', 'I', 'N', 'A', 0, 0, 0, 1, 0xAB, 0, 1, 0},       // nonzero padding
        {'B', 'I', 'N', 'A', 0, 0, 0, 1, 0xAB},                // padding missing
        {'I', '3', '2', '#', 0, 0, 0, 0, 1, 2, 3},             // bytes too few for a header
        {'I', '3', '2', '#', 0xFF, 0xFF, 0xFF, 0xFF, 1, 2, 3, 4}, // a huge length
    };
    for (const Bytes& bytes : cases) {
        const Tdata kept = decodedAs("CMPD", bytes, TdataChunk::kRefused);
        EXPECT_EQ(kept.typeof(), &TdataUnknown::fsMetaclass);
        EXPECT_EQ(payloadOf(kept), bytes);
    }
}

TEST(TdataCompound, NestingIsBounded) {
    // Each level wraps the one inside in a chunk header.
    Bytes bytes;
    for (int level = 0; level < TdataCompound::kMaxDepth + 8; ++level) {
        const TuInt32 n = TuInt32(bytes.size());
        Bytes outer = {'C', 'M', 'P', 'D', Bytes::value_type(n >> 24), Bytes::value_type(n >> 16),
                       Bytes::value_type(n >> 8), Bytes::value_type(n)};
        outer.insert(outer.end(), bytes.begin(), bytes.end());
        bytes.swap(outer);
    }
    // Too deep somewhere inside: that level is kept as bytes, and the whole
    // still writes back the same.
    const Tdata deep = decodedAs("CMPD", bytes, TdataChunk::kRead);
    EXPECT_EQ(payloadOf(deep), bytes);

    Tfile file;
    EXPECT_EQ(nested(TdataCompound::kMaxDepth).writeASCII(file, 0), 0);
    EXPECT_EQ(nested(TdataCompound::kMaxDepth + 1).writeASCII(file, 0), -1);
}

TEST(TdataCompound, TextRoundTrips) {
    auto* compound = new TdataCompound;
    compound->addChild(int32s({1, 2}));
    compound->addChild(Tdata(0.25));
    auto* inner = new TdataCompound;
    inner->addChild(Tdata(new TdataBinary("x", 1)));
    compound->addChild(Tdata(inner));
    const Tdata value(compound);
    const std::string text = typedText(value);
    EXPECT_EQ(text, "-type \"TdataCompound\" 3 -type \"Int32Array\" 2 1 2  0.25 -type \"TdataCompound\" 1 "
                    "-type \"binary\" 1 78   ");
    const Tdata back = fromText(text);
    EXPECT_EQ(payloadOf(back), payloadOf(value));
    for (const char* bad : {"-type TdataCompound 2 1", "-type TdataCompound 1 -type Int32Array 2 1",
                            "-type TdataCompound 1 x", "-type TdataCompound 99999999999"})
        fromText(bad, -1);
}

TEST(TdataArrayAttrs, LayoutAndRoundTrip) {
    auto* attrs = new TdataArrayAttrs;
    EXPECT_EQ(attrs->addAttribute("id", int32s({1})), 0);
    auto* positions = new TdataDoubleArray;
    positions->addLast(1.5);
    EXPECT_EQ(attrs->addAttribute("pos", Tdata(positions)), 0);
    EXPECT_EQ(attrs->addAttribute("bad", Tdata(2.0)), -1);
    const Tdata value(attrs);
    const Bytes expected = {0, 0, 0, 2,                                                 //
                            0, 0, 0, 2, 'i', 'd', 0, 0, 'I', '3', '2', '#', 0, 0, 0, 4, 0, 0, 0, 1, //
                            0, 0, 0, 3, 'p', 'o', 's', 0, 'D', 'B', 'L', '#', 0, 0, 0, 8,
                            0x3F, 0xF8, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(payloadOf(value), expected);
    const Tdata back = decodedAs("NWP#", expected, TdataChunk::kRead);
    const auto* read = static_cast<const TdataArrayAttrs*>(back.cast(&TdataArrayAttrs::fsMetaclass));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->find("pos"), 1);
    EXPECT_EQ(payloadOf(back), expected);

    const std::string text = typedText(value);
    EXPECT_EQ(text, "-type \"newParticles\" 2 id -type \"Int32Array\" 1 1 pos -type \"doubleArray\" 1 1.5 ");
    EXPECT_EQ(payloadOf(fromText(text)), expected);
    for (const char* bad : {"-type newParticles 1 id", "-type newParticles 1 id 2", "-type newParticles 1 id -type binary 0",
                            "-type newParticles 5 a -type Int32Array 0"})
        fromText(bad, -1);
}

TEST(TdataArrayAttrs, MalformedChunksAreRefused) {
    const Bytes cases[] = {
        {0xFF, 0xFF, 0xFF, 0xFF},                                               // a count past the bytes
        {0, 0, 0, 1, 0, 0, 0, 9, 'a', 0, 0, 0, 'I', '3', '2', '#', 0, 0, 0, 0}, // a name past the end
        {0, 0, 0, 1, 0, 0, 0, 1, 'a', 0, 0, 0, 'B', 'I', 'N', 'A', 0, 0, 0, 0}, // not an array
        {0, 0, 0, 1, 0, 0, 0, 1, 'a', 0, 0, 0, 'D', 'B', 'L', '#', 0, 0, 0, 4, 0, 0, 0, 0}, // a partial element
        {0, 0, 0, 1, 0, 0, 0, 1, 'a', 1, 0, 0, 'I', '3', '2', '#', 0, 0, 0, 0}, // nonzero padding
        {0, 0, 0, 0, 0},                                                        // a byte left over
    };
    for (const Bytes& bytes : cases) {
        const Tdata kept = decodedAs("NWP#", bytes, TdataChunk::kRefused);
        EXPECT_EQ(payloadOf(kept), bytes);
    }
}

} // namespace
