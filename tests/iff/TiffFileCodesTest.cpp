// Every code TiffFile's header promises, writes that fail and go on, and
// moving an open file.
#include "FLtestSupport.h"

#include "grundel/iff/TiffFile.h"

#include <gtest/gtest.h>

#include <utility>

using namespace fltest;

namespace {

// The bytes a "mem:" file has written so far.
Bytes written(const TiffFile& file) {
    const void* data = nullptr;
    std::size_t size = 0;
    if (file.memoryInfo(&data, &size) != 0)
        return {};
    const auto* bytes = static_cast<const unsigned char*>(data);
    return Bytes(bytes, bytes + size);
}

// A write that is refused for its size, then whatever goes on does, and the
// file read back.
struct Outcome {
    int closed = 0;
    int readBack = 0;
    std::vector<Node> tree;
};

template <class GoOn>
Outcome afterRefusedPut(GoOn goOn) {
    const TiffSpecialNames names;
    TempFile disk;
    Outcome outcome;
    {
        TiffFile out(disk.path().c_str(), "w");
        EXPECT_EQ(out.beginWriteGroup(TiffTag("FORM"), TiffTag("TEST")), 0);
        EXPECT_EQ(out.beginPut(TiffTag("DATA"), 4), 0);
        EXPECT_EQ(out.put("12345", 5), kFLpastBoundary);
        goOn(out);
        outcome.closed = out.close();
    }
    outcome.readBack = readAll(disk.path(), outcome.tree);
    return outcome;
}

} // namespace

TEST(TiffFileCodes, ARefusedWriteLeavesTheChunkAndTheFileUsable) {
    // Going on with the right length: nothing was lost.
    Outcome outcome = afterRefusedPut([](TiffFile& out) {
        EXPECT_EQ(out.put("1234", 4), 0);
        EXPECT_EQ(out.endPut(), 0);
        EXPECT_EQ(out.putChunk(TiffTag("NEXT"), 2, "ok"), 0);
        EXPECT_EQ(out.endWriteGroup(), 0);
    });
    EXPECT_EQ(outcome.closed, 0);
    ASSERT_EQ(outcome.readBack, 0);
    EXPECT_EQ(outcome.tree[0], group("FORM", "TEST", {chunk("DATA", text("1234")), chunk("NEXT", text("ok"))}));

    // Giving the chunk up: 16, its data made up with zeros, and the rest goes on.
    outcome = afterRefusedPut([](TiffFile& out) {
        EXPECT_EQ(out.endPut(), kFLbadSize);
        EXPECT_EQ(out.putChunk(TiffTag("NEXT"), 2, "ok"), 0);
    });
    EXPECT_EQ(outcome.closed, 0);
    ASSERT_EQ(outcome.readBack, 0);
    EXPECT_EQ(outcome.tree[0], group("FORM", "TEST", {chunk("DATA", Bytes(4, 0)), chunk("NEXT", text("ok"))}));

    // Closing at once: -1 says something failed, and the file still reads.
    outcome = afterRefusedPut([](TiffFile&) {});
    EXPECT_EQ(outcome.closed, -1);
    ASSERT_EQ(outcome.readBack, 0);
    EXPECT_EQ(outcome.tree[0], group("FORM", "TEST", {chunk("DATA", Bytes(4, 0))}));
}

TEST(TiffFileCodes, ClosedFiles) {
    TiffFile closed;
    EXPECT_EQ(closed.close(), -1);
    EXPECT_EQ(closed.quickClose(), -1);
    EXPECT_EQ(closed.put("x", 1), -1);
    EXPECT_EQ(closed.error(), kFLnotAFile);
    EXPECT_EQ(closed.beginRead(1), nullptr);
    EXPECT_EQ(closed.beginWriteGroup(TiffTag("FORM"), TiffTag("TEST")), -1);
    EXPECT_EQ(closed.parse(), -1);
    EXPECT_EQ(closed.size(), -1);
    const void* data = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(closed.memoryInfo(&data, &size), -1);
    TiffFile other;
    EXPECT_EQ(TiffFile::copy(closed, other), -1);
    EXPECT_EQ(closed.error(), kFLnotAFile);
}

TEST(TiffFileCodes, WritingCodesBufferedOrNot) {
    const TiffSpecialNames names;
    for (const bool buffered : {false, true}) {
        TiffFile::setBufferingMode(buffered);
        TiffFile out("mem:", "w");
        ASSERT_TRUE(out.isActive());
        EXPECT_EQ(out.beginWriteGroup(TiffTag("DATA"), TiffTag("TEST")), kFLbadId) << buffered;
        EXPECT_EQ(out.beginWriteGroup(TiffTag("FORM"), TiffTag(0x80000000u)), kFLbadId) << buffered;
        EXPECT_EQ(out.beginWriteGroup(TiffTag("FOR2"), TiffTag("TEST")), kFLreservedId) << buffered;
        EXPECT_EQ(out.beginWriteGroup(TiffTag("PROP"), TiffTag("TEST")), kFLbadRoot) << buffered;
        EXPECT_EQ(out.beginPut(TiffTag("DATA"), 4), kFLbadRoot) << buffered;
        EXPECT_EQ(out.endWriteGroup(), kFLnoGroup) << buffered;
        EXPECT_TRUE(written(out).empty()) << buffered;
        TiffFile::setBufferingMode(false);
        ASSERT_EQ(out.beginWriteGroup(TiffTag("FORM"), TiffTag("TEST")), 0);
        EXPECT_EQ(out.beginWriteGroup(TiffTag("PROP"), TiffTag("TEST")), kFLunexpected);
        EXPECT_EQ(out.putChunk(TiffTag("DATA"), -1, "x"), kFLbadSize);
        EXPECT_EQ(out.putTypedChunk(TiffTag("DATA"), -1, "x", TiffTag("TYPE")), kFLbadSize);
        ASSERT_EQ(out.beginPut(TiffTag("DATA"), 2), 0);
        EXPECT_EQ(out.beginPut(TiffTag("MORE"), 2), kFLnestedWrite);
        EXPECT_EQ(out.beginWriteGroup(TiffTag("FORM"), TiffTag("TEST")), kFLnestedWrite);
        ASSERT_NE(out.beginWrite(2), nullptr);
        EXPECT_EQ(out.endWrite(3), kFLbadSize);
        EXPECT_EQ(out.endWrite(2), 0);
        EXPECT_EQ(out.endPut(), 0);
        EXPECT_EQ(out.put("x", 1), kFLnoChunk);
        EXPECT_EQ(out.endWriteGroup(), 0);
        EXPECT_EQ(out.close(), 0);
    }
}

TEST(TiffFileCodes, ReadingCodes) {
    const TiffSpecialNames names;
    const Bytes bytes = writeToMemory(group(
        "FORM", "TEST", {chunk("TINY", text("ab")), chunk("DATA", text("12345")), group("FORM", "INNR", {})}));
    TiffFile in(memName(bytes.data(), bytes.size()).c_str(), "r");
    TiffTag tag, type;
    Tint32 size = 0;
    EXPECT_EQ(in.getChunk(tag, &size), nullptr);
    EXPECT_EQ(in.error(), kFLnoGroup);
    EXPECT_EQ(in.endReadGroup(), kFLnoGroup);
    EXPECT_EQ(in.beginPut(TiffTag("DATA"), 1), kFLbadMode);
    ASSERT_EQ(in.beginReadGroup(tag, type), 0);
    EXPECT_EQ(in.getTypedChunk(tag, &size, type), nullptr); // "TINY" holds no type
    EXPECT_EQ(in.error(), kFLbadSize);
    EXPECT_EQ(in.beginReadGroup(tag, type), kFLchunkHeader); // "DATA", left open
    EXPECT_EQ(in.beginGet(tag, &size), 0);
    EXPECT_EQ(tag, TiffTag("DATA"));
    EXPECT_EQ(in.beginRead(6), nullptr);
    EXPECT_EQ(in.error(), kFLpastBoundary);
    EXPECT_EQ(in.endGet(), 0);
    EXPECT_EQ(in.beginGet(tag, &size), kFLgroupHeader);
    EXPECT_EQ(in.getChunk(tag, &size), nullptr);
    EXPECT_EQ(in.error(), kFLgroupHeader);
    EXPECT_EQ(in.skipGroup(), 0);
    EXPECT_EQ(in.beginGet(tag, &size), kFLend);
    EXPECT_EQ(in.beginReadGroup(tag, type), kFLend);
    EXPECT_EQ(in.endReadGroup(), 0);
    const void* data = nullptr;
    std::size_t length = 0;
    EXPECT_EQ(in.memoryInfo(&data, &length), 0);
    TempFile disk;
    disk.setBytes(bytes);
    TiffFile onDisk(disk.path().c_str(), "r");
    EXPECT_EQ(onDisk.memoryInfo(&data, &length), kFLnotAFile);

    // A data chunk of unknown size cannot be copied.
    const Bytes unknown = cat({headerBytes("FORM", kFLsizeStream), text("TEST"), headerBytes("DATA", kFLsizeStream),
                               text("abcd"), text("EOVC"), be({0x80, 0, 0, 0}), headerBytes("GEND", 0)});
    TiffFile from(memName(unknown.data(), unknown.size()).c_str(), "r");
    TiffFile to("mem:", "w");
    EXPECT_EQ(TiffFile::copy(from, to), kFLbadSize);
}

TEST(TiffFileCodes, ParseCodes) {
    const TiffSpecialNames names;
    const Bytes bytes = writeToMemory(group("FORM", "TEST", {chunk("DATA", text("1234"))}));
    TiffFile stopped(memName(bytes.data(), bytes.size()).c_str(), "r");
    stopped.setLeafCallback([](TiffFile&, TiffTag tag, Tint32) { return tag == TiffTag("DATA") ? 42 : 0; });
    EXPECT_EQ(stopped.parse(), 42); // a hook's result
    const Bytes cut(bytes.begin(), bytes.end() - 6);
    TiffFile incomplete(memName(cut.data(), cut.size()).c_str(), "r");
    EXPECT_EQ(incomplete.parse(), kFLincomplete); // cut inside a group
    const Bytes header(bytes.begin(), bytes.begin() + 5);
    TiffFile quiet(memName(header.data(), header.size()).c_str(), "r");
    EXPECT_EQ(quiet.parse(), 0); // cut in the first header: ends quietly
}

TEST(TiffFileCodes, MovingAnOpenFile) {
    const TiffSpecialNames names;
    TiffFile first("mem:", "w");
    ASSERT_EQ(first.beginWriteGroup(TiffTag("FORM"), TiffTag("TEST")), 0);
    TiffFile second(std::move(first));
    EXPECT_FALSE(first.isActive());
    EXPECT_EQ(second.putChunk(TiffTag("DATA"), 2, "ok"), 0);
    TiffFile third;
    third = std::move(second);
    EXPECT_FALSE(second.isActive());
    EXPECT_EQ(third.endWriteGroup(), 0);
    EXPECT_EQ(written(third),
              cat({headerBytes("FORM", 14), text("TEST"), headerBytes("DATA", 2), text("ok"), be({0, 0})}));

    // A buffered group moves with its file.
    TiffFile::setBufferingMode(true);
    TiffFile buffered("mem:", "w");
    ASSERT_EQ(buffered.beginWriteGroup(TiffTag("FOR4"), TiffTag("BUFF")), 0);
    ASSERT_EQ(buffered.putChunk(TiffTag("DATA"), 2, "ok"), 0);
    TiffFile moved(std::move(buffered));
    EXPECT_EQ(moved.endWriteGroup(), 0);
    TiffFile::setBufferingMode(false);
    EXPECT_EQ(written(moved), cat({headerBytes("FOR4", 16), text("BUFF"), headerBytes("DATA", 2), text("ok"),
                                   be({0, 0})}));
}
