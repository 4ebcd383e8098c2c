// Huffman table builder and generic VLC decoders: exact layout, every code of
// every CAVLC table through the lookup, invalid codes, allocation failures.
#include "harness/cavlc_writer.h"
#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "h264/cavlc_codes.h"
#include "tables.h"
#include "vlc/huffman.h"

namespace {

using namespace zt;

TEST(Huffman, LayoutWordForWord) {
    struct {
        std::vector<Zep32s> desc;
        std::vector<Zep32u> expect;
    } cases[] = {
        // Widths 2+2; codes 1 -> 5, 01 -> 6, 0010 -> 7, 0001 -> 8 (0000 unused).
        {{0, 2, 2, 2, 1, 1, 5, 1, 1, 6, 0, 2, 2, 7, 1, 8, -1},
         {2, (5u << 8) | 0x80, 0x600, 0x501, 0x501, 2, 0xF0F101, 0x800, 0x700, 0xF0F101}},
        // Widths 1+1+1; codes 11 -> 0, 000 -> 9, 001 -> 8. Second-level
        // sub-tables come in prefix order whatever the description order; a
        // third level sits below the later one. Level 1: "0" -> link 3, "1" ->
        // link 6. Under "0" (word 3): "0" -> link 9, "1" -> empty. Under "1"
        // (word 6): "0" -> empty, "1" -> leaf 0. Under "00" (word 9): 9, 8.
        {{0, 3, 1, 1, 1, 0, 1, 3, 0, 2, 0, 9, 1, 8, -1},
         {1, (3u << 8) | 0x80, (6u << 8) | 0x80, 1, (9u << 8) | 0x80, 0xF0F101, 1, 0xF0F101, 0x000, 1, 0x900, 0x800}},
    };
    for (const auto& c : cases) {
        Zep32s* t = nullptr;
        ASSERT_EQ(zepiHuffmanTableInitAlloc_32s(c.desc.data(), &t), zepStatusOk);
        EXPECT_TRUE(same_array(c.expect.data(), reinterpret_cast<Zep32u*>(t), c.expect.size(), "layout"));
        zepiHuffmanTableFree_32s(t);
    }
}

// Every code of every generated description decodes to its value with the
// position just after it, from every bit offset.
TEST(Huffman, EveryCavlcCodeDecodes) {
    using namespace zep::cavlc;
    std::vector<const Zep32s*> descs = {kCoeffTokenDesc[0], kCoeffTokenDesc[1], kCoeffTokenDesc[2],
                                        kCoeffTokenFixedDesc, kCoeffTokenDc420Desc, kCoeffTokenDc422Desc};
    for (int i = 1; i < 16; ++i) descs.push_back(kTotalZeros4x4Desc[i]);
    for (int i = 1; i < 4; ++i) descs.push_back(kTotalZerosDc420Desc[i]);
    for (int i = 1; i < 8; ++i) descs.push_back(kTotalZerosDc422Desc[i]);
    for (int i = 1; i < 8; ++i) descs.push_back(kRunBeforeDesc[i]);
    for (size_t d = 0; d < descs.size(); ++d) {
        Zep32s* t = nullptr;
        ASSERT_EQ(zepiHuffmanTableInitAlloc_32s(descs[d], &t), zepStatusOk);
        const Zep32s* p = descs[d] + 2 + descs[d][1];
        int codes = 0;
        for (int len = 1; *p >= 0; ++len) {
            const Zep32s n = *p++;
            for (Zep32s i = 0; i < n; ++i, p += 2, ++codes)
                for (int pre = 0; pre < 32; pre += 3) {
                    cavlc::BitWriter w;
                    w.put(0x2AAAAAAAu, pre);
                    w.put(static_cast<uint32_t>(p[0]), len);
                    auto words = w.words();
                    Zep32u* s = words.data() + pre / 32;
                    Zep32s off = 31 - pre % 32, v = -1;
                    ASSERT_EQ(zepiDecodeHuffmanOne_1u32s(&s, &off, &v, t), zepStatusOk);
                    ASSERT_EQ(v, p[1]) << "table " << d << " len " << len;
                    ASSERT_EQ(bit_pos(words.data(), s, off), pre + len);
                }
        }
        EXPECT_GT(codes, 0);
        zepiHuffmanTableFree_32s(t);
    }
}

TEST(Huffman, InvalidCodesAndRunLevel) {
    // Run-level table, widths 2+3: 1 -> (0, -3); 01 -> (2, 7); 00101 -> (63, -32768).
    const Zep32s desc[] = {0, 2, 2, 3, 1, 1, 0, -3, 1, 1, 2, 7, 0, 0, 1, 5, 63, -32768, -1};
    Zep32s* t = nullptr;
    ASSERT_EQ(zepiHuffmanRunLevelTableInitAlloc_32s(desc, &t), zepStatusOk);
    // Invalid codes leave the position at entry (bit 30) and write nothing (99).
    struct {
        uint32_t bits;
        int len, used, run, level;
        ZepStatus st;
    } cases[] = {
        {1, 1, 1, 0, -3, zepStatusOk},           {1, 2, 2, 2, 7, zepStatusOk},
        {5, 5, 5, 63, -32768, zepStatusOk},      {0, 5, 0, 99, 99, zepStatusBitstreamErr},
        {7, 5, 0, 99, 99, zepStatusBitstreamErr},
    };
    for (const auto& c : cases) {
        cavlc::BitWriter w;
        w.put(3, 30);  // the code crosses the word boundary
        w.put(c.bits, c.len);
        auto words = w.words();
        Zep32u* s = words.data();
        Zep32s off = 1;
        Zep8s run = 99;
        Zep16s level = 99;
        ASSERT_EQ(zepiDecodeHuffmanPair_1u16s(&s, &off, t, &run, &level), c.st);
        EXPECT_EQ(run, c.run);
        EXPECT_EQ(level, c.level);
        EXPECT_EQ(bit_pos(words.data(), s, off), 30 + c.used);
    }
    zepiHuffmanTableFree_32s(t);
    // Value table: an invalid code writes 0xF0F1 and leaves the position where
    // the lookup ended (the level bits taken, one spare bit given back).
    const Zep32s vdesc[] = {0, 2, 2, 2, 1, 1, -5, 0, 0, 1, 1, 77, -1};
    ASSERT_EQ(zepiHuffmanTableInitAlloc_32s(vdesc, &t), zepStatusOk);
    Zep32u words[3] = {0x08000000u, 0, 0};  // 0000 invalid; 0001 -> 77 after the first bit
    Zep32u* s = words;
    Zep32s off = 31, v = 0;
    EXPECT_EQ(zepiDecodeHuffmanOne_1u32s(&s, &off, &v, t), zepStatusBitstreamErr);
    EXPECT_EQ(v, 0xF0F1);
    EXPECT_EQ(off, 28);
    off = 30;
    EXPECT_EQ(zepiDecodeHuffmanOne_1u32s(&s, &off, &v, t), zepStatusOk);
    EXPECT_EQ(v, 77);
    off = 31;
    words[0] = 0x80000000u;
    EXPECT_EQ(zepiDecodeHuffmanOne_1u32s(&s, &off, &v, t), zepStatusOk);
    EXPECT_EQ(v, -5);  // 24-bit values come back sign-extended
    EXPECT_EQ(off, 30);
    zepiHuffmanTableFree_32s(t);
}

int g_allocs = 0, g_fail_at = -1, g_live = 0;
void* counting_alloc(Zep32s n) {
    if (g_allocs++ == g_fail_at) return nullptr;
    ++g_live;
    return zepMalloc(n);
}
void counting_free(void* p) {
    if (p) --g_live;
    zepFree(p);
}

TEST(Huffman, FailurePaths) {
    const Zep32s* desc = zep::cavlc::kCoeffTokenDesc[0];
    for (int failAt = 0; failAt < 2; ++failAt) {
        g_allocs = 0, g_fail_at = failAt, g_live = 0;
        Zep32u* t = reinterpret_cast<Zep32u*>(0x1);
        EXPECT_EQ(zep::vlc::build_table(desc, zep::vlc::Payload::Value, &t, counting_alloc, counting_free),
                  zepStatusNoMemory);
        EXPECT_EQ(g_live, 0) << "allocation " << failAt << " failed: something leaked";
        EXPECT_EQ(t, reinterpret_cast<Zep32u*>(0x1));
    }
    // Exact size: 1 + 256 words plus one 257-word sub-table per distinct 8-bit prefix of the long codes.
    g_allocs = 0, g_fail_at = -1, g_live = 0;
    Zep32u* t = nullptr;
    ASSERT_EQ(zep::vlc::build_table(desc, zep::vlc::Payload::Value, &t, counting_alloc, counting_free), zepStatusOk);
    EXPECT_EQ(g_live, 1);
    counting_free(t);
    const Zep32s noLevels[] = {0, 0, -1}, wide[] = {0, 1, 21, -1}, zeroWidth[] = {0, 2, 4, 0, -1};
    Zep32s* out = nullptr;
    for (auto init : {zepiHuffmanTableInitAlloc_32s, zepiHuffmanRunLevelTableInitAlloc_32s})
        for (const Zep32s* bad : {noLevels, wide, zeroWidth}) {
            EXPECT_EQ(init(bad, &out), zepStatusNoMemory) << bad[1] << " " << bad[2];
            EXPECT_EQ(out, nullptr);
        }
    // Null pointers before the description is looked at.
    EXPECT_TRUE(null_sweep(zepiHuffmanTableInitAlloc_32s, noLevels, &out));
    EXPECT_TRUE(null_sweep(zepiHuffmanRunLevelTableInitAlloc_32s, noLevels, &out));
    EXPECT_EQ(zepiHuffmanTableFree_32s(nullptr), zepStatusNullPtr);
    Zep32u w[2] = {};
    Zep32u *s = w, *ns = nullptr;
    Zep32s off = 31, v;
    Zep8s r;
    Zep16s l;
    const Zep32s tbl[3] = {1, 0x100, 0x100};
    EXPECT_TRUE(null_sweep(zepiDecodeHuffmanOne_1u32s, &s, &off, &v, tbl));
    EXPECT_TRUE(null_sweep(zepiDecodeHuffmanPair_1u16s, &s, &off, tbl, &r, &l));
    EXPECT_EQ(zepiDecodeHuffmanOne_1u32s(&ns, &off, &v, tbl), zepStatusNullPtr);
    EXPECT_EQ(zepiDecodeHuffmanPair_1u16s(&ns, &off, tbl, &r, &l), zepStatusNullPtr);
    EXPECT_EQ(s, w);
}

}  // namespace
