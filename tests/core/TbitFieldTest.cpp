#include "grundel/core/TbitField.h"

#include "grundel/core/Texception.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

TEST(TbitField32, BitsProxiesAndWordOperators) {
    TbitField32 field;
    EXPECT_FALSE(field.anySet());
    field.setBit(3, true).setBit(31, true);
    field[5] = true;
    field[3] = false;
    EXPECT_EQ(field.bits(), (1u << 31) | (1u << 5));
    EXPECT_EQ(field & 0xFFu, 1u << 5);
    EXPECT_EQ(field | 1u, (1u << 31) | (1u << 5) | 1u);
    EXPECT_EQ(~field, ~((1u << 31) | (1u << 5)));
    field &= 0x20u;
    field |= 0x1u;
    EXPECT_EQ(field.bits(), 0x21u);
    EXPECT_FALSE(field.testBit(32)); // past the width: false, and not set
    field.setBit(40, true);
    EXPECT_EQ(field, TbitField32(0x21u));

    TbitField16 small;
    small.setAll();
    EXPECT_EQ(small.bits(), 0xFFFFu);
    TbitField64 wide;
    wide[63] = true;
    EXPECT_EQ(wide.bits(), TuInt64(1) << 63);
    TbitField128 widest;
    widest[127] = true;
    widest[0] = true;
    EXPECT_EQ(widest.high(), TuInt64(1) << 63);
    EXPECT_EQ(widest.low(), 1u);
    EXPECT_EQ((widest & TbitField128(0, ~TuInt64(0))), TbitField128(0, TuInt64(1) << 63));
}

TEST(TbitFieldN, GrowsOnlyWhenABitIsSetPastItsWords) {
    TbitFieldN field;
    EXPECT_FALSE(field.testBit(1000));
    EXPECT_EQ(field.wordCount(), 0u);
    field.setBit(1000, true);
    EXPECT_EQ(field.wordCount(), 32u);
    EXPECT_TRUE(field[1000]);
    EXPECT_FALSE(field.testBit(999));
    field.setBit(2000, false);
    EXPECT_EQ(field.wordCount(), 32u);

    TbitFieldN copy(field);
    EXPECT_EQ(copy.wordCount(), 32u);
    EXPECT_TRUE(copy.testBits(field));
    copy.setBit(1000, false);
    EXPECT_FALSE(copy.testBits(field));
    EXPECT_TRUE(field.testBits(copy));
}

TEST(TbitFieldN, EqualityIsInvertedOnWordCount) {
    TbitFieldN one;
    TbitFieldN same;
    one.setBit(3, true);
    same.setBit(3, true);
    EXPECT_FALSE(one == same); // the same number of words: unequal at once
    TbitFieldN two;
    two.setBit(3, true);
    two.setBit(40, true);
    EXPECT_TRUE(one == two);  // only this field's words are compared
    EXPECT_FALSE(two == one); // bit 40 against a word that one lacks (0)
    two.setBit(40, false);
    EXPECT_TRUE(two == one);
    EXPECT_TRUE(one != same);
}

TEST(TbitFieldFixedN, OwnershipMarkSurvivesEveryWholeFieldOperation) {
    TbitFieldFixedN field(40, nullptr);
    EXPECT_EQ(field.elementCount(), 2u);
    EXPECT_EQ(TbitFieldFixedN::bytesNeeded(40), 8u);
    EXPECT_TRUE(field.ownBits());
    EXPECT_EQ(field.currentArray()[1], 1u << 8);
    field.setAll();
    EXPECT_EQ(field.currentArray()[1], 0x1FFu);
    field.resetAll();
    EXPECT_FALSE(field.anySet());
    field.invertAll();
    field.setBit(40, false); // the mark is not a bit of the field
    EXPECT_TRUE(field.ownBits());

    TbitFieldFixedN shorter(20, nullptr);
    shorter.setBit(2, true);
    field.AND(shorter);
    EXPECT_EQ(field.currentArray()[0], 0xFFF00004u); // bits from 20 on untouched
    field.XOR(shorter);
    field.OR(shorter);
    EXPECT_EQ(field.currentArray()[0], 0xFFF00004u);
    EXPECT_TRUE(field.ownBits());
    EXPECT_TRUE(shorter.ownBits());

    TbitFieldFixedN copy(field);
    EXPECT_NE(copy.currentArray(), field.currentArray());
    EXPECT_EQ(copy, field);
    copy.clone(shorter);
    EXPECT_EQ(copy, shorter);
    EXPECT_TRUE(copy.ownBits());
    field.resizeArrayWithCopy(70, nullptr);
    EXPECT_TRUE(field.ownBits());
    EXPECT_TRUE(field.testBit(39));
    EXPECT_FALSE(field.testBit(40));
}

TEST(TbitFieldFixedN, CallerStorageIsSharedAndNeverFreed) {
    TuInt32 words[3] = {0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu};
    TbitFieldFixedN field(64, words);
    EXPECT_FALSE(field.ownBits());
    EXPECT_EQ(words[0], 0u);
    field.setAll();
    EXPECT_EQ(words[2], 0u);
    TbitFieldFixedN copy(field);
    EXPECT_EQ(copy.currentArray(), words);
    TbitFieldFixedN assigned;
    assigned = field;
    EXPECT_EQ(assigned.currentArray(), words);

    words[0] = 0x8001u;
    TbitFieldFixedN adopted;
    adopted.switchArray(40, words);
    EXPECT_TRUE(adopted.testBit(15));
    EXPECT_FALSE(adopted.ownBits());
    adopted.resizeArray(10, nullptr, true);
    EXPECT_TRUE(adopted.ownBits());
    EXPECT_TRUE(adopted.testBit(0));
    EXPECT_EQ(words[0], 0x8001u);
} // ASan reports a free of the stack words

TEST(TbitFieldFixedN, InsertAndRemoveCarryAcrossWords) {
    TbitFieldFixedN field(33, nullptr);
    field.setBit(31, true);
    field.setBit(32, true);
    EXPECT_FALSE(field.insertBit(0, true));
    EXPECT_TRUE(field.testBit(0));
    EXPECT_TRUE(field.testBit(32)); // bit 31 moved into word 1, old bit 32 dropped
    EXPECT_EQ(field.currentArray()[1], 0x3u);
    EXPECT_TRUE(field.removeBit(0));
    EXPECT_TRUE(field.testBit(31));
    EXPECT_FALSE(field.testBit(32));
    EXPECT_TRUE(field.ownBits());

    for (TuInt32 n : {1u, 31u, 32u, 64u, 95u}) {
        std::mt19937 random(n);
        TbitFieldFixedN bits(n, nullptr);
        std::vector<bool> model(n);
        for (int step = 0; step < 300; ++step) {
            const TuInt32 i = random() % n;
            const bool value = random() & 1;
            const bool previous = model[i];
            switch (random() % 3) {
            case 0:
                bits.setBit(i, value);
                model[i] = value;
                break;
            case 1:
                ASSERT_EQ(bits.insertBit(i, value), previous);
                model.insert(model.begin() + i, value);
                model.pop_back();
                break;
            case 2:
                ASSERT_EQ(bits.removeBit(i), previous);
                model.erase(model.begin() + i);
                model.push_back(false);
                break;
            }
            for (TuInt32 k = 0; k < n; ++k)
                ASSERT_EQ(bits.testBit(k), model[k]) << "n " << n << " bit " << k;
            ASSERT_TRUE(bits.ownBits());
            ASSERT_EQ(bits.currentArray()[n / 32] >> (n % 32), 1u); // nothing above the mark
        }
    }
}

TEST(TbitMatrix, GrowMakesASquareOfAMultipleOf32) {
    TbitMatrix matrix(3, 5);
    matrix.setBit(0, 4, true);
    matrix[2][1] = true;
    matrix.setBit(1, 0, true);
    const TbitMatrix before(matrix);
    matrix.grow(0, 1);
    EXPECT_EQ(matrix.rows(), 32u);
    EXPECT_EQ(matrix.cols(), 32u);
    int set = 0;
    for (TuInt32 r = 0; r < 32; ++r)
        for (TuInt32 c = 0; c < 32; ++c)
            if (matrix.testBit(r, c)) {
                EXPECT_TRUE(before.testBit(r, c)) << r << "," << c;
                ++set;
            }
    EXPECT_EQ(set, 3);
    EXPECT_NE(matrix, before);
    matrix.grow(100, 40);
    EXPECT_EQ(matrix.rows(), 96u);
    EXPECT_TRUE(matrix[2][1]);

    EXPECT_FALSE(before.testBit(3, 0));
    EXPECT_FALSE(before.testBit(0, 5));
    TbitMatrix unchecked(2, 4);
    unchecked.setBit(0, 5, true); // reaches into row 1
    EXPECT_TRUE(unchecked.testBit(1, 1));
    unchecked.setBit(9, 9, true); // past the field: ignored
    const auto* base = reinterpret_cast<const char*>(unchecked.bitField().currentArray());
    EXPECT_EQ(reinterpret_cast<const char*>(unchecked.rowPtr(3)) - base, 4 * 3 * 128);
    EXPECT_THROW(TbitMatrix(0x10000, 0x10001), TmemoryException);
}
