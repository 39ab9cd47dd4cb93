#include "grundel/iff/TiffFile.h"
#include "grundel/iff/TiffTable.h"

#include "FLtestSupport.h"

#include <gtest/gtest.h>

#include <string>

using namespace fltest;

namespace {

constexpr auto header = &headerBytes;

// Buffering is class-wide: every test leaves it off.
struct BufferingOff {
    ~BufferingOff() { TiffFile::setBufferingMode(false); }
};

} // namespace

TEST(TiffTag, ConstructionsAgree) {
    EXPECT_EQ(TiffTag("FORM"), TiffTag('F', 'O', 'R', 'M'));
    EXPECT_EQ(TiffTag("FORM"), TiffTag(0x464F524Du));
    EXPECT_EQ(TiffTag("FORMAT").value(), 0x464F524Du); // the first four characters
    EXPECT_EQ(TiffTag("AB").value(), 0x41420000u);      // short text padded with zeros
    EXPECT_EQ(TiffTag().value(), 0u);
    TiffTag tag("ABCD");
    EXPECT_EQ(tag.swapBytes(), TiffTag("DCBA"));
    char chars[5];
    EXPECT_STREQ(TiffTag("FOR4").valueTchar(chars), "FOR4");
    EXPECT_EQ(TiffFile::swapWord(0x11223344u), 0x44332211u);
    EXPECT_EQ(TiffFile::swapHalf(0x1122), 0x2211);
}

TEST(TiffFile, BufferedGroupsHaveKnownSizes) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    BufferingOff off;
    TempFile file;
    TiffFile::setBufferingMode(true);
    {
        // A stream: anything unknown would show as 0x80000002 and "GEND".
        TiffFile out(("|cat > " + file.path()).c_str(), "w");
        ASSERT_TRUE(out.isActive());
        ASSERT_EQ(out.beginWriteGroup(TiffTag("FOR4"), TiffTag("TEST")), 0);
        ASSERT_EQ(out.putChunk(TiffTag("ONE "), 1, "a"), 0);
        ASSERT_EQ(out.putChunk(TiffTag("FOUR"), 4, "bcde"), 0);
        ASSERT_EQ(out.beginPut(TiffTag("FIVE"), 0), 0); // the declared size is ignored
        ASSERT_EQ(out.put("fg", 2), 0);
        ASSERT_EQ(out.putString("hi"), 0);
        ASSERT_EQ(out.endPut(), 0);
        ASSERT_EQ(out.endWriteGroup(), 0);
        ASSERT_EQ(out.close(), 0);
    }
    EXPECT_TRUE(TiffFile::bufferingMode());
    EXPECT_EQ(file.bytes(), cat({header("FOR4", 44), text("TEST"), header("ONE ", 1), text("a"), be({0, 0, 0}),
                                 header("FOUR", 4), text("bcde"), header("FIVE", 5), text("fghi"), be({0, 0, 0, 0})}));
}

TEST(TiffFile, BufferingPast64KiBGoesOnUnbuffered) {
    BufferingOff off;
    TempFile file;
    TiffFile::setBufferingMode(true);
    const std::string big(65537, 'x');
    {
        TiffFile out(file.path().c_str(), "w");
        ASSERT_EQ(out.beginWriteGroup(TiffTag("FOR4"), TiffTag("BIG ")), 0);
        ASSERT_EQ(out.putChunk(TiffTag("SMAL"), 3, "abc"), 0);
        ASSERT_EQ(out.beginPut(TiffTag("HUGE"), -1), 0);
        ASSERT_EQ(out.put(big.data(), 100), 0);
        ASSERT_EQ(out.put(big.data(), big.size() - 100), 0); // passes 65536 here
        EXPECT_FALSE(TiffFile::bufferingMode());
        ASSERT_EQ(out.endPut(), 0);
        ASSERT_EQ(out.putChunk(TiffTag("LAST"), 1, "z"), 0);
        ASSERT_EQ(out.endWriteGroup(), 0);
    }
    // The group and the chunk that overflowed were patched on close.
    std::vector<Node> back;
    ASSERT_EQ(readAll(file.path(), back), 0);
    ASSERT_EQ(back.size(), 1u);
    ASSERT_EQ(back[0].children.size(), 3u);
    EXPECT_EQ(back[0].children[1].data.size(), big.size());
    const Bytes bytes = file.bytes();
    const TuInt32 groupSize = TuInt32(bytes[4]) << 24 | TuInt32(bytes[5]) << 16 | TuInt32(bytes[6]) << 8 | bytes[7];
    EXPECT_EQ(groupSize, 4 + (8 + 4) + (8 + 65540) + (8 + 4));
}

namespace {

class Recorder : public TiffParserCallback {
public:
    std::string log;
    int iffVFormMethod1(TiffFile&, TiffTag id, TiffTag type) override { return note("form", id, type); }
    int iffVListMethod1(TiffFile&, TiffTag id, TiffTag type) override { return note("list", id, type); }
    int iffVLeafMethod1(TiffFile& file, TiffTag tag, Tint32 size) override {
        char chars[5];
        log += std::string("leaf ") + tag.valueTchar(chars) + " " + std::to_string(size);
        if (size > 0) {
            std::string data(static_cast<std::size_t>(size), ' ');
            if (const int code = file.get(&data[0], data.size()))
                return code;
            log += " " + data;
        }
        log += "\n";
        return tag == TiffTag("STOP") ? 7 : 0;
    }

private:
    int note(const char* kind, TiffTag id, TiffTag type) {
        char a[5], b[5];
        log += std::string(kind) + " " + id.valueTchar(a) + " " + type.valueTchar(b) + "\n";
        return 0;
    }
};

} // namespace

TEST(TiffFile, ParseOrderOfHooks) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    const Node tree = group("CAT ", "ALL ", {group("FORM", "ONE ", {chunk("AAAA", text("a"))}),
                                             group("LIST", "LST ", {group("PROP", "PRP ", {chunk("BBBB", text("bb"))}),
                                                                    group("FORM", "TWO ", {})})});
    Bytes bytes = writeToMemory(tree);
    TiffFile in(memName(bytes.data(), bytes.size()).c_str(), "r");
    Recorder recorder;
    in.setCallbackObject(&recorder);
    EXPECT_EQ(in.parse(), 0);
    EXPECT_EQ(recorder.log, "list CAT  ALL \n"
                            "form FORM ONE \nleaf AAAA 1 a\nleaf GEND 0\n"
                            "list LIST LST \n"
                            "form PROP PRP \nleaf BBBB 2 bb\nleaf GEND 0\n"
                            "form FORM TWO \nleaf GEND 0\n"
                            "leaf GEND 0\n"
                            "leaf GEND 0\n"
                            "leaf GEND 0\n");

    // A hook's non-zero result ends the parse with it; so does endParse.
    bytes = writeToMemory(group("FORM", "STOP", {chunk("STOP", text("x")), chunk("NEVR", text("y"))}));
    TiffFile stop(memName(bytes.data(), bytes.size()).c_str(), "r");
    Recorder stopper;
    stop.setCallbackObject(&stopper);
    EXPECT_EQ(stop.parse(), 7);
    EXPECT_EQ(stopper.log.find("NEVR"), std::string::npos);

    // The function hooks, and a file cut at the root that ends quietly.
    static int leaves;
    leaves = 0;
    bytes.resize(bytes.size() - 3);
    TiffFile cut(memName(bytes.data(), bytes.size()).c_str(), "r");
    cut.setLeafCallback([](TiffFile&, TiffTag, Tint32) { return ++leaves, 0; });
    EXPECT_NE(cut.parse(), 0); // cut inside the group: the group's end is missing
    EXPECT_GE(leaves, 1);
}

TEST(TiffFile, Decoders) {
    const char bytes[] = {0x12, 0x34, 0x56, 0x78, 2, 1, 'h', 'i', 0, 0, 'x', 'y'};
    TuInt32 remaining = sizeof bytes;
    const char* at = bytes;
    TuInt32 word = 0;
    at = TiffFile::popTuInt32(word, remaining, at);
    EXPECT_EQ(word, 0x12345678u);
    Tboolean flag = true;
    at = TiffFile::popTboolean(flag, remaining, at);
    EXPECT_FALSE(flag); // only the byte 1 is true
    at = TiffFile::popTboolean(flag, remaining, at);
    EXPECT_TRUE(flag);
    Tstring text;
    at = TiffFile::popTstring(text, remaining, at);
    EXPECT_EQ(text, "hi");
    EXPECT_EQ(remaining, 3u);
    at = TiffFile::popTstring(text, remaining, at);
    EXPECT_TRUE(text.isEmpty()); // an empty text consumes its terminator only
    EXPECT_EQ(remaining, 2u);
    at = TiffFile::popTstring(text, remaining, at); // no terminator: the rest
    EXPECT_EQ(text, "xy");
    EXPECT_EQ(remaining, 0u);
    // Nothing left: the values are zero and nothing is read.
    const char* before = at;
    at = TiffFile::popTuInt32(word, remaining, at);
    Tbyte byte = 9;
    at = TiffFile::popTbyte(byte, remaining, at);
    EXPECT_EQ(at, before);
    EXPECT_EQ(word, 0u);
    EXPECT_EQ(byte, 0);
    TuInt32 three = 3;
    EXPECT_EQ(TiffFile::popTuInt32(word, three, bytes), bytes);
    EXPECT_EQ(three, 3u);
}

TEST(TiffFile, CopyReproducesAFileByteForByte) {
    const Node tree = group("FOR4", "ROOT", {chunk("AAAA", text("abc")),
                                             group("FORM", "INNR", {chunk("BBBB", text("12345")), chunk("CCCC", {})}),
                                             group("FOR8", "EGHT", {chunk("DDDD", text("q"))})});
    TempFile original;
    {
        TiffFile out(original.path().c_str(), "w");
        ASSERT_EQ(write(out.flFile(), tree), 0);
    }
    TempFile copied;
    {
        TiffFile from(original.path().c_str(), "r");
        TiffFile to(copied.path().c_str(), "w");
        ASSERT_EQ(TiffFile::copy(from, to), 0);
    }
    EXPECT_EQ(copied.bytes(), original.bytes());
}

TEST(TiffFile, ChunksGroupsAndStrings) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    TiffFile out("mem:", "w");
    ASSERT_EQ(out.beginWriteGroup(TiffTag("FORM"), TiffTag("TEST")), 0);
    ASSERT_EQ(out.putTypedChunk(TiffTag("TYPD"), 3, "abc", TiffTag("KIND")), 0);
    ASSERT_EQ(out.beginPut(TiffTag("STRS"), -1), 0);
    ASSERT_EQ(out.putString("first"), 0);
    ASSERT_EQ(out.putString("second"), 0);
    ASSERT_EQ(out.endPut(), 0);
    ASSERT_EQ(out.endWriteGroup(), 0);
    const void* data = nullptr;
    std::size_t size = 0;
    ASSERT_EQ(out.memoryInfo(&data, &size), 0);
    const Bytes bytes(static_cast<const unsigned char*>(data), static_cast<const unsigned char*>(data) + size);
    ASSERT_EQ(out.close(), 0);
    EXPECT_EQ(out.close(), -1); // nothing open any more

    TiffFile in(memName(bytes.data(), bytes.size()).c_str(), "r");
    TiffTag id, type, tag;
    Tint32 length = 0;
    ASSERT_EQ(in.beginReadGroup(id, type), 0);
    EXPECT_EQ(type, TiffTag("TEST"));
    EXPECT_EQ(in.beginReadGroup(id, type), kFLchunkHeader); // a data chunk: left open
    TiffTag kind;
    const char* typed = static_cast<const char*>(in.getTypedChunk(tag, &length, kind));
    ASSERT_NE(typed, nullptr);
    EXPECT_EQ(kind, TiffTag("KIND"));
    EXPECT_EQ(std::string(typed, static_cast<std::size_t>(length)), "abc");
    ASSERT_EQ(in.beginGet(tag, &length), 0);
    char word[4];
    ASSERT_EQ(in.getString(word, sizeof word), 0); // "first" cut to 3 characters
    EXPECT_STREQ(word, "fir");
    const char* shared = static_cast<const char*>(in.sharedGet(7));
    ASSERT_NE(shared, nullptr);
    EXPECT_STREQ(shared, "second"); // points into the memory block itself
    // "second" and its zero, then the unknown size rounded to 4: 3 zeros.
    EXPECT_EQ(static_cast<const void*>(shared), static_cast<const void*>(bytes.data() + bytes.size() - 10));
    EXPECT_EQ(in.endGet(), 0);
    EXPECT_EQ(in.endReadGroup(), 0);
}

TEST(TiffTable, MapsTagsToRecords) {
    TiffTable table(4, 64);
    auto* a = reinterpret_cast<Tmetaclass*>(0x10);
    auto* b = reinterpret_cast<Tmetaclass*>(0x20);
    EXPECT_TRUE(table.insertUnique(TiffTag("AAAA").value(), a));
    EXPECT_FALSE(table.insertUnique(TiffTag("AAAA").value(), b));
    EXPECT_TRUE(table.insertReplace(TiffTag("AAAA").value(), b));
    Tmetaclass* found = nullptr;
    EXPECT_TRUE(table.find(TiffTag("AAAA").value(), found));
    EXPECT_EQ(found, b);
    EXPECT_EQ(table.find(TiffTag("NONE").value()), nullptr);
    for (int i = 0; i < 100; ++i)
        table.insert(0x41414100u + TuInt32(i), a);
    EXPECT_EQ(table.entryCount(), 101u);
    EXPECT_LE(table.tableSize(), 64u);
    TiffTable::Iterator walk(table);
    walk.appendAllTo(table); // into itself: every pair doubled, once
    EXPECT_EQ(table.entryCount(), 202u);
    int seen = 0;
    for (TiffTable::Iterator it(table); !it.isDone(); it.next())
        ++seen;
    EXPECT_EQ(seen, 202);
}
