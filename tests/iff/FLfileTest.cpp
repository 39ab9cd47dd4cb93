#include "FLtestSupport.h"

#include "grundel/iff/FLpath.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

using namespace fltest;

namespace {

const Bytes kXyz = text("xyz");

constexpr auto header = &headerBytes;

// The code FLbgnget gives for the first chunk inside the root group of bytes.
int firstInnerCode(Bytes bytes, TuInt32* id = nullptr) {
    _FLfile* file = FLopen(memName(bytes.data(), bytes.size()).c_str(), "r");
    if (!file)
        return FLerror();
    TuInt32 type = 0;
    Tint32 size = 0;
    int code = FLbgnrgroup(file, &type, &size);
    if (code == 0) {
        TuInt32 inner = 0;
        code = FLbgnget(file, &inner, &size);
        if (id)
            *id = inner;
    }
    EXPECT_EQ(FLclose(file), 0);
    return code;
}

int rootCode(Bytes bytes) {
    _FLfile* file = FLopen(memName(bytes.data(), bytes.size()).c_str(), "r");
    TuInt32 id = 0;
    Tint32 size = 0;
    const int code = FLbgnget(file, &id, &size);
    EXPECT_EQ(FLclose(file), 0);
    return code;
}

} // namespace

TEST(FLfile, ExactBytesOfEachAlignmentFamily) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    // A 3-byte chunk, padded by the formula: one zero in "FORM" and "FOR4",
    // five in "FOR8". Group sizes are patched in memory; the groups' own
    // padding of an unknown size is rounded to 4.
    EXPECT_EQ(writeToMemory(group("FORM", "TEST", {chunk("ABCD", kXyz)})),
              cat({header("FORM", 16), text("TEST"), header("ABCD", 3), kXyz, be({0})}));
    EXPECT_EQ(writeToMemory(group("FOR4", "TEST", {chunk("ABCD", kXyz)})),
              cat({header("FOR4", 16), text("TEST"), header("ABCD", 3), kXyz, be({0})}));
    EXPECT_EQ(writeToMemory(group("FOR8", "TEST", {chunk("ABCD", kXyz)})),
              cat({header("FOR8", 20), text("TEST"), header("ABCD", 3), kXyz, be({0, 0, 0, 0, 0}),
                   be({0, 0, 0, 0})}));
    // A "FORM" inside a "FOR8" keeps 8-byte padding.
    EXPECT_EQ(writeToMemory(group("FOR8", "OUTR", {group("FORM", "INNR", {chunk("ABCD", kXyz)})})),
              cat({header("FOR8", 36), text("OUTR"), header("FORM", 20), text("INNR"), header("ABCD", 3), kXyz,
                   be({0, 0, 0, 0, 0}), be({0, 0, 0, 0}), be({0, 0, 0, 0})}));
}

TEST(FLfile, UnknownSizesArePatchedOrMarked) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    TempFile onDisk;
    _FLfile* file = FLopen(onDisk.path().c_str(), "w");
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(FLbgnwgroup(file, FLmakeid("FORM"), FLmakeid("TEST")), 0);
    ASSERT_EQ(FLbgnput(file, FLmakeid("DATA"), -1), 0);
    ASSERT_EQ(FLput(file, "12345", 5), 0);
    ASSERT_EQ(FLendput(file), 0);
    ASSERT_EQ(FLendwgroup(file), 0);
    ASSERT_EQ(FLclose(file), 0);
    // The data chunk of unknown size is padded to 4 (not 2) in a "FORM", and
    // both sizes are patched to the unpadded lengths.
    EXPECT_EQ(onDisk.bytes(),
              cat({header("FORM", 20), text("TEST"), header("DATA", 5), text("12345"), be({0, 0, 0})}));

    TempFile throughPipe;
    const std::string command = "|cat > " + throughPipe.path();
    file = FLopen(command.c_str(), "w");
    ASSERT_NE(file, nullptr);
    EXPECT_STREQ(file->name, ("pipe:cat > " + throughPipe.path()).c_str());
    ASSERT_EQ(write(file, group("FORM", "TEST", {chunk("ABCD", kXyz)})), 0);
    ASSERT_EQ(FLclose(file), 0);
    // On a stream the group keeps its unknown size and ends with "GEND".
    EXPECT_EQ(throughPipe.bytes(), cat({header("FORM", kFLsizeStream), text("TEST"), header("ABCD", 3), kXyz,
                                        be({0}), header("GEND", 0)}));
    // A data chunk of unknown size on a stream is followed by "EOVC".
    file = FLopen(command.c_str(), "w");
    ASSERT_EQ(FLbgnwgroup(file, FLmakeid("FORM"), FLmakeid("TEST")), 0);
    ASSERT_EQ(FLbgnput(file, FLmakeid("DATA"), -1), 0);
    ASSERT_EQ(FLput(file, "12345", 5), 0);
    ASSERT_EQ(FLclose(file), 0); // closes the chunk and the group
    EXPECT_EQ(throughPipe.bytes(),
              cat({header("FORM", kFLsizeStream), text("TEST"), header("DATA", kFLsizeStream), text("12345"),
                   be({0, 0, 0}), text("EOVC"), be({0x80, 0, 0, 0}), header("GEND", 0)}));
    std::vector<Node> back;
    ASSERT_EQ(readAll(throughPipe.path(), back), kFLbadSize); // the tree reader wants sizes
}

namespace {

// Nested groups of every family holding chunks of 0 to 7 bytes.
Node sampleTree() {
    std::vector<Node> chunks;
    for (int n = 0; n < 8; ++n) {
        Bytes data;
        for (int i = 0; i < n; ++i)
            data.push_back(static_cast<unsigned char>(0xA0 + n * 8 + i));
        chunks.push_back(chunk("DAT0", data));
        chunks.back().id += static_cast<TuInt32>(n);
    }
    std::vector<Node> lists;
    lists.push_back(group("PROP", "PRP1", {chunks[3]}));
    lists.push_back(group("FORM", "F2B1", {chunks[1], chunks[2]}));
    return group("FOR4", "ROOT",
                 {chunks[0],
                  group("FORM", "F2BT", chunks),
                  group("FOR8", "F8BT", {chunks[5], group("FORM", "INNR", {chunks[7], chunks[1]}), chunks[3]}),
                  group("CAT4", "CTLG", {group("FOR4", "IN4A", {chunks[6]}), group("FOR4", "IN4B", {})}),
                  group("LIST", "LST1", lists),
                  group("LIS8", "LST2", {group("PRO8", "PRP2", {chunks[2]})}),
                  chunks[7]});
}

} // namespace

TEST(FLfile, RoundTripThroughFileMemoryAndPipe) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    const Node tree = sampleTree();
    TempFile file;
    _FLfile* out = FLopen(file.path().c_str(), "w");
    ASSERT_EQ(write(out, tree), 0);
    ASSERT_EQ(FLclose(out), 0);
    std::vector<Node> back;
    ASSERT_EQ(readAll(file.path(), back), 0);
    ASSERT_EQ(back.size(), 1u);
    EXPECT_TRUE(back[0] == tree);

    int code = -1;
    const Bytes memory = writeToMemory(tree, &code);
    ASSERT_EQ(code, 0);
    EXPECT_EQ(memory, file.bytes()); // the same bytes in memory as on disk
    back.clear();
    ASSERT_EQ(readAll(memName(memory.data(), memory.size()), back), 0);
    EXPECT_TRUE(back[0] == tree);
    back.clear();
    ASSERT_EQ(readAll("mmap:" + file.path(), back), 0);
    EXPECT_TRUE(back[0] == tree);

    // Written to a pipe (unknown sizes, "GEND"), read back from a pipe.
    TempFile piped;
    out = FLopen(("|cat > " + piped.path()).c_str(), "w");
    ASSERT_EQ(write(out, tree), 0);
    ASSERT_EQ(FLclose(out), 0);
    back.clear();
    ASSERT_EQ(readAll("|cat " + piped.path(), back), 0);
    EXPECT_TRUE(back[0] == tree);
    back.clear();
    ASSERT_EQ(readAll(piped.path(), back), 0);
    EXPECT_TRUE(back[0] == tree);
}

namespace {

// Writes tree chunk by chunk through FLbgnput, FLput (in two pieces) and
// FLendput: the general path that FLputchunk shortens.
int writePiecewise(_FLfile* file, const Node& node) {
    if (node.isGroup()) {
        if (int code = FLbgnwgroup(file, node.id, node.type))
            return code;
        for (const Node& child : node.children)
            if (int code = writePiecewise(file, child))
                return code;
        return FLendwgroup(file);
    }
    const std::size_t half = node.data.size() / 2;
    if (int code = FLbgnput(file, node.id, static_cast<Tint32>(node.data.size())))
        return code;
    if (int code = FLput(file, node.data.data(), half))
        return code;
    if (int code = FLput(file, node.data.data() + half, node.data.size() - half))
        return code;
    return FLendput(file);
}

// Groups of each family holding chunks of 0 to 300 bytes, together several
// times the size of a file's buffer, so that headers and data straddle it at
// many offsets.
Node manyChunks() {
    std::vector<Node> groups;
    const TuInt32 families[] = {FLmakeid("FORM"), FLmakeid("FOR4"), FLmakeid("FOR8")};
    for (int g = 0; g < 36; ++g) {
        std::vector<Node> chunks;
        for (int c = 0; c < 60; ++c) {
            const std::size_t n = static_cast<std::size_t>((g * 61 + c * 37) % 301);
            Bytes data(n);
            for (std::size_t i = 0; i < n; ++i)
                data[i] = static_cast<unsigned char>(g + c + i);
            chunks.push_back(chunk("DATA", data));
        }
        Node inner = group("FOR4", "GRUP", std::move(chunks));
        inner.id = families[g % 3];
        groups.push_back(std::move(inner));
    }
    return group("FOR4", "ROOT", groups);
}

} // namespace

TEST(FLfile, ManyChunksAcrossBufferBoundaries) {
    const TiffSpecialNames names; // memory blocks and pipes by name
    const Node tree = manyChunks();
    int code = -1;
    const Bytes whole = writeToMemory(tree, &code);
    ASSERT_EQ(code, 0);
    ASSERT_GT(whole.size(), 4u * 65536u);

    // FLputchunk and the piecewise calls give the same bytes.
    TempFile file;
    _FLfile* out = FLopen(file.path().c_str(), "w");
    ASSERT_EQ(writePiecewise(out, tree), 0);
    ASSERT_EQ(FLclose(out), 0);
    EXPECT_EQ(file.bytes(), whole);

    for (const std::string& name : {memName(whole.data(), whole.size()), file.path(), "|cat " + file.path()}) {
        SCOPED_TRACE(name);
        std::vector<Node> back;
        ASSERT_EQ(readAll(name, back), 0);
        ASSERT_EQ(back.size(), 1u);
        EXPECT_TRUE(back[0] == tree);
    }

    // Reading one byte of each chunk and skipping the rest.
    for (const std::string& name : {file.path(), "|cat " + file.path()}) {
        SCOPED_TRACE(name);
        _FLfile* in = FLopen(name.c_str(), "r");
        TuInt32 type = 0, id = 0;
        Tint32 size = 0;
        ASSERT_EQ(FLbgnrgroup(in, &type, &size), 0);
        std::size_t g = 0;
        while (FLbgnrgroup(in, &type, &size) == 0) {
            ASSERT_LT(g, tree.children.size());
            const std::vector<Node>& chunks = tree.children[g].children;
            std::size_t c = 0;
            while ((code = FLbgnget(in, &id, &size)) == 0) {
                ASSERT_LT(c, chunks.size());
                ASSERT_EQ(static_cast<std::size_t>(size), chunks[c].data.size());
                unsigned char first = 0;
                if (size > 0) {
                    ASSERT_EQ(FLget(in, &first, 1), 0);
                    EXPECT_EQ(first, chunks[c].data[0]);
                }
                ASSERT_EQ(FLendget(in), 0);
                ++c;
            }
            EXPECT_EQ(code, kFLend);
            EXPECT_EQ(c, chunks.size());
            ASSERT_EQ(FLendrgroup(in), 0);
            ++g;
        }
        EXPECT_EQ(g, tree.children.size());
        EXPECT_EQ(FLclose(in), 0);
    }
}

TEST(FLfile, LeavingAGroupEarlyResumesAfterIt) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    const Node tree = group("FORM", "ROOT", {group("FORM", "SKIP", {chunk("AAAA", kXyz), chunk("BBBB", text("12345"))}),
                                             chunk("NEXT", text("after"))});
    for (bool unknownOnStream : {false, true}) {
        TempFile file;
        _FLfile* out = FLopen(((unknownOnStream ? "|cat > " : "") + file.path()).c_str(), "w");
        ASSERT_EQ(write(out, tree), 0);
        ASSERT_EQ(FLclose(out), 0);
        _FLfile* in = FLopen(file.path().c_str(), "r");
        TuInt32 type = 0, id = 0;
        Tint32 size = 0;
        ASSERT_EQ(FLbgnrgroup(in, &type, &size), 0);
        ASSERT_EQ(FLbgnrgroup(in, &type, &size), 0);
        EXPECT_EQ(type, FLmakeid("SKIP"));
        ASSERT_EQ(FLbgnget(in, &id, &size), 0);
        char two[2];
        ASSERT_EQ(FLget(in, two, 2), 0); // only part of the first chunk
        ASSERT_EQ(FLendrgroup(in), 0);
        ASSERT_EQ(FLbgnget(in, &id, &size), 0);
        EXPECT_EQ(id, FLmakeid("NEXT"));
        char after[5];
        ASSERT_EQ(FLget(in, after, 5), 0);
        EXPECT_EQ(std::string(after, 5), "after");
        EXPECT_EQ(FLclose(in), 0);
    }
}

TEST(FLfile, ErrorCodesOfBadFiles) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    // 5: fewer than 8 bytes left in a group where a header should stand.
    EXPECT_EQ(firstInnerCode(cat({header("FORM", 10), text("TEST"), be({1, 2, 3, 4, 5, 6})})), kFLbadBlock);
    // 10: "INCL" and "PATH" are not implemented.
    EXPECT_EQ(firstInnerCode(cat({header("FORM", 12), text("TEST"), header("INCL", 0)})), kFLnotImplemented);
    EXPECT_EQ(firstInnerCode(cat({header("FORM", 12), text("TEST"), header("PATH", 0)})), kFLnotImplemented);
    // 12: a data chunk or a property group at the root; a bad size there.
    EXPECT_EQ(rootCode(cat({header("DATA", 3), kXyz, be({0})})), kFLbadRoot);
    EXPECT_EQ(rootCode(cat({header("PROP", 4), text("TEST")})), kFLbadRoot);
    EXPECT_EQ(rootCode(cat({header("FORM", 0x80000004u), text("TEST")})), kFLbadRoot);
    // 14: a property group directly inside a form.
    EXPECT_EQ(firstInnerCode(cat({header("FORM", 16), text("TEST"), header("PROP", 4), text("PRPT")})), kFLunexpected);
    // 16: an illegal negative size, or a size past the group's end.
    EXPECT_EQ(firstInnerCode(cat({header("FORM", 12), text("TEST"), header("DATA", 0x80000004u)})), kFLbadSize);
    EXPECT_EQ(firstInnerCode(cat({header("FORM", 16), text("TEST"), header("DATA", 5), be({1, 2, 3, 4})})), kFLbadSize);
    // 19: "GEND" where the group's known size does not end.
    EXPECT_EQ(firstInnerCode(cat({header("FORM", 20), text("TEST"), header("GEND", 0), header("DATA", 0)})),
              kFLbadBlockEnd);
    EXPECT_EQ(firstInnerCode(cat({header("FORM", 12), text("TEST"), header("GEND", 0)})), kFLend);
    // 34: a reserved prefix with a digit; any other letter is a data chunk.
    EXPECT_EQ(firstInnerCode(cat({header("FORM", 12), text("TEST"), header("FOR5", 0)})), kFLreservedId);
    TuInt32 id = 0;
    EXPECT_EQ(firstInnerCode(cat({header("FORM", 12), text("TEST"), header("FORX", 0)}), &id), kFLnoError);
    EXPECT_EQ(id, FLmakeid("FORX"));
}

TEST(FLfile, ErrorCodesOfMisuse) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    EXPECT_EQ(FLopen("mem:", "x"), nullptr);
    EXPECT_EQ(FLerror(), kFLbadMode); // 24
    EXPECT_EQ(FLopen("mem:", "r"), nullptr);
    EXPECT_EQ(FLerror(), kFLbadName);
    EXPECT_EQ(FLopen("mem:0x12", "r"), nullptr);
    EXPECT_EQ(FLerror(), kFLbadName);
    EXPECT_EQ(FLopen("stdin", "w"), nullptr);
    EXPECT_EQ(FLerror(), kFLbadName);
    EXPECT_EQ(FLopen("no-such-host.invalid:/tmp/x", "r"), nullptr);
    EXPECT_EQ(FLerror(), kFLhost); // 41

    _FLfile* file = FLopen("mem:", "w");
    EXPECT_EQ(FLendwgroup(file), kFLnoGroup); // 25
    EXPECT_EQ(FLput(file, "x", 1), kFLnoChunk);
    EXPECT_EQ(FLbgnput(file, FLmakeid("DATA"), 3), kFLbadRoot);
    EXPECT_EQ(FLbgnwgroup(file, FLmakeid("FORM"), 0x80000000u | FLmakeid("TEST")), kFLbadId);
    EXPECT_EQ(FLbgnwgroup(file, FLmakeid("DATA"), FLmakeid("TEST")), kFLbadId); // not a group, even at the root
    EXPECT_EQ(FLbgnwgroup(file, FLmakeid("PROP"), FLmakeid("TEST")), kFLbadRoot);
    ASSERT_EQ(FLbgnwgroup(file, FLmakeid("FORM"), FLmakeid("TEST")), 0);
    EXPECT_EQ(FLbgnwgroup(file, FLmakeid("DATA"), FLmakeid("TEST")), kFLbadId); // not a group
    EXPECT_EQ(FLbgnwgroup(file, FLmakeid("FOR7"), FLmakeid("TEST")), kFLreservedId); // 34
    EXPECT_EQ(FLbgnwgroup(file, FLmakeid("PROP"), FLmakeid("TEST")), kFLunexpected); // 14
    EXPECT_EQ(FLputchunk(file, FLmakeid("DATA"), -1, "x"), kFLbadSize);
    ASSERT_EQ(FLbgnput(file, FLmakeid("DATA"), 3), 0);
    EXPECT_EQ(FLput(file, "abcd", 4), kFLpastBoundary); // 13
    EXPECT_EQ(FLprintf(file, "%s", "abcd"), -1);
    EXPECT_EQ(FLerror(), kFLpastBoundary);
    EXPECT_EQ(FLput(file, "ab", 2), 0);
    EXPECT_EQ(FLendput(file), kFLbadSize); // 16: 2 of 3 bytes, the third made up with zero
    EXPECT_EQ(FLput(file, "c", 1), kFLnoChunk); // and the chunk closed all the same
    ASSERT_NE(FLbgnwbchunk(file, FLmakeid("BLK1"), 8), nullptr);
    EXPECT_EQ(FLbgnwbchunk(file, FLmakeid("BLK2"), 8), nullptr);
    EXPECT_EQ(FLerror(), kFLnestedWrite); // 29
    EXPECT_EQ(FLendwbchunk(file, 9), kFLbadSize);
    EXPECT_EQ(FLendwbchunk(file, 0), 0);
    EXPECT_EQ(FLclose(file), 0);

    Bytes sample = writeToMemory(sampleTree());
    file = FLopen(memName(sample.data(), sample.size()).c_str(), "r");
    TuInt32 id = 0;
    Tint32 size = 0;
    EXPECT_EQ(FLreadchunk(file, &id, &size), nullptr);
    EXPECT_EQ(FLerror(), kFLnoGroup); // 25 at the root
    EXPECT_EQ(FLendrgroup(file), kFLnoGroup);
    EXPECT_EQ(FLbgnput(file, FLmakeid("DATA"), 1), kFLbadMode);
    EXPECT_EQ(FLclose(file), 0);
}

TEST(FLfile, BlockWritingFillsInPlace) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    for (const char* name : {"mem:", "file"}) {
        TempFile disk;
        const bool inMemory = std::string(name) == "mem:";
        _FLfile* file = FLopen(inMemory ? name : disk.path().c_str(), "w");
        ASSERT_EQ(FLbgnwgroup(file, FLmakeid("FOR4"), FLmakeid("TEST")), 0);
        char* area = static_cast<char*>(FLbgnwbchunk(file, FLmakeid("BLCK"), 10));
        ASSERT_NE(area, nullptr);
        std::memcpy(area, "hello", 5);
        ASSERT_EQ(FLendwbchunk(file, 5), 0); // less than reserved: patched
        ASSERT_EQ(FLputchunk(file, FLmakeid("NEXT"), 1, "!"), 0);
        ASSERT_EQ(FLendwgroup(file), 0);
        const Bytes expected = cat({header("FOR4", 32), text("TEST"), header("BLCK", 5), text("hello"),
                                    be({0, 0, 0}), header("NEXT", 1), text("!"), be({0, 0, 0})});
        if (inMemory) {
            void* data = nullptr;
            std::size_t size = 0;
            ASSERT_EQ(FLclosemem(file, &data, &size), 0);
            EXPECT_EQ(Bytes(static_cast<unsigned char*>(data), static_cast<unsigned char*>(data) + size), expected);
            std::free(data);
        } else {
            ASSERT_EQ(FLclose(file), 0);
            EXPECT_EQ(disk.bytes(), expected);
        }
    }
}

TEST(FLfile, TruncatedFilesNeverReadAsComplete) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    const Bytes whole = writeToMemory(sampleTree());
    std::vector<Node> out;
    ASSERT_EQ(readAll(memName(whole.data(), whole.size()), out), 0);
    TempFile disk;
    for (std::size_t cut = 1; cut < whole.size(); ++cut) {
        const Bytes part(whole.begin(), whole.begin() + static_cast<long>(cut));
        out.clear();
        EXPECT_NE(readAll(memName(part.data(), part.size()), out), 0) << "cut at " << cut;
        if (cut % 7 == 0) {
            disk.setBytes(part);
            out.clear();
            EXPECT_NE(readAll(disk.path(), out), 0) << "file cut at " << cut;
        }
    }
}

TEST(FLfile, HostileSizesAndNesting) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    // A chunk that declares nearly 2 GiB in a small file: refused before allocating.
    Bytes big = cat({header("FORM", 0x7FFFFF00u), text("TEST"), header("DATA", 0x7FFFFE00u), text("tiny")});
    _FLfile* file = FLopen(memName(big.data(), big.size()).c_str(), "r");
    TuInt32 type = 0, id = 0;
    Tint32 size = 0;
    ASSERT_EQ(FLbgnrgroup(file, &type, &size), 0);
    EXPECT_EQ(FLreadchunk(file, &id, &size), nullptr);
    EXPECT_EQ(FLerror(), kFLincomplete);
    EXPECT_EQ(FLclose(file), 0);

    // Unknown-size data: FLreadchunk refuses it.
    Bytes unknown = cat({header("FORM", kFLsizeStream), text("TEST"), header("DATA", kFLsizeStream), text("abcd"),
                         text("EOVC"), be({0x80, 0, 0, 0}), header("GEND", 0)});
    file = FLopen(memName(unknown.data(), unknown.size()).c_str(), "r");
    ASSERT_EQ(FLbgnrgroup(file, &type, &size), 0);
    EXPECT_EQ(FLreadchunk(file, &id, &size), nullptr);
    EXPECT_EQ(FLerror(), kFLbadSize);
    EXPECT_EQ(FLendget(file), 0); // skips to the marker
    EXPECT_EQ(FLbgnget(file, &id, &size), kFLend);
    EXPECT_EQ(FLclose(file), 0);

    // Groups nested deeper than the bound: 6, with no stack exhausted.
    Bytes deep;
    for (int i = 0; i < 2000; ++i)
        deep = cat({deep, header("FORM", kFLsizeStream), text("NEST")});
    file = FLopen(memName(deep.data(), deep.size()).c_str(), "r");
    int code = 0;
    int levels = 0;
    while ((code = FLbgnrgroup(file, &type, &size)) == 0)
        ++levels;
    EXPECT_EQ(code, kFLcorrupted);
    EXPECT_EQ(levels, int(kFLmaxDepth));
    EXPECT_EQ(FLclose(file), 0);
}

TEST(FLfile, StrayZerosAfterUnknownSizesInTheTwoByteFamily) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    // An unknown-size chunk of 6 bytes in a "FORM" is padded to 8: the two
    // extra zeros stand where the next header is expected.
    _FLfile* file = FLopen("mem:", "w");
    ASSERT_EQ(FLbgnwgroup(file, FLmakeid("FORM"), FLmakeid("TEST")), 0);
    ASSERT_EQ(FLbgnput(file, FLmakeid("ODD6"), -1), 0);
    ASSERT_EQ(FLput(file, "123456", 6), 0);
    ASSERT_EQ(FLendput(file), 0);
    ASSERT_EQ(FLputchunk(file, FLmakeid("NEXT"), 2, "ok"), 0);
    ASSERT_EQ(FLendwgroup(file), 0);
    void* data = nullptr;
    std::size_t size = 0;
    ASSERT_EQ(FLclosemem(file, &data, &size), 0);
    const Bytes bytes(static_cast<unsigned char*>(data), static_cast<unsigned char*>(data) + size);
    std::free(data);
    // The group itself is rounded to 4 too: two more zeros after it.
    EXPECT_EQ(bytes, cat({header("FORM", 30), text("TEST"), header("ODD6", 6), text("123456"), be({0, 0}),
                          header("NEXT", 2), text("ok"), be({0, 0})}));
    std::vector<Node> back;
    ASSERT_EQ(readAll(memName(bytes.data(), bytes.size()), back), 0);
    ASSERT_EQ(back[0].children.size(), 2u);
    EXPECT_EQ(back[0].children[1].data, text("ok"));
}

TEST(FLfile, PaddingOutsideTheGroupStillReads) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    // A writer that leaves the last chunk's padding byte outside its group.
    const Bytes bytes = cat({header("FORM", 15), text("AIFF"), header("SSND", 3), kXyz, be({0})});
    std::vector<Node> back;
    ASSERT_EQ(readAll(memName(bytes.data(), bytes.size()), back), 0);
    EXPECT_EQ(back[0].children[0].data, kXyz);
}

TEST(FLfile, SizeRepairMode) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    // A "SHAP" whose size is wrong is measured up to the next such header.
    const Bytes bytes = cat({header("FORM", 28), text("TEST"), header("SHAP", 12), text("abcd"),
                             header("FRAM", 4), text("wxyz")});
    std::vector<Node> back;
    EXPECT_NE(readAll(memName(bytes.data(), bytes.size()), back), 0);
    back.clear();
    ASSERT_EQ(readAll(memName(bytes.data(), bytes.size()), back, "rs"), 0);
    ASSERT_EQ(back[0].children.size(), 2u);
    EXPECT_EQ(back[0].children[0].data, text("abcd"));
    EXPECT_EQ(back[0].children[1].data, text("wxyz"));
}

TEST(FLfile, PlainReadingAndMarks) {
    const TiffSpecialNames names; // memory blocks, pipes and drivers by name
    const Bytes bytes = writeToMemory(group("FORM", "TEST", {chunk("AAAA", text("abcdef")), chunk("BBBB", kXyz)}));
    _FLfile* file = FLopen(memName(bytes.data(), bytes.size()).c_str(), "r");
    TuInt32 type = 0, id = 0;
    Tint32 size = 0;
    ASSERT_EQ(FLbgnrgroup(file, &type, &size), 0);
    ASSERT_EQ(FLsetmark(file, 7), 0);
    ASSERT_EQ(FLbgnget(file, &id, &size), 0);
    char buffer[16];
    EXPECT_EQ(FLread(file, buffer, sizeof buffer), 6); // clamped to the chunk
    EXPECT_EQ(FLtell(file), 6);
    EXPECT_EQ(FLunget(file, 2), 0);
    EXPECT_EQ(FLget(file, buffer, 2), 0);
    EXPECT_EQ(std::string(buffer, 2), "ef");
    EXPECT_EQ(FLseek(file, 1, SEEK_SET), 0);
    EXPECT_EQ(FLget(file, buffer, 2), 0);
    EXPECT_EQ(std::string(buffer, 2), "bc");
    EXPECT_EQ(FLseek(file, 7, SEEK_SET), kFLpastBoundary);
    EXPECT_EQ(FLunread(file, "ZZ", 2), 0);
    EXPECT_EQ(FLget(file, buffer, 2), 0);
    EXPECT_EQ(std::string(buffer, 2), "ZZ");
    ASSERT_EQ(FLendget(file), 0);
    ASSERT_EQ(FLbgnget(file, &id, &size), 0);
    EXPECT_EQ(id, FLmakeid("BBBB"));
    ASSERT_EQ(FLjmpmark(file, 7), 0); // back to the first chunk
    ASSERT_EQ(FLbgnget(file, &id, &size), 0);
    EXPECT_EQ(id, FLmakeid("AAAA"));
    EXPECT_EQ(FLjmpmark(file, 8), kFLnoMarker); // 35
    EXPECT_EQ(FLdelmark(file, 7), 0);
    EXPECT_EQ(FLdelmark(file, 7), kFLnoMarker);
    EXPECT_EQ(FLclose(file), 0);
}

TEST(FLerror, MessagesWordForWord) {
    EXPECT_STREQ(FLstrerror(0), "no error");
    EXPECT_STREQ(FLstrerror(34), "illegal use of a reserved id");
    EXPECT_STREQ(FLstrerror(36), "unknown error code");
    EXPECT_STREQ(FLstrerror(49), "");
    EXPECT_STREQ(FLstrerror(155), "polygon has no mormal");
    EXPECT_STREQ(FLstrerror(275), "missing braket");
    EXPECT_STREQ(FLstrerror(142), "header already written");
    EXPECT_STREQ(FLstrerror(278), "unknown error code");
    FLsetoserror(ENOENT);
    EXPECT_STREQ(FLstrerror(40), std::strerror(ENOENT));
    FLsetoserror(5);
    FLpushoserror();
    FLsetoserror(7);
    FLpoposerror();
    EXPECT_EQ(FLoserror(), 5);
    EXPECT_STREQ(FLbasename("/a/b/c.iff"), "c.iff");
}

TEST(FLerror, PerrorFormats) {
    std::FILE* capture = std::tmpfile();
    const int saved = ::dup(2);
    ::dup2(::fileno(capture), 2);
    FLseterror(kFLbadSize);
    FLperror("scene.iff");
    FLperror(nullptr);
    FLsetprogname("tool");
    FLprgerror("/data/scene.iff");
    FLsetprogname(nullptr);
    FLseterror(0);
    FLprgerror("/data/other.iff"); // nothing: no error
    std::fflush(stderr);
    ::dup2(saved, 2);
    ::close(saved);
    std::rewind(capture);
    char text[512] = {};
    const std::size_t n = std::fread(text, 1, sizeof text - 1, capture);
    std::fclose(capture);
    EXPECT_EQ(std::string(text, n), "scene.iff : (16) bad size\nError 16 : bad size\n"
                                    "tool, file scene.iff : (16) bad size\n");
}
