// AVS block decoding: a test-side 2-D VLC encoder writes random blocks (table
// codes, escapes, end of block) that the three decoders read back exactly;
// the tables are checked against the figures the format fixes; hand-worked
// streams; corrupt streams end without fault. AVS weighting against its
// formula, every kernel level against the reference, and the checks.
#include <string>
#include <vector>

#include "avs/avs_tables.h"
#include "avs/weight_dsp.h"
#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::avs::VlcTable;

constexpr int kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
                             41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
                             30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
constexpr int kField[64] = {0,  8,  16, 1,  24, 32, 9,  17, 40, 48, 25, 2,  10, 56, 33, 18, 3,  41, 49, 26, 11, 19,
                            4,  57, 34, 12, 42, 27, 20, 50, 35, 28, 5,  13, 58, 43, 36, 21, 6,  29, 51, 44, 14, 22,
                            37, 59, 52, 30, 45, 60, 38, 53, 46, 61, 54, 7,  62, 15, 23, 31, 39, 47, 55, 63};

struct Kind {
    const char* name;
    const VlcTable* tables;
    int n;
    ZepStatus (*fn)(Zep32u**, Zep32s*, Zep32s*, Zep16s*, Zep32s);
    int eob[7], order[7], maxLevel[7];
};
const Kind kKinds[] = {
    {"intra luma", zep::avs::kIntraLumaTables, 7, zepiDecodeLumaBlockIntra_AVS_1u16s, {58, 8, 8, 8, 6, 0, 0},
     {2, 2, 2, 2, 2, 2, 2}, {0, 1, 2, 4, 7, 10, 65535}},
    {"inter luma", zep::avs::kInterLumaTables, 7, zepiDecodeLumaBlockInter_AVS_1u16s, {58, 2, 2, 2, 2, 0, 0},
     {3, 2, 2, 2, 2, 2, 2}, {0, 1, 2, 3, 6, 9, 65535}},
    {"chroma", zep::avs::kChromaTables, 5, zepiDecodeChromaBlock_AVS_1u16s, {58, 0, 2, 0, 0}, {2, 0, 1, 1, 0},
     {0, 1, 2, 4, 65535}},
};

// The generated tables carry the figures the format fixes.
TEST(AvsTables, HoldTheFormatsFigures) {
    for (const Kind& k : kKinds)
        for (int t = 0; t < k.n; ++t) {
            const VlcTable& tab = k.tables[t];
            EXPECT_EQ(tab.pair[k.eob[t]][0], 64) << k.name << " table " << t;
            EXPECT_EQ(tab.order, k.order[t]) << k.name << " table " << t;
            EXPECT_EQ(tab.maxLevel, k.maxLevel[t]) << k.name << " table " << t;
            for (int c = 0; c < 59; ++c) {
                if (c == k.eob[t]) continue;
                // Codes come in (+L, -L) pairs of one run; every run is within the limit.
                const int partner = (c < k.eob[t]) == (c % 2 == 0) ? c + 1 : c - 1;
                EXPECT_EQ(tab.pair[c][0], tab.pair[partner][0]) << k.name << " table " << t << " code " << c;
                EXPECT_EQ(tab.pair[c][1], -tab.pair[partner][1]) << k.name << " table " << t << " code " << c;
                EXPECT_LE(tab.pair[c][0], tab.runLimit) << k.name << " table " << t;
            }
        }
    const int first[8][2] = {{0, 1}, {0, -1}, {1, 1}, {1, -1}, {2, 1}, {2, -1}, {3, 1}, {3, -1}};
    for (const Kind& k : kKinds)
        for (int c = 0; c < 8; ++c) {
            EXPECT_EQ(k.tables[0].pair[c][0], first[c][0]) << k.name;
            EXPECT_EQ(k.tables[0].pair[c][1], first[c][1]) << k.name;
        }
}

// ---- test-side encoder
struct Bits {
    std::string s;
    void eg(uint64_t n, int k) {  // Exp-Golomb of order k
        const uint64_t v = n + (uint64_t{1} << k);
        int len = 0;
        while ((v >> len) > 1) ++len;  // bits after the leading 1
        s += std::string(static_cast<size_t>(len - k), '0');
        for (int i = len; i >= 0; --i) s += ((v >> i) & 1) ? '1' : '0';
    }
    std::vector<Zep32u> words() const {
        std::vector<Zep32u> w((s.size() + 31) / 32 + 2, 0);
        for (size_t i = 0; i < s.size(); ++i)
            if (s[i] == '1') w[i / 32] |= 1u << (31 - i % 32);
        w.back() = 0xFFFFFFFFu;
        return w;
    }
};

struct Pair {
    int run, level;
};

// Writes the pairs (decoding order) and the end of block; follows the
// decoder's table state as an encoder must.
void encode(Bits& b, const Kind& k, const std::vector<Pair>& pairs, Rng& rng) {
    int t = 0;
    for (const Pair& p : pairs) {
        const VlcTable& tab = k.tables[t];
        int code = -1;
        for (int c = 0; c < 59; ++c)
            if (tab.pair[c][0] == p.run && tab.pair[c][1] == p.level) code = c;
        const int mag = p.level < 0 ? -p.level : p.level;
        const int ref = p.run > tab.runLimit ? 1 : tab.ref[p.run];
        // The table code when there is one; otherwise (or now and then, when the level allows) the escape.
        if (code >= 0 && !(mag >= ref && rng.range(0, 9) == 0)) {
            b.eg(static_cast<uint64_t>(code), tab.order);
        } else {
            b.eg(static_cast<uint64_t>(59 + 2 * p.run + (p.level > 0)), tab.order);  // odd numbers are negative
            b.eg(static_cast<uint64_t>(mag - ref), tab.escOrder);
        }
        while (t + 1 < k.n && tab.maxLevel < mag && k.tables[t].maxLevel < mag) ++t;
    }
    b.eg(static_cast<uint64_t>(k.eob[t]), k.tables[t].order);
}

TEST(AvsBlockDecode, RandomBlocksDecodeBack) {
    Rng rng(121);
    for (const Kind& k : kKinds)
        for (int scanType : {0, 1, 2, 3})
            for (int it = 0; it < 400; ++it) {
                // Non-zero coefficients in scan order, small levels mostly; escapes need levels of at least their reference.
                std::vector<int> level(64, 0);
                const int count = rng.range(0, it % 5 == 0 ? 64 : 12);
                for (int i = 0; i < count; ++i) {
                    int v = rng.range(0, 3) ? rng.range(1, 3) : rng.range(1, it % 7 == 0 ? 30000 : 60);
                    level[rng.range(0, 63)] = rng.coin() ? v : -v;
                }
                std::vector<int> pos;
                for (int i = 0; i < 64; ++i)
                    if (level[i]) pos.push_back(i);
                std::vector<Pair> pairs;  // highest frequency first
                for (int i = static_cast<int>(pos.size()) - 1; i >= 0; --i)
                    pairs.push_back({pos[i] - (i ? pos[i - 1] : -1) - 1, level[pos[i]]});
                // Levels the escape cannot reach (below their reference) are coded by the table: fine as generated.
                Bits b;
                encode(b, k, pairs, rng);
                std::vector<Zep32u> words = b.words();
                Zep32u* p = words.data();
                Zep32s off = 31, num = -1;
                std::vector<Zep16s> out(64, 0x5555);
                ASSERT_EQ(k.fn(&p, &off, &num, out.data(), scanType), zepStatusOk);
                const bool field = k.fn == zepiDecodeChromaBlock_AVS_1u16s ? scanType != 0 : (scanType & 1);
                const int* scan = field ? kField : kZigzag;
                const std::string ctx = std::string(k.name) + " scan " + std::to_string(scanType) + " bits " +
                                        std::to_string(b.s.size());
                for (int i = 0; i < 64; ++i) ASSERT_EQ(out[scan[i]], static_cast<Zep16s>(level[i])) << ctx << " position " << i;
                ASSERT_EQ(num, scanType ? 63 : (pos.empty() ? 0 : pos.back() + 1)) << ctx;
                ASSERT_EQ(static_cast<size_t>(p - words.data()) * 32 + static_cast<size_t>(31 - off), b.s.size()) << ctx;
            }
}

TEST(AvsBlockDecode, WorkedStreams) {
    // End of block first: code number 58 of the initial inter table (order 3): nothing, 0 positions.
    {
        Bits b;
        b.eg(58, 3);
        auto w = b.words();
        Zep32u* p = w.data();
        Zep32s off = 31, num = -1;
        Zep16s out[64];
        ASSERT_EQ(zepiDecodeLumaBlockInter_AVS_1u16s(&p, &off, &num, out, 0), zepStatusOk);
        EXPECT_EQ(num, 0);
        for (Zep16s v : out) EXPECT_EQ(v, 0);
        num = -1;
        p = w.data();
        off = 31;
        ASSERT_EQ(zepiDecodeLumaBlockInter_AVS_1u16s(&p, &off, &num, out, 1), zepStatusOk);
        EXPECT_EQ(num, 63);
    }
    // (run 0, level 1) then, in table 1 (order 2), its end of block (code number 2): 1 at raster 0.
    // Inter luma: a level of 5 selects table 4 (maxLevel 6), whose end of block is code 2 of order 2.
    {
        Bits b;
        b.eg(0, 3);  // (0, 1)
        b.eg(2, 2);  // end of block of inter table 1
        auto w = b.words();
        Zep32u* p = w.data();
        Zep32s off = 31, num = -1;
        Zep16s out[64];
        ASSERT_EQ(zepiDecodeLumaBlockInter_AVS_1u16s(&p, &off, &num, out, 0), zepStatusOk);
        EXPECT_EQ(out[0], 1);
        EXPECT_EQ(num, 1);
        EXPECT_EQ(off, 31 - 4 - 3);
    }
    {
        Bits b;
        const VlcTable& t0 = zep::avs::kInterLumaTables[0];
        // Level +5 at run 0 by escape from table 0: code 60 (even: positive), then 5 - ref(0) at order 0.
        b.eg(60, 3);
        b.eg(static_cast<uint64_t>(5 - t0.ref[0]), 0);
        b.eg(2, 2);  // end of block of table 4
        auto w = b.words();
        Zep32u* p = w.data();
        Zep32s off = 31, num = -1;
        Zep16s out[64];
        ASSERT_EQ(zepiDecodeLumaBlockInter_AVS_1u16s(&p, &off, &num, out, 0), zepStatusOk);
        EXPECT_EQ(out[0], 5);
        EXPECT_EQ(static_cast<size_t>(p - w.data()) * 32 + static_cast<size_t>(31 - off), b.s.size());
    }
}

TEST(AvsBlockDecode, CorruptStreamsEndWithoutFault) {
    Rng rng(122);
    for (int it = 0; it < 3000; ++it) {
        std::vector<Zep32u> w(300);
        for (auto& v : w) v = rng.range(0, 3) ? rng.u32() : rng.u32() >> rng.range(0, 31);
        if (it % 10 == 0)
            for (int i = 0; i < 40; ++i) w[static_cast<size_t>(i)] = 0;  // a prefix longer than a word
        w.back() = 1;
        for (const Kind& k : kKinds) {
            Zep32u* p = w.data();
            Zep32s off = rng.range(0, 31), num = -1;
            Zep16s out[64];
            ASSERT_EQ(k.fn(&p, &off, &num, out, it & 1), zepStatusOk);
            ASSERT_LT(p - w.data(), 300);
            ASSERT_TRUE(num == 63 || (num >= 0 && num <= 64));
        }
    }
}

TEST(AvsBlockDecode, ChecksPointers) {
    Zep32u w[4] = {0x80000000u, 0, 0, 1};
    Zep32u* p = w;
    Zep32u* nul = nullptr;
    Zep32s off = 31, num = 0;
    Guarded<Zep16s> g(64);
    for (const Kind& k : kKinds) {
        EXPECT_TRUE(null_sweep(k.fn, &p, &off, &num, g.data(), 0)) << k.name;
        EXPECT_EQ(k.fn(&nul, &off, &num, g.data(), 0), zepStatusNullPtr) << k.name;
    }
    EXPECT_TRUE(g.untouched());
    EXPECT_EQ(p, w);
}

// ---------------------------------------------------------------- weighting
TEST(AvsWeight, MatchesFormulaForEveryShape) {
    Rng rng(123);
    struct Hand {
        int x;
        Zep32u scale;
        Zep32s offset;
        int want;
    };
    // The format's examples, including the 16-bit wrap.
    for (Hand h : {Hand{77, 32, 0, 77}, Hand{255, 16, 0, 128}, Hand{200, 64, -10, 255}, Hand{3, 64, -10, 0},
                   Hand{100, 1000, 0, 255}, Hand{66, 1000, 0, 15}}) {
        Zep8u src[8 * 4], dst[8 * 4];
        std::fill_n(src, 32, static_cast<Zep8u>(h.x));
        ASSERT_EQ(zepiWeightPrediction_AVS_8u_C1R(src, 8, dst, 8, h.scale, h.offset, ZepSize{8, 4}), zepStatusOk);
        EXPECT_EQ(dst[13], h.want) << h.x << " scale " << h.scale << " offset " << h.offset;
    }
    for (int w = 0; w <= 28; w += 4)
        for (int h : {0, 4, 8, 16})
            for (int it = 0; it < 20; ++it) {
                const int cols = (w & 16) ? 16 : 8, rows = h ? h : ((w & 16) ? 2 : 4);
                Picture<Zep8u> src = Picture<Zep8u>::random(rng, 16, 20, 0), dst = Picture<Zep8u>::random(rng, 16, 20, 0);
                src.fill(Pattern::Random, rng, 0, 255);
                dst.fill(Pattern::Random, rng, 0, 255);
                const Picture<Zep8u> before = dst;
                const Zep32u scale = rng.coin() ? static_cast<Zep32u>(rng.range(0, 64)) : rng.u32();
                const Zep32s offset = rng.coin() ? rng.range(-300, 300) : static_cast<Zep32s>(rng.u32());
                const bool inPlace = it % 4 == 0;
                Picture<Zep8u>& out = inPlace ? src : dst;
                const Picture<Zep8u> in = src;
                ASSERT_EQ(zepiWeightPrediction_AVS_8u_C1R(in.data() == src.data() ? src.data() : src.data(), src.step(),
                                                          out.data(), out.step(), scale, offset, ZepSize{w, h}),
                          zepStatusOk);
                for (int y = 0; y < 20; ++y)
                    for (int x = 0; x < 16; ++x) {
                        int want;
                        if (y < rows && x < cols) {
                            const int t = static_cast<uint16_t>(in.at(x, y) * static_cast<uint16_t>(scale) + 16) >> 5;
                            want = std::clamp(std::clamp(t + static_cast<Zep16s>(offset), -32768, 32767), 0, 255);
                        } else {
                            want = inPlace ? in.at(x, y) : before.at(x, y);
                        }
                        ASSERT_EQ(out.at(x, y), want) << "width " << w << " height " << h << " at " << x << "," << y;
                    }
            }
}

TEST(AvsWeight, EveryLevelMatchesReference) {
    const zep::AvsWeightDsp ref = zep::build_table(zep::avs_weight_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const zep::AvsWeightDsp k = zep::build_table(zep::avs_weight_init, level);
        Rng rng(124);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 30; ++it)
                for (int wide = 0; wide < 2; ++wide) {
                    Picture<Zep8u> src = Picture<Zep8u>::random(rng, 16, 8, 0), a = Picture<Zep8u>::random(rng, 16, 8, 0);
                    src.fill(pat, rng, 0, 255);
                    a.fill(Pattern::Random, rng, 0, 255);
                    Picture<Zep8u> b = a;
                    const Zep16u scale = static_cast<Zep16u>(rng.u32());
                    const Zep16s offset = static_cast<Zep16s>(rng.u32());
                    (wide ? ref.w16 : ref.w8)(src.data(), src.step(), a.data(), a.step(), scale, offset, 8);
                    (wide ? k.w16 : k.w8)(src.data(), src.step(), b.data(), b.step(), scale, offset, 8);
                    ASSERT_TRUE(same_array(a.block(), b.block(), context(level, pat, "scale " + std::to_string(scale))));
                }
    }
}

TEST(AvsWeight, ChecksInOrder) {
    Guarded<Zep8u> g(16 * 16);
    const Zep8u src[16 * 16] = {};
    EXPECT_TRUE(null_sweep(zepiWeightPrediction_AVS_8u_C1R, src, 16, g.data(), 16, 32u, 0, ZepSize{3, 3}));
    for (ZepSize s : {ZepSize{3, 4}, ZepSize{32, 4}, ZepSize{-4, 4}, ZepSize{8, 6}, ZepSize{16, -2}})
        EXPECT_EQ(zepiWeightPrediction_AVS_8u_C1R(src, 16, g.data(), 16, 32, 0, s), zepStatusBadSize);
    EXPECT_TRUE(g.untouched());
}

}  // namespace
