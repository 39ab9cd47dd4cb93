// Chunk files as text and back (grundel-iff totext and fromtext), in
// process: byte-for-byte round trips of unusual files, typed values, every
// registered letter class, hand edits, and malformed text.
#include "FLtestSupport.h"
#include "IffText.h"

#include <grundel/data/Tdata.h>
#include <grundel/data/TdataChunk.h>
#include <grundel/data/TdataLetter.h>
#include <grundel/data/TdataUnknown.h>
#include <grundel/data/TmetaLetter.h>
#include <grundel/iff/TiffFile.h>
#include <grundel/iff/TiffTable.h>
#include <grundel/object/Tmetaclass.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using namespace fltest;

namespace {

std::string str(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

// totext, then fromtext: the text, after checking that it gives the bytes back.
std::string roundTrip(const std::string& file) {
    iffText::Document document;
    std::string where;
    EXPECT_EQ(iffText::readFile(file, document, where), 0) << where;
    EXPECT_FALSE(document.flattened);
    const std::string text = iffText::writeText(document);
    iffText::Document again;
    std::string message, bytes;
    EXPECT_TRUE(iffText::parseText(text, again, message)) << message << "\n" << text;
    EXPECT_TRUE(iffText::encode(again, bytes, message)) << message;
    EXPECT_TRUE(bytes == file) << text;
    return text;
}

// fromtext of text: the bytes, or the message.
std::string fromText(const std::string& text, bool* ok = nullptr) {
    iffText::Document document;
    std::string message, bytes;
    const bool parsed = iffText::parseText(text, document, message) && iffText::encode(document, bytes, message);
    if (ok)
        *ok = parsed;
    return parsed ? bytes : message;
}

std::string header() { return std::string(iffText::kMagic) + "\n"; }

// Values written the way programs write them: one chunk each in a "FOR4".
std::string valuesFile(const std::vector<Tdata>& values) {
    TiffFile file;
    {
        const TiffSpecialNames memory;
        file.setFLfile(FLopen("mem:", "w"));
    }
    EXPECT_EQ(file.beginWriteGroup(TiffTag("FOR4"), TiffTag("VALS")), 0);
    for (const Tdata& value : values)
        EXPECT_EQ(TdataChunk::write(file, value), 0) << value.tag().value();
    EXPECT_EQ(file.endWriteGroup(), 0);
    const void* block = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(file.memoryInfo(&block, &size), 0);
    return std::string(static_cast<const char*>(block), size);
}

Bytes be32(TuInt32 value) { return be({int(value >> 24), int(value >> 16 & 255), int(value >> 8 & 255), int(value & 255)}); }

} // namespace

TEST(IffText, FilesOfEveryShapeComeBackByteForByte) {
    // Nested groups of the three alignments, a list with properties, a
    // concatenation, odd sizes.
    const Node demo = group("FOR4", "DEMO",
                            {chunk("TEXT", text("hello\n")),
                             group("FORM", "SHRT", {chunk("ODD ", text("abc")), chunk("\x01\x02\x03\x04", be({1, 2}))}),
                             group("FOR8", "WIDE", {chunk("ODD ", text("vwxyz"))}),
                             group("LIS4", "LIST", {group("PRO4", "PROP", {chunk("NAME", text("shared"))}),
                                                    group("FOR4", "ITEM", {chunk("form", {})})}),
                             group("CAT4", "MORE", {group("FOR4", "LAST", {chunk("BYTE", text("!"))})})});
    const std::string demoText = roundTrip(str(writeToMemory(demo)));
    for (const char* line : {"form FOR4 DEMO {", "  form FOR8 WIDE {", "    prop PRO4 PROP {", "  cat CAT4 MORE {",
                             "\"ODD \" bytes 3 \"abc\"", "\"\\x01\\x02\\x03\\x04\" bytes 2 0102",
                             "\"form\" bytes 0", "TEXT bytes 6 \"hello\\n\""})
        EXPECT_NE(demoText.find(line), std::string::npos) << line << "\n" << demoText;

    // Nonzero padding, a stray pair of zeros before a header, bytes after
    // the last chunk, a group size of 0 (taken as unknown) patched by its
    // end marker: each is recorded where it stands.
    const Bytes odd = cat({headerBytes("FORM", 26), text("TEST"), headerBytes("ODD ", 3), text("abc"), be({0x7f}),
                           be({0, 0}), headerBytes("DATA", 0), be({0, 0})});
    const std::string oddText = roundTrip(str(odd));
    EXPECT_NE(oddText.find("\"ODD \" pad=7f bytes 3"), std::string::npos) << oddText;

    // Written to a stream: unknown sizes, "GEND" in every group, and an
    // "EOVC" after a data chunk of unknown size.
    const Bytes streamed = cat({headerBytes("FOR4", kFLsizeStream), text("STRM"), headerBytes("DATA", kFLsizeStream),
                                text("abcdef"), be({0, 0}), text("EOVC"), be({0x80, 0, 0, 0}),
                                headerBytes("GEND", 0)});
    const std::string streamedText = roundTrip(str(streamed));
    for (const char* line : {"form FOR4 STRM size=0x80000002 {", "DATA size=0x80000002 bytes 8", "  eovc", "  gend"})
        EXPECT_NE(streamedText.find(line), std::string::npos) << line << "\n" << streamedText;

    // The deepest nesting the library reads, and a chain of unknown sizes.
    roundTrip(str(nestedForms(int(kFLmaxDepth))));
    roundTrip(str(unknownSizeChain(40)));
    roundTrip(std::string());
}

TEST(IffText, OverlappingChunksAreKeptWhole) {
    // A chunk's padding to 8 bytes runs past the end of its "FOR8" and over
    // the header of the next group, which the library then reads again: no
    // tree of chunks gives these bytes, so the text keeps the file whole,
    // and still gives it back.
    const Bytes overlap = cat({headerBytes("FORM", 28), text("TEST"), headerBytes("FOR8", 13), text("INNR"),
                               headerBytes("A   ", 1), text("x"), be({0, 0, 0}), headerBytes("FORM", 4), text("NEXT")});
    iffText::Document document;
    std::string where;
    ASSERT_EQ(iffText::readFile(str(overlap), document, where), 0) << where;
    EXPECT_TRUE(document.flattened);
    std::string message, bytes;
    ASSERT_TRUE(iffText::parseText(iffText::writeText(document), document, message)) << message;
    ASSERT_TRUE(iffText::encode(document, bytes, message));
    EXPECT_EQ(bytes, str(overlap));

    // Padding that merely lies past the end of its group is recorded.
    const Bytes past = cat({headerBytes("FORM", 13), text("TEST"), headerBytes("A   ", 1), text("x"), be({0})});
    EXPECT_NE(roundTrip(str(past)).find("form FORM TEST size=13 {\n  \"A   \" bytes 1 \"x\"\n} pad=none"),
              std::string::npos);
}

TEST(IffText, FilesTheLibraryRefusesAreRefused) {
    iffText::Document document;
    std::string where;
    EXPECT_EQ(iffText::readFile("just some text, not chunks\n", document, where), kFLbadRoot);
    const Bytes cut = writeToMemory(group("FORM", "TEST", {chunk("DATA", text("12345"))}));
    EXPECT_EQ(iffText::readFile(str(Bytes(cut.begin(), cut.end() - 5)), document, where), kFLincomplete);
    EXPECT_NE(where.find("DATA"), std::string::npos) << where;
    EXPECT_TRUE(document.nodes.empty());
}

TEST(IffText, TypedValuesWhereTheyReadBackExactly) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::string file = valuesFile({Tdata(0.1), Tdata(-0.0), Tdata(1e300), Tdata(TanimTime(6000)), Tdata(nan)});
    const std::string text = roundTrip(file);
    // Doubles with every digit they carry, times in ticks.
    for (const char* line : {"DBLE -type \"Tdata\" 0.10000000000000001\n", "DBLE -type \"Tdata\" -0\n",
                             "DBLE -type \"Tdata\" 1.0000000000000001e+300\n", "DBLE time 6000\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;

    // A NaN with a payload of its own, a DBLE of the wrong length and an
    // unregistered tag cannot be shown as values: bytes.
    std::string odd = valuesFile({Tdata(1.5)});
    odd.replace(odd.size() - 8, 8, std::string("\x7f\xf0\x00\x00\x00\x00\x12\x34", 8));
    EXPECT_NE(roundTrip(odd).find("DBLE bytes 8 7ff00000 00001234"), std::string::npos);
    const std::string other = str(writeToMemory(
        group("FOR4", "VALS", {chunk("DBLE", be({1, 2, 3})), chunk("UNKN", be({1, 2, 3, 4})), chunk("XYZW", {})})));
    const std::string otherText = roundTrip(other);
    for (const char* line : {"DBLE bytes 3 010203", "UNKN bytes 4 01020304", "XYZW bytes 0"})
        EXPECT_NE(otherText.find(line), std::string::npos) << line << "\n" << otherText;
}

TEST(IffText, EveryRegisteredLetterClassRoundTrips) {
    // One value of each class in the registry (a fresh letter of the class,
    // or a number for Tdata), except the pointer letter, which is never
    // written, and the class of values of unknown kinds.
    std::vector<Tdata> values;
    std::vector<std::string> names;
    // The built-in classes enter the table on the registry's first lookup.
    ASSERT_NE(TmetaLetter::findTypeid("double3"), nullptr);
    for (TiffTable::Iterator it(*TmetaLetter::fsIffTable); !it.isDone(); it.next()) {
        TuInt32 tag = 0;
        Tmetaclass* record = nullptr;
        ASSERT_TRUE(it.getKey(tag) && it.getData(record));
        if (tag == FLmakeid("VOID") || record == &TdataUnknown::fsMetaclass)
            continue;
        if (record == &Tdata::fsMetaclass) {
            values.emplace_back(2.5);
        } else {
            TdataLetter* letter = TdataLetter::construct(record);
            ASSERT_NE(letter, nullptr) << record->name();
            values.emplace_back(letter);
        }
        names.emplace_back(record->name());
    }
    // Tdata, nine tuples, three arrays, matrix, binary, compound, attribute
    // arrays and the two spectra.
    ASSERT_GE(values.size(), 19u);
    const std::string file = valuesFile(values);
    const std::string text = roundTrip(file);
    // Each chunk shown as a typed value, none as bytes.
    EXPECT_EQ(text.find(" bytes "), std::string::npos) << text;
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_NE(text.find(iffText::idText(values[i].tag().value()) + " -type \""), std::string::npos)
            << names[i] << "\n" << text;
}

TEST(IffText, HandEditedTextMakesAValidFile) {
    const std::string file = valuesFile({Tdata(1.5), Tdata(TanimTime(12))});
    std::string text = roundTrip(file);
    // A value changed, a chunk and a group added, comments and blank lines.
    const std::string::size_type at = text.find("1.5");
    ASSERT_NE(at, std::string::npos);
    text.replace(at, 3, "-2.25");
    const std::string::size_type end = text.rfind('}');
    text.insert(end, "  # added by hand\n\n  NOTE bytes 5 \"added\"\n  DBLE 7\n  form FOR4 MORE {\n  }\n");
    bool ok = false;
    const std::string bytes = fromText(text, &ok);
    ASSERT_TRUE(ok) << bytes;
    iffText::Document document;
    std::string where;
    ASSERT_EQ(iffText::readFile(bytes, document, where), 0) << where;
    const std::string again = iffText::writeText(document);
    for (const char* line : {"DBLE -type \"Tdata\" -2.25", "DBLE time 12", "NOTE bytes 5 \"added\"",
                             "DBLE -type \"Tdata\" 7", "  form FOR4 MORE {\n  }"})
        EXPECT_NE(again.find(line), std::string::npos) << line << "\n" << again;
    // Sizes are counted afresh: the group holds its type and four chunks.
    EXPECT_EQ(bytes.substr(4, 4), str(be32(4 + 16 + 12 + 16 + 16 + 12)));
}

TEST(IffText, MalformedTextGetsALineAndAReason) {
    const std::string open = header() + "form FOR4 TEST {\n";
    const struct {
        std::string text;
        const char* message;
    } cases[] = {
        {"", "line 1: not a grundel-iff text"},
        {"FORM\n", "line 1: not a grundel-iff text"},
        // Unbalanced groups.
        {open, "line 2: the group FOR4 is not closed"},
        {header() + "}\n", "line 2: \"}\" without an open group"},
        {open + "} pad=00 size=4\n", "line 3: \"size=4\" after \"}\""},
        // Wrong counts.
        {open + "ABCD bytes 2 010203\n}\n", "line 3: more bytes than the 2 declared"},
        {open + "ABCD bytes 3 01\n}\n", "line 4: \"}\" is neither pairs of hexadecimal digits nor text in quotes (2 more "
                                       "of the 3 bytes declared on line 3 expected)"},
        {open + "ABCD bytes 3 01\n", "line 3: 2 byte(s) declared but not given"},
        {open + "ABCD bytes 2147483648\n}\n", "is not a count of bytes"},
        {open + "ABCD bytes -1\n}\n", "is not a count of bytes"},
        {open + "DBLE 1 2\n}\n", "line 3: chunk DBLE: 1 argument(s) left over after the value"},
        {open + "ABCD\n}\n", "has no contents"},
        // Bad numbers and bytes.
        {open + "DBLE 1.5e\n}\n", "line 3: chunk DBLE: not a value"},
        {open + "DBLE -type \"Tdata\"\n}\n", "line 3: chunk DBLE: not a value"},
        {open + "DBLE time 1.5\n}\n", "\"time\" takes one whole number of ticks"},
        {open + "DBLE time 2147483648\n}\n", "\"time\" takes one whole number of ticks"},
        {open + "ABCD bytes 2 0g0f\n}\n", "\"0g0f\" is neither pairs"},
        {open + "ABCD bytes 1 \"a\\q\"\n}\n", "unknown escape \"\\q\""},
        {open + "ABCD bytes 1 \"\\x4\"\n}\n", "\"\\x\" takes two hexadecimal digits"},
        {open + "ABCD bytes 1 \"a\n}\n", "quotes opened and not closed"},
        {open + "ABCD size=4294967296 bytes 0\n}\n", "size= takes"},
        {open + "ABCD pad=0 bytes 0\n}\n", "pad= takes"},
        // Unknown type names and identifiers.
        {open + "SRGX -type \"noSuchType\" 1 2 3\n}\n", "line 3: chunk SRGX: unknown type name \"noSuchType\""},
        {open + "ABCD -type \"Tdata\" 1\n}\n", "the value's chunk tag is \"DBLE\", not \"ABCD\""},
        {open + "ABC bytes 0\n}\n", "\"ABC\" is not an identifier of four characters"},
        {open + "time bytes 0\n}\n", "\"time\" is not an identifier"},
        {open + "FOR4 bytes 0\n}\n", "\"FOR4\" is a group's identifier"},
        {header() + "list FOR4 TEST {\n}\n", "\"FOR4\" opens a form, not a list"},
        {header() + "form ABCD TEST {\n}\n", "\"ABCD\" is not the identifier of a group"},
        {header() + "form FOR4 TEST\n", "the group line ends without \"{\""},
        {header() + "form FOR4 TEST { x\n}\n", "\"x\" where the line should end"},
        {open + "gend extra\n}\n", "\"extra\" where the line should end"},
    };
    for (const auto& c : cases) {
        bool ok = true;
        const std::string message = fromText(c.text, &ok);
        EXPECT_FALSE(ok) << c.text;
        EXPECT_NE(message.find(c.message), std::string::npos) << c.text << "\n-> " << message;
    }

    // Nesting is bounded by the library's depth.
    std::string deep = header();
    for (TuInt32 i = 0; i <= kFLmaxDepth; ++i)
        deep += "form FORM NEST {\n";
    bool ok = true;
    EXPECT_NE(fromText(deep, &ok).find("groups nested deeper than 1024"), std::string::npos);
    EXPECT_FALSE(ok);
}
