// The tuple, spectrum and address letters: registry entries, exact bytes,
// refused short chunks, saturation, conversions and text round trips.
#include "DataTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

struct Entry {
    const char* name;
    const char* tag;
    Tmetaclass* record;
    TuInt32 bytes; // 0: never written
};

const Entry kEntries[] = {
    {"double2", "DBL2", &Tdata2Double::fsMetaclass, 16},  {"double3", "DBL3", &Tdata3Double::fsMetaclass, 24},
    {"double4", "DBL4", &Tdata4Double::fsMetaclass, 32},  {"float2", "FLT2", &Tdata2Float::fsMetaclass, 8},
    {"float3", "FLT3", &Tdata3Float::fsMetaclass, 12},    {"long2", "LNG2", &Tdata2Int32::fsMetaclass, 8},
    {"long3", "LNG3", &Tdata3Int32::fsMetaclass, 12},     {"short2", "SRT2", &Tdata2Int16::fsMetaclass, 4},
    {"short3", "SRT3", &Tdata3Int16::fsMetaclass, 6},     {"matrix", "MATR", &TdataMatrix::fsMetaclass, 128},
    {"spectrumRGB", "SRGB", &TdataSpectrum::fsMetaclass, 12}, {"reflectanceRGB", "RRGB", &TdataReflectance::fsMetaclass, 12},
    {"void", "VOID", &TdataVoidPtr::fsMetaclass, 0},
};

std::string textOf(const TdataLetter& letter, int hint) {
    Tfile file;
    (void)letter.writeASCII(file, hint);
    return file.text();
}

// Decodes payload under tag; the letter of the class registered for it.
Tdata decoded(const char* tag, const Bytes& payload, int* code = nullptr, TuInt32* unread = nullptr) {
    Tdata value;
    const int result = TdataChunk::decode(TiffTag(tag), payload.data(), TuInt32(payload.size()), value, unread);
    if (code)
        *code = result;
    return value;
}

Tdata readText(const char* line, int* result = nullptr, int* index = nullptr) {
    const TargList args(line);
    int at = 0;
    Tdata value;
    const int code = value.readASCII(args, at);
    if (result)
        *result = code;
    if (index)
        *index = at;
    return value;
}

// Found by tag and by name (also in a static build, where nothing else
// refers to the letters' object files), made as the right class, and
// naming themselves as the registry does.
TEST(TdataLetters, EveryClassIsRegisteredUnderItsNameAndTag) {
    for (const Entry& e : kEntries) {
        SCOPED_TRACE(e.name);
        EXPECT_EQ(TmetaLetter::findTypeid(TiffTag(e.tag)), e.record);
        EXPECT_EQ(TmetaLetter::findTypeid(e.name), e.record);
        Tdata made(TmetaLetter::construct(TiffTag(e.tag)));
        ASSERT_NE(made.letter(), nullptr);
        EXPECT_EQ(made.typeof(), e.record);
        EXPECT_EQ(made.letter()->typeName().view(), e.name);
        EXPECT_EQ(made.tag(), TiffTag(e.tag));
        if (e.bytes) {
            Tdata copy(made.letter()->copy());
            EXPECT_EQ(payloadOf(copy).size(), e.bytes);
        }
    }
    EXPECT_EQ(TiffTag("DBL2").value(), 0x44424C32u);
}

TEST(TdataLetters, TuplesWriteTheirElementsBigEndian) {
    EXPECT_EQ(payloadOf(Tdata(new Tdata3Int16(1, -1, 2))), (Bytes{0, 1, 0xFF, 0xFF, 0, 2}));
    EXPECT_EQ(payloadOf(Tdata(new Tdata2Int16(-32768, 258))), (Bytes{0x80, 0, 1, 2}));
    EXPECT_EQ(payloadOf(Tdata(new Tdata2Int32(1, -2))), (Bytes{0, 0, 0, 1, 0xFF, 0xFF, 0xFF, 0xFE}));
    EXPECT_EQ(payloadOf(Tdata(new Tdata3Int32(0x01020304, 0, -1))),
              (Bytes{1, 2, 3, 4, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(payloadOf(Tdata(new Tdata2Float(1.5f, -2.0f))), (Bytes{0x3F, 0xC0, 0, 0, 0xC0, 0, 0, 0}));
    EXPECT_EQ(payloadOf(Tdata(new Tdata3Float(0.0f, 1.0f, -0.0f))),
              (Bytes{0, 0, 0, 0, 0x3F, 0x80, 0, 0, 0x80, 0, 0, 0}));
    EXPECT_EQ(payloadOf(Tdata(new Tdata2Double(1.5, -2.0))),
              (Bytes{0x3F, 0xF8, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0}));
    const Bytes d4 = payloadOf(Tdata(new Tdata4Double(0, 0, 0, 1)));
    ASSERT_EQ(d4.size(), 32u);
    EXPECT_EQ(Bytes(d4.begin() + 24, d4.end()), (Bytes{0x3F, 0xF0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(payloadOf(Tdata(new TdataSpectrum(Tspectrum::fromRGB(0.5f, 1.0f, -2.0f)))),
              (Bytes{0x3F, 0, 0, 0, 0x3F, 0x80, 0, 0, 0xC0, 0, 0, 0}));
    const Tdata reflectance(new TdataReflectance(Treflectance::fromRGB(1.0f, 0.0f, 0.5f)));
    EXPECT_EQ(reflectance.tag(), TiffTag("RRGB"));
    EXPECT_EQ(payloadOf(reflectance), (Bytes{0x3F, 0x80, 0, 0, 0, 0, 0, 0, 0x3F, 0, 0, 0}));
}

// Components may hold any number; integers saturate and NaN becomes 0.
TEST(TdataLetters, IntegerElementsSaturate) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Tdata2Int16 s;
    s[0] = 40000.0;
    s[1] = nan;
    EXPECT_EQ(payloadOf(Tdata(s.copy())), (Bytes{0x7F, 0xFF, 0, 0}));
    Tdata3Int32 l;
    l[0] = -1e300;
    l[1] = 3e9;
    l[2] = nan;
    EXPECT_EQ(payloadOf(Tdata(l.copy())), (Bytes{0x80, 0, 0, 0, 0x7F, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}));
    EXPECT_EQ(l.element(1), 2147483647);
}

TEST(TdataLetters, ChunksReadBackToEqualValues) {
    const Tdata values[] = {
        Tdata(new Tdata2Double(0.1, -1e300)),  Tdata(new Tdata3Double(1, 2, 3)),
        Tdata(new Tdata4Double(1, 2, 3, 0.5)), Tdata(new Tdata2Float(0.1f, 3e38f)),
        Tdata(new Tdata3Float(-1, 0.25f, 7)),  Tdata(new Tdata2Int32(-2147483647 - 1, 5)),
        Tdata(new Tdata3Int32(1, -1, 2)),      Tdata(new Tdata2Int16(-5, 32767)),
        Tdata(new Tdata3Int16(1, -1, 2)),      Tdata(new TdataSpectrum(Tspectrum::fromRGB(0.1f, 0.2f, 0.3f))),
        Tdata(new TdataReflectance(Treflectance::fromRGB(1, 0.5f, 0))),
    };
    for (const Tdata& value : values) {
        SCOPED_TRACE(value.letter()->typeName().asC());
        char tag[5];
        int code = -9;
        TuInt32 unread = 99;
        Bytes payload = payloadOf(value);
        payload.push_back(0xAB); // left for the caller
        const Tdata back = decoded(value.tag().valueTchar(tag), payload, &code, &unread);
        EXPECT_EQ(code, TdataChunk::kRead);
        EXPECT_EQ(unread, 1u);
        ASSERT_NE(back.letter(), nullptr);
        EXPECT_TRUE(*back.letter() == *value.letter());
        payload.pop_back();
        EXPECT_EQ(payloadOf(back), payload);
    }
}

// One byte short: -1 with the cursor and count untouched; decode keeps the
// bytes as unknown.
TEST(TdataLetters, ShortChunksAreRefusedWithoutConsuming) {
    for (const Entry& e : kEntries) {
        if (!e.bytes || e.record == &TdataMatrix::fsMetaclass)
            continue;
        SCOPED_TRACE(e.name);
        const Bytes payload(e.bytes - 1, 0x11);
        Tdata letter(TdataLetter::construct(e.record));
        TuInt32 remaining = TuInt32(payload.size());
        const char* cursor = reinterpret_cast<const char*>(payload.data());
        EXPECT_EQ(letter.letter()->readBinary(TiffTag(e.tag), remaining, cursor), -1);
        EXPECT_EQ(remaining, payload.size());
        EXPECT_EQ(cursor, reinterpret_cast<const char*>(payload.data()));
        int code = 0;
        const Tdata kept = decoded(e.tag, payload, &code);
        EXPECT_EQ(code, TdataChunk::kRefused);
        EXPECT_EQ(payloadOf(kept), payload);
    }
}

TEST(TdataLetters, ConversionsToAndFromPointsAndVectors) {
    const T3dDblPoint p(1, -2, 3.5);
    const T3dDblPoint q = Tdata3Double(p).point();
    EXPECT_TRUE(q.x == 1 && q.y == -2 && q.z == 3.5);
    const T4dDblVector v = Tdata3Double(T4dDblVector(4, 5, 6)).vector();
    EXPECT_TRUE(v.x == 4 && v.y == 5 && v.z == 6);
    const T4dDblPoint w = Tdata4Double(T4dDblPoint(1, 2, 3, 0.5)).point();
    EXPECT_EQ(w.w, 0.5);
    EXPECT_EQ(Tdata2Double(TdblPoint(7, 8)).point().y, 8);
    const T2dFltVector f = Tdata2Float(T2dFltVector(0.5f, 0.25f)).vector();
    EXPECT_TRUE(f.x == 0.5f && f.y == 0.25f);
    const T3dFltPoint g = Tdata3Float(T4dFltVector(1, 2, 3)).point();
    EXPECT_EQ(g.z, 3.0f);
    // A component given as a time converts through its double value.
    Tdata3Double t;
    t[1] = TanimTime(6000);
    EXPECT_EQ(t.point().y, 6000.0);
}

TEST(TdataLetters, TextFormsByHint) {
    const Tdata3Double d(1, 2.5, -3);
    EXPECT_EQ(textOf(d, 0), "1 2.5 -3 ");
    EXPECT_EQ(textOf(d, 4), "1 2.5 -3 ");
    for (int hint : {1, 2, 3, 5, 9})
        EXPECT_EQ(textOf(d, hint), "") << hint;
    EXPECT_EQ(textOf(Tdata2Double(6000, 3000), 8), "1 0.5 ");
    EXPECT_EQ(textOf(Tdata2Float(0.1f, 1e-7f), 0), "0.1 1e-07 ");
    EXPECT_EQ(textOf(Tdata3Int16(1, -1, 2), 0), "1 -1 2 ");
    EXPECT_EQ(textOf(TdataSpectrum(Tspectrum::fromRGB(0.1f, 0.5f, 1)), 7), "0.1 0.5 1 ");
}

TEST(TdataLetters, TextRoundTrips) {
    const Tdata values[] = {
        Tdata(new Tdata2Double(0.1, -1e-300)), Tdata(new Tdata4Double(1, 2, 3, 4)),
        Tdata(new Tdata3Float(0.1f, -0.0f, 3e38f)), Tdata(new Tdata2Int32(-2147483647 - 1, 2147483647)),
        Tdata(new Tdata3Int16(-32768, 0, 32767)), Tdata(new TdataReflectance(Treflectance::fromRGB(0.3f, 0.6f, 0.9f))),
    };
    for (const Tdata& value : values) {
        Tfile file;
        ASSERT_EQ(value.writeASCII(file, 0, true), 0);
        file.putString("next");
        int result = -9, index = -1;
        const Tdata back = readText(file.text().c_str(), &result, &index);
        SCOPED_TRACE(file.text());
        ASSERT_EQ(result, 0);
        EXPECT_EQ(TargList(file.text())[index + 1].view(), "next");
        ASSERT_NE(back.letter(), nullptr);
        EXPECT_TRUE(*back.letter() == *value.letter());
        EXPECT_EQ(payloadOf(back), payloadOf(value));
    }
}

TEST(TdataLetters, BadTextIsRefusedAndChangesNothing) {
    int result = 0;
    for (const char* line : {"-type double3 1 2", "-type double3 1 x 3", "-type short2 1 -type", "-type float2",
                             "-type spectrumRGB 1 2 nan3", "-type long2 1 \"\""}) {
        (void)readText(line, &result);
        EXPECT_EQ(result, -1) << line;
    }
    Tdata3Double kept(1, 2, 3);
    const TargList args("4 5 six");
    int index = 0;
    EXPECT_EQ(kept.readASCII(args, index, 0), -1);
    EXPECT_EQ(index, 0);
    EXPECT_EQ(kept.point().x, 1);
    index = -1;
    EXPECT_EQ(kept.readASCII(args, index, 0), -1);
}

TEST(TdataLetters, AddressesAreNeverWritten) {
    int object = 0;
    const Tdata address(new TdataVoidPtr(&object));
    const Bytes empty = writeToMemory([](TiffFile&) {});
    EXPECT_EQ(writeToMemory([&](TiffFile& out) { EXPECT_NE(TdataChunk::write(out, address), 0); }), empty);
    EXPECT_EQ(textOf(*address.letter(), 0), "");
    const Bytes eight(8, 0);
    int code = 0;
    const Tdata read = decoded("VOID", eight, &code);
    EXPECT_EQ(code, TdataChunk::kRefused);
    EXPECT_EQ(payloadOf(read), eight);
    Tdata copy(address.letter()->copy());
    EXPECT_TRUE(*copy.letter() == *address.letter());
}

} // namespace
