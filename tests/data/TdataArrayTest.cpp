// The array letters: exact bytes, reading the whole rest of a chunk,
// elements shared between copies until one writes, and their text.
#include "DataTestSupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

template <class Letter>
Tdata arrayOf(std::initializer_list<typename Letter::Element> values) {
    auto* letter = new Letter;
    letter->assign(values.begin(), TuInt32(values.size()));
    return Tdata(letter);
}

// Reads bytes under tag through the registry; the letter read, or null.
template <class Letter>
const Letter* decoded(const char* tag, const Bytes& bytes, Tdata& holder) {
    EXPECT_EQ(TdataChunk::decode(TiffTag(tag), bytes.data(), TuInt32(bytes.size()), holder), TdataChunk::kRead);
    return static_cast<const Letter*>(holder.cast(&Letter::fsMetaclass));
}

std::string typedText(const Tdata& value) {
    Tfile file;
    EXPECT_EQ(value.writeASCII(file, 0, true), 0);
    return file.text();
}

int readText(const std::string& line, Tdata& value) {
    const TargList args(line);
    int index = 0;
    return value.readASCII(args, index);
}

TEST(TdataArray, RegisteredUnderTheirNamesAndTags) {
    const struct {
        const char* name;
        const char* tag;
        Tmetaclass* type;
    } cases[] = {
        {"Int32Array", "I32#", &TdataInt32Array::fsMetaclass},
        {"doubleArray", "DBL#", &TdataDoubleArray::fsMetaclass},
        {"uInt64Array", "U64#", &TdataUInt64Array::fsMetaclass},
        {"binary", "BINA", &TdataBinary::fsMetaclass},
        {"TdataCompound", "CMPD", &TdataCompound::fsMetaclass},
        {"newParticles", "NWP#", &TdataArrayAttrs::fsMetaclass},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(TmetaLetter::findTypeid(c.name), c.type) << c.name;
        EXPECT_EQ(TmetaLetter::findTypeid(TiffTag(c.tag)), c.type) << c.tag;
        const Tdata made(TmetaLetter::construct(TiffTag(c.tag)));
        EXPECT_EQ(made.letter()->typeName(), c.name);
        EXPECT_EQ(made.tag(), TiffTag(c.tag));
    }
    EXPECT_EQ(TiffTag("I32#").value(), 0x49333223u);
    EXPECT_EQ(TiffTag("U64#").value(), 0x55363423u);
}

TEST(TdataArray, ExactBigEndianBytes) {
    EXPECT_EQ(payloadOf(arrayOf<TdataInt32Array>({1, -2, std::numeric_limits<Tint32>::min()})),
              (Bytes{0, 0, 0, 1, 0xFF, 0xFF, 0xFF, 0xFE, 0x80, 0, 0, 0}));
    EXPECT_EQ(payloadOf(arrayOf<TdataDoubleArray>({1.5, -2.0})),
              (Bytes{0x3F, 0xF8, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(payloadOf(arrayOf<TdataUInt64Array>({0x0102030405060708ull, ~0ull})),
              (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));

    // An empty array is a chunk with no data.
    const Bytes file = writeToMemory([](TiffFile& out) { ASSERT_EQ(TdataChunk::write(out, Tdata(new TdataDoubleArray)), 0); });
    ASSERT_EQ(file.size(), 20u);
    EXPECT_EQ(std::string(file.begin() + 12, file.begin() + 16), "DBL#");
    EXPECT_EQ(Bytes(file.begin() + 16, file.end()), (Bytes{0, 0, 0, 0}));
}

TEST(TdataArray, ReadingTakesTheWholeRestOfTheChunk) {
    const Bytes ten = {0, 0, 0, 7, 0xFF, 0xFF, 0xFF, 0xF9, 0xAA, 0xBB};
    TdataInt32Array letter;
    TuInt32 remaining = TuInt32(ten.size());
    const char* cursor = reinterpret_cast<const char*>(ten.data());
    ASSERT_EQ(letter.readBinary(TdataInt32Array::kTag, remaining, cursor), 0);
    EXPECT_EQ(remaining, 0u);
    EXPECT_EQ(cursor, reinterpret_cast<const char*>(ten.data()) + 10);
    ASSERT_EQ(letter.count(), 2u);
    EXPECT_EQ(letter.value(0), 7);
    EXPECT_EQ(letter.value(1), -7);

    // Fewer bytes than one element: an empty array, every byte consumed.
    Tdata holder;
    const auto* shortOne = decoded<TdataDoubleArray>("DBL#", Bytes{1, 2, 3, 4, 5, 6, 7}, holder);
    ASSERT_NE(shortOne, nullptr);
    EXPECT_EQ(shortOne->count(), 0u);

    // Every value survives the trip.
    const Tdata doubles = arrayOf<TdataDoubleArray>({0.1, -0.0, 1e300, std::numeric_limits<double>::denorm_min()});
    const auto* back = decoded<TdataDoubleArray>("DBL#", payloadOf(doubles), holder);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(std::memcmp(back->elements(), static_cast<const TdataDoubleArray*>(doubles.letter())->elements(), 32), 0);
}

TEST(TdataArray, CopiesShareElementsUntilOneWrites) {
    TdataInt32Array original;
    original.addLast(1);
    ASSERT_NE(original.array(), nullptr);
    EXPECT_EQ(original.array()->physicalSize(), TdataInt32Array::kInitialRoom);
    original.addLast(2);

    Tdata copy(original.copy());
    auto* copied = static_cast<TdataInt32Array*>(copy.letter());
    EXPECT_EQ(copied->elements(), original.elements());
    EXPECT_EQ(original.sharingCount(), 2);
    EXPECT_TRUE(*copied == original);

    copied->setValue(0, 10);
    EXPECT_NE(copied->elements(), original.elements());
    EXPECT_EQ(original.value(0), 1);
    EXPECT_EQ(copied->value(0), 10);
    EXPECT_FALSE(*copied == original);

    // Assigning a letter its own elements (the array is not shared now).
    copied->assign(copied->elements() + 1, 1);
    ASSERT_EQ(copied->count(), 1u);
    EXPECT_EQ(copied->value(0), 2);

    // Reading into a letter leaves the elements of its copies alone.
    Tdata second(copied->copy());
    const Bytes one = {0, 0, 0, 5};
    TuInt32 remaining = 4;
    const char* cursor = reinterpret_cast<const char*>(one.data());
    ASSERT_EQ(copied->readBinary(TdataInt32Array::kTag, remaining, cursor), 0);
    EXPECT_EQ(static_cast<TdataInt32Array*>(second.letter())->value(0), 2);
    EXPECT_EQ(copied->value(0), 5);
}

TEST(TdataArray, BufferOutlivesWritesAndTheLetter) {
    auto* letter = new TdataDoubleArray;
    Tdata holder(letter);
    for (int i = 0; i < 100; ++i)
        letter->addLast(i);
    const TdataDoubleArray::Buffer buffer = letter->buffer();
    const double* data = buffer.data();
    EXPECT_EQ(data, letter->elements());
    EXPECT_EQ(buffer.count(), 100u);
    EXPECT_EQ(buffer.byteSize(), 800u);

    letter->setValue(0, -1.0);   // copies away from the buffer
    for (int i = 0; i < 1000; ++i) // and grows
        letter->addLast(i);
    holder.setToNULL();
    EXPECT_EQ(buffer.data(), data);
    EXPECT_EQ(data[0], 0.0);
    EXPECT_EQ(data[99], 99.0);
}

TEST(TdataArray, TextRoundTrips) {
    const Tdata values[] = {
        arrayOf<TdataInt32Array>({std::numeric_limits<Tint32>::min(), 0, std::numeric_limits<Tint32>::max()}),
        arrayOf<TdataDoubleArray>({0.1, -1e-300, 2.5}),
        arrayOf<TdataUInt64Array>({~0ull, 0}),
        Tdata(new TdataInt32Array),
    };
    EXPECT_EQ(typedText(values[0]), "-type \"Int32Array\" 3 -2147483648 0 2147483647 ");
    EXPECT_EQ(typedText(values[3]), "-type \"Int32Array\" 0 ");
    for (const Tdata& value : values) {
        const std::string text = typedText(value);
        const TargList args(text + " next");
        Tdata read;
        int index = 0;
        ASSERT_EQ(read.readASCII(args, index), 0) << text;
        EXPECT_EQ(index, args.count() - 2) << text; // on the last element
        EXPECT_TRUE(*read.letter() == *value.letter()) << text;
    }
}

TEST(TdataArray, TextWithWrongCountsOrBadNumbersIsRefused) {
    for (const char* bad : {
             "-type Int32Array",                // no count
             "-type Int32Array 3 1 2",          // fewer values than the count
             "-type Int32Array 4000000000 1",   // a count far past the line
             "-type Int32Array -1",             // a negative count
             "-type Int32Array 1 x",            // not a number
             "-type Int32Array 1 2147483648",   // out of range
             "-type Int32Array 1 1.5",          // not an integer
             "-type uInt64Array 1 -1",          // negative
             "-type uInt64Array 1 18446744073709551616",
             "-type doubleArray 2 1 1e400",     // out of range
             "-type doubleArray 1 0x10",
         }) {
        Tdata read(2.0);
        EXPECT_EQ(readText(bad, read), -1) << bad;
        EXPECT_EQ(read.doubleValue(), 2.0) << bad;
    }
    // A failed read leaves the letter as it was.
    TdataInt32Array letter;
    letter.addLast(9);
    const TargList args("2 1 y");
    int index = 0;
    EXPECT_EQ(letter.readASCII(args, index, 0), -1);
    ASSERT_EQ(letter.count(), 1u);
    EXPECT_EQ(letter.value(0), 9);
}

TEST(TdataArray, TextHintsOfDoubles) {
    const Tdata ticks = arrayOf<TdataDoubleArray>({6000, 3000});
    Tfile seconds;
    EXPECT_EQ(ticks.writeASCII(seconds, 8), 0);
    EXPECT_EQ(seconds.text(), "2 1 0.5 ");
    Tfile none;
    EXPECT_EQ(ticks.writeASCII(none, 2), 0);
    EXPECT_EQ(none.text(), "");
}

std::string debugText(const TdataLetter& letter) {
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* stream = open_memstream(&text, &size);
    TdebugOutput out(stream);
    letter.debug(out);
    std::fclose(stream);
    std::string result(text, size);
    std::free(text);
    return result;
}

TEST(TdataArray, DebugListings) {
    TdataInt32Array ints;
    EXPECT_EQ(debugText(ints), "Int32Array : NULL\n");
    ints.addLast(4);
    ints.addLast(-5);
    EXPECT_EQ(debugText(ints), "Int32Array : 2 members\n[0]\t= 4\n[1]\t= -5\n");
    TdataUInt64Array wide;
    wide.addLast(~0ull);
    EXPECT_EQ(debugText(wide), "uInt64Array : 1 members\n[0]\t= 18446744073709551615\n");
    TdataDoubleArray doubles;
    doubles.addLast(0.5);
    EXPECT_EQ(debugText(doubles), "Size 1\n[0]\t= 0.5\n");
    const unsigned char bytes[] = {0x0A, 0xFF};
    EXPECT_EQ(debugText(TdataBinary(bytes, 2)), "Binary Data 2 bytes\n0aff\n");
}

} // namespace
