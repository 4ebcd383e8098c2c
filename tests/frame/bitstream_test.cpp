// The two bit-stream readers every decoder shares.
#include <gtest/gtest.h>

#include <vector>

#include "common/bitstream.h"

namespace {

using zep::ByteReader;
using zep::WordReader;

TEST(WordReader, ReadsAcrossAWordBoundary) {
    // 16 bits from index 3: the low 4 bits of word 0, then the high 12 of word 1.
    const Zep32u words[] = {0x0000000Au, 0xABC12345u, 0u};
    WordReader r(words, 3);
    EXPECT_EQ(r.read(16), 0xAABCu);
    EXPECT_EQ(r.bit(), 19);
    EXPECT_EQ(r.word(), words + 1);
}

TEST(WordReader, TableOfReads) {
    const Zep32u words[] = {0x80000001u, 0xF0000000u, 0x12345678u};
    struct Case {
        int bit, n;
        Zep32u value;
        int bitAfter, wordAfter;
    } cases[] = {
        {31, 1, 1, 30, 0},             {31, 32, 0x80000001u, 31, 1}, {0, 1, 1, 31, 1},
        {0, 5, 0x1Fu, 27, 1},          {30, 31, 1, 31, 1},           {15, 16, 0x0001u, 31, 1},
        {3, 32, 0x1F000000u, 3, 1},    {31, 0 + 8, 0x80u, 23, 0},
    };
    for (const auto& c : cases) {
        WordReader r(words, c.bit);
        EXPECT_EQ(r.peek(c.n), c.value) << c.bit << "/" << c.n;
        EXPECT_EQ(r.read(c.n), c.value);
        EXPECT_EQ(r.bit(), c.bitAfter);
        EXPECT_EQ(r.word() - words, c.wordAfter);
    }
}

TEST(WordReader, NextWordOnlyTouchedWhenNeeded) {
    // The reader may look at the next word only when the bits asked for reach
    // into it: here there is no next word at all (ASan would catch a read).
    std::vector<Zep32u>* one = new std::vector<Zep32u>{0xFFFF0000u};
    WordReader r(one->data(), 31);
    EXPECT_EQ(r.read(16), 0xFFFFu);
    EXPECT_EQ(r.peek(16), 0u);
    delete one;
}

TEST(WordReader, GiveBackStepsBackAcrossWords) {
    const Zep32u words[] = {0x12345678u, 0x9ABCDEF0u};
    WordReader r(words, 4);
    r.skip(8);  // index 4 - 8 = -4 -> 28 in word 1
    EXPECT_EQ(r.bit(), 28);
    EXPECT_EQ(r.word(), words + 1);
    r.give_back(5);  // 33 -> index 1 of word 0
    EXPECT_EQ(r.bit(), 1);
    EXPECT_EQ(r.word(), words);
    EXPECT_EQ(r.read(4), 0x2u);  // bits 1,0 of 0x...78 (00), then the top two of 0x9A.. (10)
    const Zep32u* w = nullptr;
    Zep32s bit = -1;
    r.commit(&w, &bit);
    EXPECT_EQ(w, words + 1);
    EXPECT_EQ(bit, 29);
}

TEST(ByteReader, TableOfReads) {
    const Zep8u bytes[] = {0xA5, 0x3C, 0xFF, 0x00, 0x81};
    struct Case {
        int used, n;
        Zep32u value;
        int usedAfter, byteAfter;
    } cases[] = {
        {0, 1, 1, 1, 0},       {0, 8, 0xA5, 0, 1},       {7, 1, 1, 0, 1},        {7, 2, 0x2, 1, 1},
        {4, 12, 0x53C, 0, 2},  {3, 17, 0x53CFu, 4, 2},   {0, 32, 0xA53CFF00u, 0, 4},
        {1, 32, 0x4A79FE01u, 1, 4},
    };
    for (const auto& c : cases) {
        ByteReader r(bytes, c.used);
        EXPECT_EQ(r.read(c.n), c.value) << c.used << "/" << c.n;
        EXPECT_EQ(r.used(), c.usedAfter);
        EXPECT_EQ(r.byte() - bytes, c.byteAfter);
    }
}

TEST(ByteReader, GiveBackAndOffsetRange) {
    const Zep8u bytes[] = {0xA5, 0x3C};
    ByteReader r(bytes, 6);
    r.skip(5);
    EXPECT_EQ(r.byte(), bytes + 1);
    EXPECT_EQ(r.used(), 3);
    r.give_back(4);
    EXPECT_EQ(r.byte(), bytes);
    EXPECT_EQ(r.used(), 7);
    EXPECT_EQ(r.read(3), 0x4u);  // last bit of 0xA5 (1), then 00 of 0x3C
    for (int off : {-1, 8, 100}) EXPECT_FALSE(zep::bit_offset_ok(off)) << off;
    for (int off : {0, 7}) EXPECT_TRUE(zep::bit_offset_ok(off)) << off;
}

}  // namespace
