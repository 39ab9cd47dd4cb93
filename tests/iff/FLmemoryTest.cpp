// Memory routines: failures as code 33 with the old block intact, growth
// that keeps content, insertion that may take bytes from its own buffer.
#include "grundel/iff/FLmemory.h"

#include "grundel/iff/FLerror.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace {

struct Buffer {
    char* data = nullptr;
    size_t length = 0;
    size_t capacity = 0;
    ~Buffer() { FLfree(data); }
    std::string text() const { return std::string(data, length); }
    bool insert(size_t offset, const void* bytes, size_t count) {
        void* grown = FLinsbytes(data, &length, &capacity, offset, bytes, count);
        if (grown)
            data = static_cast<char*>(grown);
        return grown != nullptr;
    }
};

} // namespace

TEST(FLmemory, ImpossibleSizesFailWithNoMemory) {
    FLseterror(0);
    EXPECT_EQ(FLmalloc(SIZE_MAX), nullptr);
    EXPECT_EQ(FLerror(), kFLnoMemory);
    FLseterror(0);
    EXPECT_EQ(FLcalloc(SIZE_MAX / 2, 3), nullptr) << "the product overflows";
    EXPECT_EQ(FLerror(), kFLnoMemory);

    char* block = static_cast<char*>(FLmalloc(4));
    ASSERT_NE(block, nullptr);
    std::memcpy(block, "abc", 4);
    FLseterror(0);
    EXPECT_EQ(FLrealloc(block, SIZE_MAX - 8), nullptr);
    EXPECT_EQ(FLerror(), kFLnoMemory);
    EXPECT_STREQ(block, "abc") << "a failed resize keeps the block";

    size_t capacity = 4;
    EXPECT_EQ(FLgrow(block, &capacity, SIZE_MAX - 8), nullptr);
    EXPECT_EQ(capacity, 4u);
    EXPECT_EQ(FLrgrow(block, &capacity, SIZE_MAX - 8), nullptr);
    EXPECT_EQ(capacity, 4u);
    EXPECT_STREQ(block, "abc");
    FLfree(block);

    void* empty = FLmalloc(0);
    EXPECT_NE(empty, nullptr) << "size 0 is a block, not a failure";
    FLfree(empty);
    auto* zeros = static_cast<unsigned char*>(FLcalloc(16, 4));
    ASSERT_NE(zeros, nullptr);
    EXPECT_EQ(zeros[63], 0);
    FLfree(zeros);
}

TEST(FLmemory, GrowthKeepsContentAndIsGeometric) {
    char* block = nullptr;
    size_t capacity = 12345; // ignored while block is null
    int moves = 0;
    for (size_t needed = 1; needed <= 1 << 20; ++needed) {
        const size_t before = capacity;
        char* grown = static_cast<char*>(FLgrow(block, &capacity, needed));
        ASSERT_NE(grown, nullptr);
        ASSERT_GE(capacity, needed);
        if (grown != block || capacity != before)
            ++moves;
        block = grown;
        block[needed - 1] = static_cast<char>(needed);
    }
    EXPECT_LT(moves, 40) << "a million single-byte steps take few reallocations";
    for (size_t i = 1; i <= 1 << 20; i += 4097)
        ASSERT_EQ(block[i - 1], static_cast<char>(i));
    FLfree(block);

    // Reverse growth keeps the old bytes at the end.
    size_t rcapacity = 4;
    char* back = static_cast<char*>(FLmalloc(rcapacity));
    std::memcpy(back, "wxyz", 4);
    back = static_cast<char*>(FLrgrow(back, &rcapacity, 100));
    ASSERT_NE(back, nullptr);
    ASSERT_GE(rcapacity, 100u);
    EXPECT_EQ(std::string(back + rcapacity - 4, 4), "wxyz");
    EXPECT_EQ(FLrgrow(back, &rcapacity, 50), back) << "enough room: nothing moves";
    FLfree(back);
}

TEST(FLmemory, InsertsBytesZerosAndItsOwnBytes) {
    Buffer b;
    ASSERT_TRUE(b.insert(0, "held", 4));
    ASSERT_TRUE(b.insert(2, "--", 2));
    EXPECT_EQ(b.text(), "he--ld");
    ASSERT_TRUE(b.insert(6, nullptr, 2));
    EXPECT_EQ(b.text(), std::string("he--ld\0\0", 8));
    FLseterror(0);
    EXPECT_FALSE(b.insert(9, "x", 1));
    EXPECT_EQ(FLerror(), kFLbadSize);
    EXPECT_EQ(b.text(), std::string("he--ld\0\0", 8)) << "a refused insertion changes nothing";

    // Bytes from the buffer itself, straddling the insertion point, at full
    // capacity so that the block moves as it grows.
    Buffer own;
    ASSERT_TRUE(own.insert(0, "abcdef", 6));
    while (own.length < own.capacity)
        ASSERT_TRUE(own.insert(own.length, ".", 1));
    const std::string before = own.text();
    ASSERT_TRUE(own.insert(3, own.data + 1, 4));
    EXPECT_EQ(own.text(), "abc" + std::string("bcde") + before.substr(3));
    EXPECT_FALSE(own.insert(0, own.data + own.length - 2, 5)) << "bytes past the held length";
    EXPECT_EQ(FLerror(), kFLbadSize);
}
