// Files made to hurt a reader: work that would grow faster than the file,
// nesting at and past the bound, sizes that ask for memory the file does
// not hold, and error codes kept apart between threads.
#include "FLtestSupport.h"

#include "grundel/iff/TiffFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sys/resource.h>
#include <thread>

using namespace fltest;

namespace {

// Counts the groups a walk enters, giving up past a cap so that a reader
// that reads anything twice shows as a count, not as a hang.
struct Counter : TiffParserCallback {
    static constexpr long kCap = 100000;
    long calls = 0;
    long groups = 0;
    long leaves = 0;
    long ends = 0;
    int depth = 0;
    int deepest = 0;
    int iffVFormMethod1(TiffFile&, TiffTag, TiffTag) override {
        ++groups;
        deepest = std::max(deepest, ++depth);
        return ++calls > kCap ? -1 : 0;
    }
    int iffVLeafMethod1(TiffFile&, TiffTag tag, Tint32) override {
        if (tag == TiffTag("GEND")) {
            ++ends;
            --depth;
        } else {
            ++leaves;
        }
        return ++calls > kCap ? -1 : 0;
    }
};

// The FL calls alone, with the same cap on the headers read.
int walk(_FLfile* file, long& headers) {
    for (;;) {
        TuInt32 id = 0;
        Tint32 size = 0;
        int code = FLbgnget(file, &id, &size);
        if (code == kFLend)
            return 0;
        if (++headers > Counter::kCap)
            return -1;
        if (code == kFLgroupHeader) {
            if ((code = FLbgnrgroup(file, nullptr, nullptr)) || (code = walk(file, headers)) ||
                (code = FLendrgroup(file)))
                return code;
        } else if (code != kFLnoError || (code = FLendget(file)) != kFLnoError) {
            return code;
        }
    }
}

long peakKilobytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

TEST(FLhostileFiles, GroupsOfUnknownSizeEndWithTheirParent) {
    const TiffSpecialNames names;
    const int levels = 40;
    const Bytes chain = unknownSizeChain(levels);
    const std::string name = memName(chain.data(), chain.size());

    _FLfile* file = FLopen(name.c_str(), "r");
    ASSERT_NE(file, nullptr);
    long headers = 0;
    EXPECT_EQ(walk(file, headers), 0);
    EXPECT_EQ(headers, 2 * levels); // every header read once
    EXPECT_EQ(FLclose(file), 0);

    TiffFile in(name.c_str(), "r");
    Counter counter;
    in.setCallbackObject(&counter);
    EXPECT_EQ(in.parse(), 0);
    EXPECT_EQ(counter.groups, 2 * levels);

    // The copy holds each group once: no bigger than the original (whose
    // unknown sizes it writes as known ones).
    TiffFile from(name.c_str(), "r");
    TiffFile to("mem:", "w");
    ASSERT_EQ(TiffFile::copy(from, to), 0);
    const void* data = nullptr;
    std::size_t size = 0;
    ASSERT_EQ(to.memoryInfo(&data, &size), 0);
    EXPECT_LE(size, chain.size());
}

TEST(FLhostileFiles, MarkersAndRepairedSizesAreLookedForInsideTheirGroup) {
    const TiffSpecialNames names;
    // The "EOVC" of a data chunk of unknown size stands after its group's end.
    const Bytes marker = cat({headerBytes("FORM", 20), text("TEST"), headerBytes("DATA", kFLsizeStream), text("abcd"),
                              text("EOVC"), be({0x80, 0, 0, 0})});
    _FLfile* file = FLopen(memName(marker.data(), marker.size()).c_str(), "r");
    ASSERT_EQ(FLbgnrgroup(file, nullptr, nullptr), 0);
    ASSERT_EQ(FLbgnget(file, nullptr, nullptr), 0);
    EXPECT_EQ(FLendget(file), kFLnoEndMarker);
    EXPECT_EQ(FLclose(file), 0);
    std::vector<Node> read;

    // Size repair finds the next "SHAP" only within the group.
    const Bytes repair = cat({headerBytes("FORM", 16), text("TEST"), headerBytes("SHAP", 4), text("abcd"),
                              headerBytes("FORM", 12), text("NEXT"), headerBytes("SHAP", 0)});
    read.clear();
    ASSERT_EQ(readAll(memName(repair.data(), repair.size()), read, "rs"), 0);
    ASSERT_EQ(read.size(), 2u);
    EXPECT_EQ(read[0], group("FORM", "TEST", {chunk("SHAP", text("abcd"))}));
}

TEST(FLhostileFiles, NestingToTheBoundWorksAndOneMoreGivesSix) {
    const TiffSpecialNames names;
    for (const int depth : {int(kFLmaxDepth), int(kFLmaxDepth) + 1}) {
        const bool tooDeep = depth > int(kFLmaxDepth);
        const Bytes nested = nestedForms(depth);
        const std::string name = memName(nested.data(), nested.size());

        std::vector<Node> read;
        EXPECT_EQ(readAll(name, read), tooDeep ? kFLcorrupted : 0) << depth;

        TiffFile in(name.c_str(), "r");
        Counter counter;
        in.setCallbackObject(&counter);
        EXPECT_EQ(in.parse(), tooDeep ? kFLcorrupted : 0) << depth;
        if (!tooDeep) {
            EXPECT_EQ(counter.deepest, depth);
            EXPECT_EQ(counter.leaves, 1);
            EXPECT_EQ(counter.ends, depth + 1); // each group's level and the root
        }

        TiffFile from(name.c_str(), "r");
        TiffFile to("mem:", "w");
        EXPECT_EQ(TiffFile::copy(from, to), tooDeep ? kFLcorrupted : 0) << depth;
        if (!tooDeep) {
            const void* data = nullptr;
            std::size_t size = 0;
            ASSERT_EQ(to.memoryInfo(&data, &size), 0);
            const auto* bytes = static_cast<const unsigned char*>(data);
            EXPECT_EQ(Bytes(bytes, bytes + size), nested); // sizes patched to the same values
        }
    }
}

TEST(FLhostileFiles, BeginReadChecksTheLengthBeforeTakingMemory) {
    const TiffSpecialNames names;
    // 20 bytes that declare a chunk of nearly 2 GiB.
    const Bytes liar = cat({headerBytes("FORM", 0x7FFFFF00u), text("TEST"), headerBytes("DATA", 0x7FFFFE00u)});
    TempFile disk;
    disk.setBytes(liar);
    const long before = peakKilobytes();
    for (const std::string& name :
         {memName(liar.data(), liar.size()), disk.path(), "mmap:" + disk.path(), "|cat " + disk.path()}) {
        TiffFile in(name.c_str(), "r");
        TiffTag id, type;
        ASSERT_EQ(in.beginReadGroup(id, type), 0) << name;
        Tint32 size = 0;
        ASSERT_EQ(in.beginGet(id, &size), 0) << name;
        EXPECT_EQ(in.beginRead(0x7FFFFE00u), nullptr) << name;
        EXPECT_EQ(in.error(), kFLincomplete) << name;
        // Past the chunk's own size: 13, whatever the file holds.
        EXPECT_EQ(in.beginRead(0x7FFFFE01u), nullptr) << name;
        EXPECT_EQ(in.error(), kFLpastBoundary) << name;
    }
    EXPECT_LT(peakKilobytes() - before, 64 * 1024) << "kilobytes taken for a 20-byte file";

    // What the chunk and the file do hold is read.
    const Bytes honest = writeToMemory(group("FORM", "TEST", {chunk("DATA", text("12345"))}));
    TiffFile in(memName(honest.data(), honest.size()).c_str(), "r");
    TiffTag id, type;
    ASSERT_EQ(in.beginReadGroup(id, type), 0);
    Tint32 size = 0;
    ASSERT_EQ(in.beginGet(id, &size), 0);
    const void* data = in.beginRead(5);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(std::string(static_cast<const char*>(data), 5), "12345");
}

TEST(FLhostileFiles, EachThreadHasItsOwnErrorCode) {
    // One thread fails with 12, the other with 16, each many times over; a
    // successful open and close after each failure leave its code as it was.
    const Bytes badRoot = cat({headerBytes("DATA", 4), text("data")});
    const Bytes badSize = cat({headerBytes("FORM", 12), text("TEST"), headerBytes("DATA", 0x80000004u)});
    const Bytes good = writeToMemory(group("FORM", "TEST", {chunk("DATA", text("ok"))}));
    auto work = [&good](const Bytes& bad, int expected, bool& agreed) {
        const TiffSpecialNames names;
        agreed = true;
        for (int i = 0; i < 2000 && agreed; ++i) {
            std::vector<Node> out;
            const int code = readAll(memName(bad.data(), bad.size()), out);
            _FLfile* file = FLopen(memName(good.data(), good.size()).c_str(), "r");
            const bool closed = file && FLclose(file) == 0;
            agreed = code == expected && closed && FLerror() == expected;
        }
    };
    bool first = false;
    bool second = false;
    std::thread a(work, std::cref(badRoot), int(kFLbadRoot), std::ref(first));
    std::thread b(work, std::cref(badSize), int(kFLbadSize), std::ref(second));
    a.join();
    b.join();
    EXPECT_TRUE(first);
    EXPECT_TRUE(second);
}
