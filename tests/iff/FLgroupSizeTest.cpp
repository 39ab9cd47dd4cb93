// Groups whose size is known before their contents: FLbgnwgroupsize.
#include "FLtestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace fltest;

namespace {

constexpr auto header = &headerBytes;
const TuInt32 kForm = FLmakeid("FORM");
const TuInt32 kTest = FLmakeid("TEST");
const TuInt32 kData = FLmakeid("DATA");

// A "mem:" file being written, and its bytes once closed.
class MemoryOut {
public:
    MemoryOut() {
        const TiffSpecialNames names;
        fFile = FLopen("mem:", "w");
    }
    ~MemoryOut() { (void)close(); }
    _FLfile* file() const { return fFile; }
    int close() {
        if (!fFile)
            return 0;
        void* data = nullptr;
        std::size_t size = 0;
        const int code = FLclosemem(fFile, &data, &size);
        fFile = nullptr;
        fBytes.assign(static_cast<unsigned char*>(data), static_cast<unsigned char*>(data) + size);
        std::free(data);
        return code;
    }
    const Bytes& bytes() const { return fBytes; }

private:
    _FLfile* fFile = nullptr;
    Bytes fBytes;
};

} // namespace

TEST(FLgroupSize, KnownSizesArePaddedByTheFamilyAlone) {
    // 18 bytes of contents: the unknown-size writer would round the group on
    // to 20, a known size keeps the 2-byte family's padding of nothing.
    const Bytes five = text("12345");
    const Bytes expected = cat({header("FORM", 18), text("TEST"), header("DATA", 5), five, be({0})});
    MemoryOut out;
    ASSERT_EQ(FLbgnwgroupsize(out.file(), kForm, kTest, 18), 0);
    ASSERT_EQ(FLputchunk(out.file(), kData, 5, five.data()), 0);
    ASSERT_EQ(FLendwgroup(out.file()), 0);
    ASSERT_EQ(out.close(), 0);
    EXPECT_EQ(out.bytes(), expected);

    // Nested, odd sizes, on disk and down a pipe: a stream needs no "GEND".
    const Bytes inner = cat({header("LIST", 14), text("INNR"), header("DATA", 1), be({7, 0})});
    const Bytes nested = cat({header("FORM", 4 + TuInt32(inner.size())), text("OUTR"), inner});
    for (const bool pipe : {false, true}) {
        TempFile target;
        const TiffSpecialNames names;
        _FLfile* file = FLopen(pipe ? ("|cat > " + target.path()).c_str() : target.path().c_str(), "w");
        ASSERT_NE(file, nullptr);
        ASSERT_EQ(FLbgnwgroupsize(file, kForm, FLmakeid("OUTR"), 4 + Tint32(inner.size())), 0);
        ASSERT_EQ(FLbgnwgroupsize(file, FLmakeid("LIST"), FLmakeid("INNR"), 14), 0);
        ASSERT_EQ(FLputchunk(file, kData, 1, "\7"), 0);
        ASSERT_EQ(FLendwgroup(file), 0);
        ASSERT_EQ(FLendwgroup(file), 0);
        ASSERT_EQ(FLclose(file), 0);
        EXPECT_EQ(target.bytes(), nested) << (pipe ? "pipe" : "file");
        std::vector<Node> back;
        ASSERT_EQ(readAll(target.path(), back), 0);
        EXPECT_EQ(back, std::vector<Node>{group("FORM", "OUTR", {group("LIST", "INNR", {chunk("DATA", {7})})})});
    }
}

TEST(FLgroupSize, ContentsMustMatchTheSize) {
    {
        // Refused before anything is written.
        MemoryOut out;
        EXPECT_EQ(FLbgnwgroupsize(out.file(), kForm, kTest, 3), kFLbadSize);
        EXPECT_EQ(FLbgnwgroupsize(out.file(), kForm, 0x80000000u | kTest, 8), kFLbadId);
        EXPECT_EQ(FLbgnwgroupsize(out.file(), kData, kTest, 8), kFLbadId);
        EXPECT_EQ(FLbgnwgroupsize(nullptr, kForm, kTest, 8), kFLnotAFile);
        ASSERT_EQ(out.close(), 0);
        EXPECT_TRUE(out.bytes().empty());
    }
    {
        // Short contents are made up with zeros and reported: the sizes hold,
        // but the zeros are no chunk.
        MemoryOut out;
        ASSERT_EQ(FLbgnwgroupsize(out.file(), kForm, kTest, 20), 0);
        ASSERT_EQ(FLputchunk(out.file(), kData, 1, "x"), 0);
        EXPECT_EQ(FLendwgroup(out.file()), kFLbadSize);
        ASSERT_EQ(out.close(), 0);
        EXPECT_EQ(out.bytes(), cat({header("FORM", 20), text("TEST"), header("DATA", 1), text("x"), Bytes(7, 0)}));
        const TiffSpecialNames names;
        std::vector<Node> back;
        const Bytes& bytes = out.bytes();
        EXPECT_EQ(readAll(memName(bytes.data(), bytes.size()), back), kFLbadBlock);
    }
    {
        // Past the end: a known-size chunk or group is refused at its header,
        // an unknown-size chunk at the write, each with nothing written.
        MemoryOut out;
        ASSERT_EQ(FLbgnwgroupsize(out.file(), kForm, kTest, 16), 0);
        EXPECT_EQ(FLbgnput(out.file(), kData, 5), kFLpastBoundary);
        EXPECT_EQ(FLbgnwgroupsize(out.file(), kForm, kTest, 6), kFLpastBoundary);
        ASSERT_EQ(FLbgnput(out.file(), kData, -1), 0);
        EXPECT_EQ(FLput(out.file(), "12345", 5), kFLpastBoundary);
        EXPECT_EQ(FLwrite(out.file(), "12345", 5), -1);
        EXPECT_EQ(FLerror(), kFLpastBoundary);
        ASSERT_EQ(FLput(out.file(), "1234", 4), 0);
        ASSERT_EQ(FLendput(out.file()), 0);
        ASSERT_EQ(FLendwgroup(out.file()), 0);
        ASSERT_EQ(out.close(), 0);
        EXPECT_EQ(out.bytes(), cat({header("FORM", 16), text("TEST"), header("DATA", 4), text("1234")}));
    }
    {
        // A group of unknown size inside passes the end only on closing,
        // which the known group reports.
        MemoryOut out;
        ASSERT_EQ(FLbgnwgroupsize(out.file(), kForm, kTest, 14), 0);
        ASSERT_EQ(FLbgnwgroup(out.file(), kForm, kTest), 0);
        ASSERT_EQ(FLputchunk(out.file(), kData, 0, nullptr), 0);
        ASSERT_EQ(FLendwgroup(out.file()), 0);
        EXPECT_EQ(FLendwgroup(out.file()), kFLbadSize);
        EXPECT_EQ(out.close(), 0);
    }
}
